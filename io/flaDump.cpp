#include "flio/flaDump.h"

#include <zlib.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "flio/PL_File.h"
#include "io/flaConvert.h"
#include "io/flaFormat.h"
#include "platform/PL_Memory.h"

using flio_detail::TruncToInt64;

namespace {

// Storage for the image: plain malloc, so that growing does not zero memory that is
// about to be overwritten.
unsigned char* AllocateBytes(std::size_t size) {
    void* p = std::malloc(size ? size : 1);
    if (!p) throw std::bad_alloc();
    return static_cast<unsigned char*>(p);
}

}  // namespace

flaDump::SizeCallback::~SizeCallback() = default;

flaDump::flaDump(int frameSizeX_, SizeCallback* callback)
    : frameSizeX(frameSizeX_), sizeCallback(callback) {}

flaDump::~flaDump() = default;

flaDump::flaDump(const flaDump& o)
    : storage(o.length ? AllocateBytes(o.length) : nullptr),
      capacity(o.length),
      length(o.length),
      acc(o.acc),
      accBits(o.accBits),
      position(o.position),
      frameSizeX(o.frameSizeX),
      orientation(o.orientation),
      sizeCallback(o.sizeCallback),
      costCode(o.costCode),
      fontTable(o.fontTable),
      writeOptions(o.writeOptions) {
    if (length) std::memcpy(storage.get(), o.storage.get(), length);
}

flaDump& flaDump::operator=(const flaDump& o) {
    if (this != &o) {
        flaDump copy(o);
        std::swap(storage, copy.storage);
        capacity = copy.capacity;
        length = copy.length;
        acc = copy.acc;
        accBits = copy.accBits;
        position = copy.position;
        frameSizeX = copy.frameSizeX;
        orientation = copy.orientation;
        sizeCallback = copy.sizeCallback;
        costCode = copy.costCode;
        fontTable = copy.fontTable;
        writeOptions = copy.writeOptions;
    }
    return *this;
}

void flaDump::FreeBytes::operator()(unsigned char* p) const { std::free(p); }

void flaDump::Grow(std::size_t n) {
    std::size_t want = capacity < 4096 ? 4096 : capacity * 2;
    if (want < static_cast<std::size_t>(position) + n) want = static_cast<std::size_t>(position) + n;
    // realloc: a large image moves by remapping its pages rather than by copying.
    void* bigger = std::realloc(storage.get(), want);
    if (!bigger) throw std::bad_alloc();
    storage.release();
    storage.reset(static_cast<unsigned char*>(bigger));
    capacity = want;
    // A large image is filled once from start to end: fresh pages in 2 MB steps
    // cost far fewer page faults than in 4 KB ones.
    if (want >= (std::size_t{4} << 20)) PL_AdviseHugePages(storage.get(), want);
}

void flaDump::FlushBytes() {
    if (accBits < 8) return;
    Reserve(8);
    unsigned char* p = storage.get() + position;
    std::size_t n = 0;
    while (accBits >= 8) {
        accBits -= 8;
        p[n++] = static_cast<unsigned char>(acc >> accBits);
    }
    acc &= (std::uint64_t{1} << accBits) - 1u;
    Advance(n);
}

std::vector<unsigned char> flaDump::GetBuffer() const {
    std::vector<unsigned char> out(storage.get(), storage.get() + length);
    unsigned left = accBits;
    for (std::size_t p = static_cast<std::size_t>(position); left >= 8; ++p) {
        left -= 8;
        const auto byte = static_cast<unsigned char>(acc >> left);
        if (p < out.size())
            out[p] = byte;
        else
            out.push_back(byte);
    }
    return out;
}

std::size_t flaDump::GetSize() const {
    const std::size_t end = static_cast<std::size_t>(GetCurrentPosition());
    return end > length ? end : length;
}

void flaDump::DataFloat(float v) {
    std::uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    DataU32(bits);
}

