// Every DefineShape tag of every file of the corpus decodes, agrees with the tag's own
// bounds, and draws the same when written as DefineShape3 and read back.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"

namespace fs = std::filesystem;

namespace {

// Walks a tag list (the file's, or a sprite's) and hands every shape tag to visit.
void WalkTags(flaRead& in, const std::function<void(int code, flaRead&)>& visit) {
    while (in.ContainerBytesLeft() >= 2) {
        const unsigned short code = in.GetTag();
        if (code == 0) break;
        const unsigned long end = in.GetTagEnd();
        if (code == 2 || code == 22 || code == 32 || code == 83) {
            visit(code, in);
        } else if (code == 39 && in.DataSize() >= 4) {
            in.GetWord();  // sprite id
            in.GetWord();  // frame count
            flaRead::ContainerScope scope(in);
            WalkTags(in, visit);
        }
        in.Seek(end);
    }
}

// The extent of what the strokes draw: anchors, plus the extremes of each quadratic
// curve (its control point usually lies outside the shape).
flaBoundingBox DrawnBounds(const flaGeometry& g) {
    flaBoundingBox box;
    auto extreme = [](float p0, float p1, float p2) {
        const float den = p0 - 2 * p1 + p2, t = den == 0 ? 0 : (p0 - p1) / den;
        return t <= 0 || t >= 1 ? p0 : (1 - t) * (1 - t) * p0 + 2 * t * (1 - t) * p1 + t * t * p2;
    };
    for (std::size_t s = 0; s < g.GetSubGeometryCount(); ++s) {
        const flaSubGeometry& sub = *g.GetSubGeometry(s);
        for (std::size_t i = 0; i < sub.GetStrokeCount(); ++i) {
            const auto& pts = sub.GetStrokeRecord(i).stroke->GetPoints();
            if (!sub.GetStrokeRecord(i).style->IsCurved()) {
                for (const flaPoint& p : pts) box.UpdateBBox(p);
                continue;
            }
            for (std::size_t k = 0; k + 2 < pts.size(); k += 3) {
                box.UpdateBBox(pts[k]);
                box.UpdateBBox(pts[k + 2]);
                box.UpdateBBox(flaPoint(extreme(pts[k].x, pts[k + 1].x, pts[k + 2].x), extreme(pts[k].y, pts[k + 1].y, pts[k + 2].y)));
            }
        }
    }
    return box;
}

}  // namespace

TEST(ShapeCorpus, EveryShapeDecodesWithinItsBounds) {
    std::vector<fs::path> files;
    std::error_code ec;
    for (const auto& e : fs::recursive_directory_iterator(FLIO_CORPUS_DIR, ec))
        if (e.is_regular_file() && e.path().extension() == ".swf") files.push_back(e.path());
    if (files.empty()) GTEST_SKIP() << "no corpus at " << FLIO_CORPUS_DIR;
    std::sort(files.begin(), files.end());

    int shapes = 0, compared = 0;
    std::vector<std::string> loose;
    for (const fs::path& file : files) {
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
            WalkTags(*in, [&](int code, flaRead& r) {
                const auto version = code == 2    ? flaShape::DefineShape
                                     : code == 22 ? flaShape::DefineShape2
                                     : code == 32 ? flaShape::DefineShape3
                                                  : flaShape::DefineShape4;
                const int id = r.GetWord();
                const unsigned long at = r.GetPosition();
                SRECT bounds;
                r.GetRect(&bounds);
                r.Seek(at);
                r.SetScaling(1.0f);  // model units = twips
                flaGeometry g(id, r, code != 2 && code != 22, version);
                ASSERT_NO_THROW(g.BuildBloated()) << file << " shape " << id;
                ++shapes;
                const flaBoundingBox box = DrawnBounds(g);
                if (box.IsEmpty()) return;
                // The tag's bounds hold the anchors and the curves plus half of the widest
                // line (one twip of slack for the writer's rounding). A few hand-made files
                // carry deliberately wrong bounds, so a handful of misfits is tolerated.
                const double slack = g.GetMaxLineWidth() * 0.5 + 1.0;
                ++compared;
                if (std::fabs(box.xMin - bounds.xmin) > slack || std::fabs(box.xMax - bounds.xmax) > slack ||
                    std::fabs(box.yMin - bounds.ymin) > slack || std::fabs(box.yMax - bounds.ymax) > slack)
                    loose.push_back(file.string() + " shape " + std::to_string(id));

                // Written again as DefineShape3 (at one pixel of frame width a model unit is
                // 20 twips) and read back, the shape draws the same.
                const unsigned long end = r.GetPosition();
                r.Seek(at);
                r.SetScaling(0.05f);
                flaGeometry model(id, r, code != 2 && code != 22, version);
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
                const flaBoundingBox b1 = DrawnBounds(model), b2 = DrawnBounds(again);
                EXPECT_NEAR(b1.xMin, b2.xMin, 0.05) << file << " shape " << id;
                EXPECT_NEAR(b1.xMax, b2.xMax, 0.05) << file << " shape " << id;
                EXPECT_NEAR(b1.yMin, b2.yMin, 0.05) << file << " shape " << id;
                EXPECT_NEAR(b1.yMax, b2.yMax, 0.05) << file << " shape " << id;
            });
        } catch (const flaRead::readError& e) {
            ADD_FAILURE() << file << ": " << e.what();
        }
    }
    EXPECT_GT(shapes, 0);
    EXPECT_LE(loose.size() * 100, static_cast<std::size_t>(compared)) << "too many shapes disagree with their bounds";
    for (const std::string& l : loose) std::printf("bounds disagree with the drawing: %s\n", l.c_str());
}
