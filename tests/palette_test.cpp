// The palette tag 731: its bytes, reading them back, the legacy layout, damaged
// blocks; the colour-key rules of flaPalette; the unsupported-element list.
#include <gtest/gtest.h>

#include "flio/flaDump.h"
#include "flio/flaPalette.h"
#include "flio/flaRead.h"
#include "test_util.h"

using flio_test::Bytes;
using flio_test::Hex;
using flio_test::ToHex;

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
    LE& Wide(const char* s) {
        for (; *s; ++s) U16(static_cast<unsigned char>(*s));
        return U16(0);
    }
    LE& Raw(const Bytes& r) {
        b.insert(b.end(), r.begin(), r.end());
        return *this;
    }
    LE& Text(const char* s) {
        for (; *s; ++s) U8(static_cast<unsigned char>(*s));
        return *this;
    }
};

const Bytes kSignature = Hex("51 55 49 4C 4C 41 52 4B 49 4E 43 00");

// A tag 731 around the given body.
Bytes Tag731(const Bytes& body) {
    return LE().U16(0xB6FF).U32(static_cast<std::uint32_t>(body.size())).Raw(body).b;
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
    return flio_test::Flushed(dump);
}

}  // namespace

TEST(PaletteTag, BytesAndReadBack) {
    flaQKData data;
    EXPECT_TRUE(Dumped(data).empty());  // no palette, no tag
    EXPECT_EQ(data.GetExistingPaletteInformation(), nullptr);

    flaPalette* p = data.GetPaletteInformation();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(data.GetPaletteInformation(), p);
    p->AddColourIndex(0x70005, 0x0102030405060708LL, "Red", "Main");
    p->AddColourIndex(0x10001, 42, "Blue", "Main");
    p->AddColourIndex(5, 42, "Other name", "Other");  // same id: maps to Blue

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
    EXPECT_FALSE(q->IsLegacy());
    EXPECT_EQ(q->GetKeyCount(), 3u);
    EXPECT_EQ(q->GetColourCount(), 2u);
    const flaPalette::ColourInfo* red = q->GetColourInformation(0x70005);
    ASSERT_NE(red, nullptr);
    EXPECT_EQ(red->GetColourName(), UT_String("Red"));
    EXPECT_EQ(red->GetPaletteName(), UT_String("Main"));
    EXPECT_EQ(red->GetIndex(), 0u);
    // All eight bytes are read back as they stand, without undoing the shift.
    EXPECT_EQ(red->GetColourId(), 0x0402030405060708LL);
    const flaPalette::ColourInfo* blue = q->GetColourInformation(5);
    ASSERT_NE(blue, nullptr);
    EXPECT_EQ(blue, q->GetColourInformation(0x10001));
    EXPECT_EQ(blue->GetColourId(), 42);
    EXPECT_EQ(blue->GetIndex(), 1u);
    EXPECT_EQ(blue->GetPalette(), red->GetPalette());
}

TEST(PaletteTag, EmptyPaletteTag) {
    flaQKData data;
    data.GetPaletteInformation();
    const Bytes tag = Dumped(data);
    EXPECT_EQ(ToHex(tag), ToHex(LE().Raw(Hex("FF B6 1C000000")).Raw(kSignature).Raw(Hex("50 41 4C 31 08000000 00000000 00000000")).b));
}

