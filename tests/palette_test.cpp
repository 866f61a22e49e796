// The palette tag 731: its bytes, reading them back, the legacy layout, damaged
// blocks, and the colour-key rules of flaPalette.
#include <gtest/gtest.h>

#include <cstring>

#include "flio/flaDump.h"
#include "flio/flaPalette.h"
#include "flio/flaRead.h"
#include "cli_util.h"

using namespace flio_test;

namespace {

// Little-endian byte builder for hand-made blocks.
struct LE {
    Bytes b;
    LE& U8(unsigned v) {
        b.push_back(static_cast<unsigned char>(v));
        return *this;
    }
    LE& U16(unsigned v) { return U8(v & 0xFF).U8((v >> 8) & 0xFF); }
    LE& U32(std::uint32_t v) { return U16(v & 0xFFFF).U16(v >> 16); }
    LE& Raw(const Bytes& r) {
        b.insert(b.end(), r.begin(), r.end());
        return *this;
    }
    LE& Text(const char* s) { return Raw(Bytes(s, s + std::strlen(s))); }
    LE& Wide(const char* s) {
        for (; *s; ++s) U16(static_cast<unsigned char>(*s));
        return U16(0);
    }
};

const Bytes kSignature = Hex("51 55 49 4C 4C 41 52 4B 49 4E 43 00");

// A tag 731 around the signature and the given blocks.
Bytes Tag731(const Bytes& blocks, const Bytes& signature = kSignature) {
    const auto length = static_cast<std::uint32_t>(signature.size() + blocks.size());
    return LE().U16(0xB6FF).U32(length).Raw(signature).Raw(blocks).b;
}

// A palette block: magic, length, counts, key table, offsets, then the records.
Bytes Block(const char* magic, const std::vector<std::pair<std::uint32_t, std::uint32_t>>& keys,
            const std::vector<std::uint32_t>& offsets, const Bytes& records) {
    LE inner;
    inner.U32(static_cast<std::uint32_t>(keys.size())).U32(static_cast<std::uint32_t>(offsets.size()));
    for (const auto& k : keys) inner.U32(k.first).U32(k.second);
    for (std::uint32_t o : offsets) inner.U32(o);
    inner.Raw(records);
    return LE().Text(magic).U32(static_cast<std::uint32_t>(inner.b.size())).Raw(inner.b).b;
}

bool ReadTag(const Bytes& tag, flaQKData& data) {
    flaRead reader(static_cast<int>(tag.size()), tag.data());
    EXPECT_EQ(reader.GetTag(), 731);
    return data.Read(reader);
}

Bytes Dumped(const flaQKData& data) {
    flaDump dump(550, nullptr);
    data.Dump(dump);
    return Flushed(dump);
}

}  // namespace

TEST(PaletteTag, BytesAndReadBack) {
    flaQKData data;
    EXPECT_TRUE(Dumped(data).empty());  // no palette, no tag
    flaPalette* p = data.GetPaletteInformation();
    EXPECT_EQ(ToHex(Dumped(data)),
              "FF B6 1C 00 00 00 " + ToHex(kSignature) + " 50 41 4C 31 08 00 00 00 00 00 00 00 00 00 00 00");
    // A key: the low value in bits 0-15, the flag in bit 16, the high value above it.
    EXPECT_EQ(flaPalette::CreateFlashKey(-1, 3, false), 0x6FFFFu);
    p->AddColourIndex(flaPalette::CreateFlashKey(5, 3, true), 0x0102030405060708LL, "Red", "Main");
    p->AddColourIndex(0x10001, 42, "Blue", "Main");
    p->AddColourIndex(5, 42, "Other name", "Other");  // same id: maps to Blue
    p->AddColourIndex(5, 99, "Green", "Main");        // same key: the first mapping stays

    const Bytes expected = Hex(
        "FF B6 72000000"
        "51 55 49 4C 4C 41 52 4B 49 4E 43 00"
        "50 41 4C 31 5E000000 03000000 02000000"
        "05000000 01000000  01000100 01000000  05000700 00000000"
        "00000000 1A000000"
        // The eighth id byte is the id shifted by 54: 0x0102 >> 6 = 0x04.
        "08 07 06 05 04 03 02 04  5200 6500 6400 0000  4D00 6100 6900 6E00 0000"
        "2A 00 00 00 00 00 00 00  4200 6C00 7500 6500 0000  4D00 6100 6900 6E00 0000");
    ASSERT_EQ(ToHex(Dumped(data)), ToHex(expected));

    flaQKData back;
    EXPECT_FALSE(ReadTag(expected, back));  // the result is false even after a good read
    const flaPalette* q = back.GetExistingPaletteInformation();
    ASSERT_NE(q, nullptr);
    const flaPalette::ColourInfo *red = q->GetColourInformation(0x70005), *blue = q->GetColourInformation(5);
    ASSERT_TRUE(red && blue);
    EXPECT_EQ(red->GetColourName().utf8() + " / " + red->GetPaletteName().utf8(), "Red / Main");
    EXPECT_EQ(red->GetColourId(), 0x0402030405060708LL);  // all eight bytes as they stand: the shift stays
    EXPECT_EQ(Nums(q->GetKeyCount(), blue->GetIndex(), blue == q->GetColourInformation(0x10001)), "3,1,1");
}

