// flaRead: the SWF input stream. It holds a whole SWF file in one buffer (inflated
// when the file is zlib-compressed) and offers the primitive reads of the format:
// bytes and little-endian words, an MSB-first bit reader, strings, tag headers and
// the bit-packed RECT, MATRIX and CXFORM records. It also carries the factor that
// turns twips into model units on import.
//
// Nothing in the file is trusted: every read is checked against the end of the
// buffer and, inside a tag, against the end of that tag (and a nested tag against
// the end of the tag that contains it). A read that would cross such an end throws
// flaRead::readError instead.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>

#include "flio/flaRecords.h"

struct SRECT {
    std::int32_t xmin = 0, xmax = 0, ymin = 0, ymax = 0;
};

struct MATRIX {
    std::int32_t scaleX = 0x10000, rotateSkew0 = 0, rotateSkew1 = 0, scaleY = 0x10000;
    std::int32_t translateX = 0, translateY = 0;
};

// Terms in file order: alpha, red, green, blue, each multiply then add.
struct CXFORM {
    std::int16_t aMult = 256, aAdd = 0, rMult = 256, rAdd = 0;
    std::int16_t gMult = 256, gAdd = 0, bMult = 256, bAdd = 0;
};

class flaRead {
public:
    // Any read past the data it may use: the message says what ran out and where.
    class readError : public std::runtime_error {
    public:
        explicit readError(const std::string& what) : std::runtime_error(what) {}
    };
    // A compressed file that does not inflate to its announced length.
    class dekompressError : public std::runtime_error {
    public:
        dekompressError() : std::runtime_error("Compressed SWF could not be decompressed") {}
    };

    // Limits the nested tags read inside the current tag to that tag's body, for
    // as long as it lives; restores the reader's tag state when it ends.
    class ContainerScope {
    public:
        explicit ContainerScope(flaRead& reader);
        ~ContainerScope();
        ContainerScope(const ContainerScope&) = delete;
        ContainerScope& operator=(const ContainerScope&) = delete;

    private:
        flaRead& reader_;
        std::uint32_t savedContainerEnd_, savedTagStart_, savedTagEnd_, savedTagLength_, savedLimit_;
    };

    // Reads the whole stream; a file whose first byte is 'C' is inflated after its
    // 8-byte header into a buffer no larger than what the data really inflates to.
    explicit flaRead(std::istream& in);
    // A copy of size bytes at data (uninitialised bytes when data is null); never inflates.
    flaRead(int size, const void* data);
    // A file image in memory, read where it lies: an uncompressed image is not
    // copied, so data must stay alive and unchanged for as long as the reader reads
    // it (the reader never releases it); a compressed one ('C' first) is inflated
    // into memory of the reader's own, as the stream constructor inflates.
    struct InPlace {};
    flaRead(const void* data, std::size_t size, InPlace);
    flaRead(const flaRead&) = delete;
    flaRead& operator=(const flaRead&) = delete;
    ~flaRead();

    void SetFileBuffer(unsigned char* buffer);

    std::uint32_t GetVersion() const { return version; }
    void SetVersion(std::uint32_t v) { version = v; }

    unsigned long GetPosition() const { return position; }
    void Seek(unsigned long p);
    void SkipBytes(int n);
    int bytesLeft() const { return static_cast<int>(size - position); }
    int DataSize() const;  // bytes left in the current tag
    // Bytes left before the end of the enclosing container (the file, or the tag
    // whose nested tags are being read): a tag loop stops when fewer than 2 remain.
    int ContainerBytesLeft() const;
    unsigned long GetTagEnd() const { return tagEnd; }
    unsigned long GetTagStart() const { return tagStart; }
    unsigned long GetTagLength() const { return tagLength; }
    unsigned long GetSize() const { return size; }
    const unsigned char* GetBuffer() const { return buffer; }
    float Progress() const;

    std::uint32_t GetBits(long n);
    std::int32_t GetSBits(long n);
    bool GetBool() { return GetBits(1) != 0; }
    static unsigned char getNBits(unsigned char value, unsigned char start, unsigned char count);
    static unsigned short getNBits(unsigned short value, unsigned char start, unsigned char count);

