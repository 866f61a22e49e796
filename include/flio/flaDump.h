// flaDump: the SWF output stream. It assembles the whole file image in memory,
// bit by bit (most significant bit first) and in little-endian whole integers,
// patches values already written, reports every write to an optional size
// observer under the current cost code, and finally writes the image to disk,
// zlib-compressed when asked for and when that makes it smaller.
#pragma once

#include <climits>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

class PL_FileSpec;
class flaFontTable;

class flaDump {
public:
    // Size-accounting observer, implemented by the host: told before each write
    // (after it, for ChunkDump) how many bits the write adds, under which code.
    class SizeCallback {
    public:
        SizeCallback() = default;
        SizeCallback(const SizeCallback&) = default;
        SizeCallback& operator=(const SizeCallback&) = default;
        virtual ~SizeCallback();
        virtual void AddBits(unsigned int costCode, int bitCount) = 0;
    };

    // How the stream's writers write, beyond what the format's classic writer does.
    // Everything is off by default, and the stream then writes exactly as the
    // classic writer always has. Faithful() turns everything on: the choice for a
    // movie taken over from a file (flaRewrite), so that it is written as the file
    // had it.
    struct WriteOptions {
        // Translations and line widths rounded to the nearest twip (the classic
        // writer truncates them toward zero, one twip short for many values).
        bool exactTwips = false;
        // A placement whose colour transform changes from one frame to the next is
        // moved with its new transform (the classic writer removes it and places it
        // again, which restarts a sprite on every frame of a fade). A placement that
        // is a new instance of the same character (flaCharacterInfo::GetInstance)
        // is removed and placed again, so that a sprite placed anew restarts.
        bool colorTransformMoves = false;
        // Shapes keep every style detail (gradient spread, interpolation and focal
        // point, up to 15 stops, line caps, joins and fills, bitmap smoothing and
        // clipping, the winding rule), written as DefineShape4 where DefineShape3
        // cannot hold them; filters are written with every field as it stands.
        bool fullStyles = false;
        // Placements keep their own names, ratios, visibility, bitmap caching,
        // backgrounds and class names; a PlaceObject2 too long for the short tag
        // header gets the long one; the movie's file version, exact frame rate and
        // stage are written as imported; sounds keep their data in every format,
        // and an imported streamed sound is written in its own format.
        bool fileDetails = false;
        // The zlib level a compressed file is written at: 0 (stored) to 9 (smallest
        // and slowest); -1, the default, is zlib's own default (level 6), the level
        // compressed files have always been written at.
        int compressionLevel = -1;

        static WriteOptions Faithful() {
            WriteOptions o;
            o.exactTwips = o.colorTransformMoves = o.fullStyles = o.fileDetails = true;
            return o;
        }
    };

    flaDump(int frameSizeX, SizeCallback* callback);
    flaDump(const flaDump& other);
    flaDump& operator=(const flaDump& other);
    ~flaDump();

    void Bit(bool b) {
        Report(1);
        PutBits(b ? 1u : 0u, 1);
    }
    void DataU8(unsigned char v) {
        Report(8);
        WriteZeroToAlignBlock();
        PutBytes(v, 1);
    }
    void DataS8(char v) { DataU8(static_cast<unsigned char>(v)); }
    void DataU16(unsigned short v) {
        Report(16);
        WriteZeroToAlignBlock();
        PutBytes(v, 2);
    }
    void DataS16(short v) { DataU16(static_cast<unsigned short>(v)); }
    void DataU32(unsigned long v) {  // the low 32 bits
        Report(32);
        WriteZeroToAlignBlock();
        PutBytes(static_cast<std::uint32_t>(v), 4);
    }
    // bitCount bits of an 8-, 16- or 32-bit value stored little-endian at data.
    void DataU8(const char* data, int bitCount, bool bitPacked) { WriteBits(data, bitCount, 8, bitPacked); }
    void DataU16(const char* data, int bitCount, bool bitPacked) { WriteBits(data, bitCount, 16, bitPacked); }
    void DataU32(const char* data, int bitCount, bool bitPacked) { WriteBits(data, bitCount, 32, bitPacked); }
    // The low bitCount (0 to 32) bits of value as a bit-packed field: the same as
    // DataU32(&value, bitCount, true) without going through memory.
    void Bits(std::uint32_t value, int bitCount) {
        Report(bitCount);
        PutBits(value, bitCount > 32 ? 32 : bitCount);
    }
    void DataFixed(double v);        // 16.16, fraction word first
    void DataFixed8(double v);       // 8.8, fraction byte first
    void DataUnsigedChar(double v);  // a byte from a real value, capped at 255
    void DataFloat(float v);         // IEEE-754 bits, little-endian
    void ChunkDump(const void* data, unsigned int byteCount);
    void StringPrint(std::string s);
    void PadLastByte() { WriteZeroToAlignBlock(); }