TEST(PaletteTag, OddAndDamagedTags) {
    const Bytes block = Block("PAL1", {{1, 0}}, {0}, LE().U32(10).U32(0).Wide("A").Wide("P").b);
    const Bytes second = Block("PAL1", {{2, 0}}, {0}, LE().U32(20).U32(0).Wide("B").Wide("P").b);
    Bytes badMagic = block, badSignature = kSignature;
    badMagic[3] = 'X';
    badSignature[0] = 'X';
    const struct { const char* name; Bytes tag; bool result; int colours; } cases[] = {  // colours -1: no palette
        {"a second block stops the read", Tag731(LE().Raw(block).Raw(second).b), false, 1},
        {"another signature", Tag731(block, badSignature), false, -1},
        {"unknown block magic", Tag731(badMagic), false, -1},
        {"signature cut short", Tag731({}, Bytes(kSignature.begin(), kSignature.end() - 1)), false, -1},
        {"only the signature", Tag731({}), true, -1},
        // Counts that the block cannot hold end the read before anything is built.
        {"block shorter than its counts", Tag731(LE().Text("PAL1").U32(4).U32(0).b), false, 0},
        {"key count too large", Tag731(LE().Text("PAL1").U32(8).U32(0xFFFFFFFF).U32(0).b), false, 0},
        {"offset count too large", Tag731(LE().Text("PAL1").U32(8).U32(0).U32(0xFFFFFFFF).b), false, 0},
        {"block longer than the tag", Tag731(LE().Text("PAL1").U32(0xFFFF).U32(0).U32(0).b), false, 0},
    };
    for (const auto& c : cases) {
        flaQKData data;
        EXPECT_EQ(ReadTag(c.tag, data), c.result) << c.name;
        const flaPalette* p = data.GetExistingPaletteInformation();
        EXPECT_EQ(p ? static_cast<int>(p->GetColourCount()) : -1, c.colours) << c.name;
    }
    // A record cut by the block's end throws; nothing leaks.
    flaQKData data;
    const Bytes cut = LE().U32(1).U32(0).U16('A').b;
    EXPECT_THROW(ReadTag(Tag731(Block("PAL1", {{1, 0}}, {0}, cut)), data), flaRead::readError);
}

TEST(PaletteTag, LegacyLayout) {
    // Palette name, colour name, then an id string folded by XOR into eight bytes.
    const Bytes record = LE().Wide("Old").Wide("Cyan").Raw(Hex("01 02 03 04 05 06 07 08 10 00")).b;
    flaQKData data;
    EXPECT_FALSE(ReadTag(Tag731(Block("PALT", {{0x00030005, 0}}, {0}, record)), data));
    const flaPalette* p = data.GetExistingPaletteInformation();
    ASSERT_TRUE(p && p->IsLegacy());
    // The high half of a legacy key moves up one bit and drops by one.
    EXPECT_FALSE(p->IsColourPresent(0x00030005));
    const flaPalette::ColourInfo* c = p->GetColourInformation(0x00040005);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->GetColourName().utf8() + " / " + c->GetPaletteName().utf8(), "Cyan / Old");
    EXPECT_EQ(c->GetColourId(), 0x0807060504030211LL);
}

TEST(PaletteTag, OffsetsPlaceOrDropRecords) {
    const Bytes both = LE().U32(1).U32(0).Wide("A").Wide("P").U32(2).U32(0).Wide("B").Wide("P").b;  // 16 + 16
    const struct {
        std::vector<std::uint32_t> offsets;
        std::vector<std::int64_t> idsByIndex;
        std::int64_t idOfKey1;  // 0: key 1 has no colour
    } cases[] = {{{0, 16}, {1, 2}, 2}, {{16, 0}, {2, 1}, 1}, {{0, 99}, {1}, 0}, {{7, 99}, {}, 0}};
    for (const auto& c : cases) {
        flaQKData data;
        ReadTag(Tag731(Block("PAL1", {{100, 0}, {101, 1}}, c.offsets, both)), data);
        const flaPalette* p = data.GetExistingPaletteInformation();
        ASSERT_NE(p, nullptr);
        ASSERT_EQ(p->GetColourCount(), c.idsByIndex.size());
        for (std::size_t i = 0; i < c.idsByIndex.size(); ++i) {
            EXPECT_EQ(p->GetColour(i)->GetColourId(), c.idsByIndex[i]);
            EXPECT_EQ(p->GetColour(i)->GetIndex(), i);
        }
        const flaPalette::ColourInfo* k1 = p->GetColourInformation(101);
        EXPECT_EQ(k1 ? k1->GetColourId() : 0, c.idOfKey1);
        EXPECT_FALSE(Dumped(data).empty());  // what was read writes out again without holes
    }
}
