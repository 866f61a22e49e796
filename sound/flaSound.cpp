// Sound definitions: the owned sample block (flaBuffer) and flaSound's DefineSound,
// SoundStreamHead2 and SoundStreamBlock writers and readers. Samples are never
// encoded here: the format description is packed into the tags' bit fields and
// the sample bytes go out as they were handed in.
#include <algorithm>
#include <cstdint>
#include <memory>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "flio/flaSound.h"
#include "io/flaFormat.h"

namespace {

namespace SoundByte = flaFormat::SoundByte;

bool HasSampleData(unsigned int format) { return format <= flaSound::MP3; }

}  // namespace

unsigned char flaSound::FormatByte(unsigned int format, unsigned int rateCode, unsigned short sampleSize,
                                   unsigned short channels) {
    const unsigned int sizeBit = sampleSize == 8 ? 0u : SoundByte::Is16Bit;
    const unsigned int typeBit = static_cast<unsigned int>(channels - 1) & SoundByte::IsStereo;
    return static_cast<unsigned char>(((format & 15u) << SoundByte::FormatShift) |
                                      ((rateCode & 3u) << SoundByte::RateShift) | sizeBit | typeBit);
}

// --- flaBuffer ---------------------------------------------------------------

void flaBuffer::SetData(unsigned char* data, unsigned int newSize) {
    delete[] ptr;
    ptr = data;
    size = data ? newSize : 0;
}

void flaBuffer::Read(flaRead& reader, unsigned int wanted) {
    const unsigned int rest = static_cast<unsigned int>(reader.DataSize());
    const std::uint64_t cap = static_cast<std::uint64_t>(rest) + MaxBytesBeyondTag;
    const std::uint64_t total64 = std::min<std::uint64_t>(std::max<std::uint64_t>(wanted, rest), cap);
    const unsigned int total = static_cast<unsigned int>(std::min<std::uint64_t>(total64, 0xFFFFFFFFu));
    // Zero-initialised, so that the part past the tag's end holds defined bytes.
    std::unique_ptr<unsigned char[]> block(new unsigned char[total ? total : 1]());
    reader.ReadRestOfTagData(block.get());
    delete[] ptr;
    ptr = block.release();
    size = total;
}

// --- flaSound ----------------------------------------------------------------

unsigned int flaSound::RateCode(unsigned int rate) {
    if (rate < 8251) return 0;
    if (rate < 16538) return 1;
    if (rate < 33076) return 2;
    return 3;
}

void flaSound::DumpSoundInFile(flaDump& dump) {
    if (alreadyDumped) return;
    dump.SetCostCode(costCode);
    alreadyDumped = true;
    // A stream that keeps the file's details writes the seek of an MP3 event sound
    // and the data of every format.
    const bool details = dump.GetWriteOptions().fileDetails;
    const flaDump::TagStart tag = dump.BeginTag(flaFormat::DefineSound);
    dump.DataU16(static_cast<unsigned short>(soundId));
    dump.DataU8(FormatByte(compressFormat, RateCode(sampleRate), sampleSize, channels));
    dump.DataU32(sampleCount);
    if (compressFormat == MP3) {
        if (isStream) {
            dump.DataU16(static_cast<unsigned short>(buffer.GetSamplePerFrame()));
            dump.DataU16(static_cast<unsigned short>(buffer.GetDelay()));
        } else {
            // The classic writer writes an event sound's SeekSamples as 0.
            dump.DataU16(static_cast<unsigned short>(details ? buffer.GetDelay() : 0));
        }
    }
    if (details || HasSampleData(compressFormat)) dump.ChunkDump(buffer.GetPtr(), buffer.GetSize());
    dump.EndTag(tag);
    dump.SetCostCode(0);
}

void flaSound::DumpSoundStreamInFile(flaDump& dump) {
    if (alreadyDumped) return;
    alreadyDumped = true;
    // An MP3 stream head ends with the latency seek (kept in the buffer's delay)
    // when the stream keeps the file's details.
    const bool latency = dump.GetWriteOptions().fileDetails && compressFormat == MP3;
    dump.TagHeader(flaFormat::SoundStreamHead2, flaFormat::SoundStreamHead2Length + (latency ? 2 : 0));
    dump.DataU8(streamPlayback);
    dump.DataU8(FormatByte(compressFormat, RateCode(sampleRate), sampleSize, channels));
    dump.DataU16(static_cast<unsigned short>(sampleCount));
    if (latency) dump.DataU16(static_cast<unsigned short>(buffer.GetDelay()));
}

