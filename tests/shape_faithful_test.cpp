// Faithful shapes: the style details that the faithful import keeps and the
// fullStyles writer writes back, the choice between DefineShape3 and DefineShape4,
// line widths in exact twips, copied lines, and second round trips of corpus files.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"
#include "test_util.h"

using flio_test::Bytes;
using flio_test::Hex;
using flio_test::ToHex;
using Options = flaDump::WriteOptions;

namespace {

// A tag around style arrays (hex) with no edges: id 1, empty bounds (and for
// DefineShape4 empty edge bounds and the flags byte), the styles, zero index bits, the end.
std::unique_ptr<flaGeometry> Decode(flaShape::ShapeVersion v, unsigned flags, const std::string& styles, bool faithful) {
    const bool four = v == flaShape::DefineShape4;
    Bytes body = Hex(four ? "01 00 00 00" : "01 00 00");
    if (four) body.push_back(static_cast<unsigned char>(flags));
    const Bytes s = Hex(styles + " 00 00");
    body.insert(body.end(), s.begin(), s.end());
    const Bytes tag = flio_test::LongTag(four ? flaFormat::DefineShape4 : flaFormat::DefineShape3, body);
    flaRead r(static_cast<int>(tag.size()), tag.data());
    r.SetScaling(1.0f / 20.0f);  // a stage one pixel wide
    r.SetFaithful(faithful);
    r.GetTag();
    auto g = std::make_unique<flaGeometry>(r.GetWord(), r, true, v);
    g->BuildBloated();
    return g;
}

Bytes Tag(const flaGeometry& g, const Options& options) {
    flaDump d(1, nullptr);
    d.SetWriteOptions(options);
    g.DumpCharacterInFile(d);
    return d.GetBuffer();
}

// The tag written with the options, as "code flags | bytes from the style arrays on".
std::string Write(const flaGeometry& g, const Options& options) {
    const Bytes tag = Tag(g, options);
    flaRead r(static_cast<int>(tag.size()), tag.data());
    std::string out = std::to_string(r.GetTag());
    r.GetWord();
    SRECT rect;
    r.GetRect(&rect);
    if (out == "83") r.GetRect(&rect), out += " " + std::to_string(r.GetByte());
    return out + " | " + ToHex(Bytes(tag.begin() + static_cast<long>(r.GetPosition()), tag.end()));
}

// The details of a colour, in short.
std::string Describe(const flaColor& c) {
    const flaGradientDetails& g = c.GetGradientDetails();
    const flaLineDetails& l = c.GetLineDetails();
    switch (c.GetColorType()) {
        case flaColor::LinearGradient:
        case flaColor::RadialGradient:
            return std::string(c.GetGradientType() ? "linear" : "radial") + " spread" + std::to_string(g.spread) +
                   " interp" + std::to_string(g.interpolation) + (g.focal ? " focal" + std::to_string(g.focalPoint) : "") +
                   " stops" + std::to_string(c.GetAllStopCount()) + "/" + std::to_string(c.GetTickNumber());
        case flaColor::Bitmap:
            return "bitmap" + std::to_string(c.GetBitmapID()) + (c.GetFillBitsTiled() ? " tiled" : " clipped") +
                   (c.GetBitmapSmoothed() ? "" : " hard");
        case flaColor::Line:
            return "line" + std::to_string(static_cast<int>(c.GetLineWidth() * 20 + 0.5f)) + " caps" +
                   std::to_string(l.startCap) + std::to_string(l.join) + std::to_string(l.endCap) +
                   (l.join == flaLineDetails::MiterJoin ? " miter" + std::to_string(l.miterLimit) : "") +
                   (l.noHScale ? " noH" : "") + (l.noVScale ? " noV" : "") + (l.pixelHinting ? " hint" : "") +
                   (l.noClose ? " open" : "") + (c.GetLineFill() ? " (" + Describe(*c.GetLineFill()) + ")" : "");
        case flaColor::Solid:
            break;
    }
    return "solid";
}

std::string Describe(const flaGeometry& g) {
    std::string s = std::to_string(g.GetFillWindingRule()) + std::to_string(g.GetNonScalingStrokes()) +
                    std::to_string(g.GetScalingStrokes());
    const flaSubGeometry& sub = *g.GetSubGeometry(0);
    for (unsigned i = 0; i < sub.GetFills().GetSize(); ++i) s += ", " + Describe(*sub.GetFills()[i]);
    for (unsigned i = 0; i < sub.GetLines().GetSize(); ++i) s += ", " + Describe(*sub.GetLines()[i]);
    return s;
}

std::string Stops(int n) {
    std::string s;
    for (int i = 0; i < n; ++i) s += " " + ToHex({static_cast<unsigned char>(i * 17), 0x10, 0x20, 0x30, 0xFF});
    return s;
}

struct Case {
    flaShape::ShapeVersion version;
    unsigned flags;
    std::string styles;   // FILLSTYLEARRAY and LINESTYLEARRAY
    const char* faithful; // the model, faithful import
    const char* classic;  // the model, classic import
    std::string written;  // Write() with Options::Faithful(); "=" stands for the styles read
};

const Case kCases[] = {
    // A focal gradient, reflected, in linear RGB, in DefineShape3: DefineShape4, the line as LINESTYLE2.
    {flaShape::DefineShape3, 0, "01 13 0400 52 00 FF0000FF FF 0000FFFF 80 00  01 2800 0A0B0CFF",
     "000, radial spread1 interp1 focal0.500000 stops2/2, line40 caps000",
     "000, radial spread0 interp0 stops2/2, line40 caps000",
     "83 1 | 01 13 04 00 52 00 FF 00 00 FF FF 00 00 FF FF 80 00 01 28 00 00 00 0A 0B 0C FF"},
    {flaShape::DefineShape4, 0, "01 10 0400 8F" + Stops(15) + " 00", "000, linear spread2 interp0 stops15/8",
     "000, linear spread0 interp0 stops8/8", "83 0 | ="},
    {flaShape::DefineShape4, 0, "04 40 0100 0400 41 0200 0400 42 0300 0400 43 0400 0400 00",
     "000, bitmap1 tiled, bitmap2 clipped, bitmap3 tiled hard, bitmap4 clipped hard",
     "000, bitmap1 tiled, bitmap2 tiled, bitmap3 tiled, bitmap4 tiled", "83 0 | ="},
    // Smoothed bitmaps and a plain LINESTYLE2 fit DefineShape3.
    {flaShape::DefineShape4, 0, "02 40 0100 0400 41 0200 0400  01 2800 00 00 0A0B0CFF",
     "000, bitmap1 tiled, bitmap2 clipped, line40 caps000", "000, bitmap1 tiled, bitmap2 tiled, line40 caps000",
     "32 | 02 40 01 00 04 00 41 02 00 04 00 01 28 00 0A 0B 0C FF"},
    {flaShape::DefineShape4, 0, "00  01 2800 A5 05 8001 0A0B0CFF",
     "000, line40 caps221 miter1.500000 noH hint open", "000, line40 caps000", "83 0 | ="},
    // A line's own fill stays with the line (the classic import lists it with the fills).
    {flaShape::DefineShape4, 0, "01 00 112233FF  01 2800 18 02 10 0400 02 00 FF0000FF FF 00FF00FF",
     "000, solid, line40 caps012 (linear spread0 interp0 stops2/2)",
     "000, solid, linear spread0 interp0 stops2/2, line40 caps000", "83 0 | ="},
    {flaShape::DefineShape4, 7, "01 00 112233FF 00", "111, solid", "000, solid", "83 7 | ="},
};

TEST(ShapeFaithful, StylesReadAndWrittenFromOneTable) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.styles);
        const auto g = Decode(c.version, c.flags, c.styles, true);
        EXPECT_EQ(Describe(*g), c.faithful);
        std::string want = c.written;
        if (want.back() == '=') want.replace(want.size() - 1, 1, ToHex(Hex(c.styles)));
        EXPECT_EQ(Write(*g, Options::Faithful()).substr(0, want.size()), want);

        const auto classic = Decode(c.version, c.flags, c.styles, false);
        EXPECT_EQ(Describe(*classic), c.classic);
        EXPECT_EQ(Write(*classic, Options::Faithful()).substr(0, 2), "32");
    }
}