bool flaDump::WriteBitsSlow(const char* data, int bitCount, int width, bool bitPacked) {
    // The report was made by WriteBits.
    if (!bitPacked) WriteZeroToAlignBlock();
    if (bitCount < 1) return true;
    if (bitCount > width) bitCount = width;
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    std::uint32_t value = bytes[0];
    if (width >= 16) value |= static_cast<std::uint32_t>(bytes[1]) << 8;
    if (width == 32) value |= static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
    if (bitPacked) {
        PutBits(value, bitCount);
        return true;
    }
    if (bitCount == width) {  // a plain little-endian integer on a byte boundary
        PutBytes(value, static_cast<std::size_t>(width / 8));
        return true;
    }
    // Not packed: the field moved to the top of the width, then the first bitCount
    // bits of that value's little-endian image.
    const std::uint64_t widthMask = width == 32 ? 0xFFFFFFFFull : ((1ull << width) - 1ull);
    const std::uint64_t shifted = (static_cast<std::uint64_t>(value) << (width - bitCount)) & widthMask;
    int left = bitCount;
    for (int i = 0; i < width / 8 && left > 0; ++i) {
        const std::uint32_t byte = static_cast<std::uint32_t>((shifted >> (8 * i)) & 0xFF);
        const int take = left < 8 ? left : 8;
        PutBits(byte >> (8 - take), take);
        left -= take;
    }
    return true;
}

void flaDump::DataFixed(double v) {
    if (v >= 65536.0) {
        DataU16(0xFFFF);
        DataU16(0xFFFF);
        return;
    }
    const auto integer = static_cast<unsigned short>(TruncToInt64(v));
    const auto fraction = static_cast<unsigned short>(TruncToInt64((v - integer) * 65536.0));
    DataU16(fraction);
    DataU16(integer);
}

void flaDump::DataFixed8(double v) {
    if (v >= 256.0) {
        DataU8(static_cast<unsigned char>(255));
        DataU8(static_cast<unsigned char>(255));
        return;
    }
    const auto integer = static_cast<unsigned char>(TruncToInt64(v));
    const auto fraction = static_cast<unsigned char>(TruncToInt64((v - integer) * 256.0));
    DataU8(fraction);
    DataU8(integer);
}

void flaDump::DataUnsigedChar(double v) {
    if (v > 255.0) {
        DataU8(static_cast<unsigned char>(255));
        return;
    }
    DataU8(static_cast<unsigned char>(TruncToInt64(v)));
}

void flaDump::ChunkDump(const void* data, unsigned int byteCount) {
    if (data == nullptr) return;
    WriteZeroToAlignBlock();
    Reserve(byteCount);
    if (byteCount) std::memcpy(storage.get() + position, data, byteCount);
    Advance(byteCount);
    Report(static_cast<int>(byteCount * 8u));
}

void flaDump::StringPrint(std::string s) {
    for (char c : s) DataU8(static_cast<unsigned char>(c));
    DataU8(static_cast<unsigned char>(0));
}

void flaDump::FixData(int at, const char* data, int width, int bitCount, bool bitPacked) {
    if (bitPacked) {
        std::printf("Error: Can't fix a not align byte\n");
        return;
    }
    // Callers patch on a byte boundary; any pending part-byte stays pending.
    FlushBytes();
    if (bitCount == width && at >= 0 && static_cast<std::size_t>(at) + static_cast<std::size_t>(width / 8) <= length) {
        // The common case: a whole little-endian integer over bytes already written.
        std::memcpy(storage.get() + at, data, static_cast<std::size_t>(width / 8));
        return;
    }
    const int savedPosition = position;
    const std::uint64_t savedAcc = acc;
    const unsigned savedBits = accBits;
    SizeCallback* const savedCallback = sizeCallback;
    position = at;
    acc = 0;
    accBits = 0;
    sizeCallback = nullptr;  // the placeholder's bits were counted when it was written
    WriteBits(data, bitCount, width, false);
    FlushBytes();
    sizeCallback = savedCallback;
    position = savedPosition;
    acc = savedAcc;
    accBits = savedBits;
}

void flaDump::TagHeader(unsigned int code, std::uint32_t length, bool longForm) {
    if (longForm || length >= flaFormat::LongLength) {
        DataU16(flaFormat::LongHeaderWord(code));
        DataU32(length);
    } else {
        DataU16(flaFormat::HeaderWord(code, length));
    }
}

flaDump::TagStart flaDump::BeginTag(unsigned int code, bool longForm) {
    const TagStart tag{GetCurrentPosition(), code, longForm, false};
    DataU16(flaFormat::HeaderWord(code, longForm ? flaFormat::LongLength : 0));
    if (longForm) DataU32(0UL);  // the length, patched by EndTag
    return tag;
}

flaDump::TagStart flaDump::BeginShortestTag(unsigned int code) {
    TagStart tag = BeginTag(code, false);
    tag.shortest = true;
    return tag;
}

