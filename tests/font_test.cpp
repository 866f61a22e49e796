// Fonts: face ordering, ids, the DefineFont2 writer and the rebuilding of fonts
// from DefineFont, DefineFont2, DefineFontInfo and DefineFontInfo2 bodies.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"
#include "movie_test_util.h"
#include "test_util.h"

using namespace flio_test;

namespace {

// A closed square (straight) and one curve, drawn with the right fill: how a
// glyph outline is usually made. Coordinates are multiples of 1/20 so that a
// one-pixel stage writes them as whole twips.
std::unique_ptr<flaGlyphGeometry> SampleGlyph() {
    auto glyph = std::make_unique<flaGlyphGeometry>();
    flaSubGeometry* sub = glyph->AddChildGeometry();
    const flaColor* fill = sub->CreateSolidColour(FLIO::flaRGBA(0, 0, 0, 255), 0);
    auto* square = new flaStroke;
    for (const flaPoint& p : {flaPoint(0, 0), flaPoint(10, 0), flaPoint(10, -10), flaPoint(0, -10), flaPoint(0, 0)})
        square->AddPoint(p);
    sub->AddStroke(square, new flaStyle(flaStyle::Straight, nullptr, fill, nullptr));
    auto* curve = new flaStroke;
    for (const flaPoint& p : {flaPoint(2, -2), flaPoint(5, -4.5f), flaPoint(8, -2)}) curve->AddPoint(p);
    sub->AddStroke(curve, new flaStyle(flaStyle::Curved, nullptr, fill, nullptr));
    return glyph;
}

std::string GlyphHex(const flaGlyphGeometry& glyph) {
    flaDump dump(1, nullptr);
    glyph.DumpCharacterInFile(dump);
    return ToHex(Flushed(dump));
}

// An import object filled from a tag holding id and body, as the importer does.
template <class Import>
std::unique_ptr<Import> MakeImport(unsigned code, int id, const std::string& bodyHex) {
    const std::string idHex = ToHex(Bytes{static_cast<unsigned char>(id & 0xFF), static_cast<unsigned char>(id >> 8)});
    const Bytes tag = Hex(LongTag(code, Join(idHex, bodyHex)));
    flaRead in(static_cast<int>(tag.size()), tag.data());
    in.SetScaling(0.05f);
    EXPECT_EQ(in.GetTag(), code);
    auto import = std::make_unique<Import>();
    EXPECT_TRUE(import->ReadFromFile(in));
    EXPECT_EQ(in.DataSize(), 0);
    return import;
}

std::string Utf8Name(const flaFont& f) { return f.getInfo().name.utf8(); }

std::vector<unsigned short> Codes(const flaFont& f) {
    std::vector<unsigned short> codes;
    for (unsigned int i = 0; i < f.getCodeCnt(); ++i) codes.push_back(f.getCodeByIndex(i));
    return codes;
}

// The strokes of a glyph's first layer: edge type, fill indices and points.
struct StrokeView {
    bool curved;
    int fill0, fill1;
    std::vector<flaPoint> points;
    bool operator==(const StrokeView& o) const {
        return curved == o.curved && fill0 == o.fill0 && fill1 == o.fill1 && points == o.points;
    }
};

std::vector<StrokeView> Strokes(const flaGeometry& g) {
    std::vector<StrokeView> out;
    for (std::size_t s = 0; s < g.GetSubGeometryCount(); ++s) {
        const flaSubGeometry& sub = *g.GetSubGeometry(s);
        for (std::size_t i = 0; i < sub.GetStrokeCount(); ++i) {
            const auto& r = sub.GetStrokeRecord(i);
            out.push_back({r.style->IsCurved(), r.fill0Index, r.fill1Index, r.stroke->GetPoints()});
        }
    }
    return out;
}

}  // namespace

