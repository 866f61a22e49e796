#include "flio/flaRead.h"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <string>
#include <vector>

#include "io/flaFormat.h"

namespace {

std::string Where(std::uint32_t position, std::uint32_t limit) {
    return " at offset " + std::to_string(position) + " (data ends at " + std::to_string(limit) + ")";
}

}  // namespace

flaRead::ContainerScope::ContainerScope(flaRead& reader)
    : reader_(reader),
      savedContainerEnd_(reader.containerEnd),
      savedTagStart_(reader.tagStart),
      savedTagEnd_(reader.tagEnd),
      savedTagLength_(reader.tagLength),
      savedLimit_(reader.limit) {
    reader.containerEnd = reader.tagEnd;
}

flaRead::ContainerScope::~ContainerScope() {
    reader_.containerEnd = savedContainerEnd_;
    reader_.tagStart = savedTagStart_;
    reader_.tagEnd = savedTagEnd_;
    reader_.tagLength = savedTagLength_;
    reader_.limit = savedLimit_;
}

void flaRead::Init() {
    buffer = nullptr;
    position = 0;
    bitsLeft = 0;
    bitBuffer = 0;
    version = 0;
}

flaRead::flaRead(int size_, const void* data) {
    Init();
    size = size_ > 0 ? static_cast<std::uint32_t>(size_) : 0;
    buffer = new unsigned char[size ? size : 1];
    if (data && size) std::memcpy(buffer, data, size);
    limit = containerEnd = size;
}

flaRead::flaRead(std::istream& in) {
    Init();
    LoadFromStream(in);
    limit = containerEnd = size;
}

flaRead::flaRead(const void* data, std::size_t size_, InPlace) {
    Init();
    if (size_ > UINT32_MAX) throw readError("SWF image larger than 4 GB");
    const auto* raw = static_cast<const unsigned char*>(data);
    const auto n = static_cast<std::uint32_t>(size_);
    if (n >= 9 && raw[0] == 'C') {
        InflateImage(raw, n);
    } else {
        buffer = const_cast<unsigned char*>(raw);  // only ever read
        ownsBuffer = false;
        size = n;
    }
    limit = containerEnd = size;
}

flaRead::~flaRead() {
    if (ownsBuffer) delete[] buffer;
}

void flaRead::LoadFromStream(std::istream& in) {
    in.seekg(0, std::ios::end);
    const std::streamoff end = in.tellg();
    in.seekg(0, std::ios::beg);
    if (end < 0 || end > static_cast<std::streamoff>(UINT32_MAX)) throw readError("SWF stream has no usable size");
    const auto n = static_cast<std::uint32_t>(end);
    std::unique_ptr<unsigned char[]> raw(new unsigned char[n ? n : 1]);
    if (n && !in.read(reinterpret_cast<char*>(raw.get()), static_cast<std::streamsize>(n)))
        throw readError("SWF stream could not be read");
    TakeImage(raw.release(), n);
}

void flaRead::TakeImage(unsigned char* raw, std::uint32_t rawSize) {
    if (rawSize < 9 || raw[0] != 'C') {  // kept as read
        buffer = raw;
        size = rawSize;
        return;
    }
    std::unique_ptr<unsigned char[]> compressed(raw);
    InflateImage(raw, rawSize);
}

namespace {

// The whole image inflated in one call of the fast inflater, for the streams every
// encoder writes (a 32 KB window, announcing no more than a real file plausibly
// inflates to). True only when the stream inflates exactly to its announced
// length and its checksum holds; anything else is left to zlib's streaming path,
// which decides as it always has.
bool InflateAtOnce(const unsigned char* raw, std::uint32_t rawSize, std::uint32_t announced,
                   std::unique_ptr<unsigned char[]>& image) {
    const unsigned windowCode = raw[8] >> 4;  // CINFO of the zlib header
    const std::uint64_t plausible = std::uint64_t{rawSize} * 32 + (1u << 16);
    if (rawSize < 10 || windowCode != 7 || announced > plausible) return false;
    struct Free {
        void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
    };
    const std::unique_ptr<libdeflate_decompressor, Free> inflater(libdeflate_alloc_decompressor());
    if (!inflater) return false;
    std::unique_ptr<unsigned char[]> out(new unsigned char[announced]);
    std::size_t produced = 0;
    if (libdeflate_zlib_decompress(inflater.get(), raw + 8, rawSize - 8, out.get() + 8, announced - 8, &produced) !=
            LIBDEFLATE_SUCCESS ||
        produced != announced - 8)
        return false;
    image = std::move(out);
    return true;
}

}  // namespace

