// JPEG bitmaps: DefineBitsJPEG2 (code 21) and DefineBitsJPEG3 (code 35), their
// common base and the movie's container. Each keeps its tag body after the id and
// writes it back unchanged. DefineBits (code 6), which needs the movie's shared
// tables, lives in flaBitsJpegTables.cpp.
#include <cstdint>
#include <cstring>
#include <memory>

#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"

flaBitsJpegBase::flaBitsJpegBase(unsigned int costCode_, char* data_, unsigned int size)
    : dataSize(size), data(data_) {
    costCode = costCode_;
}

flaBitsJpegBase::~flaBitsJpegBase() { delete[] data; }

bool flaBitsJpegBase::DumpInFileBase(flaDump& dump, unsigned short tagHeaderWord) const {
    const unsigned int bytes = data ? dataSize : 0;
    dump.SetCostCode(costCode);
    // Always the long form, whatever the length.
    dump.TagHeader(tagHeaderWord >> flaFormat::TagCodeShift, bytes + 2u, true);
    dump.DataU16(static_cast<unsigned short>(id));
    dump.ChunkDump(data, bytes);
    dump.SetCostCode(0);
    return true;
}

bool flaBitsJpegBase::ReadFromFile(flaRead& reader) {
    const unsigned short newId = reader.GetWord();
    const unsigned int newSize = static_cast<unsigned int>(reader.DataSize());
    std::unique_ptr<char[]> block(new char[newSize ? newSize : 1]);
    reader.ReadRestOfTagData(block.get());
    id = newId;
    delete[] data;
    data = block.release();
    dataSize = newSize;
    return true;
}

bool flaBitsJpeg2::DumpInFile(flaDump& dump) const { return DumpInFileBase(dump, flaFormat::LongHeaderWord(flaFormat::DefineBitsJPEG2)); }

bool flaBitsJpeg2::InitJpegData(JPEGData& out) const {
    if (dataSize < 5 || data == nullptr) return false;
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    if (bytes[0] == 0xFF && bytes[1] == 0xD9 && bytes[2] == 0xFF && bytes[3] == 0xD8) {
        // An end-of-image/start-of-image pair in front: the stream starts behind it.
        // ownsBuffer keeps the caller's value here.
        out.jpeg = reinterpret_cast<unsigned char*>(data) + 4;
        out.jpegSize = dataSize - 4;
        return true;
    }
    out.jpeg = reinterpret_cast<unsigned char*>(data);
    out.jpegSize = dataSize;
    out.ownsBuffer = false;
    return true;
}

bool flaBitsJpeg3::DumpInFile(flaDump& dump) const { return DumpInFileBase(dump, flaFormat::LongHeaderWord(flaFormat::DefineBitsJPEG3)); }

bool flaBitsJpeg3::InitJpegData(JPEGData& out) const {
    if (data == nullptr || dataSize < 4) return false;
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    const std::uint32_t n = static_cast<std::uint32_t>(bytes[0]) | (static_cast<std::uint32_t>(bytes[1]) << 8) |
                            (static_cast<std::uint32_t>(bytes[2]) << 16) |
                            (static_cast<std::uint32_t>(bytes[3]) << 24);
    // The offset must leave the JPEG stream and at least one alpha byte inside the
    // data; computed wide so that an offset near 4 GB cannot wrap around.
    if (static_cast<std::uint64_t>(dataSize) < static_cast<std::uint64_t>(n) + 5u) return false;
    out.jpegSize = n;
    out.ownsBuffer = false;
    out.jpeg = reinterpret_cast<unsigned char*>(data) + 4;
    out.alpha = out.jpeg + n;
    out.alphaSize = dataSize - n - 4;
    return true;
}

void flaBitsJpeg3::SetNewDataBuffer(void* buffer, unsigned int size) {
    // The previous block stays with the caller that swaps buffers.
    data = static_cast<char*>(buffer);
    dataSize = size;
}

flaJPEGContainer::~flaJPEGContainer() {
    for (flaBitsJpegBase* bits : *this) delete bits;
}

const flaBitsJpegBase* flaJPEGContainer::Find(unsigned int wanted) const {
    for (const flaBitsJpegBase* bits : *this)
        if (bits && bits->id == wanted) return bits;
    return nullptr;
}