TEST(FontInfo, OrderAndEquality) {
    struct Case {
        fontInfo a, b;
        bool less;
    };
    const Case cases[] = {
        {{"Arial", false, false}, {"Courier", false, false}, true},
        {{"Courier", false, false}, {"Arial", true, true}, false},
        {{"Arial", false, true}, {"Arial", true, false}, true},   // non-bold first
        {{"Arial", true, false}, {"Arial", false, true}, false},
        {{"Arial", true, false}, {"Arial", true, true}, true},    // then non-italic first
        {{"Arial", true, true}, {"Arial", true, true}, false},
        {{"", false, false}, {"A", false, false}, true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.a < c.b, c.less) << c.a.name.utf8() << " " << c.a.bold << c.a.italic;
        EXPECT_EQ(c.a == c.b, !(c.a < c.b) && !(c.b < c.a));
    }
    EXPECT_EQ(fontInfo(), fontInfo("", false, false));
}

TEST(FontTable, GetFontTakesIdsFromTheMovieCounterInOrderOfFirstUse) {
    flaMovie movie(100, 100);
    EXPECT_EQ(movie.GetNewCharacterId(), 1);
    const fontInfo bold("Arial", true, false), plain("Arial", false, false);
    flaFont& b = movie.getFont(bold);
    flaFont& p = movie.getFont(plain);
    EXPECT_EQ(b.getId(), 2);
    EXPECT_EQ(p.getId(), 3);
    EXPECT_EQ(&movie.getFont(bold), &b);
    EXPECT_EQ(movie.GetNewCharacterId(), 4);

    const flaMovie& constMovie = movie;
    EXPECT_EQ(constMovie.getFont(plain), &p);
    EXPECT_EQ(constMovie.getFont(fontInfo("Arial", true, true)), nullptr);
    EXPECT_EQ(constMovie.getFont(2), &b);
    EXPECT_EQ(constMovie.getFont(4), nullptr);
    EXPECT_EQ(movie.GetFontTable().GetTable().size(), 2u);

    // Written in face order: the plain face (id 3) before the bold one (id 2).
    flaDump dump(1, nullptr);
    movie.GetFontTable().DumpAllFonts(dump);
    const Bytes out = Flushed(dump);
    ASSERT_EQ(out.size(), 40u);  // two fonts of 20 bytes
    EXPECT_EQ(out[6], 3);
    EXPECT_EQ(out[20 + 6], 2);
}

TEST(Font, CodesAdvancesAndLookups) {
    flaFont font(4, fontInfo("F", false, false));
    flaGlyphGeometry g1, g2;
    EXPECT_TRUE(font.addCode(65, &g1, 512));
    EXPECT_TRUE(font.addCode(66, &g2, 700));
    EXPECT_TRUE(font.addCode(65, &g2, 100));  // stored twice, found first
    EXPECT_EQ(font.getGlyphCnt(), 3u);
    EXPECT_EQ(font.getGlyphIndex(65), 0);
    EXPECT_EQ(font.getIndex(66), 1);
    EXPECT_EQ(font.getGlyphIndex(67), -1);
    EXPECT_EQ(font.getGlyph(65), &g1);
    EXPECT_EQ(font.getGlyph(67), nullptr);
    EXPECT_EQ(font.getGlyphByIndex(2), &g2);

    float advance = -1;
    EXPECT_TRUE(font.getAdvance(65, advance, 0.5f));
    EXPECT_FLOAT_EQ(advance, 256.0f);
    EXPECT_FALSE(font.getAdvance(90, advance, 1.0f));
    EXPECT_FLOAT_EQ(advance, 256.0f);
    EXPECT_FLOAT_EQ(font.getLargestAdvance(2.0f), 1400.0f);
    EXPECT_FLOAT_EQ(flaFont(1, fontInfo()).getLargestAdvance(7.0f), 0.0f);
    EXPECT_EQ(flaFont::uiSwfEmSize, 1024u);

    flaFont copy(font);
    EXPECT_EQ(copy.getId(), 4);
    EXPECT_EQ(copy.getGlyph(66), &g2);  // the glyphs are shared
}