void flaDump::EndTag(const TagStart& tag) {
    const int header = tag.longForm ? 6 : 2;
    const auto body = static_cast<std::uint32_t>(GetCurrentPosition() - tag.position - header);
    if (tag.shortest && body >= flaFormat::LongLength) {
        // Room for the 32-bit length behind the header word: the body moves by four
        // bytes. The tag is the last thing written, so nothing else moves.
        WriteZeroToAlignBlock();
        Report(32);
        Reserve(4);
        const std::size_t from = static_cast<std::size_t>(tag.position) + 2;
        std::memmove(storage.get() + from + 4, storage.get() + from, length - from);
        Advance(4);
        PatchU16(tag.position, flaFormat::LongHeaderWord(tag.code));
        PatchU32(tag.position + 2, body);
        return;
    }
    if (tag.longForm)
        PatchU32(tag.position + 2, body);
    else
        PatchU16(tag.position, flaFormat::HeaderWord(tag.code, body & 0xFF));
}

void flaDump::TransformCoordFromPegSide(int& x, int& y) const {
    const int w = frameSizeX * 20;
    if (orientation == 0) {
        const int t = static_cast<int>(frameSizeX * -0.75 * 20.0);
        const int oldX = x;
        x = y;
        y = -oldX - t;
    } else if (orientation == 1) {
        const int oldX = x;
        x = w - y;
        y = oldX;
    }
}

bool flaDump::CompressImage(const unsigned char* image, std::size_t size, int level, std::vector<unsigned char>& out) {
    if (size <= 8) return false;
    const uLong n = static_cast<uLong>(size - 8);
    // The output bound the format's writer has always used: a longer stream fails.
    const float boundF = static_cast<float>(n) * 0.001f + static_cast<float>(n + 8) + 12.0f;
    const auto bound = static_cast<uLongf>(boundF);
    z_stream zs{};
    if (deflateInit(&zs, level) != Z_OK) return false;
    // Deflated through a small buffer and appended, so that the output is never
    // zero-filled ahead of the stream; the bytes are those of a single compress2.
    out.clear();
    out.reserve(8 + n / 2);  // room for what a movie usually deflates to, reserved but not yet touched
    out.assign(image, image + 8);
    unsigned char chunk[1 << 16];
    const unsigned char* next = image + 8;
    uLong left = n;
    int rc = Z_OK;
    while (rc == Z_OK && zs.total_out <= bound) {
        if (zs.avail_in == 0 && left > 0) {
            const uInt take = left > (1u << 30) ? (1u << 30) : static_cast<uInt>(left);
            zs.next_in = const_cast<unsigned char*>(next);
            zs.avail_in = take;
            next += take;
            left -= take;
        }
        zs.next_out = chunk;
        zs.avail_out = sizeof chunk;
        rc = deflate(&zs, left == 0 ? Z_FINISH : Z_NO_FLUSH);
        out.insert(out.end(), chunk, chunk + (sizeof chunk - zs.avail_out));
    }
    const uLong produced = zs.total_out;
    deflateEnd(&zs);
    if (rc != Z_STREAM_END || produced > bound || produced >= n) return false;
    out[0] = 'C';
    out[1] = 'W';
    out[2] = 'S';
    out[3] = static_cast<signed char>(image[3]) >= 6 ? image[3] : 6;
    return true;
}

std::vector<unsigned char> flaDump::GetFileImage(bool& compress) const {
    // The committed bytes are the image unless whole bytes are still pending.
    const bool committed = accBits < 8 && static_cast<std::size_t>(position) == length;
    if (compress) {
        std::vector<unsigned char> out;
        if (committed && CompressImage(storage.get(), length, writeOptions.compressionLevel, out)) return out;
        if (!committed) {
            const std::vector<unsigned char> image = GetBuffer();
            if (CompressImage(image.data(), image.size(), writeOptions.compressionLevel, out)) return out;
        }
    }
    compress = false;
    return GetBuffer();
}

bool flaDump::WriteFileOnDisk(const PL_FileSpec& file, bool& compress) {
    std::FILE* f = file.get_fs("wb");
    if (!f) {
        std::printf("Cannot open file for write: %s\n", file.GetFilePath().utf8().c_str());
        return false;
    }
    FlushBytes();
    acc = 0;  // bits short of a byte are dropped
    accBits = 0;
    position = 0;
    // The image is written from the stream's own memory when it goes out uncompressed.
    std::vector<unsigned char> compressed;
    const bool packed = compress && CompressImage(storage.get(), length, writeOptions.compressionLevel, compressed);
    if (!packed) compress = false;
    const unsigned char* data = packed ? compressed.data() : storage.get();
    const std::size_t size = packed ? compressed.size() : length;
    bool ok = size == 0 || std::fwrite(data, 1, size, f) == size;
    ok = std::fclose(f) == 0 && ok;
    return ok;
}
