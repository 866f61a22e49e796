// DefineBits (code 6): a JPEG image whose encoding tables live in the movie's
// JPEGTables block. Writing keeps the image bytes as they are; InitJpegData joins
// the movie's tables and the image into one decodable stream.
#include <cstring>
#include <memory>

#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaMovie.h"
#include "io/flaFormat.h"

flaBitsJpeg::flaBitsJpeg(const flaMovie& movie_) : movie(&movie_) {}

bool flaBitsJpeg::DumpInFile(flaDump& dump) const { return DumpInFileBase(dump, flaFormat::LongHeaderWord(flaFormat::DefineBits)); }

bool flaBitsJpeg::CheckBeginOfStreamTag() const {
    if (data == nullptr || dataSize < 2) return false;
    const auto* bytes = reinterpret_cast<const unsigned char*>(data);
    return bytes[0] == 0xFF && bytes[1] == 0xD8;
}

bool flaBitsJpeg::InitJpegData(JPEGData& out) const {
    if (dataSize < 3 || data == nullptr) return false;
    const unsigned int tables = movie ? movie->JPEGCopyTableSize() : 0;
    const unsigned long long joined = static_cast<unsigned long long>(dataSize) + tables;
    if (tables >= 2) {
        if (joined - 4 > 0xFFFFFFFFull) return false;  // the stream's length would not fit
        // The tables less their end-of-image marker, then the image less its
        // start-of-image marker: exactly two bytes are dropped on each side.
        std::unique_ptr<unsigned char[]> stream(new unsigned char[joined]);
        movie->JPEGCopyTable(stream.get());
        std::memcpy(stream.get() + tables - 2, data + 2, dataSize - 2);
        out.jpeg = stream.release();
        out.jpegSize = static_cast<unsigned int>(joined - 4);
        out.ownsBuffer = true;
        return true;
    }
    // No usable tables: the image is handed out as a copy of its own bytes.
    std::unique_ptr<unsigned char[]> copy(new unsigned char[dataSize]);
    std::memcpy(copy.get(), data, dataSize);
    out.jpeg = copy.release();
    out.jpegSize = dataSize;
    out.ownsBuffer = true;
    return true;
}
