// flaPalette and flaQKData: the host's palette information (colour keys of shape
// styles mapped to named colours of named palettes) and its private tag 731.
//
// Tag 731 body: the 12-byte signature "QUILLARKINC\0", then palette blocks, each a
// 4-byte magic read most significant byte first ("PAL1", or the legacy "PALT"),
// a u32 block length, the key and colour counts, the (key, colour index) table,
// one u32 offset per colour and the colour records. All integers little-endian.
//
// Colour records. PAL1 (the only layout written): the colour id as 8 bytes, least
// significant first, then the colour name and the palette name, each as 16-bit
// code units ended by a zero unit. PALT (read only): the palette name and the
// colour name, each as 16-bit code units ended by a zero unit, then the id as a
// byte string ended by a zero byte whose bytes are folded into the id by XOR (byte
// j into id byte j mod 8).
#include "flio/flaPalette.h"

#include <cstring>
#include <string>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"

namespace {

const char kSignature[12] = {'Q', 'U', 'I', 'L', 'L', 'A', 'R', 'K', 'I', 'N', 'C', '\0'};

// 16-bit code units up to (not including) the first zero unit, then a zero unit.
void DumpWide(flaDump& dump, const UT_String& s) {
    for (std::size_t i = 0; i < s.length() && s[i] != 0; ++i) dump.DataU16(static_cast<unsigned short>(s[i]));
    dump.DataU16(0);
}

// Reads confined to one palette block: a read that would cross the block's end
// throws flaRead::readError, as crossing a tag's end does.
class BlockReader {
public:
    BlockReader(flaRead& reader, unsigned long end) : r(reader), blockEnd(end) {}

    unsigned long Left() const { return r.GetPosition() < blockEnd ? blockEnd - r.GetPosition() : 0; }
    std::uint32_t U32() {
        Need(4);
        return r.GetDWord();
    }
    unsigned char U8() {
        Need(1);
        return r.GetByte();
    }
    UT_String Wide() {
        std::u16string units;
        for (;;) {
            Need(2);
            const unsigned short u = r.GetWord();
            if (u == 0) break;
            units.push_back(static_cast<char16_t>(u));
        }
        return UT_String(std::move(units));
    }

private:
    void Need(unsigned long n) {
        if (Left() < n) throw flaRead::readError("palette block ends inside a colour record");
    }
    flaRead& r;
    unsigned long blockEnd;
};

}  // namespace

// ---------------------------------------------------------------- flaPalette

flaPalette::~flaPalette() {
    for (ColourInfo* c : colours) delete c;
}

// Keys are 32-bit values; the arithmetic is done unsigned so that any int converts.
unsigned long flaPalette::CreateFlashKey(int low, int high, bool flag) {
    const std::uint32_t key = (flag ? 0x10000u : 0u) | (static_cast<std::uint32_t>(high) << 17) |
                              (static_cast<std::uint32_t>(low) & 0xFFFFu);
    return key;
}

flaPalette::Palette* flaPalette::GetPalette(const UT_String& name) {
    for (auto& p : palettes)
        if (p->name == name) return p.get();
    palettes.push_back(std::make_unique<Palette>(Palette{name}));
    return palettes.back().get();
}

void flaPalette::AddColourIndex(unsigned long key, std::int64_t colourId, const UT_String& colourName,
                                const UT_String& paletteName) {
    const auto k = static_cast<std::uint32_t>(key);
    if (colourMap.count(k)) return;
    Palette* palette = GetPalette(paletteName);
    for (ColourInfo* c : colours) {
        if (c->colourId == colourId) {
            colourMap.emplace(k, c);
            return;
        }
    }
    auto info = std::unique_ptr<ColourInfo>(
        new ColourInfo(colourName, palette, colourId, static_cast<std::uint32_t>(colours.size())));
    colours.push_back(info.get());
    info.release();
    colourMap.emplace(k, colours.back());
}

const flaPalette::ColourInfo* flaPalette::GetColourInformation(unsigned long key) const {
    const auto it = colourMap.find(static_cast<std::uint32_t>(key));
    return it == colourMap.end() ? nullptr : it->second;
}

const flaPalette::ColourInfo* flaPalette::GetColour(std::size_t index) const {
    return index < colours.size() ? colours[index] : nullptr;
}

void flaPalette::Dump(flaDump& dump) const {
    for (char c : std::string("PAL1")) dump.DataU8(static_cast<unsigned char>(c));
    const int lengthAt = dump.GetCurrentPosition();
    dump.DataU32(0);
    dump.DataU32(static_cast<unsigned long>(colourMap.size()));
    dump.DataU32(static_cast<unsigned long>(colours.size()));
    for (const auto& entry : colourMap) {
        dump.DataU32(entry.first);
        dump.DataU32(entry.second->index);
    }
    const int tableAt = dump.GetCurrentPosition();
    for (std::size_t i = 0; i < colours.size(); ++i) dump.DataU32(0);
    const int base = dump.GetCurrentPosition();
    for (std::size_t i = 0; i < colours.size(); ++i) {
        const ColourInfo& c = *colours[i];
        dump.PatchU32(tableAt + static_cast<int>(4 * i), static_cast<std::uint32_t>(dump.GetCurrentPosition() - base));
        const auto id = static_cast<std::uint64_t>(c.colourId);
        for (int b = 0; b < 7; ++b) dump.DataU8(static_cast<unsigned char>((id >> (8 * b)) & 0xFF));
        // The eighth byte takes the id shifted by 54, not 56: the layout as it has
        // always been written.
        dump.DataU8(static_cast<unsigned char>((id >> 54) & 0xFF));
        DumpWide(dump, c.colourName);
        DumpWide(dump, c.palette->name);
    }
    dump.PatchU32(lengthAt, static_cast<std::uint32_t>(dump.GetCurrentPosition() - lengthAt - 4));
}

