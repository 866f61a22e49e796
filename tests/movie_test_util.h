// Helpers shared by the frame and movie tests: a minimal character whose
// definition is a recognisable 4-byte tag, and builders of expected bytes.
#pragma once

#include <string>

#include "flio/flaCharacter.h"
#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaMatrix.h"
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
    if (a.empty()) return b;
    if (b.empty()) return a;
    return a + " " + b;
}

// The record bytes of a matrix (padded) as a 550-pixel stage writes them.
inline std::string MatrixHex(const flaMatrix& m) {
    flaDump dump(550, nullptr);
    m.DumpInFile(dump);
    return ToHex(Flushed(dump));
}

inline std::string CxHex(const flaColorXForm& cx) {
    flaDump dump(550, nullptr);
    cx.DumpInFile(dump);
    return ToHex(Flushed(dump));
}

// PlaceObject2 with its short header: 1664 | body length.
inline std::string Po2(const std::string& body) {
    const std::size_t length = Hex(body).size();
    const unsigned word = 1664u | (length & 0xFFu);
    const Bytes header{static_cast<unsigned char>(word & 0xFF), static_cast<unsigned char>(word >> 8)};
    return Join(ToHex(header), body);
}

// A long-form tag: the word, then the 32-bit body length.
inline std::string LongTag(unsigned code, const std::string& body) {
    const std::size_t length = Hex(body).size();
    const unsigned word = (code << 6) | 63u;
    const Bytes header{static_cast<unsigned char>(word & 0xFF), static_cast<unsigned char>(word >> 8),
                       static_cast<unsigned char>(length & 0xFF), static_cast<unsigned char>((length >> 8) & 0xFF),
                       static_cast<unsigned char>((length >> 16) & 0xFF),
                       static_cast<unsigned char>((length >> 24) & 0xFF)};
    return Join(ToHex(header), body);
}

}  // namespace flio_test
