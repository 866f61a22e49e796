// Helpers for the import tests: small SWF files written tag by tag with flaDump,
// and a movie subclass that opens the importer's protected parts.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "flio/flaMatrix.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "test_util.h"

namespace flio_test {

// Writes an SWF file image: the header, then tags, then (unless left out) End, and
// patches the file length. Stage sizes are in twips; matrices are written for a
// stage of `width / 20` pixels, so that a translation of 0.5 is half the stage.
class SwfWriter {
public:
    explicit SwfWriter(int widthTwips = 11000, int heightTwips = 8000, unsigned short rateWord = 24 << 8,
                       unsigned short frameCount = 1)
        : dump(widthTwips / 20 > 0 ? widthTwips / 20 : 1, nullptr) {
        for (char c : std::string("FWS")) dump.DataU8(static_cast<unsigned char>(c));
        dump.DataU8(static_cast<unsigned char>(9));
        dump.DataU32(0UL);
        const int nbits = flaDump::GetBitNumber(widthTwips > heightTwips ? widthTwips : heightTwips) + 1;
        Bits(static_cast<std::uint32_t>(nbits), 5);
        Bits(0, nbits);
        Bits(static_cast<std::uint32_t>(widthTwips), nbits);
        Bits(0, nbits);
        Bits(static_cast<std::uint32_t>(heightTwips), nbits);
        dump.PadLastByte();
        dump.DataU16(rateWord);
        dump.DataU16(frameCount);
    }

    // Opens a long-form tag; its body is written into Out() until Close(). Tags
    // may be nested (the tags of a DefineSprite).
    SwfWriter& Open(int code) {
        open.push_back(dump.GetCurrentPosition());
        dump.DataU16(static_cast<unsigned short>((code << 6) | 63));
        dump.DataU32(0UL);
        return *this;
    }
    SwfWriter& Close() {
        dump.PadLastByte();
        const int start = open.back();
        open.pop_back();
        const auto length = static_cast<std::uint32_t>(dump.GetCurrentPosition() - start - 6);
        dump.FixData(start + 2, reinterpret_cast<const char*>(&length), 32, 32, false);
        return *this;
    }
    flaDump& Out() { return dump; }

    // A whole tag with the given body bytes.
    SwfWriter& Tag(int code, const Bytes& body = Bytes()) {
        Open(code);
        for (unsigned char b : body) dump.DataU8(b);
        return Close();
    }
    SwfWriter& ShowFrame() {
        dump.DataU16(static_cast<unsigned short>(1 << 6));
        return *this;
    }
    SwfWriter& Word(unsigned short v) {
        dump.DataU16(v);
        return *this;
    }
    SwfWriter& Byte(unsigned char v) {
        dump.DataU8(v);
        return *this;
    }

    // DefineShape3 with a tiny rectangle body (bounds, no styles, end record).
    SwfWriter& Shape(int id) {
        Open(32).Word(static_cast<unsigned short>(id));
        for (unsigned char b : Hex("00 00 00 00 00")) dump.DataU8(b);  // empty bounds, no styles, end
        return Close();
    }
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
    SwfWriter& Remove2(int depth) { return Tag(28, {static_cast<unsigned char>(depth), static_cast<unsigned char>(depth >> 8)}); }

    Bytes Finish(bool withEnd = true) {
        if (withEnd) dump.DataU16(static_cast<unsigned short>(0));
        const auto length = static_cast<std::uint32_t>(dump.GetCurrentPosition());
        dump.FixData(4, reinterpret_cast<const char*>(&length), 32, 32, false);
        return Flushed(dump);
    }

private:
    void Bits(std::uint32_t v, int n) { dump.DataU32(reinterpret_cast<const char*>(&v), n, true); }

    flaDump dump;
    std::vector<int> open;
};

// Opens the import's protected parts to the tests.
class ImportMovie : public flaMovie {
public:
    using flaMovie::flaMovie;
    using flaMovie::PreProsessStaticCharacters;

    bool Read(const Bytes& file, Progress* progress = nullptr) {
        return ReadMovieFromBuffer(file.data(), static_cast<int>(file.size()), progress);
    }
    std::uint32_t SpriteEndFrame() const { return spriteEndFrame; }
    // The character placed at depth in frame, or null.
    const flaCharacterInfo* At(int frame, int depth) const {
        const flaFrame* f = GetFrame(frame);
        return f ? f->GetCharacterByDepth(depth) : nullptr;
    }
    int IdAt(int frame, int depth) const {
        const flaCharacterInfo* info = At(frame, depth);
        return info && info->GetCharacter() ? info->GetCharacter()->GetId() : -1;
    }
    bool HasUnsupported(flaUnsupported::UnsupportedElement e) {
        return GetUnsupported()->UnsupportedElementAlreadyInserted(e);
    }
};

}  // namespace flio_test