    // The byte position: where the next completed byte goes.
    int GetCurrentPosition() const { return position + static_cast<int>(accBits >> 3); }
    void FixData(int position, const char* data, int width, int bitCount, bool bitPacked);
    // Overwrite a 16- or 32-bit value already written, little-endian whatever the
    // host (FixData without the byte image).
    void PatchU16(int at, std::uint16_t value) {
        const char bytes[2] = {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
        FixData(at, bytes, 16, 16, false);
    }
    void PatchU32(int at, std::uint32_t value) {
        const char bytes[4] = {static_cast<char>(value & 0xFF), static_cast<char>((value >> 8) & 0xFF),
                               static_cast<char>((value >> 16) & 0xFF), static_cast<char>(value >> 24)};
        FixData(at, bytes, 32, 32, false);
    }

    // Tags. Each starts with a 16-bit header word holding the tag code and the
    // body's length: the short form holds lengths up to 62; in the long form the
    // length follows as a 32-bit word.
    //
    // A header for a body whose length is known: the short form unless the long
    // one is asked for or the length does not fit.
    void TagHeader(unsigned int code, std::uint32_t length, bool longForm = false);
    // A tag whose length is patched by EndTag once its body is written.
    struct TagStart {
        int position;  // of the header word
        unsigned int code;
        bool longForm;
        bool shortest;  // the short form, changed to the long one if the body is too long
    };
    TagStart BeginTag(unsigned int code, bool longForm = true);
    // A tag in the short form when its body turns out to fit it (below 63 bytes),
    // otherwise in the long form: EndTag then moves the body to make room.
    TagStart BeginShortestTag(unsigned int code);
    // The long form gets the body's 32-bit length. The short form keeps its short
    // header whatever the body's size: the length's low 8 bits are OR-ed into the
    // word, as PlaceObject2 has always been written, so a body of 63 bytes or more
    // spills into the code (use the long form for bodies that can be long).
    void EndTag(const TagStart& tag);

    // The bit count of a two's-complement field that holds value: the magnitude's
    // bit count plus the sign bit (magnitudes beyond 31 bits count as 31 bits).
    static int GetSignedBitNumber(std::int64_t value) {
        const std::int64_t m = value < -INT32_MAX ? INT32_MAX : value < 0 ? -value : value > INT32_MAX ? INT32_MAX : value;
        return GetBitNumber(static_cast<int>(m)) + 1;
    }
    // A RECT record: the field width in 5 bits (the widest of the four signed
    // values), then xMin, xMax, yMin, yMax. Not padded: the caller continues or
    // aligns. flaRead::GetRect reads it.
    void DataRect(std::int32_t xMin, std::int32_t xMax, std::int32_t yMin, std::int32_t yMax) {
        int nbits = 0;
        for (std::int32_t v : {xMin, xMax, yMin, yMax})
            if (GetSignedBitNumber(v) > nbits) nbits = GetSignedBitNumber(v);
        Bits(static_cast<std::uint32_t>(nbits), 5);
        for (std::int32_t v : {xMin, xMax, yMin, yMax}) Bits(static_cast<std::uint32_t>(v), nbits);
    }

    static int GetBitNumber(int value) {
        if (value == 0) return 1;
        if (value < 0) return 0;
#if defined(__GNUC__) || defined(__clang__)
        return 32 - __builtin_clz(static_cast<unsigned int>(value));
#else
        int n = 0;
        for (; value; value >>= 1) ++n;
        return n;
#endif
    }

    void SetWriteOptions(const WriteOptions& options) { writeOptions = options; }
    const WriteOptions& GetWriteOptions() const { return writeOptions; }

    // The size observer given at construction (null when there is none).
    SizeCallback* GetSizeCallback() const { return sizeCallback; }
    void SetCostCode(unsigned int code) { costCode = code; }
    unsigned int GetCostCode() const { return costCode; }
    int GetFrameSizeX() const { return frameSizeX; }
    void TransformCoordFromPegSide(int& x, int& y) const;

    bool WriteFileOnDisk(const PL_FileSpec& file, bool& compress);

    // The file image as WriteFileOnDisk would write it (compressed when asked for
    // and smaller; compress is cleared otherwise). Leaves the stream unchanged.
    std::vector<unsigned char> GetFileImage(bool& compress) const;
    // Makes room for `bytes` more bytes in one step (a hint for large images; the
    // stream grows by itself otherwise).
    void ReserveBytes(std::size_t bytes) { Reserve(bytes); }
    // A copy of the bytes committed so far (the uncompressed image).
    std::vector<unsigned char> GetBuffer() const;
    std::size_t GetSize() const;

    // The font table that text written into this stream refers to; set by the
    // movie while it writes itself, null otherwise.
    void SetFontTable(const flaFontTable* table) { fontTable = table; }
    const flaFontTable* GetFontTable() const { return fontTable; }

private:
    friend class flaTagWriter;  // stores whole short tags straight into the image

    void Report(int bits) {
        if (sizeCallback) sizeCallback->AddBits(costCode, bits);
    }
    // Makes room for n more bytes at the position (the storage runs ahead of the
    // committed length, so that whole words can be stored at once).
    void Reserve(std::size_t n) {
        if (static_cast<std::size_t>(position) + n > capacity) Grow(n);
    }
    void Grow(std::size_t n);
    void Advance(std::size_t n) {
        position += static_cast<int>(n);
        if (static_cast<std::size_t>(position) > length) length = static_cast<std::size_t>(position);
    }
    // n (1 to 4) whole bytes of v, least significant first, at the position.
    void PutBytes(std::uint32_t v, std::size_t n) {
        Reserve(4);
        unsigned char* p = storage.get() + position;
        p[0] = static_cast<unsigned char>(v);
        if (n > 1) p[1] = static_cast<unsigned char>(v >> 8);
        if (n > 2) {
            p[2] = static_cast<unsigned char>(v >> 16);
            p[3] = static_cast<unsigned char>(v >> 24);
        }
        Advance(n);
    }
    // Writes the low `count` (0 to 32) bits of value after the bits already
    // pending, most significant first; whole 32-bit groups are stored as they fill.
    void PutBits(std::uint32_t value, int count) {
        if (count <= 0) return;
        const std::uint64_t field = count == 32 ? value : (value & ((1u << count) - 1u));
        acc = (acc << count) | field;
        accBits += static_cast<unsigned>(count);
        if (accBits >= 32) {
            accBits -= 32;
            const auto word = static_cast<std::uint32_t>(acc >> accBits);
            acc &= (std::uint64_t{1} << accBits) - 1u;
            Reserve(4);
            unsigned char* p = storage.get() + position;
            p[0] = static_cast<unsigned char>(word >> 24);
            p[1] = static_cast<unsigned char>(word >> 16);
            p[2] = static_cast<unsigned char>(word >> 8);
            p[3] = static_cast<unsigned char>(word);
            Advance(4);
        }
    }
    // Stores the whole bytes among the pending bits; fewer than 8 bits stay pending.
    void FlushBytes();
    bool WriteBits(const char* data, int bitCount, int width, bool bitPacked) {
        Report(bitCount);
        if (bitPacked && bitCount > 0 && bitCount <= width) {
            std::uint32_t value = static_cast<unsigned char>(data[0]);
            if (width >= 16) value |= static_cast<std::uint32_t>(static_cast<unsigned char>(data[1])) << 8;
            if (width == 32)
                value |= static_cast<std::uint32_t>(static_cast<unsigned char>(data[2])) << 16 |
                         static_cast<std::uint32_t>(static_cast<unsigned char>(data[3])) << 24;
            PutBits(value, bitCount);
            return true;
        }
        return WriteBitsSlow(data, bitCount, width, bitPacked);
    }
    bool WriteBitsSlow(const char* data, int bitCount, int width, bool bitPacked);
    // The compressed form of an image ("CWS" header and the zlib stream of what
    // follows its first 8 bytes); false when compression fails or does not shrink it.
    static bool CompressImage(const unsigned char* image, std::size_t size, int level,
                              std::vector<unsigned char>& out);
    // Pads the pending bits with zeros to a byte boundary (reporting the padding)
    // and stores them.
    void WriteZeroToAlignBlock() {
        if (accBits == 0) return;
        const unsigned pad = (8u - (accBits & 7u)) & 7u;
        if (pad) {
            Report(static_cast<int>(pad));
            acc <<= pad;
            accBits += pad;
        }
        FlushBytes();
    }

    struct FreeBytes {
        void operator()(unsigned char* p) const;
    };
    std::unique_ptr<unsigned char[], FreeBytes> storage;  // the image; its capacity runs ahead of `length`
    std::size_t capacity = 0;
    std::size_t length = 0;              // bytes stored so far
    std::uint64_t acc = 0;               // bits written but not yet stored, right-aligned
    unsigned accBits = 0;                // how many (below 32 between writes)
    int position = 0;                    // where the first pending byte will be stored
    int frameSizeX;
    int orientation = 2;  // coordinate rotation: 0, 1, or 2 = none (the only one in use)
    SizeCallback* sizeCallback;
    unsigned int costCode = 0;
    const flaFontTable* fontTable = nullptr;
    WriteOptions writeOptions;
};
