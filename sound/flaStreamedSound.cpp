// The movie's streamed-sound export: one SoundStreamHead2 with a fixed format and
// one SoundStreamBlock per frame that carries a block.
#include "flio/flaDump.h"
#include "flio/flaSound.h"
#include "io/flaFormat.h"

void flaStreamedSound::DumpHeader(flaDump& dump) const {
    if (!IsActive()) return;
    dump.TagHeader(flaFormat::SoundStreamHead2, flaFormat::SoundStreamHead2Length);
    dump.DataU8(static_cast<unsigned char>(0));  // playback: reserved, 5.5 kHz, 8-bit, mono
    // ADPCM, 22 kHz, 16-bit, stereo.
    dump.DataU8(flaSound::FormatByte(flaFormat::SoundFormat::ADPCM, 2, 16, 2));
    dump.DataU16(samplesPerBlock);
}

void flaStreamedSound::DumpBlock(flaDump& dump, const flaBuffer& block) const {
    if (block.GetSize() == 0 || block.GetPtr() == nullptr) return;
    dump.TagHeader(flaFormat::SoundStreamBlock, block.GetSize(), true);
    dump.ChunkDump(block.GetPtr(), block.GetSize());  // raw ADPCM, no MP3 fields
}
