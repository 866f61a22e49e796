// Helpers for the tests of written movies and frames: a minimal character whose
// definition is a recognisable 4-byte tag, builders of expected bytes, and the tag
// codes of a file.
#pragma once

#include <string>
#include <vector>

#include "flio/flaCharacter.h"
#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaMatrix.h"
#include "flio/flaRead.h"
#include "test_util.h"

namespace flio_test {

// Defines itself as a short tag with code 2 and a 2-byte body (its id): "82 00 id".
class TestCharacter : public flaCharacter {
public:
    explicit TestCharacter(int id_, bool sprite_ = false) : flaCharacter(id_), sprite(sprite_) {}
    bool IsSprite() const override { return sprite; }
    void SetTransformation(const flaMatrix&) override {}
    void DumpCharacterInFile(flaDump& dump) const override {
        dump.DataU16(static_cast<unsigned short>((2 << 6) | 2));
        dump.DataU16(static_cast<unsigned short>(id));
    }
    // Marks the definition as written, so that frame output shows only placements.
    void MarkDumped() {
        flaDump scratch(550, nullptr);
        DumpInFile(scratch);
    }

private:
    bool sprite;
};

inline std::string Join(const std::string& a, const std::string& b) {
    return a.empty() ? b : b.empty() ? a : a + " " + b;
}

// The bytes of a record (padded) as a 550-pixel stage writes them.
template <class Record>
std::string RecordHex(const Record& record) {
    flaDump dump(550, nullptr);
    record.DumpInFile(dump);
    return ToHex(Flushed(dump));
}

// A tag header and body: the short form holds the length in the word's low bits
// (PlaceObject2's 1664 | length), the long form gives it as a 32-bit field.
inline std::string TagHex(unsigned code, const std::string& body, bool longForm) {
    const unsigned long length = static_cast<unsigned long>(Hex(body).size());
    flaDump dump(550, nullptr);
    dump.DataU16(static_cast<unsigned short>((code << 6) | (longForm ? 63u : (length & 0xFFu))));
    if (longForm) dump.DataU32(length);
    return Join(ToHex(dump.GetBuffer()), body);
}
// The codes of an uncompressed file image's top-level tags, in order, End included.
inline std::vector<unsigned> TagCodes(const Bytes& file) {
    flaRead r(static_cast<int>(file.size()), file.data());
    r.GetFileHeader();
    r.GetMovieHeader();
    std::vector<unsigned> codes;
    r.WalkTags([&codes](unsigned short code) { codes.push_back(code); });
    return codes;
}

inline std::string Po2(const std::string& body) { return TagHex(26, body, false); }
inline std::string LongTag(unsigned code, const std::string& body) { return TagHex(code, body, true); }

}  // namespace flio_test