// Builds the palette from one block. Counts that the block cannot hold end the
// read before anything is allocated for them; a record whose offset is not in the
// offsets table is dropped, and so are the keys of colours that were dropped. The
// result is false in every case: callers rely on the palette built, not on it.
bool flaPalette::Read(flaRead& reader) {
    if (reader.DataSize() < 4) return false;
    const std::uint32_t blockLength = reader.GetDWord();
    if (blockLength > static_cast<std::uint32_t>(reader.DataSize())) return false;
    BlockReader block(reader, reader.GetPosition() + blockLength);

    if (block.Left() < 8) return false;
    const std::uint32_t keyCount = block.U32();
    const std::uint32_t colourCount = block.U32();
    if (static_cast<std::uint64_t>(keyCount) * 8 + static_cast<std::uint64_t>(colourCount) * 4 > block.Left())
        return false;

    std::vector<std::pair<std::uint32_t, std::uint32_t>> keys(keyCount);
    for (auto& entry : keys) {
        std::uint32_t k = block.U32();
        // A legacy key holds its high part one bit lower and one greater than a
        // current key: move it up a bit and take one off.
        if (legacy) k = (((k >> 16) << 17) - 0x20000u) | (k & 0xFFFFu);
        entry = {k, block.U32()};
    }
    std::vector<std::uint32_t> offsets(colourCount);
    for (auto& o : offsets) o = block.U32();
    const unsigned long base = reader.GetPosition();

    std::vector<std::unique_ptr<ColourInfo>> read(colourCount);
    for (std::uint32_t i = 0; i < colourCount; ++i) {
        const unsigned long offset = reader.GetPosition() - base;
        std::int64_t id = 0;
        UT_String colourName, paletteName;
        if (legacy) {
            paletteName = block.Wide();
            colourName = block.Wide();
            std::uint64_t folded = 0;
            for (unsigned j = 0;; ++j) {
                const unsigned char b = block.U8();
                if (b == 0) break;
                folded ^= static_cast<std::uint64_t>(b) << (8 * (j % 8));
            }
            id = static_cast<std::int64_t>(folded);
        } else {
            std::uint64_t bits = 0;
            for (int b = 0; b < 8; ++b) bits |= static_cast<std::uint64_t>(block.U8()) << (8 * b);
            id = static_cast<std::int64_t>(bits);
            colourName = block.Wide();
            paletteName = block.Wide();
        }
        const Palette* palette = GetPalette(paletteName);
        std::uint32_t slot = colourCount;
        if (offsets[i] == offset) {
            slot = i;
        } else {
            for (std::uint32_t j = 0; j < colourCount; ++j) {
                if (offsets[j] == offset) {
                    slot = j;
                    break;
                }
            }
        }
        if (slot < colourCount && !read[slot])
            read[slot].reset(new ColourInfo(colourName, palette, id, slot));
    }

    // Colours read so far keep their order; missing ones close up, so indices are
    // renumbered and keys mapped through the slot they named.
    std::vector<ColourInfo*> bySlot(colourCount, nullptr);
    colours.reserve(colours.size() + colourCount);
    for (std::uint32_t s = 0; s < colourCount; ++s) {
        if (!read[s]) continue;
        read[s]->index = static_cast<std::uint32_t>(colours.size());
        bySlot[s] = read[s].get();
        colours.push_back(read[s].release());
    }
    for (const auto& entry : keys)
        if (entry.second < colourCount && bySlot[entry.second]) colourMap.emplace(entry.first, bySlot[entry.second]);
    return false;
}

// ---------------------------------------------------------------- flaQKData

flaQKData::~flaQKData() { delete palette; }

flaPalette* flaQKData::GetPaletteInformation() {
    if (!palette) palette = new flaPalette;
    return palette;
}

void flaQKData::Dump(flaDump& dump) const {
    if (!palette) return;
    const flaDump::TagStart tag = dump.BeginTag(flaFormat::PaletteData);
    for (char c : kSignature) dump.DataU8(static_cast<unsigned char>(c));
    palette->Dump(dump);
    dump.EndTag(tag);
}

// Reads the body of a tag 731 whose header has been read. A foreign signature or
// an unknown block leaves the palette as it was. Since a palette block's read
// reports false, the result is false once a palette has been read; the palette
// stays built.
bool flaQKData::Read(flaRead& reader) {
    if (reader.DataSize() < 12) return false;
    char signature[12];
    reader.GetNBytes(12, signature);
    if (std::memcmp(signature, kSignature, sizeof signature) != 0) return false;
    while (reader.DataSize() > 4) {
        std::uint32_t magic = 0;
        for (int i = 0; i < 4; ++i) magic = (magic << 8) | reader.GetByte();
        if (magic != flaPalette::MagicPAL1 && magic != flaPalette::MagicPALT) return false;
        if (palette) return false;
        palette = new flaPalette(magic);
        if (!palette->Read(reader)) return false;
    }
    return reader.GetPosition() == reader.GetTagEnd();
}
