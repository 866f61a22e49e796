// The bit-packed MATRIX and CXFORM records as the writer encodes them, for any bit
// sink with Bit(bool) and Bits(value, count): the output stream itself (flaDump),
// or flaTagWriter, which stores a whole short tag straight into the stream's memory
// so that a long timeline's placements are written without a call per field.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "flio/flaMatrix.h"
#include "io/flaConvert.h"
#include "io/flaFormat.h"

// Asks the compiler to inline every call inside a function (a record writer that
// calls the encoders below), so that the bit writer's state stays in registers.
#if defined(__GNUC__) || defined(__clang__)
#define FLIO_FLATTEN __attribute__((flatten))
#else
#define FLIO_FLATTEN
#endif

namespace flaRecordBits {

// A pair of signed fields preceded by their 5-bit width, the width taken from the
// larger magnitude of the two (as a double, then truncated) plus a sign bit.
template <typename Bits>
void Pair(Bits& out, double first, double second) {
    using flio_detail::TruncToInt32;
    const std::int32_t a = TruncToInt32(first);
    const std::int32_t b = TruncToInt32(second);
    const double larger = std::fabs(first) > std::fabs(second) ? std::fabs(first) : std::fabs(second);
    const int nbits = flaDump::GetSignedBitNumber(TruncToInt32(larger));
    out.Bits(static_cast<std::uint32_t>(nbits), 5);
    out.Bits(static_cast<std::uint32_t>(a), nbits);
    out.Bits(static_cast<std::uint32_t>(b), nbits);
}

// A pair of 16.16 terms left out (a clear bit) when both are `none` (1.0 for the
// scale, 0.0 for the rotation) as written, else a set bit and the pair. The usual
// value is told at once; every other goes through the conversion.
template <typename Bits>
void OptionalPair(Bits& out, float x, float y, float none) {
    using flio_detail::TruncToInt32;
    const double a = static_cast<double>(x) * 65536.0;
    const double b = static_cast<double>(y) * 65536.0;
    const std::int32_t fixed = TruncToInt32(static_cast<double>(none) * 65536.0);
    if ((x == none && y == none) || (TruncToInt32(a) == fixed && TruncToInt32(b) == fixed)) {
        out.Bit(false);
    } else {
        out.Bit(true);
        Pair(out, a, b);
    }
}

// MATRIX, not padded. The four terms in 16.16; the translation in twips of a stage
// frameSizeX pixels wide, truncated toward zero, or rounded with exactTwips.
template <typename Bits>
void Matrix(Bits& out, const flaMatrix& m, int frameSizeX, bool exactTwips) {
    OptionalPair(out, m.GetA(), m.GetD(), 1.0f);
    OptionalPair(out, m.GetB(), m.GetC(), 0.0f);
    const double k = static_cast<double>(frameSizeX);
    const double tx20 = static_cast<double>(m.GetTX()) * 20.0;
    const double ty20 = static_cast<double>(m.GetTY()) * 20.0;
    if (exactTwips)  // to the nearest twip, not toward zero
        Pair(out, std::nearbyint(k * tx20), std::nearbyint(k * ty20));
    else
        Pair(out, k * tx20, k * ty20);
}

// CXFORMWITHALPHA, not padded. The field width comes from the largest magnitude of
// the groups in use, kept (as the format's writer always did) in a signed 16-bit
// running maximum, and is written in 4 bits whatever it is.
template <typename Bits>
void ColorXForm(Bits& out, const flaColorXForm& cx) {
    const bool isMult = cx.GetIsMult(), isAdd = cx.GetIsAdd();
    out.Bit(isAdd);
    out.Bit(isMult);
    const short mult[4] = {cx.GetmR(), cx.GetmG(), cx.GetmB(), cx.GetmA()};
    const short add[4] = {cx.GetaR(), cx.GetaG(), cx.GetaB(), cx.GetaA()};
    short largest = 0;
    auto consider = [&largest](const short* group) {
        for (int i = 0; i < 4; ++i) {
            const int magnitude = std::abs(static_cast<int>(group[i]));
            if (magnitude > largest) largest = static_cast<short>(static_cast<unsigned short>(magnitude));
        }
    };
    if (isMult) consider(mult);
    if (isAdd) consider(add);
    const int nbits = flaDump::GetBitNumber(largest) + 1;
    out.Bits(static_cast<unsigned>(nbits), 4);
    auto fields = [&out, nbits](const short* group) {
        for (int i = 0; i < 4; ++i) out.Bits(static_cast<unsigned>(static_cast<int>(group[i])), nbits);
    };
    if (isMult) fields(mult);
    if (isAdd) fields(add);
}

}  // namespace flaRecordBits