void flaRead::InflateImage(const unsigned char* raw, std::uint32_t rawSize) {
    // Everything after the 8-byte header is inflated, straight into the image.
    const std::uint32_t announced = static_cast<std::uint32_t>(raw[4]) | (static_cast<std::uint32_t>(raw[5]) << 8) |
                                    (static_cast<std::uint32_t>(raw[6]) << 16) |
                                    (static_cast<std::uint32_t>(raw[7]) << 24);
    if (announced < 8) throw dekompressError();
    std::unique_ptr<unsigned char[]> image;
    std::size_t produced = 0;
    if (InflateAtOnce(raw, rawSize, announced, image)) {
        produced = announced;
    } else {
        // Streaming: the image grows with what the data really produces, up to the
        // announced length and never beyond it, so that a small file that announces
        // a huge length costs only what it inflates to.
        std::size_t capacity =
            std::min<std::size_t>(announced, std::max<std::size_t>(std::size_t{rawSize} * 4, 1u << 18));
        image.reset(new unsigned char[capacity]);
        z_stream zs{};
        if (inflateInit(&zs) != Z_OK) throw dekompressError();
        zs.next_in = const_cast<unsigned char*>(raw + 8);
        zs.avail_in = rawSize - 8;
        produced = 8;
        for (;;) {
            if (produced == capacity) {
                if (capacity == announced) break;
                const std::size_t bigger = std::min<std::size_t>(announced, capacity * 2);
                std::unique_ptr<unsigned char[]> grown(new unsigned char[bigger]);
                std::memcpy(grown.get(), image.get(), produced);
                image = std::move(grown);
                capacity = bigger;
            }
            zs.next_out = image.get() + produced;
            const std::size_t room = std::min<std::size_t>(capacity - produced, 1u << 30);
            zs.avail_out = static_cast<uInt>(room);
            const int rc = inflate(&zs, Z_NO_FLUSH);
            produced += room - zs.avail_out;
            if (rc == Z_STREAM_END) break;
            if (rc != Z_OK && !(rc == Z_BUF_ERROR && zs.avail_out == 0)) break;
        }
        inflateEnd(&zs);
        if (produced != announced) throw dekompressError();
    }
    image[0] = 'F';
    image[1] = 'W';
    image[2] = 'S';
    std::memcpy(image.get() + 3, raw + 3, 5);
    buffer = image.release();
    size = announced;
}

void flaRead::SetFileBuffer(unsigned char* b) {
    buffer = b;
    ownsBuffer = true;  // released by the destructor, as an image of the reader's own
}

void flaRead::Need(std::uint32_t n, const char* what) {
    if (position > limit || limit - position < n)
        throw readError(std::string("SWF data ran out reading ") + what + Where(position, limit));
}

void flaRead::Seek(unsigned long p) {
    if (p > size) throw readError("seek past the end of the SWF data" + Where(static_cast<std::uint32_t>(std::min<unsigned long>(p, UINT32_MAX)), size));
    position = static_cast<std::uint32_t>(p);
}

void flaRead::SkipBytes(int n) {
    if (n < 0) throw readError("negative skip" + Where(position, limit));
    Need(static_cast<std::uint32_t>(n), "skipped bytes");
    position += static_cast<std::uint32_t>(n);
}

int flaRead::DataSize() const { return tagEnd > position ? static_cast<int>(tagEnd - position) : 0; }

int flaRead::ContainerBytesLeft() const {
    return containerEnd > position ? static_cast<int>(containerEnd - position) : 0;
}

float flaRead::Progress() const {
    return size ? static_cast<float>(position) / static_cast<float>(size) : 1.0f;
}

void flaRead::InitNewBitSet() {
    Need(1, "bit fields");
    bitBuffer = buffer[position];
    bitsLeft = 8;
    ++position;
}

