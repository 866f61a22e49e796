#include "io/flaBitCursor.h"

void flaBitCursor::Restart() {
    const unsigned char* buffer = in.GetBuffer();
    start = next = buffer + in.GetPosition();
    end = buffer + in.limit;
    if (end < start) end = start;
    cache = 0;
    count = 0;
}

void flaBitCursor::Sync() {
    const std::uint64_t used = static_cast<std::uint64_t>(next - start) * 8 - count;
    in.Seek(static_cast<unsigned long>(start - in.GetBuffer()) + static_cast<unsigned long>(used / 8));
    in.InitBits();
    if (used % 8) in.GetBits(static_cast<long>(used % 8));
}

void flaBitCursor::Refill(unsigned n) {
    if (end - next >= 8) {
        // Eight bytes at once: the whole bytes that fit below the cached bits are
        // taken; the bits of the byte after that are cached too, and loaded again,
        // to the same place, by the next refill.
        // The eight bytes in file order, the first on top.
#if (defined(__GNUC__) || defined(__clang__)) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        std::uint64_t word;
        std::memcpy(&word, next, 8);
        word = __builtin_bswap64(word);
#else
        std::uint64_t word = 0;
        for (int i = 0; i < 8; ++i) word = (word << 8) | next[i];
#endif
        cache |= word >> count;
        const unsigned bytes = (63 - count) / 8;
        next += bytes;
        count += 8 * bytes;
        return;
    }
    while (count <= 56 && next < end) {
        cache |= static_cast<std::uint64_t>(*next++) << (56 - count);
        count += 8;
    }
    if (n <= count) return;
    // The data ends first: the reader's own read names the field and the offset.
    Sync();
    in.GetBits(static_cast<long>(n));
    throw flaRead::readError("SWF data ran out reading bit fields");
}