// A short tag written straight into the stream's memory: the stream is padded to
// a byte, room is made for maxBytes at once, and the fields are stored there bit by
// bit (most significant first) and in little-endian whole bytes, as the stream's
// own writes store them. Finish() writes the short header word, the body's length
// OR-ed into it (its low 8 bits, as PlaceObject2 has always been written), and
// moves the stream past the tag. For streams without a size observer: the stream
// reports nothing of what is written this way.
class flaTagWriter {
public:
    flaTagWriter(flaDump& stream, unsigned int tagCode, std::size_t maxBytes) : dump(stream), code(tagCode) {
        dump.PadLastByte();
        dump.Reserve(maxBytes + 8);
        start = out = dump.storage.get() + dump.position;
        out += 2;  // the header word
    }
    flaTagWriter(const flaTagWriter&) = delete;
    flaTagWriter& operator=(const flaTagWriter&) = delete;

    void Bit(bool b) { Bits(b ? 1u : 0u, 1); }
    // The low `count` (0 to 32) bits of value.
    void Bits(std::uint32_t value, int count) {
        if (count > 32) count = 32;
        const auto n = static_cast<unsigned>(count);
        if (accBits + n > 64) StoreWord();
        acc = (acc << n) | (value & ((std::uint64_t{1} << n) - 1u));
        accBits += n;
    }
    // Pads the pending bits with zeros to a byte boundary and stores them.
    void Pad() {
        if (accBits & 7) Bits(0, static_cast<int>(8 - (accBits & 7)));
        if (accBits == 0) return;
        // All pending bytes at once: eight stored, first byte first (the room
        // reserved runs eight bytes past the tag), and the position moved past
        // those that were pending.
        std::uint64_t word = acc << (64 - accBits);
#if (defined(__GNUC__) || defined(__clang__)) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        word = __builtin_bswap64(word);  // the first byte lowest in memory
        std::memcpy(out, &word, 8);
#else
        for (int i = 7; i >= 0; --i, word >>= 8) out[i] = static_cast<unsigned char>(word);
#endif
        out += accBits / 8;
        acc = 0;
        accBits = 0;
    }
    void U8(unsigned v) {
        Pad();
        *out++ = static_cast<unsigned char>(v);
    }
    void U16(unsigned v) {
        U8(v & 0xFF);
        *out++ = static_cast<unsigned char>((v >> 8) & 0xFF);
    }
    // n bytes at s (a string with its terminating zero, say).
    void Text(const char* s, std::size_t n) {
        Pad();
        std::memcpy(out, s, n);
        out += n;
    }
    void Finish() {
        Pad();
        const std::size_t size = static_cast<std::size_t>(out - start);
        const std::uint16_t header = flaFormat::HeaderWord(code, static_cast<unsigned>(size - 2) & 0xFF);
        start[0] = static_cast<unsigned char>(header & 0xFF);
        start[1] = static_cast<unsigned char>(header >> 8);
        dump.Advance(size);
    }

private:
    // Stores the oldest 32 pending bits (more than 32 are pending).
    void StoreWord() {
        accBits -= 32;
        const auto word = static_cast<std::uint32_t>(acc >> accBits);
        out[0] = static_cast<unsigned char>(word >> 24);
        out[1] = static_cast<unsigned char>(word >> 16);
        out[2] = static_cast<unsigned char>(word >> 8);
        out[3] = static_cast<unsigned char>(word);
        out += 4;
        acc &= (std::uint64_t{1} << accBits) - 1u;
    }

    flaDump& dump;
    const unsigned int code;
    unsigned char* start;
    unsigned char* out;
    std::uint64_t acc = 0;
    unsigned accBits = 0;
};
