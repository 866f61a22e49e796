// flaDump: the SWF output stream. It assembles the whole file image in memory,
// bit by bit (most significant bit first) and in little-endian whole integers,
// patches values already written, reports every write to an optional size
// observer under the current cost code, and finally writes the image to disk,
// zlib-compressed when asked for and when that makes it smaller.
#pragma once

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

    flaDump(int frameSizeX, SizeCallback* callback);
    flaDump(const flaDump&) = default;
    flaDump& operator=(const flaDump&) = default;
    ~flaDump();

    void Bit(bool b);
    void DataU8(unsigned char v);
    void DataS8(char v);
    void DataU16(unsigned short v);
    void DataS16(short v);
    void DataU32(unsigned long v);  // the low 32 bits
    // bitCount bits of an 8-, 16- or 32-bit value stored little-endian at data.
    void DataU8(const char* data, int bitCount, bool bitPacked);
    void DataU16(const char* data, int bitCount, bool bitPacked);
    void DataU32(const char* data, int bitCount, bool bitPacked);
    void DataFixed(double v);        // 16.16, fraction word first
    void DataFixed8(double v);       // 8.8, fraction byte first
    void DataUnsigedChar(double v);  // a byte from a real value, capped at 255
    void DataFloat(float v);         // IEEE-754 bits, little-endian
    void ChunkDump(const void* data, unsigned int byteCount);
    void StringPrint(std::string s);
    void PadLastByte();

    int GetCurrentPosition() const { return position; }
    void FixData(int position, const char* data, int width, int bitCount, bool bitPacked);
    static int GetBitNumber(int value);

    void SetCostCode(unsigned int code) { costCode = code; }
    unsigned int GetCostCode() const { return costCode; }
    int GetFrameSizeX() const { return frameSizeX; }
    void TransformCoordFromPegSide(int& x, int& y) const;

    bool WriteFileOnDisk(const PL_FileSpec& file, bool& compress);

    // The file image as WriteFileOnDisk would write it (compressed when asked for
    // and smaller; compress is cleared otherwise). Leaves the stream unchanged.
    std::vector<unsigned char> GetFileImage(bool& compress) const;
    // The bytes committed so far (the uncompressed image).
    const std::vector<unsigned char>& GetBuffer() const { return buffer; }

    // The font table that text written into this stream refers to; set by the
    // movie while it writes itself, null otherwise.
    void SetFontTable(const flaFontTable* table) { fontTable = table; }
    const flaFontTable* GetFontTable() const { return fontTable; }

private:
    void Report(int bits) {
        if (sizeCallback) sizeCallback->AddBits(costCode, bits);
    }
    void CommitByte();
    void PutBits(unsigned long value, int count);  // MSB first at the bit position
    void PutAlignedByte(unsigned char v) {
        pendingByte = v;
        CommitByte();
    }
    bool WriteBits(const char* data, int bitCount, int width, bool bitPacked);
    void WriteZeroToAlignBlock();

    std::vector<unsigned char> buffer;
    unsigned char pendingByte = 0;
    unsigned int bitPosition = 0;
    int position = 0;
    int frameSizeX;
    int orientation = 2;
    SizeCallback* sizeCallback;
    unsigned int costCode = 0;
    const flaFontTable* fontTable = nullptr;
};
