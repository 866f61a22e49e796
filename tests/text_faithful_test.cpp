// Static text in faithful mode: a text's records keep, as players draw them, the
// colour, the y offset and the pen of the record before; DefineText2 keeps its
// alpha colours; DefineFont3's finer outlines draw at the size of DefineFont2's.
// The movies are built by hand: the fonts written by the library's own font writer,
// the text records through flaDump.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "flio/PL_File.h"
#include "flio/flaFont.h"
#include "flio/flaRewrite.h"
#include "flio/flaText.h"
#include "swf_writer.h"
#include "io/flaFormat.h"
#include "swfcheck_util.h"

using namespace flio_test;

namespace {

const int kStageTwips = 11000;  // 550 pixels
const int kSide = 400;          // the square glyph's side, in DefineFont2's units (1024 per em)
const int kAdvance = 500;       // twips, at the height of the tests (1024 twips: one unit one twip)
const int kFont2 = 1, kFont3 = 2, kText = 3, kText2 = 4;

// One font with one square glyph, 'A': (0, 0) to (side, -side), as the library's
// font writer writes it (DefineFont2). A DefineFont3 gets the body of one with
// twenty times the side, under its own code.
Bytes SquareFontTag(int id, bool font3) {
    flaGlyphGeometry glyph;
    flaSubGeometry* sub = glyph.AddChildGeometry();
    const flaColor* fill = sub->CreateSolidColour(FLIO::flaRGBA(0, 0, 0, 255), 0);
    const float s = static_cast<float>(kSide) / 20.0f * (font3 ? 20.0f : 1.0f);  // twips on a 1-pixel stage
    auto* square = new flaStroke;
    for (const flaPoint& p : {flaPoint(0, 0), flaPoint(s, 0), flaPoint(s, -s), flaPoint(0, -s), flaPoint(0, 0)})
        square->AddPoint(p);
    sub->AddStroke(square, new flaStyle(flaStyle::Straight, nullptr, fill, nullptr));
    flaFont font(id, fontInfo("Square", false, false));
    font.addCode('A', &glyph, 0.0f);
    flaDump dump(1, nullptr);
    font.DumpCharacterInFile(dump);
    Bytes tag = Flushed(dump);
    if (font3) {
        const std::uint16_t header = flaFormat::LongHeaderWord(flaFormat::DefineFont3);
        tag[0] = static_cast<unsigned char>(header & 0xFF), tag[1] = static_cast<unsigned char>(header >> 8);
    }
    return tag;
}

// A text record: what it sets (no font when font < 0, no colour when a < 0, x and y
// only when given) and its glyphs, each the square with the one advance.
struct Record {
    int font = -1, height = 1024;
    int r = 0, g = 0, b = 0, a = -1;
    bool hasX = false, hasY = false;
    int x = 0, y = 0;
    std::vector<int> glyphs{0};  // glyph indices

