// Sound: flaBuffer (an owned byte block with the two MP3 counters), flaSound (an
// event sound written as DefineSound, or the format of a streamed sound),
// flaSoundInfo (how a frame starts a sound: StartSound) and flaStreamedSound (the
// movie's streamed-sound export setting: SoundStreamHead2 and SoundStreamBlock).
// The library never encodes audio: samples are handed in and read back as the tags
// carry them.
#pragma once

#include <list>

class flaDump;
class flaRead;

class flaBuffer {
public:
    flaBuffer() = default;
    flaBuffer(const flaBuffer&) = delete;
    flaBuffer& operator=(const flaBuffer&) = delete;
    ~flaBuffer() { delete[] ptr; }

    unsigned char* GetPtr() { return ptr; }
    const unsigned char* GetPtr() const { return ptr; }
    unsigned int GetSize() const { return size; }
    unsigned int GetSamplePerFrame() const { return samplePerFrame; }
    void SetSamplePerFrame(unsigned int v) { samplePerFrame = v; }
    unsigned int GetDelay() const { return delay; }
    void SetDelay(unsigned int v) { delay = v; }

    // Takes over data (allocated with new[]), releasing the old bytes. A null data
    // pointer gives an empty buffer whatever size says.
    void SetData(unsigned char* data, unsigned int size);
    // A block of `size` bytes whose front is filled with the rest of the current tag;
    // the bytes past the tag's end are zero. A size from a file may be absurd (up to
    // 4 GB for a few bytes of tag), so the block never grows beyond the tag's bytes
    // plus MaxBytesBeyondTag: a larger size is cut back to that.
    void Read(flaRead& reader, unsigned int size);

    // How far a block may reach past the bytes of its tag (64 MiB, about six
    // minutes of 16-bit stereo sound at 44 kHz).
    static constexpr unsigned int MaxBytesBeyondTag = 64u << 20;

private:
    unsigned char* ptr = nullptr;
    unsigned int size = 0;
    unsigned int samplePerFrame = 0;
    unsigned int delay = 0;
};

class flaSound {
public:
    // The SWF SoundFormat values handled. The underlying type is fixed so that any
    // other format value can be stored too (such a sound is written without data).
    enum CompressFormat_e : unsigned int { NotCompressed = 0, ADPCM = 1, MP3 = 2 };

    flaSound() = default;
    flaSound(const flaSound&) = delete;
    flaSound& operator=(const flaSound&) = delete;
    ~flaSound() = default;

    unsigned int GetCostCode() const { return costCode; }
    void SetCostCode(unsigned int v) { costCode = v; }
    int GetSoundID() const { return soundId; }
    void SetSoundID(int v) { soundId = v; }
    CompressFormat_e GetCompressFormat() const { return compressFormat; }
    void SetCompressFormat(CompressFormat_e v) { compressFormat = v; }
    unsigned short GetChannels() const { return channels; }
    void SetChannels(unsigned short v) { channels = v; }
    unsigned int GetSampleRate() const { return sampleRate; }
    void SetSampleRate(unsigned int v) { sampleRate = v; }
    unsigned short GetSampleSize() const { return sampleSize; }
    void SetSampleSize(unsigned short v) { sampleSize = v; }
    unsigned int GetSampleCount() const { return sampleCount; }
    void SetSampleCount(unsigned int v) { sampleCount = v; }
    bool GetIsStream() const { return isStream; }
    bool IsAlreadyDump() const { return alreadyDumped; }
    bool IsSupported() const { return supported; }
    unsigned char GetStreamPlayback() const { return streamPlayback; }
    flaBuffer& GetBuffer() { return buffer; }
    const flaBuffer& GetBuffer() const { return buffer; }
    const unsigned char* GetSamplePtr() const { return buffer.GetPtr(); }
    unsigned int GetSize() const { return buffer.GetSize(); }

    void SetSamples(unsigned char* data, unsigned int size) { buffer.SetData(data, size); }
    void ConvertToStream() { isStream = true; }
    bool RipInfo() { return false; }

    // The 2-bit SoundRate code for sampleRate (near values snap to the four rates).
    static unsigned int RateCode(unsigned int sampleRate);
    // The byte of a DefineSound or stream head that packs SoundFormat (4 bits), the
    // rate code (2 bits), 16-bit samples (1 bit, set unless sampleSize is 8) and
    // stereo (1 bit: channels - 1).
    static unsigned char FormatByte(unsigned int format, unsigned int rateCode, unsigned short sampleSize,
                                    unsigned short channels);

