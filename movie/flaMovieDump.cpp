// Writing a whole movie as an SWF file: the header, the global definitions, every
// frame as the difference from the one before, the optional palette tag, the End
// tag and the file-length patch.
#include <algorithm>
#include <cstdint>

#include "flio/PL_File.h"
#include "flio/flaAction.h"
#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "flio/flaMovie.h"
#include "io/flaFormat.h"

namespace {

// The largest stage extent in twips that a RECT with a 5-bit field width can hold.
const std::int64_t kMaxTwips = (std::int64_t(1) << 30) - 1;

}  // namespace

bool flaMovie::DumpMovieToFile(const PL_FileSpec& file, flaDump& dump, bool compress) {
    if (!DumpMovieToBuffer(dump)) return false;
    bool useCompression = compress;
    return dump.WriteFileOnDisk(file, useCompression);
}

std::size_t flaMovie::MediaBytes() const {
    std::size_t bytes = 4096 + jpegTablesLength;
    for (const flaBitsLossless* b : bitsLossless) bytes += b->dataSize + 16;
    for (const flaBitsLossless2* b : bitsLossless2) bytes += b->dataSize + 16;
    for (const flaBitsJpegBase* j : jpegs) bytes += j->GetDataSize() + 16;
    for (const flaSound* s : sounds) bytes += s->GetSize() + 32;
    return bytes;
}

bool flaMovie::DumpMovieToBuffer(flaDump& dump) {
    // Texts written into the stream look their fonts up in this movie's table.
    struct FontTableScope {
        flaDump& dump;
        const flaFontTable* saved;
        ~FontTableScope() { dump.SetFontTable(saved); }
    } scope{dump, dump.GetFontTable()};
    dump.SetFontTable(&fontTable);
    dump.ReserveBytes(MediaBytes());

    // Header. The version byte is 9, or the file's own when the stream keeps it.
    const bool details = dump.GetWriteOptions().fileDetails;
    dump.DataU8(static_cast<unsigned char>('F'));
    dump.DataU8(static_cast<unsigned char>('W'));
    dump.DataU8(static_cast<unsigned char>('S'));
    dump.DataU8(static_cast<unsigned char>(details && fileVersion > 0 ? fileVersion : 9));
    dump.DataU32(2500UL);  // file length, patched at the end

    const auto width = static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t(frameSizeX) * 20, kMaxTwips));
    const auto height = static_cast<std::int32_t>(std::min<std::int64_t>(std::int64_t(frameSizeY) * 20, kMaxTwips));
    dump.DataRect(0, width, 0, height);
    dump.PadLastByte();
    dump.DataU16(details && hasFrameRateWord ? frameRateWord : static_cast<unsigned short>(frameRate << 8));
    dump.DataU16(static_cast<unsigned short>(frames.size()));

    DumpAllBitmap(dump);
    DumpAllFonts(dump);
    DumpStreamHead(dump);
    DumpTimeline(dump, true);

    if (exportPalette) paletteData.Dump(dump);
    dump.TagHeader(flaFormat::End, 0);
    dump.PatchU32(4, static_cast<std::uint32_t>(dump.GetCurrentPosition()));
    return true;
}

flaSound* flaMovie::WrittenStream(const flaDump& dump) const {
    return dump.GetWriteOptions().fileDetails ? importedStreamedSound : nullptr;
}

void flaMovie::DumpStreamHead(flaDump& dump) const {
    // An imported stream in its own format when the stream keeps the file's
    // details; otherwise the export setting's fixed format, if it is on.
    if (flaSound* stream = WrittenStream(dump))
        stream->DumpSoundStreamInFile(dump);
    else
        streamedSound.DumpHeader(dump);
}

void flaMovie::DumpTimeline(flaDump& dump, bool writeBackground) const {
    flaSound* stream = WrittenStream(dump);
    const flaFrame* previous = nullptr;
    for (const auto& framePtr : frames) {
        const flaFrame& frame = *framePtr;
        if (stream && frame.GetStreamedSound())
            stream->DumpSoundStreamBlockInFile(dump, *frame.GetStreamedSound());
        else if (!stream && streamedSound.IsActive() && frame.GetStreamedSound())
            streamedSound.DumpBlock(dump, *frame.GetStreamedSound());
        for (unsigned int i = 0; i < frame.GetSoundCount(); ++i) {
            const flaSoundInfo* start = frame.GetSound(i);
            // Each sound is defined once, just before its first start.
            if (flaSound* sound = GetSound(start->GetSoundId())) sound->DumpSoundInFile(dump);
            start->DumpSoundStartInFile(dump);
        }
        frame.DumpFrameInFile(dump, previous, writeBackground);
        previous = &frame;
    }
}

void flaMovie::DumpAllBitmap(flaDump& dump) {
    if (jpegTables) {
        dump.TagHeader(flaFormat::JPEGTables, jpegTablesLength, true);
        dump.ChunkDump(jpegTables, jpegTablesLength);
    }
    for (const flaBitsJpegBase* jpeg : jpegs) jpeg->DumpInFile(dump);
    for (flaBitsLossless* bits : bitsLossless) bits->DumpInFile(dump);
    for (flaBitsLossless2* bits : bitsLossless2) bits->DumpInFile(dump);
}

void flaMovie::BuildAndDumpStopSoundsActionOfMovie(flaDump& dump) {
    flaAction actions;
    actions.AddActionRecord(new flaActionSetTarget(std::string()));
    actions.AddActionRecord(new flaActionStopSounds());
    actions.DumpDoActionTag(dump);
}
