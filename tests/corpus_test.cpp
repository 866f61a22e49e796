// Decoding every file of the shared corpus: each DefineShape tag decodes, agrees
// with the tag's own bounds and draws the same when written as DefineShape3 and
// read back; each font tag rebuilds into a font with all its glyphs, and each
// DefineText bloats into outlines that lie inside its bounds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "corpus_util.h"
#include "flio/flaDump.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaText.h"
#include "test_util.h"

using namespace flio_test;

namespace {

// The extent of what the strokes draw: anchors, plus the extremes of each quadratic
// curve in place of its control point (which usually lies outside the shape).
flaBoundingBox DrawnBounds(const flaGeometry& g) {
    auto extreme = [](float p0, float p1, float p2) {
        const float den = p0 - 2 * p1 + p2, t = den == 0 ? 0 : (p0 - p1) / den;
        return t <= 0 || t >= 1 ? p0 : (1 - t) * (1 - t) * p0 + 2 * t * (1 - t) * p1 + t * t * p2;
    };
    flaBoundingBox box;
    for (std::size_t s = 0; s < g.GetSubGeometryCount(); ++s) {
        const flaSubGeometry& sub = *g.GetSubGeometry(s);
        for (std::size_t i = 0; i < sub.GetStrokeCount(); ++i) {
            const auto& p = sub.GetStrokeRecord(i).stroke->GetPoints();
            const bool curved = sub.GetStrokeRecord(i).style->IsCurved();
            for (std::size_t k = 0; k < p.size(); ++k)
                box.UpdateBBox(curved && k % 3 == 1 && k + 1 < p.size()
                                   ? flaPoint(extreme(p[k - 1].x, p[k].x, p[k + 1].x),
                                              extreme(p[k - 1].y, p[k].y, p[k + 1].y))
                                   : p[k]);
        }
    }
    return box;
}

// How far apart two boxes are on their worst side.
double Distance(const flaBoundingBox& a, const flaBoundingBox& b) {
    return std::max({std::fabs(a.xMin - b.xMin), std::fabs(a.xMax - b.xMax), std::fabs(a.yMin - b.yMin),
                     std::fabs(a.yMax - b.yMax)});
}

// The RECT that follows the id at the start of a tag body, in model units, read
// without moving the reader.
flaBoundingBox BoundsAfterId(flaRead& in) {
    const unsigned long at = in.GetPosition();
    SRECT r;
    in.GetWord();
    in.GetRect(&r);
    in.Seek(at);
    flaBoundingBox b;
    const double k = in.GetScaling();
    b.xMin = r.xmin * k, b.xMax = r.xmax * k, b.yMin = r.ymin * k, b.yMax = r.ymax * k;
    return b;
}

// A shape decoded record by record through ParseShapeRecord, and then transformed:
// what BuildBloated's one-pass decoder must give.
struct RecordByRecord : flaGeometry {
    RecordByRecord(int id, flaRead& in, bool alpha, flaShape::ShapeVersion v, const flaMatrix& m)
        : flaGeometry(id, in, alpha, v) {
        flaRead& r = *GetStoredReader();
        SRECT bounds;
        r.GetRect(&bounds);
        if (v == flaShape::DefineShape4) {
            r.GetRect(&bounds);
            r.GetByte();
        }
        flaSubGeometry* first = AddChildGeometry();
        first->ParseShapeStyle(alpha, r, id, v);
        const unsigned bits = r.GetByte();
        flaGeometryCurrentParserVariable state(*this, r.GetScaling(), first);
        state.SetFillAndLineBits(static_cast<int>(bits >> 4), static_cast<int>(bits & 15));
        int x = 0, y = 0;
        while (!ParseShapeRecord(x, y, alpha, r, state)) {
        }
        Transform(m);
    }
};

// Layers, records, indices, edge types and points (bit for bit) and bounds alike.
std::string FirstDifference(const flaGeometry& a, const flaGeometry& b) {
    if (a.GetSubGeometryCount() != b.GetSubGeometryCount()) return "layer count";
    for (std::size_t s = 0; s < a.GetSubGeometryCount(); ++s) {
        const flaSubGeometry &x = *a.GetSubGeometry(s), &y = *b.GetSubGeometry(s);
        if (x.GetStrokeCount() != y.GetStrokeCount()) return "stroke count of layer " + std::to_string(s);
        for (std::size_t i = 0; i < x.GetStrokeCount(); ++i) {
            const auto &p = x.GetStrokeRecord(i), &q = y.GetStrokeRecord(i);
            const auto& pp = p.stroke->GetPoints();
            const auto& qp = q.stroke->GetPoints();
            if (p.fill0Index != q.fill0Index || p.fill1Index != q.fill1Index || p.lineIndex != q.lineIndex ||
                p.style->edgeType() != q.style->edgeType() || pp.size() != qp.size() ||
                std::memcmp(pp.data(), qp.data(), pp.size() * sizeof(flaPoint)) != 0)
                return "record " + std::to_string(i) + " of layer " + std::to_string(s);
        }
    }
    const flaBoundingBox u = a.GetBBox(), v = b.GetBBox();
    return u.xMin == v.xMin && u.xMax == v.xMax && u.yMin == v.yMin && u.yMax == v.yMax ? "" : "bounds";
}

struct CorpusMovie : flaMovie {
    CorpusMovie() : flaMovie(550, 400) {}
    using flaMovie::ParseDefineFont;
    using flaMovie::ParseDefineFont2;
    using flaMovie::ParseDefineFontInfo;
    using flaMovie::ParseDefineFontInfo2;
    using flaMovie::ParseDefineText;
};

// The glyph count a DefineFont (10) or DefineFont2 (48) body announces.
unsigned AnnouncedGlyphs(flaRead& in, int code) {
    in.GetWord();  // font id
    if (code == 10) return in.DataSize() == 0 ? 0 : in.GetWord() / 2u;
    in.SkipBytes(2);  // flags, language
    in.SkipBytes(in.GetByte());
    return in.GetWord();
}

}  // namespace