    Record& Font(int id) { return font = id, *this; }
    Record& Colour(int r_, int g_, int b_, int a_ = 255) { return r = r_, g = g_, b = b_, a = a_, *this; }
    Record& X(int v) { return hasX = true, x = v, *this; }
    Record& Y(int v) { return hasY = true, y = v, *this; }
    Record& Glyphs(int n) { return glyphs.assign(static_cast<std::size_t>(n), 0), *this; }
    Record& Indices(std::vector<int> indices) { return glyphs = std::move(indices), *this; }
};

// DefineText (or DefineText2, whose colours have alpha) body after the id: bounds,
// the text matrix (a translation, in twips), glyph and advance bit counts, records.
void TextBody(flaDump& d, bool text2, int tx, int ty, const std::vector<Record>& records) {
    d.DataRect(0, kStageTwips, 0, 8000);
    d.PadLastByte();
    d.Bit(false), d.Bit(false), d.Bits(16, 5), d.Bits(static_cast<std::uint32_t>(tx), 16),
        d.Bits(static_cast<std::uint32_t>(ty), 16);
    d.PadLastByte();
    d.DataU8(1), d.DataU8(12);
    namespace TR = flaFormat::TextRecord;
    for (const Record& rec : records) {
        d.DataU8(static_cast<unsigned char>(TR::Type | (rec.font >= 0 ? TR::HasFont : 0) |
                                            (rec.a >= 0 ? TR::HasColor : 0) | (rec.hasY ? TR::HasYOffset : 0) |
                                            (rec.hasX ? TR::HasXOffset : 0)));
        if (rec.font >= 0) d.DataU16(static_cast<unsigned short>(rec.font));
        if (rec.a >= 0) {
            for (int c : {rec.r, rec.g, rec.b}) d.DataU8(static_cast<unsigned char>(c));
            if (text2) d.DataU8(static_cast<unsigned char>(rec.a));
        }
        if (rec.hasX) d.DataS16(static_cast<short>(rec.x));
        if (rec.hasY) d.DataS16(static_cast<short>(rec.y));
        if (rec.font >= 0) d.DataU16(static_cast<unsigned short>(rec.height));
        d.DataU8(static_cast<unsigned char>(rec.glyphs.size()));
        for (int index : rec.glyphs) d.Bits(static_cast<std::uint32_t>(index), 1), d.Bits(kAdvance, 12);
        d.PadLastByte();
    }
    d.DataU8(0);
}

// Three lines in one DefineText that sets its colour once: a record that gives
// nothing continues the line in red; a new line gives only x and y; a record gives
// only a colour; one gives only y (the pen keeps its x); one names a missing font
// and the last names the font again, with a glyph it does not have first. As the
// player draws it, what is missing neither draws nor moves the pen.
std::vector<Record> MultiLineRecords() {
    return {Record().Font(kFont2).Colour(200, 0, 0).X(400).Y(1000).Glyphs(2),
            Record(),
            Record().X(400).Y(2000).Glyphs(2),
            Record().Colour(0, 0, 200),
            Record().Y(3000),
            Record().Font(99),
            Record().Font(kFont2).Indices({1, 0})};
}

// The hand-built movie: white stage, both fonts, the multi-line DefineText and a
// DefineText2 (half-transparent green, on the DefineFont3 font, moved by its text
// matrix), both placed.
Bytes HandBuiltMovie() {
    SwfWriter w(1, 24 << 8, kStageTwips, 8000);
    w.Tag(flaFormat::SetBackgroundColor, Hex("FF FF FF"));
    for (const Bytes& tag : {SquareFontTag(kFont2, false), SquareFontTag(kFont3, true)})
        for (unsigned char b : tag) w.Byte(b);
    w.Open(flaFormat::DefineText).Word(kText);
    TextBody(w.Out(), false, 0, 0, MultiLineRecords());
    w.Close();
    w.Open(flaFormat::DefineText2).Word(kText2);
    TextBody(w.Out(), true, 300, 4000, {Record().Font(kFont3).Colour(0, 160, 0, 128).X(100).Y(1000).Glyphs(3)});
    w.Close();
    return w.Place(kText, 1).Place(kText2, 2).ShowFrame().Finish();
}

struct TextMovie : ImportMovie {
    explicit TextMovie(bool faithful) {
        flaRewrite::PrepareImport(*this, faithful ? flaRewrite::Faithful : flaRewrite::Classic);
    }
};

// Each drawn square as "x,y r,g,b,a side WxH": its left edge and baseline, its fill
// and its size, in twips.
std::vector<std::string> Squares(const flaGeometry& drawing) {
    std::vector<std::string> out;
    for (std::size_t s = 0; s < drawing.GetSubGeometryCount(); ++s) {
        const flaSubGeometry& sub = *drawing.GetSubGeometry(s);
        double xMin = 1e9, yMax = -1e9, xMax = -1e9, yMin = 1e9;
        for (std::size_t i = 0; i < sub.GetStrokeCount(); ++i)
            for (const flaPoint& p : sub.GetStrokeRecord(i).stroke->GetPoints()) {
                xMin = std::min<double>(xMin, p.x), xMax = std::max<double>(xMax, p.x);
                yMin = std::min<double>(yMin, p.y), yMax = std::max<double>(yMax, p.y);
            }
        const auto twips = [](double v) { return std::to_string(std::lround(v * kStageTwips)); };
        const FLIO::flaRGBA c = sub.GetFillColorByIndex(0)->GetColor();
        out.push_back(twips(xMin) + "," + twips(yMax) + " " + Nums(c.r, c.g, c.b, c.a) + " side " +
                      twips(xMax - xMin) + "x" + twips(yMax - yMin));
    }
    return out;
}

const flaGeometry& Drawing(flaMovie& movie, int id) {
    auto* text = dynamic_cast<flaTextGeometry*>(movie.GetCharacter(id));
    if (!text) throw std::runtime_error("no text " + std::to_string(id));
    return text->getDrawing();
}

Bytes ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Imports a file image faithfully, prepares it and writes it as `flio roundtrip`
// does; returns the written image.
Bytes RoundTrip(const Bytes& file, const std::string& path) {
    TextMovie movie(true);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const bool read = movie.Read(file);
    flaRewrite::Prepare(movie);
    flaDump dump(FrameWidth(movie), nullptr);
    dump.SetWriteOptions(flaRewrite::WriteOptionsFor(movie));
    const bool written = movie.DumpMovieToFile(PL_FileSpec(path.c_str()), dump, false);
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(read && written) << path;
    return ReadFile(path);
}

}  // namespace

