// Static text in faithful mode: a text's records keep, as players draw them, the
// colour, the y offset and the pen of the record before; DefineText2 keeps its
// alpha colours; DefineFont3's finer outlines draw at the size of DefineFont2's.
// The movie is the hand-built one of handmade_movies.h, which the player also renders
// (scripts/render_check.py).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
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
#include "handmade_movies.h"
#include "swf_writer.h"
#include "swfcheck_util.h"

using namespace flio_test;

namespace {

using namespace flio_handmade::text;

Bytes HandBuiltMovie() { return flio_handmade::MultiRecordText().bytes; }

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

    const std::string original = RunDir() + "text_faithful_records.swf";
    const Bytes a = HandBuiltMovie();
    std::ofstream(original, std::ios::binary).write(reinterpret_cast<const char*>(a.data()),
                                                    static_cast<std::streamsize>(a.size()));
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