    unsigned char GetByte();
    unsigned short GetWord();
    short GetSWord();
    std::uint32_t GetDWord();
    double GetFixed8();
    double GetFixed();
    float GetFloat();
    void GetNBytes(int n, void* dst);
    const char* GetString();
    void GetHeader(unsigned char* dst);
    void ReadRestOfTagData(void* dst);
    // A new reader over a copy of the rest of the current tag, with this reader's
    // scaling and version (for definitions decoded later); this reader moves to
    // the tag's end.
    std::unique_ptr<flaRead> CopyRestOfTag();
    FLIO::flaRGBA GetColor(bool withAlpha);

    unsigned short GetTag();

    // Walks the tags of the current container (the file, or the tag whose nested
    // tags a ContainerScope opened) until End or until fewer than two bytes are
    // left. visit(code) runs with the reader at the start of each tag's body; the
    // reader then moves to the tag's end, whatever visit read. `before` runs before
    // each tag is read and ends the walk by returning false.
    template <typename Visit, typename Before>
    void WalkTags(Visit&& visit, Before&& before) {
        while (ContainerBytesLeft() >= 2) {
            if (!before()) return;
            const unsigned short code = GetTag();
            const unsigned long end = GetTagEnd();
            visit(code);
            Seek(end);
            if (IsEndTag(code)) return;
        }
    }
    template <typename Visit>
    void WalkTags(Visit&& visit) {
        WalkTags(visit, [] { return true; });
    }

    // The 8-byte file header: signature, version, and the file length as written.
    struct FileHeader {
        unsigned char signature[3] = {0, 0, 0};
        unsigned char version = 0;
        std::uint32_t fileLength = 0;
    };
    FileHeader GetFileHeader();
    // The movie header that follows it: the stage RECT in twips, the 8.8 frame
    // rate and the frame count.
    struct MovieHeader {
        SRECT stage;
        unsigned short frameRate = 0;
        unsigned short frameCount = 0;
    };
    MovieHeader GetMovieHeader();
    static bool IsEndTag(unsigned short code);

    void GetRect(SRECT* out);
    void GetMatrix(MATRIX* out);
    void GetCxform(CXFORM* out, bool withAlpha, bool& hasMult, bool& hasAdd);

    void SetScaling(float s) { scaling = s; }
    float GetScaling() const { return scaling; }
    // Faithful reading, for a movie taken over to be written again: the readers
    // keep every detail the file gives (see flaMovie::SetFaithfulImport) instead
    // of the classic import's reading. Off by default; copies made with
    // CopyRestOfTag keep it.
    void SetFaithful(bool on) { faithful = on; }
    bool IsFaithful() const { return faithful; }
    void SetScreenSizeX(float width);

    // Starts bit reading afresh at the current byte (record readers begin here).
    void InitNewBitSet();
    void InitBits() { bitsLeft = 0; }

private:
    friend class flaBitCursor;  // the fast bit reader of long record runs

    void Init();
    void Need(std::uint32_t n, const char* what);  // throws unless n bytes may be read
    void ResetBits() {
        bitsLeft = 0;
        bitBuffer = 0;
    }
    void LoadFromStream(std::istream& in);
    // Takes raw (size bytes, array-new) as the file image: a compressed one is
    // inflated into a new buffer and raw released.
    void TakeImage(unsigned char* raw, std::uint32_t rawSize);
    // Inflates the compressed image at raw into a buffer of the reader's own.
    void InflateImage(const unsigned char* raw, std::uint32_t rawSize);

    std::uint32_t version = 0;
    std::uint32_t tagStart = 0;
    std::uint32_t tagEnd = 0;
    std::uint32_t tagLength = 0;
    std::uint32_t position = 0;
    std::uint32_t bitsLeft = 0;
    std::uint32_t bitBuffer = 0;
    std::uint32_t size = 0;
    unsigned char* buffer = nullptr;
    bool ownsBuffer = true;  // false while the buffer is the caller's (InPlace)
    float scaling = 1.0f;
    bool faithful = false;

    // Bounds: reads stop at `limit` (the current tag's end once a tag header has
    // been read, the buffer's end before); tag headers stop at `containerEnd`.
    std::uint32_t limit = 0;
    std::uint32_t containerEnd = 0;
};