TEST(ShapeCorpus, EveryShapeDecodesWithinItsBounds) {
    const std::vector<std::string> files = CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus at " << FLIO_CORPUS_DIR;
    int shapes = 0, compared = 0, loose = 0;
    for (const std::string& file : files) {
        const auto in = OpenCorpusFile(file);
        if (!in) continue;
        in->SetScaling(0.05f);  // at one pixel of frame width, a model unit is 20 twips
        SCOPED_TRACE(file);
        WalkShapeTags(*in, [&](flaShape::ShapeVersion version, bool alpha, flaRead& r) {
            const flaBoundingBox bounds = BoundsAfterId(r);
            const unsigned long at = r.GetPosition();
            flaGeometry g(r.GetWord(), r, alpha, version);
            ASSERT_NO_THROW(g.BuildBloated()) << "shape " << g.GetId();
            ++shapes;
            // The one-pass decoder gives what the record-by-record parser gives,
            // with a transformation as without.
            const flaMatrix m(0.8f, 0.3f, -0.2f, 1.1f, 0.25f, -0.5f);
            r.Seek(at);
            flaGeometry moved(r.GetWord(), r, alpha, version);
            moved.SetTransformation(m);
            moved.BuildBloated();
            r.Seek(at);
            RecordByRecord reference(r.GetWord(), r, alpha, version, m);
            EXPECT_EQ(FirstDifference(moved, reference), "") << "shape " << g.GetId();
            const flaBoundingBox box = DrawnBounds(g);
            if (box.IsEmpty()) return;
            // The tag's bounds hold the anchors and the curves plus half of the widest
            // line (one twip of slack for the writer's rounding). A few hand-made files
            // carry deliberately wrong bounds, so a handful of misfits is tolerated.
            ++compared;
            if (Distance(box, bounds) > g.GetMaxLineWidth() * 0.5 + 0.05 + 1e-4) {
                std::printf("bounds disagree with the drawing: %s shape %d\n", file.c_str(), g.GetId());
                ++loose;
            }
            // Written again as DefineShape3 and read back, the shape draws the same.
            const auto back = OpenTag(Hex(Written([&](flaDump& d) { g.DumpCharacterInFile(d); }, 1)));
            back->SetScaling(0.05f);
            flaGeometry again(back->GetWord(), *back, true, flaShape::DefineShape3);
            ASSERT_NO_THROW(again.BuildBloated()) << "shape " << g.GetId();
            ASSERT_EQ(again.GetSubGeometryCount(), g.GetSubGeometryCount());
            EXPECT_LE(Distance(DrawnBounds(again), box), 0.05) << "shape " << g.GetId();
        });
    }
    EXPECT_GT(shapes, 0);
    EXPECT_LE(loose * 100, compared) << "too many shapes disagree with their bounds";
}