TEST(PaletteTag, SignatureMagicAndSecondBlock) {
    flaPalette first, second;
    first.AddColourIndex(1, 10, "A", "P");
    second.AddColourIndex(2, 20, "B", "P");
    flaDump d1(550, nullptr), d2(550, nullptr);
    first.Dump(d1);
    second.Dump(d2);

    {  // A second palette block in the same tag stops the read; the first stays.
        flaQKData data;
        EXPECT_FALSE(ReadTag(Tag731(LE().Raw(kSignature).Raw(d1.GetBuffer()).Raw(d2.GetBuffer()).b), data));
        const flaPalette* p = data.GetExistingPaletteInformation();
        ASSERT_NE(p, nullptr);
        EXPECT_TRUE(p->IsColourPresent(1));
        EXPECT_FALSE(p->IsColourPresent(2));
    }
    {  // A different signature leaves no palette.
        Bytes sig = kSignature;
        sig[0] = 'X';
        flaQKData data;
        EXPECT_FALSE(ReadTag(Tag731(LE().Raw(sig).Raw(d1.GetBuffer()).b), data));
        EXPECT_EQ(data.GetExistingPaletteInformation(), nullptr);
    }
    {  // An unknown block magic leaves no palette; a short tag is refused.
        Bytes block = d1.GetBuffer();
        block[3] = 'X';
        flaQKData data;
        EXPECT_FALSE(ReadTag(Tag731(LE().Raw(kSignature).Raw(block).b), data));
        EXPECT_EQ(data.GetExistingPaletteInformation(), nullptr);
        EXPECT_FALSE(ReadTag(Tag731(Bytes(kSignature.begin(), kSignature.end() - 1)), data));
    }
    {  // Only the signature: nothing to read, and the read ends at the tag end.
        flaQKData data;
        EXPECT_TRUE(ReadTag(Tag731(kSignature), data));
        EXPECT_EQ(data.GetExistingPaletteInformation(), nullptr);
    }
}

TEST(PaletteTag, LegacyLayout) {
    // Palette name, colour name, then an id string folded by XOR into eight bytes.
    const Bytes record =
        LE().Wide("Old").Wide("Cyan").Raw(Hex("01 02 03 04 05 06 07 08 10 00")).b;
    const Bytes tag = Tag731(LE().Raw(kSignature).Raw(Block("PALT", {{0x00030005, 0}}, {0}, record)).b);
    flaQKData data;
    EXPECT_FALSE(ReadTag(tag, data));
    const flaPalette* p = data.GetExistingPaletteInformation();
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(p->IsLegacy());
    // The high half of a legacy key moves up one bit and drops by one.
    EXPECT_FALSE(p->IsColourPresent(0x00030005));
    const flaPalette::ColourInfo* c = p->GetColourInformation(0x00040005);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->GetColourName(), UT_String("Cyan"));
    EXPECT_EQ(c->GetPaletteName(), UT_String("Old"));
    EXPECT_EQ(c->GetColourId(), 0x0807060504030211LL);
}