std::uint32_t flaRead::GetBits(long n) {
    if (n <= 0) return 0;
    if (n > 32) throw readError("bit field wider than 32 bits" + Where(position, limit));
    std::uint32_t wanted = static_cast<std::uint32_t>(n);
    if (wanted <= bitsLeft) {  // within the current byte
        bitsLeft -= wanted;
        const std::uint32_t result = bitBuffer >> bitsLeft;
        bitBuffer &= (1u << bitsLeft) - 1u;
        return result;
    }
    // The usual case in shape records: the whole bytes the field reaches are there,
    // so they are taken at once (at most five bytes: up to 39 bits with the seven
    // left of the current byte).
    const std::uint32_t bytes = (wanted - bitsLeft + 7) / 8;
    if (position <= limit && limit - position >= bytes) {
        std::uint64_t acc = bitBuffer & ((1u << bitsLeft) - 1u);  // InitBits leaves stale bits
        for (std::uint32_t i = 0; i < bytes; ++i) acc = (acc << 8) | buffer[position++];
        bitsLeft = bitsLeft + 8 * bytes - wanted;
        const auto result = static_cast<std::uint32_t>(acc >> bitsLeft);
        bitBuffer = static_cast<std::uint32_t>(acc) & ((1u << bitsLeft) - 1u);
        return result;
    }
    // Near the end of the data: byte by byte, so that the error names the field.
    std::uint32_t result = 0;
    while (wanted > bitsLeft) {
        wanted -= bitsLeft;
        if (bitsLeft) result |= bitBuffer << wanted;  // bitBuffer holds only its unconsumed low bits
        InitNewBitSet();
    }
    bitsLeft -= wanted;
    result |= bitBuffer >> bitsLeft;
    bitBuffer &= (1u << bitsLeft) - 1u;
    return result;
}

std::int32_t flaRead::GetSBits(long n) {
    std::uint32_t v = GetBits(n);
    if (n > 0 && n < 32 && (v & (1u << (n - 1)))) v |= ~0u << n;
    return static_cast<std::int32_t>(v);
}

unsigned char flaRead::getNBits(unsigned char value, unsigned char start, unsigned char count) {
    if (count == 0 || start + count > 8) return 0;
    return static_cast<unsigned char>((value >> (8 - start - count)) & ((1u << count) - 1u));
}

unsigned short flaRead::getNBits(unsigned short value, unsigned char start, unsigned char count) {
    if (count == 0 || start + count > 16) return 0;
    return static_cast<unsigned short>((value >> (16 - start - count)) & ((1u << count) - 1u));
}

unsigned char flaRead::GetByte() {
    ResetBits();
    Need(1, "a byte");
    return buffer[position++];
}

unsigned short flaRead::GetWord() {
    ResetBits();
    Need(2, "a 16-bit word");
    const unsigned short v = static_cast<unsigned short>(buffer[position] | (buffer[position + 1] << 8));
    position += 2;
    return v;
}

short flaRead::GetSWord() { return static_cast<short>(GetWord()); }

std::uint32_t flaRead::GetDWord() {
    ResetBits();
    Need(4, "a 32-bit word");
    const std::uint32_t v = static_cast<std::uint32_t>(buffer[position]) |
                            (static_cast<std::uint32_t>(buffer[position + 1]) << 8) |
                            (static_cast<std::uint32_t>(buffer[position + 2]) << 16) |
                            (static_cast<std::uint32_t>(buffer[position + 3]) << 24);
    position += 4;
    return v;
}

double flaRead::GetFixed8() {
    ResetBits();
    Need(2, "an 8.8 fixed-point number");
    const unsigned low = buffer[position];
    const unsigned high = buffer[position + 1];
    position += 2;
    return low / 256.0 + high;
}

double flaRead::GetFixed() {
    ResetBits();
    Need(4, "a 16.16 fixed-point number");
    const unsigned low = buffer[position] | (buffer[position + 1] << 8);
    const unsigned high = buffer[position + 2] | (buffer[position + 3] << 8);
    position += 4;
    return high + low * 1.52587890625e-5;
}

