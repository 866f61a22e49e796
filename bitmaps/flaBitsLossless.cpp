// Lossless bitmaps: DefineBitsLossless (code 20) and DefineBitsLossless2 (code 36).
// The zlib-compressed colour table and pixels are kept and written exactly as the
// tag carries them; only the fixed fields in front of them are encoded here.
#include <memory>

#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"

namespace {

const unsigned int kColorMapped = flaFormat::BitmapFormat::ColorMapped8;

}  // namespace

bool flaBitsLossless::DumpInFile(flaDump& dump) { return DumpInFileWithCode(dump, flaFormat::DefineBitsLossless); }

bool flaBitsLossless2::DumpInFile(flaDump& dump) { return DumpInFileWithCode(dump, flaFormat::DefineBitsLossless2); }

bool flaBitsLossless::DumpInFileWithCode(flaDump& dump, unsigned short tagCode) {
    const unsigned int bytes = data ? dataSize : 0;
    const bool colorMapped = format == kColorMapped;
    dump.SetCostCode(costCode);
    // Always the long form, whatever the length.
    dump.TagHeader(tagCode, bytes + (colorMapped ? 8u : 7u), true);
    dump.DataU16(static_cast<unsigned short>(id));
    dump.DataU8(static_cast<unsigned char>(format));
    dump.DataU16(static_cast<unsigned short>(width));
    dump.DataU16(static_cast<unsigned short>(height));
    // The field's low byte as it stands: callers store colours - 1 here, while
    // the reader stores the colour count (the byte + 1).
    if (colorMapped) dump.DataU8(static_cast<unsigned char>(colorTableSize));
    dump.ChunkDump(data, bytes);
    dump.SetCostCode(0);
    return true;
}

bool flaBitsLossless::ReadFromFile(flaRead& reader) {
    // Everything is read into locals first, so a short tag leaves the object as it was.
    const unsigned short newId = reader.GetWord();
    const unsigned char newFormat = reader.GetByte();
    const unsigned short newWidth = reader.GetWord();
    const unsigned short newHeight = reader.GetWord();
    unsigned int newColorTableSize = 1;
    if (newFormat == kColorMapped) newColorTableSize = reader.GetByte() + 1u;
    const unsigned int newSize = static_cast<unsigned int>(reader.DataSize());
    std::unique_ptr<unsigned char[]> block(new unsigned char[newSize ? newSize : 1]);
    reader.ReadRestOfTagData(block.get());

    id = newId;
    format = newFormat;
    width = newWidth;
    height = newHeight;
    colorTableSize = newColorTableSize;
    delete[] data;
    data = block.release();
    dataSize = newSize;
    return true;
}