TEST(PaletteTag, OffsetsPlaceOrDropRecords) {
    const Bytes a = LE().U32(1).U32(0).Wide("A").Wide("P").b;  // 16 bytes
    const Bytes b = LE().U32(2).U32(0).Wide("B").Wide("P").b;
    const Bytes both = LE().Raw(a).Raw(b).b;
    struct Case {
        const char* name;
        std::vector<std::uint32_t> offsets;
        std::vector<std::int64_t> idsByIndex;  // ids of the colours kept, in index order
        std::int64_t idOfKey1;                 // 0 when key 1 has no colour
    } cases[] = {
        {"InOrder", {0, 16}, {1, 2}, 2},
        {"Swapped", {16, 0}, {2, 1}, 1},
        {"SecondPointsNowhere", {0, 99}, {1}, 0},
        {"NonePlaced", {7, 99}, {}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        flaQKData data;
        ReadTag(Tag731(LE().Raw(kSignature).Raw(Block("PAL1", {{100, 0}, {101, 1}}, c.offsets, both)).b), data);
        const flaPalette* p = data.GetExistingPaletteInformation();
        ASSERT_NE(p, nullptr);
        ASSERT_EQ(p->GetColourCount(), c.idsByIndex.size());
        for (std::size_t i = 0; i < c.idsByIndex.size(); ++i) {
            EXPECT_EQ(p->GetColour(i)->GetColourId(), c.idsByIndex[i]);
            EXPECT_EQ(p->GetColour(i)->GetIndex(), i);
        }
        const flaPalette::ColourInfo* k1 = p->GetColourInformation(101);
        EXPECT_EQ(k1 ? k1->GetColourId() : 0, c.idOfKey1);
        // What was read writes out again without holes.
        EXPECT_FALSE(Dumped(data).empty());
    }
}

TEST(PaletteTag, DamagedBlocks) {
    // Counts that the block cannot hold end the read before anything is built.
    for (const Bytes& block : {LE().Text("PAL1").U32(4).U32(0).b, LE().Text("PAL1").U32(8).U32(0xFFFFFFFF).U32(0).b,
                               LE().Text("PAL1").U32(8).U32(0).U32(0xFFFFFFFF).b,
                               LE().Text("PAL1").U32(0xFFFF).U32(0).U32(0).b}) {
        flaQKData data;
        EXPECT_FALSE(ReadTag(Tag731(LE().Raw(kSignature).Raw(block).b), data));
        ASSERT_NE(data.GetExistingPaletteInformation(), nullptr);
        EXPECT_EQ(data.GetExistingPaletteInformation()->GetColourCount(), 0u);
    }
    // A record cut by the block's end throws; nothing leaks.
    const Bytes cut = LE().U32(1).U32(0).U16('A').b;
    flaQKData data;
    EXPECT_THROW(ReadTag(Tag731(LE().Raw(kSignature).Raw(Block("PAL1", {{1, 0}}, {0}, cut)).b), data),
                 flaRead::readError);
}

TEST(Palette, KeysAndColourIds) {
    EXPECT_EQ(flaPalette::CreateFlashKey(5, 3, true), 0x70005u);
    EXPECT_EQ(flaPalette::CreateFlashKey(5, 3, false), 0x60005u);
    EXPECT_EQ(flaPalette::CreateFlashKey(0x12345, 0, false), 0x2345u);
    EXPECT_EQ(flaPalette::CreateFlashKey(-1, 0, false), 0xFFFFu);

    flaPalette p;
    EXPECT_FALSE(p.IsLegacy());
    EXPECT_EQ(p.GetColourInformation(1), nullptr);
    p.AddColourIndex(1, 100, "Red", "Main");
    p.AddColourIndex(1, 200, "Green", "Main");  // same key: the first mapping stays
    p.AddColourIndex(2, 100, "Ignored", "Second");  // same id: the existing colour
    p.AddColourIndex(3, 300, "Blue", "Second");
    EXPECT_EQ(p.GetKeyCount(), 3u);
    ASSERT_EQ(p.GetColourCount(), 2u);
    EXPECT_EQ(p.GetColourInformation(1)->GetColourName(), UT_String("Red"));
    EXPECT_EQ(p.GetColourInformation(2), p.GetColourInformation(1));
    const flaPalette::ColourInfo* blue = p.GetColourInformation(3);
    EXPECT_EQ(blue->GetIndex(), 1u);
    EXPECT_EQ(blue->GetPaletteName(), UT_String("Second"));
    EXPECT_EQ(p.GetColour(1), blue);
    EXPECT_EQ(p.GetColour(2), nullptr);
    flaPalette legacy(flaPalette::MagicPALT);
    EXPECT_TRUE(legacy.IsLegacy());
}

TEST(Unsupported, EachKindOnceInOrderOfFirstReport) {
    flaUnsupported list;
    list.AddUnsupportedElement(flaUnsupported::Action);
    list.AddUnsupportedElement(flaUnsupported::Button);
    list.AddUnsupportedElement(flaUnsupported::Action);
    ASSERT_EQ(list.GetUnsupportedElementCount(), 2u);
    EXPECT_EQ(*list.GetUnsupportedElementBegin(), flaUnsupported::Action);
    EXPECT_EQ(*(list.GetUnsupportedElementBegin() + 1), flaUnsupported::Button);
    EXPECT_TRUE(list.UnsupportedElementAlreadyInserted(flaUnsupported::Button));
    EXPECT_FALSE(list.UnsupportedElementAlreadyInserted(flaUnsupported::MorphShape));
    EXPECT_STREQ(flaUnsupported::GetElementName(flaUnsupported::Action), "DoAction");
    EXPECT_STREQ(flaUnsupported::GetElementName(flaUnsupported::LosslessBitmap), "DefineBitsLossless");
}