void flaSound::DumpSoundStreamBlockInFile(flaDump& dump, const flaBuffer& block) {
    const flaDump::TagStart tag = dump.BeginTag(flaFormat::SoundStreamBlock);
    if (compressFormat == MP3) {
        if (isStream) {
            dump.DataU16(static_cast<unsigned short>(block.GetSamplePerFrame()));
            dump.DataU16(static_cast<unsigned short>(block.GetDelay()));
        } else {
            dump.DataU16(0);
        }
    }
    if (HasSampleData(compressFormat) || dump.GetWriteOptions().fileDetails)
        dump.ChunkDump(block.GetPtr(), block.GetSize());
    dump.EndTag(tag);
}

namespace {


// The declared length of uncompressed samples, computed wide (it can exceed 32
// bits) and cut back to what a block may hold; flaBuffer::Read caps it further.
unsigned int DeclaredBytes(unsigned short sampleSize, unsigned short channels, unsigned int count) {
    const std::uint64_t bytes = static_cast<std::uint64_t>(sampleSize / 8) * channels * count;
    return static_cast<unsigned int>(std::min<std::uint64_t>(bytes, 0xFFFFFFFFu));
}

}  // namespace

unsigned int flaSound::ReadFormatByte(flaRead& reader) {
    const unsigned char b = reader.GetByte();
    const unsigned int format = b >> SoundByte::FormatShift;
    // The classic import keeps the formats it knows; others leave compressFormat as
    // it was. A faithful import keeps every format.
    if (format <= MP3 || reader.IsFaithful()) compressFormat = static_cast<CompressFormat_e>(format);
    sampleRate = flaFormat::SoundRates[(b >> SoundByte::RateShift) & 3u];
    sampleSize = static_cast<unsigned short>((b & SoundByte::Is16Bit) ? 16 : 8);
    channels = static_cast<unsigned short>((b & SoundByte::IsStereo) ? 2 : 1);
    return format;
}

void flaSound::ReadSoundFromFile(flaRead& reader) {
    soundId = reader.GetWord();
    const unsigned int format = ReadFormatByte(reader);
    sampleCount = reader.GetDWord();
    const unsigned int rest = static_cast<unsigned int>(reader.DataSize());
    switch (format) {
        case NotCompressed: {
            // An uncompressed event sound gets at least its declared length (a
            // faithful import keeps the data as it is).
            unsigned int wanted = rest;
            if (!isStream && !reader.IsFaithful()) wanted = std::max(wanted, DeclaredBytes(sampleSize, channels, sampleCount));
            buffer.Read(reader, wanted);
            break;
        }
        case ADPCM:
            buffer.Read(reader, static_cast<unsigned int>(reader.DataSize()));
            break;
        case MP3:
            buffer.SetDelay(reader.GetWord());
            if (isStream) {
                buffer.SetSamplePerFrame(reader.GetWord());
                buffer.SetDelay(reader.GetWord());
            }
            buffer.Read(reader, static_cast<unsigned int>(reader.DataSize()));
            break;
        default:
            // The classic import holds no data of the other formats; a faithful one
            // keeps it as it is.
            if (reader.IsFaithful()) buffer.Read(reader, rest);
            break;
    }
}

void flaSound::ReadSoundStreamFromFile(bool /*kind*/, flaRead& reader) {
    isStream = true;
    streamPlayback = reader.GetByte();
    ReadFormatByte(reader);
    sampleCount = reader.GetWord();
    // An MP3 stream head ends with its latency seek, which a faithful import keeps
    // in the buffer's delay.
    if (reader.IsFaithful() && compressFormat == MP3 && reader.DataSize() >= 2) buffer.SetDelay(reader.GetWord());
}

flaBuffer* flaSound::ReadSoundStreamBlockFromFile(flaRead& reader) {
    std::unique_ptr<flaBuffer> block(new flaBuffer);
    switch (compressFormat) {
        case NotCompressed: {
            unsigned int wanted = static_cast<unsigned int>(reader.DataSize());
            if (!isStream) wanted = std::max(wanted, DeclaredBytes(sampleSize, channels, sampleCount));
            block->Read(reader, wanted);
            break;
        }
        case ADPCM:
            block->Read(reader, static_cast<unsigned int>(reader.DataSize()));
            break;
        case MP3:
            if (isStream) {
                block->SetSamplePerFrame(reader.GetWord());
                block->SetDelay(reader.GetWord());
            }
            block->Read(reader, static_cast<unsigned int>(reader.DataSize()));
            break;
        default:
            if (reader.IsFaithful()) block->Read(reader, static_cast<unsigned int>(reader.DataSize()));
            break;
    }
    return block.release();
}
