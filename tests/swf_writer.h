// Helpers for the tests that import hand-written files: SwfWriter writes a file
// image tag by tag with flaDump, ImportMovie opens the importer's protected parts.
#pragma once

#include <cstdint>
#include <vector>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "flio/flaMatrix.h"
#include "flio/flaMovie.h"
#include "test_util.h"

namespace flio_test {

// Writes an SWF file image: header (a 550 x 400 stage unless told otherwise, in
// twips), tags, End, and patches the file length. Matrices are written for that
// stage: a translation of 0.5 is half of its width.
class SwfWriter {
public:
    explicit SwfWriter(unsigned short frameCount = 1, unsigned short rateWord = 24 << 8, int widthTwips = 11000,
                       int heightTwips = 8000)
        : dump(widthTwips / 20 > 0 ? widthTwips / 20 : 1, nullptr) {
        for (unsigned char b : Hex("46 57 53 09 00 00 00 00")) dump.DataU8(b);
        dump.DataRect(0, widthTwips, 0, heightTwips);
        dump.PadLastByte();
        Word(rateWord).Word(frameCount);
    }
    // Opens a long-form tag; its body is written until Close(). Tags may nest.
    SwfWriter& Open(int code) {
        open.push_back(dump.BeginTag(static_cast<unsigned>(code)));
        return *this;
    }
    SwfWriter& Close() {
        dump.PadLastByte();
        dump.EndTag(open.back());
        open.pop_back();
        return *this;
    }
    flaDump& Out() { return dump; }
    SwfWriter& Tag(int code, const Bytes& body = Bytes()) {
        Open(code);
        for (unsigned char b : body) dump.DataU8(b);
        return Close();
    }
    SwfWriter& ShowFrame() { return Word(1 << 6); }
    SwfWriter& Word(unsigned short v) { dump.DataU16(v); return *this; }
    SwfWriter& Byte(unsigned char v) { dump.DataU8(v); return *this; }
    // DefineShape3: id, empty bounds, no styles, end record.
    SwfWriter& Shape(int id) { return Tag(32, Le16(id, {0, 0, 0, 0, 0})); }
    // PlaceObject2 of a new character with a matrix (and a colour transform when given).
    SwfWriter& Place(int id, int depth, const flaMatrix& m = flaMatrix(), const flaColorXForm* cx = nullptr) {
        Open(26).Byte(static_cast<unsigned char>(0x06 | (cx ? 0x08 : 0)));
        Word(static_cast<unsigned short>(depth)).Word(static_cast<unsigned short>(id));
        m.DumpInFile(dump);
        if (cx) cx->DumpInFile(dump);
        return Close();
    }
    // PlaceObject2 that moves the entry at depth to a new matrix.
    SwfWriter& Move(int depth, const flaMatrix& m) {
        Open(26).Byte(0x05).Word(static_cast<unsigned short>(depth));
        m.DumpInFile(dump);
        return Close();
    }
    SwfWriter& Remove2(int depth) { return Tag(28, Le16(depth)); }
    Bytes Finish(bool withEnd = true) {
        if (withEnd) Word(0);
        dump.PatchU32(4, static_cast<std::uint32_t>(dump.GetCurrentPosition()));
        return Flushed(dump);
    }

    // A little-endian word followed by more bytes.
    static Bytes Le16(int v, Bytes rest = Bytes()) {
        rest.insert(rest.begin(), {static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8)});
        return rest;
    }

private:
    flaDump dump;
    std::vector<flaDump::TagStart> open;
};

inline flaMatrix Translation(float tx, float ty) { return flaMatrix(1, 0, 0, 1, tx, ty); }

// Opens the import's protected parts to the tests.
class ImportMovie : public flaMovie {
public:
    using flaMovie::flaMovie;
    using flaMovie::PreProsessStaticCharacters;
    bool Read(const Bytes& file, Progress* progress = nullptr) {
        return ReadMovieFromBuffer(file.data(), static_cast<int>(file.size()), progress);
    }
    // The character placed at depth in frame, or null; its id, or -1.
    const flaCharacterInfo* At(int frame, int depth) const {
        const flaFrame* f = GetFrame(frame);
        return f ? f->GetCharacterByDepth(depth) : nullptr;
    }
    int IdAt(int frame, int depth) const {
        const flaCharacterInfo* info = At(frame, depth);
        return info && info->GetCharacter() ? info->GetCharacter()->GetId() : -1;
    }
    std::vector<flaUnsupported::UnsupportedElement> Unsupported() {
        return {GetUnsupported()->GetUnsupportedElementBegin(), GetUnsupported()->GetUnsupportedElementEnd()};
    }
};

// The static pass off, so that placements keep their file matrices.
struct RawMovie : ImportMovie {
    RawMovie() { set_PreProsessStaticCharacters(false); }
};

}  // namespace flio_test