// Faithful: the colour, the y and the pen go on from record to record; the classic
// reading starts every record that does not give them in black at x 0 and y 0.
TEST(FaithfulText, RecordsCarryColourYAndPenFromTheRecordBefore) {
    const std::vector<std::string> faithful = {
        "400,1000 200,0,0,255 side 400x400",  "900,1000 200,0,0,255 side 400x400",   // first record
        "1400,1000 200,0,0,255 side 400x400",                                          // gives nothing
        "400,2000 200,0,0,255 side 400x400",  "900,2000 200,0,0,255 side 400x400",   // x and y
        "1400,2000 0,0,200,255 side 400x400",                                          // colour only
        "1900,3000 0,0,200,255 side 400x400",                                          // y only
        "2400,3000 0,0,200,255 side 400x400",  // after a missing font and glyph
    };
    const std::vector<std::string> classic = {
        "400,1000 200,0,0,255 side 400x400", "900,1000 200,0,0,255 side 400x400",
        "0,0 0,0,0,255 side 400x400",
        "400,2000 0,0,0,255 side 400x400",   "900,2000 0,0,0,255 side 400x400",
        "0,0 0,0,200,255 side 400x400",
        "0,3000 0,0,0,255 side 400x400",
        "500,0 0,0,0,255 side 400x400",
    };
    for (const bool isFaithful : {true, false}) {
        SCOPED_TRACE(isFaithful ? "faithful" : "classic");
        TextMovie movie(isFaithful);
        ASSERT_TRUE(movie.Read(HandBuiltMovie()));
        const flaRewrite::Report report = flaRewrite::Prepare(movie);
        EXPECT_EQ(Squares(Drawing(movie, kText)), isFaithful ? faithful : classic);
        // The classic import reads neither DefineText2 nor DefineFont3.
        EXPECT_EQ(report.texts, isFaithful ? 2 : 1);
        EXPECT_EQ(movie.getBloatedFont(kFont3) != nullptr, isFaithful);
    }
}

// DefineText2 on a DefineFont3 font: the squares at the size of DefineFont2's, in
// the record's colour with its alpha, moved by the text matrix; the pen moves by the
// advances. Written, the copy's shape keeps the alpha; a second cycle writes the
// same bytes, and the independent parser reads both.
TEST(FaithfulText, Text2OnFont3KeepsAlphaAndSizeThroughTwoCycles) {
    TextMovie movie(true);
    ASSERT_TRUE(movie.Read(HandBuiltMovie()));
    flaRewrite::Prepare(movie);
    const flaFont* font3 = movie.getBloatedFont(kFont3);
    ASSERT_NE(font3, nullptr);
    EXPECT_EQ((std::vector<unsigned>{font3->getGlyphCnt(), font3->getCodeCnt(), font3->getCodeByIndex(0)}),
              (std::vector<unsigned>{1, 1, 'A'}));
    // Both fonts hold the same glyph.
    EXPECT_EQ(Squares(*font3->getGlyphByIndex(0)), Squares(*movie.getBloatedFont(kFont2)->getGlyphByIndex(0)));
    EXPECT_EQ(Squares(Drawing(movie, kText2)),
              (std::vector<std::string>{"400,5000 0,160,0,128 side 400x400", "900,5000 0,160,0,128 side 400x400",
                                        "1400,5000 0,160,0,128 side 400x400"}));

    // The hand-built movie stays in the run's folder for the player
    // (scripts/render_check.py), and in $FLIO_TEST_KEEP_DIR when that is set.
    const std::string original = RunDir() + "text_faithful_records.swf";
    const Bytes a = HandBuiltMovie();
    std::ofstream(original, std::ios::binary).write(reinterpret_cast<const char*>(a.data()),
                                                    static_cast<std::streamsize>(a.size()));
    if (const char* keep = std::getenv("FLIO_TEST_KEEP_DIR"))
        std::ofstream(std::string(keep) + "/text_faithful_records.swf", std::ios::binary)
            .write(reinterpret_cast<const char*>(a.data()), static_cast<std::streamsize>(a.size()));
    const Bytes b = RoundTrip(a, RunDir() + "text_faithful_records_b.swf");
    const Bytes c = RoundTrip(b, RunDir() + "text_faithful_records_c.swf");
    EXPECT_EQ(b, c);

    // The copy holds the texts as shapes, drawn as the texts were.
    TextMovie copy(true);
    ASSERT_TRUE(copy.Read(b));
    flaRewrite::Prepare(copy);
    for (const int id : {kText, kText2}) {
        auto* shape = dynamic_cast<flaGeometry*>(copy.GetCharacter(id));
        ASSERT_NE(shape, nullptr) << id;
        std::vector<std::string> want = Squares(Drawing(movie, id)), got = Squares(*shape);
        std::sort(want.begin(), want.end()), std::sort(got.begin(), got.end());
        EXPECT_EQ(got, want) << id;
    }

    SKIP_WITHOUT_SWFCHECK();
    for (const std::string name : {"text_faithful_records.swf", "text_faithful_records_b.swf"}) {
        const Json result = SwfCheckFull(RunDir() + name);
        EXPECT_TRUE(result["ok"].boolean) << name << ": " << result["error"].text;
    }
}