    void DumpSoundInFile(flaDump& dump);        // DefineSound, once
    void DumpSoundStreamInFile(flaDump& dump);  // SoundStreamHead2, once
    void DumpSoundStreamBlockInFile(flaDump& dump, const flaBuffer& block);
    void ReadSoundFromFile(flaRead& reader);
    void ReadSoundStreamFromFile(bool kind, flaRead& reader);
    flaBuffer* ReadSoundStreamBlockFromFile(flaRead& reader);  // owned by the caller

private:
    // The format, rate, size and channel fields of a DefineSound or stream head;
    // returns the format as read (unknown formats leave compressFormat as it was).
    unsigned int ReadFormatByte(flaRead& reader);
    unsigned int costCode = 0;
    bool supported = false;
    bool alreadyDumped = false;
    CompressFormat_e compressFormat = NotCompressed;
    unsigned short channels = 0;
    unsigned int sampleRate = 5500;
    unsigned short sampleSize = 0;
    unsigned int sampleCount = 0;
    flaBuffer buffer;
    int soundId = -1;
    bool isStream = false;
    unsigned char streamPlayback = 0;
};

// The movie's list of sounds; the list itself owns nothing.
class flaSoundList : public std::list<flaSound*> {};

class flaSoundInfo {
public:
    struct EnvelopePoint {
        unsigned int position = 0;  // Pos44
        unsigned short leftLevel = 0;
        unsigned short rightLevel = 0;
    };
    enum SyncFlag { SyncNoMultiple = 1, SyncStop = 2 };
    static constexpr unsigned int MaxEnvelopePoints = 8;

    flaSoundInfo() = default;

    int GetSoundId() const { return soundId; }
    void SetSoundId(int id) { soundId = id; }
    void SetSyncFlag(SyncFlag f) { syncFlags = static_cast<unsigned char>(syncFlags | f); }
    bool IsSyncNoMultiple() const { return (syncFlags & 1) != 0; }
    bool IsSyncStop() const { return (syncFlags & 2) != 0; }
    unsigned char GetSyncFlags() const { return syncFlags; }

    void SetInPoint(unsigned int v) { hasInPoint = true; inPoint = v; }
    void SetOutPoint(unsigned int v) { hasOutPoint = true; outPoint = v; }
    void SetLoopCount(unsigned int v) { hasLoopCount = true; loopCount = static_cast<unsigned short>(v); }
    bool HasInPoint() const { return hasInPoint; }
    bool HasOutPoint() const { return hasOutPoint; }
    bool HasLoopCount() const { return hasLoopCount; }
    bool HasEnvelope() const { return hasEnvelope; }
    unsigned int GetInPoint() const { return inPoint; }
    unsigned int GetOutPoint() const { return outPoint; }
    unsigned int GetLoopCount() const { return loopCount; }

    // The envelope holds at most eight points. A longer range keeps its first eight
    // and the count becomes 8; a range whose begin lies after its end gives an empty
    // envelope. Read does the same with a file's count above eight: it keeps the
    // first eight points, consumes the others, and the count becomes 8. So the
    // count never exceeds MaxEnvelopePoints and no point is stored past the eighth.
    void SetEnvelope(const EnvelopePoint* begin, const EnvelopePoint* end);
    unsigned char GetEnvelopePointCount() const { return envelopeCount; }
    const EnvelopePoint& GetEnvelopePoint(unsigned int index) const { return envelope[index]; }

    void DumpSoundStartInFile(flaDump& dump) const;  // StartSound
    void Read(flaRead& reader);

private:
    int soundId = -1;
    unsigned char syncFlags = 0;
    bool hasEnvelope = false;
    unsigned char envelopeCount = 0;
    EnvelopePoint envelope[MaxEnvelopePoints];
    bool hasLoopCount = false;
    unsigned short loopCount = 0;
    bool hasOutPoint = false;
    unsigned int outPoint = 0;
    bool hasInPoint = false;
    unsigned int inPoint = 0;
};

class flaStreamedSound {
public:
    flaStreamedSound() = default;
    void Activate(unsigned short samples) { samplesPerBlock = samples; }
    bool IsActive() const { return samplesPerBlock > 0; }
    unsigned short GetSamplesPerBlock() const { return samplesPerBlock; }
    // SoundStreamHead2 with the fixed format (ADPCM, 22 kHz, 16-bit, stereo).
    void DumpHeader(flaDump& dump) const;
    // One SoundStreamBlock; nothing for an empty block.
    void DumpBlock(flaDump& dump, const flaBuffer& block) const;

private:
    unsigned short samplesPerBlock = 0;
};
