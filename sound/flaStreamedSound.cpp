// The movie's streamed-sound export: one SoundStreamHead2 with a fixed format and
// one SoundStreamBlock per frame that carries a block.
#include "flio/flaDump.h"
#include "flio/flaSound.h"

namespace {

const unsigned short kSoundStreamHead2Short = (45 << 6) | 4;    // 2884
const unsigned short kSoundStreamBlockHeader = (19 << 6) | 63;  // 1279

// ADPCM (1) in 4 bits, 22 kHz (2) in 2 bits, 16-bit (1), stereo (1).
const unsigned char kStreamFormat = (1u << 4) | (2u << 2) | (1u << 1) | 1u;

}  // namespace

void flaStreamedSound::DumpHeader(flaDump& dump) const {
    if (!IsActive()) return;
    dump.DataU16(kSoundStreamHead2Short);
    dump.DataU8(static_cast<unsigned char>(0));  // playback: reserved, 5.5 kHz, 8-bit, mono
    dump.DataU8(kStreamFormat);
    dump.DataU16(samplesPerBlock);
}

void flaStreamedSound::DumpBlock(flaDump& dump, const flaBuffer& block) const {
    if (block.GetSize() == 0 || block.GetPtr() == nullptr) return;
    dump.DataU16(kSoundStreamBlockHeader);
    dump.DataU32(block.GetSize());
    dump.ChunkDump(block.GetPtr(), block.GetSize());  // raw ADPCM, no MP3 fields
}