// Widths truncate in the classic writer and round to the nearest twip (one at
// least) with exactTwips, in the line style and in the bounds that half of it widens.
TEST(ShapeFaithful, LineWidthsRoundWithExactTwips) {
    Options exact;
    exact.exactTwips = true;
    const struct {
        float twips;
        bool exact;
        const char* want;  // the bounds' xMax, the line's width (the edge ends at 100 twips)
    } rows[] = {{40.7f, false, "120 40"}, {40.7f, true, "121 41"}, {41.2f, false, "121 41"}, {0.3f, false, "100 0"},
                {0.3f, true, "101 1"},    {0.0f, true, "100 1"}};
    for (const auto& row : rows) {
        flaGeometry g(1);
        flaSubGeometry* sub = g.AddChildGeometry();
        const flaColor* line = sub->CreateLineColour(row.twips / 20.0f, FLIO::flaRGBA(0, 0, 0, 255), 0);
        auto* s = new flaStroke;
        s->AddPoint(0.0f, 0.0f);
        s->AddPoint(5.0f, 0.0f);
        sub->AddStroke(s, new flaStyle(flaStyle::Straight, nullptr, nullptr, line));
        const Bytes tag = Tag(g, row.exact ? exact : Options());
        flaRead r(static_cast<int>(tag.size()), tag.data());
        EXPECT_EQ(r.GetTag(), flaFormat::DefineShape3);
        r.GetWord();
        SRECT bounds;
        r.GetRect(&bounds);
        r.GetWord();  // no fills, one line
        EXPECT_EQ(std::to_string(bounds.xmax) + " " + std::to_string(r.GetWord()), row.want) << row.twips;
    }
}

