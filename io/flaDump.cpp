#include "flio/flaDump.h"

#include <zlib.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "flio/PL_FileSpec.h"
#include "io/flaConvert.h"

using flio_detail::TruncToInt64;

flaDump::SizeCallback::~SizeCallback() = default;

flaDump::flaDump(int frameSizeX_, SizeCallback* callback)
    : frameSizeX(frameSizeX_), sizeCallback(callback) {}

flaDump::~flaDump() = default;

void flaDump::CommitByte() {
    if (static_cast<std::size_t>(position) == buffer.size())
        buffer.push_back(pendingByte);
    else
        buffer[static_cast<std::size_t>(position)] = pendingByte;
    ++position;
    pendingByte = 0;
    bitPosition = 0;
}

// Writes the low `count` bits of value, most significant first, continuing at the
// current bit position and committing every byte that fills up.
void flaDump::PutBits(unsigned long value, int count) {
    while (count > 0) {
        const int room = 8 - static_cast<int>(bitPosition);
        const int take = count < room ? count : room;
        const unsigned long bits = (value >> (count - take)) & ((1UL << take) - 1UL);
        pendingByte = static_cast<unsigned char>(pendingByte | (bits << (room - take)));
        bitPosition += static_cast<unsigned int>(take);
        count -= take;
        if (bitPosition == 8) CommitByte();
    }
}

void flaDump::WriteZeroToAlignBlock() {
    if (bitPosition == 0) return;
    Report(8 - static_cast<int>(bitPosition));
    CommitByte();
}

void flaDump::PadLastByte() { WriteZeroToAlignBlock(); }

void flaDump::Bit(bool b) {
    Report(1);
    PutBits(b ? 1UL : 0UL, 1);
}

void flaDump::DataU8(unsigned char v) {
    Report(8);
    WriteZeroToAlignBlock();
    PutAlignedByte(v);
}

void flaDump::DataS8(char v) { DataU8(static_cast<unsigned char>(v)); }

void flaDump::DataU16(unsigned short v) {
    Report(16);
    WriteZeroToAlignBlock();
    PutAlignedByte(static_cast<unsigned char>(v & 0xFF));
    PutAlignedByte(static_cast<unsigned char>(v >> 8));
}

void flaDump::DataS16(short v) { DataU16(static_cast<unsigned short>(v)); }

void flaDump::DataU32(unsigned long v) {
    Report(32);
    WriteZeroToAlignBlock();
    for (int i = 0; i < 4; ++i) PutAlignedByte(static_cast<unsigned char>((v >> (8 * i)) & 0xFF));
}

void flaDump::DataFloat(float v) {
    unsigned int bits;
    std::memcpy(&bits, &v, sizeof bits);
    DataU32(bits);
}

void flaDump::DataU8(const char* data, int bitCount, bool bitPacked) { WriteBits(data, bitCount, 8, bitPacked); }
void flaDump::DataU16(const char* data, int bitCount, bool bitPacked) { WriteBits(data, bitCount, 16, bitPacked); }
void flaDump::DataU32(const char* data, int bitCount, bool bitPacked) { WriteBits(data, bitCount, 32, bitPacked); }

bool flaDump::WriteBits(const char* data, int bitCount, int width, bool bitPacked) {
    Report(bitCount);
    if (!bitPacked) WriteZeroToAlignBlock();
    if (bitCount < 1) return true;
    if (bitCount > width) bitCount = width;
    // The width-sized value, little-endian at data, with its field moved to the top.
    unsigned long value = 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    for (int i = 0; i < width / 8; ++i) value |= static_cast<unsigned long>(bytes[i]) << (8 * i);
    const unsigned long mask = width == 32 ? 0xFFFFFFFFUL : ((1UL << width) - 1UL);
    const unsigned long shifted = (value << (width - bitCount)) & mask;
    if (bitPacked) {
        PutBits(shifted >> (width - bitCount), bitCount);
        return true;
    }
    // Not packed: the first bitCount bits of the shifted value's little-endian image.
    int left = bitCount;
    for (int i = 0; i < width / 8 && left > 0; ++i) {
        const unsigned long byte = (shifted >> (8 * i)) & 0xFF;
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
    const std::size_t end = static_cast<std::size_t>(position) + byteCount;
    if (buffer.size() < end) buffer.resize(end);
    if (byteCount) std::memcpy(buffer.data() + position, data, byteCount);
    position += static_cast<int>(byteCount);
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
    const int saved = position;
    SizeCallback* const savedCallback = sizeCallback;
    position = at;
    sizeCallback = nullptr;  // the placeholder's bits were counted when it was written
    WriteBits(data, bitCount, width, false);
    sizeCallback = savedCallback;
    position = saved;
}

int flaDump::GetBitNumber(int value) {
    if (value == 0) return 1;
    if (value < 0) return 0;
    int n = 0;
    while (value != 0 && n < 32) {
        value >>= 1;
        ++n;
    }
    return n;
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

std::vector<unsigned char> flaDump::GetFileImage(bool& compress) const {
    if (compress && buffer.size() > 8) {
        const uLong n = static_cast<uLong>(buffer.size() - 8);
        const float boundF = static_cast<float>(n) * 0.001f + static_cast<float>(n + 8) + 12.0f;
        uLongf outLen = static_cast<uLongf>(boundF);
        std::vector<unsigned char> out(8 + outLen);
        const int rc = ::compress(out.data() + 8, &outLen, buffer.data() + 8, n);
        if (rc == Z_OK && outLen < n) {
            out[0] = 'C';
            out[1] = 'W';
            out[2] = 'S';
            out[3] = static_cast<signed char>(buffer[3]) >= 6 ? buffer[3] : 6;
            std::memcpy(out.data() + 4, buffer.data() + 4, 4);
            out.resize(8 + outLen);
            return out;
        }
    }
    compress = false;
    return buffer;
}

bool flaDump::WriteFileOnDisk(const PL_FileSpec& file, bool& compress) {
    std::FILE* f = file.get_fs("wb");
    if (!f) {
        std::printf("Cannot open file for write: %s\n", file.GetFilePath().utf8().c_str());
        return false;
    }
    pendingByte = 0;
    bitPosition = 0;
    position = 0;
    const std::vector<unsigned char> image = GetFileImage(compress);
    bool ok = image.empty() || std::fwrite(image.data(), 1, image.size(), f) == image.size();
    ok = std::fclose(f) == 0 && ok;
    return ok;
}