TEST(TextCorpus, FontsRebuildAndTextsBloatInsideTheirBounds) {
    const std::vector<std::string> files = CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus";
    int fonts = 0, drawnTexts = 0;
    for (const std::string& file : files) {
        const auto in = OpenCorpusFile(file);
        if (!in) continue;
        in->SetScaling(1.0f);  // model units = twips
        CorpusMovie movie;
        std::vector<unsigned> glyphs[2];  // announced glyph counts: DefineFont, DefineFont2
        std::vector<std::pair<int, flaBoundingBox>> texts;
        in->WalkTags([&](unsigned short code) {
            const unsigned long at = in->GetPosition();
            if (code == 10 || code == 48) glyphs[code == 48].push_back(AnnouncedGlyphs(*in, code));
            if (code == 11) texts.emplace_back(in->GetWord(), BoundsAfterId(*in));
            in->Seek(at);
            if (code == 10) movie.ParseDefineFont(*in);
            if (code == 48) movie.ParseDefineFont2(*in);
            if (code == 13) movie.ParseDefineFontInfo(*in);
            if (code == 62) movie.ParseDefineFontInfo2(*in);
            if (code == 11) movie.ParseDefineText(*in);
        });
        ASSERT_NO_THROW(movie.buildBloatedFonts()) << file;

        // Bloated fonts come DefineFont first, then DefineFont2, in file order; each
        // has every glyph its tag announces, and a DefineFont2 its codes.
        const std::vector<flaFont*>& built = movie.GetFontTable().GetBloatedFonts();
        std::vector<unsigned> expected = glyphs[0];
        expected.insert(expected.end(), glyphs[1].begin(), glyphs[1].end());
        ASSERT_EQ(built.size(), expected.size()) << file;
        for (std::size_t i = 0; i < built.size(); ++i, ++fonts) {
            EXPECT_EQ(built[i]->getGlyphCnt(), expected[i]) << file << " font " << built[i]->getId();
            if (i >= glyphs[0].size()) {
                EXPECT_GE(built[i]->getCodeCnt(), expected[i]) << file;
            }
        }
        // What the outlines draw lies within the text's bounds, with a little slack for
        // the rounding of advances and of the bounds themselves.
        for (const auto& [id, bounds] : texts) {
            auto* text = dynamic_cast<flaTextGeometry*>(movie.GetCharacter(id));
            ASSERT_NE(text, nullptr) << file;
            ASSERT_NO_THROW(text->BuildBloated(movie)) << file << " text " << id;
            const flaBoundingBox drawn = DrawnBounds(text->getDrawing());
            if (drawn.IsEmpty()) continue;
            ++drawnTexts;
            flaBoundingBox outer = bounds;  // grows only where the drawing sticks out
            outer.UpdateBBox(flaPoint(drawn.xMin, drawn.yMin));
            outer.UpdateBBox(flaPoint(drawn.xMax, drawn.yMax));
            EXPECT_LE(Distance(outer, bounds), 40.0) << file << " text " << id;
        }
    }
    EXPECT_GT(fonts, 0);
    // Most corpus texts use DefineFont3 faces, which are not rebuilt, and draw
    // nothing; five texts (in three files) use DefineFont or DefineFont2 faces.
    EXPECT_EQ(drawnTexts, 5);
}
