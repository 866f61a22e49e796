// Bitmap characters. The library never encodes pixels: lossless bitmaps keep the
// zlib-compressed colour table and pixels exactly as the tag carries them
// (DefineBitsLossless, DefineBitsLossless2), JPEG bitmaps keep the tag body after
// the id (DefineBits, DefineBitsJPEG2, DefineBitsJPEG3), and both are written back
// unchanged.
//
// A bitmap whose data pointer is null is written as if its data were empty (the
// tag length then counts no data bytes), so that a half-filled object still gives
// a well-formed tag. Readers take every byte from flaRead's checked reads: a tag
// that is shorter than its fixed fields throws flaRead::readError and leaves the
// object unchanged.
#pragma once

#include <list>

class flaDump;
class flaRead;
class flaMovie;

class flaBitsBase {
public:
    flaBitsBase() = default;
    flaBitsBase(const flaBitsBase&) = default;
    flaBitsBase& operator=(const flaBitsBase&) = default;

    void SetCostCode(unsigned int code) { costCode = code; }
    unsigned int GetCostCode() const { return costCode; }

    unsigned int id = 0xFFFFFFFF;  // 0xFFFFFFFF: not yet assigned
    unsigned int costCode = 0;
};

class flaBitsLossless : public flaBitsBase {
public:
    flaBitsLossless() = default;
    // Copies every field, the data pointer included (the bytes are shared).
    flaBitsLossless(const flaBitsLossless&) = default;
    flaBitsLossless& operator=(const flaBitsLossless&) = default;
    ~flaBitsLossless() { delete[] data; }

    // DefineBitsLossless, always in the long header form.
    bool DumpInFile(flaDump& dump);
    // Fills the fields from a tag body whose header was read. Stores the colour
    // count (the file's byte + 1) in colorTableSize for format 3, 1 otherwise;
    // releases the previous data block.
    bool ReadFromFile(flaRead& reader);

    unsigned int format = 0;          // 3 colour-mapped, 4 15-bit, 5 32-bit
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int colorTableSize = 0;  // the byte written for format 3 (colours - 1)
    unsigned int dataSize = 0;
    unsigned char* data = nullptr;    // owned, new[]

protected:
    bool DumpInFileWithCode(flaDump& dump, unsigned short tagCode);
};

class flaBitsLossless2 : public flaBitsLossless {
public:
    flaBitsLossless2() = default;
    bool DumpInFile(flaDump& dump);
};

class flaBitsLosslessList : public std::list<flaBitsLossless*> {};
class flaBitsLossless2List : public std::list<flaBitsLossless2*> {};

class flaBitsJpegBase : public flaBitsBase {
public:
    // A decodable JPEG stream described by InitJpegData; the caller releases
    // `jpeg` with delete[] when ownsBuffer is true.
    struct JPEGData {
        unsigned int jpegSize = 0;
        bool ownsBuffer = false;
        unsigned char* jpeg = nullptr;
        unsigned char* alpha = nullptr;
        unsigned int alphaSize = 0;
    };

    flaBitsJpegBase() = default;
    // Takes over data (allocated with new[]).
    flaBitsJpegBase(unsigned int costCode, char* data, unsigned int size);
    flaBitsJpegBase(const flaBitsJpegBase&) = default;  // shares the buffer
    flaBitsJpegBase& operator=(const flaBitsJpegBase&) = default;
    virtual ~flaBitsJpegBase();

    virtual bool DumpInFile(flaDump& dump) const = 0;
    virtual bool InitJpegData(JPEGData& out) const = 0;

    // Reads the id and takes the rest of the tag as data (the previous block is
    // released).
    bool ReadFromFile(flaRead& reader);
    unsigned int GetDataSize() const { return dataSize; }

protected:
    const char* Data() const { return data; }
    unsigned int DataSize() const { return dataSize; }
    bool DumpInFileBase(flaDump& dump, unsigned short tagHeaderWord) const;

    unsigned int dataSize = 0;
    char* data = nullptr;
};

class flaBitsJpeg : public flaBitsJpegBase {
public:
    explicit flaBitsJpeg(const flaMovie& movie);
    flaBitsJpeg(const flaBitsJpeg&) = default;
    bool DumpInFile(flaDump& dump) const override;  // DefineBits
    bool InitJpegData(JPEGData& out) const override;
    bool CheckBeginOfStreamTag() const;

private:
    const flaMovie* movie;
};

class flaBitsJpeg2 : public flaBitsJpegBase {
public:
    flaBitsJpeg2() = default;
    flaBitsJpeg2(unsigned int costCode, char* data, unsigned int size) : flaBitsJpegBase(costCode, data, size) {}
    flaBitsJpeg2(const flaBitsJpeg2&) = default;
    bool DumpInFile(flaDump& dump) const override;  // DefineBitsJPEG2
    bool InitJpegData(JPEGData& out) const override;
};

class flaBitsJpeg3 : public flaBitsJpegBase {
public:
    flaBitsJpeg3() = default;
    flaBitsJpeg3(unsigned int costCode, char* data, unsigned int size) : flaBitsJpegBase(costCode, data, size) {}
    flaBitsJpeg3(const flaBitsJpeg3&) = default;
    bool DumpInFile(flaDump& dump) const override;  // DefineBitsJPEG3
    bool InitJpegData(JPEGData& out) const override;
    // Replaces the buffer; the old one is left to the caller.
    void SetNewDataBuffer(void* buffer, unsigned int size);
};

// The movie's JPEG bitmaps, in insertion order. Unlike the lossless lists this one
// owns its bitmaps.
class flaJPEGContainer : public std::list<flaBitsJpegBase*> {
public:
    flaJPEGContainer() = default;
    flaJPEGContainer(const flaJPEGContainer&) = default;
    flaJPEGContainer& operator=(const flaJPEGContainer&) = default;
    ~flaJPEGContainer();
    const flaBitsJpegBase* Find(unsigned int id) const;
};