// One table drives the DefineFont2 writer and, reading the written tag back, the
// DefineFont2 import.
TEST(Font, DefineFont2BytesAndReadBack) {
    struct Case {
        const char* what;
        int id;
        fontInfo face;
        std::vector<unsigned short> codes;  // one empty glyph each
        const char* hex;
    };
    const Case cases[] = {
        {"no glyphs, bold", 5, {"Ab", true, false}, {}, "3F 0C 0B 00 00 00 05 00 05 00 02 41 62 00 00 02 00"},
        {"one glyph, italic", 1, {"F", false, true}, {65},
         "3F 0C 10 00 00 00 01 00 06 00 01 46 01 00 04 00 06 00 10 00 41 00"},
        {"two glyphs, wide code, no name", 0x1234, {"", true, true}, {0x263A, 0x42},
         "3F 0C 15 00 00 00 34 12 07 00 00 02 00 06 00 08 00 0A 00 10 00 10 00 3A 26 42 00"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        flaFont font(c.id, c.face);
        for (unsigned short code : c.codes) font.addCode(code, nullptr, 0.0f);
        flaDump dump(1, nullptr);
        font.DumpCharacterInFile(dump);
        const Bytes written = Flushed(dump);
        EXPECT_EQ(ToHex(written), c.hex);

        const Bytes all = Hex(c.hex);
        const std::string body = ToHex(Bytes(all.begin() + 8, all.end()));
        flaFontTable table;
        table.AddImportFont(MakeImport<ImportDefineFont2>(48, c.id, body).release(), 48);
        table.buildBloatedFonts();
        const flaFont* back = table.getBloatedFont(c.id);
        ASSERT_NE(back, nullptr);
        EXPECT_EQ(back->getInfo(), c.face);
        EXPECT_EQ(back->getGlyphCnt(), c.codes.size());
        EXPECT_EQ(Codes(*back), c.codes);
        for (unsigned int i = 0; i < back->getGlyphCnt(); ++i) EXPECT_TRUE(Strokes(*back->getGlyphByIndex(i)).empty());
    }
}

TEST(Font, LongNameWritesTheLengthByteTruncatedAndEveryCharacter) {
    const std::string name(300, 'x');
    flaFont font(1, fontInfo(name.c_str(), false, false));
    flaDump dump(1, nullptr);
    font.DumpCharacterInFile(dump);
    const Bytes out = Flushed(dump);
    ASSERT_EQ(out.size(), 6u + 2 + 1 + 1 + 1 + 300 + 2 + 2);
    EXPECT_EQ(out[10], 44);  // 300 & 0xFF
    EXPECT_EQ(std::string(out.begin() + 11, out.begin() + 311), name);
    EXPECT_EQ(out[311], 0);  // glyph count
}

TEST(Font, GlyphWrittenInDefineFont2DecodesToTheSameStrokes) {
    const auto glyph = SampleGlyph();
    flaFont font(9, fontInfo("G", false, false));
    font.addCode('G', glyph.get(), 600);
    font.addCode('H', glyph.get(), 600);
    flaDump dump(1, nullptr);
    font.DumpCharacterInFile(dump);
    const Bytes out = Flushed(dump);

    flaFontTable table;
    table.AddImportFont(MakeImport<ImportDefineFont2>(48, 9, ToHex(Bytes(out.begin() + 8, out.end()))).release(), 48);
    table.buildBloatedFonts();
    const flaFont* back = table.getBloatedFont(9);
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(back->getGlyphCnt(), 2u);
    const std::vector<StrokeView> expected = Strokes(*glyph);
    for (unsigned int i = 0; i < 2; ++i) {
        const flaGlyphGeometry& g = *back->getGlyphByIndex(i);
        ASSERT_EQ(g.GetSubGeometryCount(), 1u);
        EXPECT_EQ(g.GetSubGeometry(0)->GetFills().GetSize(), 2u);  // 2^1 fills for one fill bit
        EXPECT_TRUE(Strokes(g) == expected) << "glyph " << i;
    }
}

namespace {

// DefineFont body: offset table for two glyphs, an empty glyph, the sample glyph.
std::string DefineFontBody() { return Join("04 00 06 00 10 00", GlyphHex(*SampleGlyph())); }

// DefineFont2 body with no glyphs: flags (wide codes, the given bold bit), the
// language, the name, count 0 and the code-table offset.
std::string EmptyFont2Body(const char* nameHex, int nameLength) {
    const Bytes len{static_cast<unsigned char>(nameLength)};
    return Join(Join("04 00", ToHex(len)), Join(nameHex, "00 00 02 00"));
}

}  // namespace

TEST(FontTable, DefineFontAndInfosGiveNamesFlagsAndCodes) {
    struct Case {
        const char* what;
        unsigned infoCode;
        const char* infoBody;
        const char* name;
        bool bold, italic;
        std::vector<unsigned short> codes;
    };
    const Case cases[] = {
        {"info, wide codes, italic", 13, "03 46 6F 6F 05 41 00 42 00", "Foo", false, true, {65, 66}},
        {"info, narrow codes, bold", 13, "01 5A 02 61 62", "Z", true, false, {97, 98}},
        {"info2 skips the language", 62, "02 48 69 07 01 3A 26 43 00", "Hi", true, true, {0x263A, 67}},
        {"info2, narrow codes", 62, "00 00 02 7A 79", "", false, false, {122, 121}},
        {"damaged info changes nothing", 13, "03 46 6F 6F 05 41 00 42", "", false, false, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        flaFontTable table;
        table.AddImportFont(MakeImport<ImportDefineFont>(10, 3, DefineFontBody()).release(), 10);
        if (c.infoCode == 13)
            table.AddImportFont(MakeImport<ImportDefineFontInfo>(13, 3, c.infoBody).release(), 13);
        else
            table.AddImportFont(MakeImport<ImportDefineFontInfo2>(62, 3, c.infoBody).release(), 62);
        EXPECT_EQ(table.GetPendingImportCount(), 2u);
        table.buildBloatedFonts();
        EXPECT_EQ(table.GetPendingImportCount(), 0u);
        const flaFont* font = table.getBloatedFont(3);
        ASSERT_NE(font, nullptr);
        ASSERT_EQ(font->getGlyphCnt(), 2u);
        EXPECT_TRUE(Strokes(*font->getGlyphByIndex(0)).empty());
        EXPECT_TRUE(Strokes(*font->getGlyphByIndex(1)) == Strokes(*SampleGlyph()));
        EXPECT_EQ(Utf8Name(*font), c.name);
        EXPECT_EQ(font->getInfo().bold, c.bold);
        EXPECT_EQ(font->getInfo().italic, c.italic);
        EXPECT_EQ(Codes(*font), c.codes);
        float advance = 0;
        EXPECT_FALSE(font->getAdvance(c.codes.empty() ? 0 : c.codes[0], advance, 1.0f));  // no advances
    }
}

TEST(FontTable, UnmatchedInfos) {
    // No font at all: each kind of info reports its own message.
    {
        flaFontTable table;
        table.AddImportFont(MakeImport<ImportDefineFontInfo>(13, 7, "00 00").release(), 13);
        table.AddImportFont(MakeImport<ImportDefineFontInfo2>(62, 8, "00 00 00").release(), 62);
        testing::internal::CaptureStderr();
        table.buildBloatedFonts();
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Cannot match DefineFontInfo (font id 7) to any previously defined font\n"
                  "Cannot match DefineFontInfo2 (font id 8) to any previously defined font\n");
        EXPECT_TRUE(table.GetBloatedFonts().empty());
    }
    // Fonts exist but none has the id: the last font gets the info.
    {
        flaFontTable table;
        table.AddImportFont(MakeImport<ImportDefineFont2>(48, 1, EmptyFont2Body("41", 1)).release(), 48);
        table.AddImportFont(MakeImport<ImportDefineFont2>(48, 2, EmptyFont2Body("42", 1)).release(), 48);
        table.AddImportFont(MakeImport<ImportDefineFontInfo>(13, 9, "01 43 02").release(), 13);
        testing::internal::CaptureStderr();
        table.buildBloatedFonts();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        ASSERT_EQ(table.GetBloatedFonts().size(), 2u);
        EXPECT_EQ(Utf8Name(*table.getBloatedFont(1)), "A");
        EXPECT_EQ(Utf8Name(*table.getBloatedFont(2)), "BC");
        EXPECT_TRUE(table.getBloatedFont(2)->getInfo().bold);
    }
}

TEST(FontTable, BuildOrderIsDefineFontsThenDefineFont2sThenInfos) {
    flaFontTable table;
    // Filed in the reverse order; the info still finds its font.
    table.AddImportFont(MakeImport<ImportDefineFontInfo>(13, 2, "01 49 00 30 31").release(), 13);
    table.AddImportFont(MakeImport<ImportDefineFont2>(48, 1, EmptyFont2Body("", 0)).release(), 48);
    table.AddImportFont(MakeImport<ImportDefineFont>(10, 2, DefineFontBody()).release(), 10);
    table.buildBloatedFonts();
    ASSERT_EQ(table.GetBloatedFonts().size(), 2u);
    EXPECT_EQ(table.GetBloatedFonts()[0]->getId(), 2);
    EXPECT_EQ(table.GetBloatedFonts()[1]->getId(), 1);
    EXPECT_EQ(Codes(*table.getBloatedFont(2)), (std::vector<unsigned short>{0x30, 0x31}));
    EXPECT_EQ(Utf8Name(*table.getBloatedFont(2)), "I");
}

TEST(FontTable, NameBytesAreTakenAsSignedCharacters) {
    flaFontTable table;
    table.AddImportFont(MakeImport<ImportDefineFont2>(48, 1, EmptyFont2Body("E9 41", 2)).release(), 48);
    table.buildBloatedFonts();
    const UT_String& name = table.getBloatedFont(1)->getInfo().name;
    ASSERT_EQ(name.length(), 2u);
    EXPECT_EQ(name[0], 0xFFE9);
    EXPECT_EQ(name[1], 0x41);
}

TEST(FontTable, DamagedBodiesKeepTheFontWithoutGlyphs) {
    struct Case {
        const char* what;
        unsigned code;
        std::string body;
        const char* name;
    };
    const std::string glyph = GlyphHex(*SampleGlyph());
    const Bytes g = Hex(glyph);
    const std::string cut = ToHex(Bytes(g.begin(), g.end() - 2));
    const Case cases[] = {
        {"DefineFont glyph cut short", 10, Join("04 00 06 00 10 00", cut), ""},
        {"DefineFont offset table cut short", 10, "FE FF 00 00", ""},
        {"DefineFont of one byte", 10, "04", ""},
        {"DefineFont2 announcing 65535 glyphs", 48, "04 00 01 4E FF FF 00 00 00 00", "N"},
        {"DefineFont2 with wide offsets cut short", 48, "0C 00 01 4E 01 00 00 00 00", "N"},
        {"DefineFont2 codes missing", 48, Join("04 00 01 4E 01 00 04 00", Join(ToHex(Bytes{static_cast<unsigned char>(4 + g.size()), 0}), glyph)), "N"},
        {"DefineFont2 name cut short", 48, "04 00 05 4E", "N"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        flaFontTable table;
        if (c.code == 10)
            table.AddImportFont(MakeImport<ImportDefineFont>(10, 4, c.body).release(), 10);
        else
            table.AddImportFont(MakeImport<ImportDefineFont2>(48, 4, c.body).release(), 48);
        table.AddImportFont(MakeImport<ImportDefineFont>(10, 5, DefineFontBody()).release(), 10);
        EXPECT_NO_THROW(table.buildBloatedFonts());
        const flaFont* font = table.getBloatedFont(4);
        ASSERT_NE(font, nullptr);
        EXPECT_EQ(font->getGlyphCnt(), 0u);
        EXPECT_EQ(font->getCodeCnt(), 0u);
        EXPECT_EQ(Utf8Name(*font), c.name);
        ASSERT_NE(table.getBloatedFont(5), nullptr);
        EXPECT_EQ(table.getBloatedFont(5)->getGlyphCnt(), 2u);  // the next font is built all the same
    }
}

TEST(FontTable, HostFontsAndImportCodes) {
    flaMovie movie(10, 10);
    auto* font = new flaFont(6, fontInfo("Host", false, false));
    movie.AddFont(font);
    movie.AddFont(nullptr);
    movie.AddFont(new flaFont(6, fontInfo("Second", false, false)));
    EXPECT_EQ(movie.getBloatedFont(6), font);
    EXPECT_EQ(movie.getBloatedFont(7), nullptr);
    EXPECT_EQ(movie.getFont(6), nullptr);  // bloated fonts are not output fonts

    // DefineFont3 is not one of the codes: reported, nothing filed, the object
    // stays the caller's.
    auto foreign = std::make_unique<ImportDefineFont>();
    testing::internal::CaptureStderr();
    movie.AddImportFont(foreign.get(), 75);
    movie.AddImportFont(nullptr, 10);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Invalid SWF font tag code\n");
    EXPECT_EQ(movie.GetFontTable().GetPendingImportCount(), 0u);
}