float flaRead::GetFloat() {
    const std::uint32_t bits = GetBits(32);
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

void flaRead::GetNBytes(int n, void* dst) {
    ResetBits();
    if (n < 0) throw readError("negative byte count" + Where(position, limit));
    Need(static_cast<std::uint32_t>(n), "a block of bytes");
    if (n) std::memcpy(dst, buffer + position, static_cast<std::size_t>(n));
    position += static_cast<std::uint32_t>(n);
}

const char* flaRead::GetString() {
    ResetBits();
    Need(1, "a string");
    const unsigned char* start = buffer + position;
    const void* nul = std::memchr(start, 0, limit - position);
    if (!nul) throw readError("SWF data ran out reading an unterminated string" + Where(position, limit));
    position += static_cast<std::uint32_t>(static_cast<const unsigned char*>(nul) - start) + 1;
    return reinterpret_cast<const char*>(start);
}

void flaRead::GetHeader(unsigned char* dst) {
    ResetBits();
    Need(8, "the file header");
    std::memcpy(dst, buffer + position, 8);
    position += 8;
}

void flaRead::ReadRestOfTagData(void* dst) {
    ResetBits();
    if (position > tagEnd) throw readError("read past the end of the tag" + Where(position, tagEnd));
    const std::uint32_t n = tagEnd - position;
    Need(n, "the rest of the tag");
    if (n) std::memcpy(dst, buffer + position, n);
    position = tagEnd;
}

std::unique_ptr<flaRead> flaRead::CopyRestOfTag() {
    ResetBits();
    const int n = DataSize();
    auto copy = std::make_unique<flaRead>(n, buffer + position);
    copy->SetScaling(scaling);
    copy->SetFaithful(faithful);
    copy->SetVersion(version);
    SkipBytes(n);
    return copy;
}

FLIO::flaRGBA flaRead::GetColor(bool withAlpha) {
    ResetBits();
    Need(withAlpha ? 4 : 3, "a colour");
    FLIO::flaRGBA c(buffer[position], buffer[position + 1], buffer[position + 2],
                    withAlpha ? buffer[position + 3] : 255);
    position += withAlpha ? 4 : 3;
    return c;
}

unsigned short flaRead::GetTag() {
    limit = containerEnd;
    tagStart = position;
    const unsigned short word = GetWord();
    const unsigned short code = static_cast<unsigned short>(word >> 6);
    std::uint32_t length = word & 63u;
    if (length == 63) length = GetDWord();
    // A length that runs past the enclosing data is cut back to it.
    const std::uint32_t room = containerEnd - position;
    if (length > room) length = room;
    tagLength = length;
    tagEnd = position + length;
    limit = tagEnd;
    return code;
}

bool flaRead::IsEndTag(unsigned short code) { return code == flaFormat::End; }

flaRead::FileHeader flaRead::GetFileHeader() {
    unsigned char raw[8];
    GetHeader(raw);
    FileHeader h;
    std::memcpy(h.signature, raw, 3);
    h.version = raw[3];
    h.fileLength = static_cast<std::uint32_t>(raw[4]) | (static_cast<std::uint32_t>(raw[5]) << 8) |
                   (static_cast<std::uint32_t>(raw[6]) << 16) | (static_cast<std::uint32_t>(raw[7]) << 24);
    return h;
}

flaRead::MovieHeader flaRead::GetMovieHeader() {
    MovieHeader h;
    GetRect(&h.stage);
    h.frameRate = GetWord();
    h.frameCount = GetWord();
    return h;
}

void flaRead::GetRect(SRECT* out) {
    InitNewBitSet();
    const long nbits = static_cast<long>(GetBits(5));
    out->xmin = GetSBits(nbits);
    out->xmax = GetSBits(nbits);
    out->ymin = GetSBits(nbits);
    out->ymax = GetSBits(nbits);
}

void flaRead::GetMatrix(MATRIX* out) {
    InitNewBitSet();
    if (GetBits(1)) {
        const long nbits = static_cast<long>(GetBits(5));
        out->scaleX = GetSBits(nbits);
        out->scaleY = GetSBits(nbits);
    } else {
        out->scaleX = out->scaleY = 0x10000;
    }
    if (GetBits(1)) {
        const long nbits = static_cast<long>(GetBits(5));
        out->rotateSkew0 = GetSBits(nbits);
        out->rotateSkew1 = GetSBits(nbits);
    } else {
        out->rotateSkew0 = out->rotateSkew1 = 0;
    }
    const long nbits = static_cast<long>(GetBits(5));
    out->translateX = GetSBits(nbits);
    out->translateY = GetSBits(nbits);
}

void flaRead::GetCxform(CXFORM* out, bool withAlpha, bool& hasMult, bool& hasAdd) {
    InitNewBitSet();
    hasAdd = GetBits(1) != 0;
    hasMult = GetBits(1) != 0;
    const long nbits = static_cast<long>(GetBits(4));
    out->aMult = 256;
    out->aAdd = 0;
    if (hasMult) {
        out->rMult = static_cast<std::int16_t>(GetSBits(nbits));
        out->gMult = static_cast<std::int16_t>(GetSBits(nbits));
        out->bMult = static_cast<std::int16_t>(GetSBits(nbits));
        if (withAlpha) out->aMult = static_cast<std::int16_t>(GetSBits(nbits));
    } else {
        out->rMult = out->gMult = out->bMult = 256;
    }
    if (hasAdd) {
        out->rAdd = static_cast<std::int16_t>(GetSBits(nbits));
        out->gAdd = static_cast<std::int16_t>(GetSBits(nbits));
        out->bAdd = static_cast<std::int16_t>(GetSBits(nbits));
        if (withAlpha) out->aAdd = static_cast<std::int16_t>(GetSBits(nbits));
    } else {
        out->rAdd = out->gAdd = out->bAdd = 0;
    }
}

void flaRead::SetScreenSizeX(float width) {
    scaling = static_cast<float>(1.0 / (static_cast<double>(width) * 20.0));
}
