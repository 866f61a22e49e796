// flaBitCursor: a fast MSB-first bit reader for long runs of bit fields (shape
// records). It reads the bytes of a flaRead from the reader's byte position up to
// the reader's limit, 64 bits at a time, and hands the position back with Sync()
// before the reader itself reads again. Reads past the limit fail exactly as the
// reader's own bit reads fail (flaRead::readError).
#pragma once

#include <cstdint>
#include <cstring>

#include "flio/flaRead.h"

class flaBitCursor {
public:
    // Starts at the reader's byte position on a fresh byte (the reader's pending
    // bits are dropped, as a new bit set does).
    explicit flaBitCursor(flaRead& reader) : in(reader) { Restart(); }
    flaBitCursor(const flaBitCursor&) = delete;
    flaBitCursor& operator=(const flaBitCursor&) = delete;

    // The next n bits (0 to 32), most significant first.
    std::uint32_t Bits(unsigned n) {
        if (n > count) Refill(n);
        // Two shifts, so that n = 0 gives 0 without shifting by 64.
        const auto v = static_cast<std::uint32_t>((cache >> 1) >> (63 - n));
        cache <<= n;
        count -= n;
        return v;
    }
    // The next n bits, sign-extended from bit n - 1.
    std::int32_t SBits(unsigned n) {
        std::uint32_t v = Bits(n);
        if (n > 0 && n < 32 && (v & (1u << (n - 1)))) v |= ~0u << n;
        return static_cast<std::int32_t>(v);
    }

    // Hands the position back: the reader's next bit read continues where the
    // cursor stopped, and its next byte read starts at the byte after.
    void Sync();
    // Starts again at the reader's byte position, on a fresh byte.
    void Restart();
    flaRead& Reader() { return in; }

private:
    // Loads bytes until n bits are cached; throws the reader's error when the data
    // ends first.
    void Refill(unsigned n);

    flaRead& in;
    const unsigned char* start = nullptr;  // the byte the cursor started at
    const unsigned char* next = nullptr;   // the next byte to load
    const unsigned char* end = nullptr;    // the reader's limit
    std::uint64_t cache = 0;               // bits not yet read, left-aligned
    unsigned count = 0;                    // how many
};