// Copies of a line (text outlines copy their colours) carry its details and its
// fill; a transformed copy maps a fill of its own and leaves the source's alone.
TEST(ShapeFaithful, CopiedLinesCarryDetailsAndFill) {
    auto source = Decode(flaShape::DefineShape4, 0, kCases[5].styles, true);
    flaColor* line = source->GetSubGeometry(0)->GetLines()[0];
    auto* s = new flaStroke;
    s->AddPoint(0.0f, 0.0f);
    s->AddPoint(1.0f, 1.0f);
    source->GetSubGeometry(0)->AddStroke(s, new flaStyle(flaStyle::Straight, nullptr, nullptr, line));
    EXPECT_EQ(flaColor(*line).GetLineFill(), line->GetLineFill());  // shared until transformed

    flaGeometry target(2);
    const flaMatrix doubled(2, 0, 0, 2, 0, 0);
    target.AddChildGeometry()->CopyStrokesFrom(*source->GetSubGeometry(0), &doubled);
    EXPECT_EQ(Describe(target), "000, line80 caps012 (linear spread0 interp0 stops2/2)");
    EXPECT_FLOAT_EQ(target.GetSubGeometry(0)->GetLines()[0]->GetLineFill()->GetMatrix().GetA(), 2.0f);
    EXPECT_FLOAT_EQ(line->GetLineFill()->GetMatrix().GetA(), 1.0f);
    EXPECT_EQ(Write(target, Options::Faithful()).substr(0, 2), "83");
    EXPECT_EQ(Write(target, Options()).substr(0, 2), "32");
}

}  // namespace

#ifdef FLIO_HAVE_REWRITE
#include "flio/PL_File.h"
#include "flio/flaMovie.h"
#include "flio/flaRewrite.h"

namespace {

// `flio roundtrip` in faithful mode, in process; the bytes written.
Bytes RoundTrip(const std::string& in, const std::string& out) {
    flaMovie movie;
    flaRewrite::PrepareImport(movie, flaRewrite::Faithful);
    testing::internal::CaptureStderr();
    bool ok = movie.ReadMovieFromFile(PL_FileSpec(in.c_str()), nullptr);
    if (ok) {
        flaRewrite::Prepare(movie);
        int width = 0, height = 0;
        movie.GetFrameSize(width, height);
        flaDump dump(width, nullptr);
        dump.SetWriteOptions(flaRewrite::WriteOptionsFor(movie));
        ok = movie.DumpMovieToFile(PL_FileSpec(out.c_str()), dump, false);
    }
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(ok) << in;
    std::ifstream written(out, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(written), {});
}

TEST(ShapeFaithful, SecondRoundTripOfCorpusFilesGivesTheSameBytes) {
    for (const char* name : {"visual/simple_shapes/gradients/focal_radial/test.swf", "visual/simple_shapes/layers/test.swf",
                             "visual/simple_shapes/strokes/scale/test.swf", "visual/simple_shapes/winding_rule/test.swf",
                             "visual/gradient_same_ratios/test.swf", "format-tests/DefineShape4.swf",
                             "format-tests/BitmapLineStyle.swf"}) {
        const std::string path = std::string(FLIO_CORPUS_DIR) + "/" + name, base = flio_test::RunDir() + "shape4";
        if (!std::ifstream(path)) GTEST_SKIP() << "no corpus at " << FLIO_CORPUS_DIR;
        const Bytes first = RoundTrip(path, base + "-1.swf");
        EXPECT_TRUE(first == RoundTrip(base + "-1.swf", base + "-2.swf")) << name;
    }
}

}  // namespace
#endif  // FLIO_HAVE_REWRITE
