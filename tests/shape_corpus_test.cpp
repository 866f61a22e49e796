// Every DefineShape tag of every file of the corpus decodes, agrees with the tag's own
// bounds, and draws the same when written as DefineShape3 and read back.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "corpus_util.h"
#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"

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
                                   ? flaPoint(extreme(p[k - 1].x, p[k].x, p[k + 1].x), extreme(p[k - 1].y, p[k].y, p[k + 1].y))
                                   : p[k]);
        }
    }
    return box;
}

double Distance(const flaBoundingBox& a, double xMin, double xMax, double yMin, double yMax) {
    return std::max({std::fabs(a.xMin - xMin), std::fabs(a.xMax - xMax), std::fabs(a.yMin - yMin), std::fabs(a.yMax - yMax)});
}

}  // namespace

TEST(ShapeCorpus, EveryShapeDecodesWithinItsBounds) {
    const std::vector<std::string> files = flio_test::CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus at " << FLIO_CORPUS_DIR;
    int shapes = 0, compared = 0, loose = 0;
    for (const std::string& file : files) {
        std::ifstream stream(file, std::ios::binary);
        if (stream.peek() == 'Z') continue;  // LZMA-compressed files are not read
        std::unique_ptr<flaRead> in;
        try {
            in = std::make_unique<flaRead>(stream);
            unsigned char header[8];
            in->GetHeader(header);
            SRECT frame;
            in->GetRect(&frame);
            in->GetWord();
            in->GetWord();
        } catch (const std::exception&) {
            continue;  // the deliberately malformed files of the corpus
        }
        try {
            flio_test::WalkShapeTags(*in, [&](flaShape::ShapeVersion version, bool alpha, flaRead& r) {
                const int id = r.GetWord();
                const unsigned long at = r.GetPosition();
                SRECT bounds;
                r.GetRect(&bounds);
                r.Seek(at);
                r.SetScaling(1.0f);  // model units = twips
                flaGeometry g(id, r, alpha, version);
                ASSERT_NO_THROW(g.BuildBloated()) << file << " shape " << id;
                ++shapes;
                const flaBoundingBox box = DrawnBounds(g);
                if (box.IsEmpty()) return;
                // The tag's bounds hold the anchors and the curves plus half of the widest
                // line (one twip of slack for the writer's rounding). A few hand-made files
                // carry deliberately wrong bounds, so a handful of misfits is tolerated.
                ++compared;
                if (Distance(box, bounds.xmin, bounds.xmax, bounds.ymin, bounds.ymax) > g.GetMaxLineWidth() * 0.5 + 1.0) {
                    std::printf("bounds disagree with the drawing: %s shape %d\n", file.c_str(), id);
                    ++loose;
                }
                // Written again as DefineShape3 (at one pixel of frame width a model unit is
                // 20 twips) and read back, the shape draws the same.
                const unsigned long end = r.GetPosition();
                r.Seek(at);
                r.SetScaling(0.05f);
                flaGeometry model(id, r, alpha, version);
                r.Seek(end);
                model.BuildBloated();
                flaDump out(1, nullptr);
                model.DumpCharacterInFile(out);
                flaRead back(static_cast<int>(out.GetBuffer().size()), out.GetBuffer().data());
                back.SetScaling(0.05f);
                ASSERT_EQ(back.GetTag(), 32);
                flaGeometry again(back.GetWord(), back, true, flaShape::DefineShape3);
                ASSERT_NO_THROW(again.BuildBloated()) << file << " shape " << id;
                ASSERT_EQ(again.GetSubGeometryCount(), model.GetSubGeometryCount());
                const flaBoundingBox b = DrawnBounds(model);
                EXPECT_LE(Distance(DrawnBounds(again), b.xMin, b.xMax, b.yMin, b.yMax), 0.05) << file << " shape " << id;
            });
        } catch (const flaRead::readError& e) {
            ADD_FAILURE() << file << ": " << e.what();
        }
    }
    EXPECT_GT(shapes, 0);
    EXPECT_LE(loose * 100, compared) << "too many shapes disagree with their bounds";
}
