// Sound start information: the StartSound tag (code 15) and its SOUNDINFO record.
#include <algorithm>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "flio/flaSound.h"
#include "io/flaFormat.h"

namespace SoundInfo = flaFormat::SoundInfo;

void flaSoundInfo::SetEnvelope(const EnvelopePoint* begin, const EnvelopePoint* end) {
    hasEnvelope = true;
    const std::size_t count = (begin && end && begin < end) ? static_cast<std::size_t>(end - begin) : 0;
    const std::size_t kept = std::min<std::size_t>(count, MaxEnvelopePoints);
    std::copy(begin, begin + kept, envelope);
    envelopeCount = static_cast<unsigned char>(kept);
}

void flaSoundInfo::DumpSoundStartInFile(flaDump& dump) const {
    const unsigned int points = std::min<unsigned int>(envelopeCount, MaxEnvelopePoints);
    unsigned int length = 3;
    if (hasInPoint) length += 4;
    if (hasOutPoint) length += 4;
    if (hasLoopCount) length += 2;
    if (hasEnvelope) length += 1 + 8 * points;

    dump.TagHeader(flaFormat::StartSound, length);  // the short form below 63 bytes
    dump.DataU16(static_cast<unsigned short>(soundId));
    const unsigned int flags = ((syncFlags & 15u) << SoundInfo::SyncShift) | (hasEnvelope ? SoundInfo::HasEnvelope : 0u) |
                               (hasLoopCount ? SoundInfo::HasLoops : 0u) | (hasOutPoint ? SoundInfo::HasOutPoint : 0u) |
                               (hasInPoint ? SoundInfo::HasInPoint : 0u);
    dump.DataU8(static_cast<unsigned char>(flags));
    if (hasInPoint) dump.DataU32(inPoint);
    if (hasOutPoint) dump.DataU32(outPoint);
    if (hasLoopCount) dump.DataU16(loopCount);
    if (hasEnvelope) {
        dump.DataU8(static_cast<unsigned char>(points));
        for (unsigned int i = 0; i < points; ++i) {
            dump.DataU32(envelope[i].position);
            dump.DataU16(envelope[i].leftLevel);
            dump.DataU16(envelope[i].rightLevel);
        }
    }
}

void flaSoundInfo::Read(flaRead& reader) {
    soundId = reader.GetWord();
    const unsigned char f = reader.GetByte();
    syncFlags = static_cast<unsigned char>(f >> SoundInfo::SyncShift);
    hasEnvelope = (f & SoundInfo::HasEnvelope) != 0;
    hasLoopCount = (f & SoundInfo::HasLoops) != 0;
    hasOutPoint = (f & SoundInfo::HasOutPoint) != 0;
    hasInPoint = (f & SoundInfo::HasInPoint) != 0;
    if (hasInPoint) inPoint = reader.GetDWord();
    if (hasOutPoint) outPoint = reader.GetDWord();
    if (hasLoopCount) loopCount = reader.GetWord();
    if (hasEnvelope) {
        const unsigned int count = reader.GetByte();
        envelopeCount = static_cast<unsigned char>(std::min<unsigned int>(count, MaxEnvelopePoints));
        for (unsigned int i = 0; i < count; ++i) {
            EnvelopePoint p;
            p.position = reader.GetDWord();
            p.leftLevel = reader.GetWord();
            p.rightLevel = reader.GetWord();
            // Points past the eighth are consumed but not kept.
            if (i < MaxEnvelopePoints) envelope[i] = p;
        }
    }
}
