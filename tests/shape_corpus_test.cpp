// Every DefineShape tag of every file of the corpus decodes, and what it decodes to
// agrees with the tag's own bounds.
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

flaShape::ShapeVersion VersionOf(int code) {
    switch (code) {
        case 2: return flaShape::DefineShape;
        case 22: return flaShape::DefineShape2;
        case 32: return flaShape::DefineShape3;
        default: return flaShape::DefineShape4;
    }
}

std::vector<fs::path> CorpusFiles() {
    std::vector<fs::path> files;
    const fs::path root(FLIO_CORPUS_DIR);
    std::error_code ec;
    if (!fs::is_directory(root, ec)) return files;
    for (const auto& e : fs::recursive_directory_iterator(root, ec))
        if (e.is_regular_file() && e.path().extension() == ".swf") files.push_back(e.path());
    std::sort(files.begin(), files.end());
    return files;
}

// The extent of what the strokes draw: anchors, plus the extremes of each quadratic
// curve (its control point usually lies outside the shape).
flaBoundingBox DrawnBounds(const flaGeometry& g) {
    flaBoundingBox box;
    auto extreme = [](float p0, float p1, float p2, float& out) {
        const float den = p0 - 2 * p1 + p2;
        if (den == 0) return false;
        const float t = (p0 - p1) / den;
        if (t <= 0 || t >= 1) return false;
        out = (1 - t) * (1 - t) * p0 + 2 * t * (1 - t) * p1 + t * t * p2;
        return true;
    };
    for (std::size_t s = 0; s < g.GetSubGeometryCount(); ++s) {
        const flaSubGeometry& sub = *g.GetSubGeometry(s);
        for (std::size_t i = 0; i < sub.GetStrokeCount(); ++i) {
            const flaSubGeometry::StrokeRecord& r = sub.GetStrokeRecord(i);
            const auto& pts = r.stroke->GetPoints();
            if (!r.style->IsCurved()) {
                for (const flaPoint& p : pts) box.UpdateBBox(p);
                continue;
            }
            for (std::size_t k = 0; k + 2 < pts.size(); k += 3) {
                box.UpdateBBox(pts[k]);
                box.UpdateBBox(pts[k + 2]);
                float v;
                if (extreme(pts[k].x, pts[k + 1].x, pts[k + 2].x, v)) box.UpdateBBox(flaPoint(v, pts[k].y));
                if (extreme(pts[k].y, pts[k + 1].y, pts[k + 2].y, v)) box.UpdateBBox(flaPoint(pts[k].x, v));
            }
        }
    }
    return box;
}

}  // namespace

TEST(ShapeCorpus, EveryShapeDecodesWithinItsBounds) {
    const std::vector<fs::path> files = CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus at " << FLIO_CORPUS_DIR;

    int shapes = 0, strokes = 0, compared = 0;
    std::vector<std::string> loose;
    for (const fs::path& file : files) {
        std::ifstream stream(file, std::ios::binary);
        char magic[3] = {};
        stream.read(magic, 3);
        if (magic[0] == 'Z') continue;  // LZMA-compressed files are not read
        stream.seekg(0);
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
        in->SetScaling(1.0f);  // model units = twips

        try {
            WalkTags(*in, [&](int code, flaRead& r) {
                const int id = r.GetWord();
                const unsigned long at = r.GetPosition();
                SRECT bounds;
                r.GetRect(&bounds);
                r.Seek(at);
                const bool alpha = code != 2 && code != 22;
                flaGeometry g(id, r, alpha, VersionOf(code));
                ASSERT_NO_THROW(g.BuildBloated()) << file << " shape " << id;
                ++shapes;
                for (std::size_t i = 0; i < g.GetSubGeometryCount(); ++i)
                    strokes += static_cast<int>(g.GetSubGeometry(i)->GetStrokeCount());
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

                // Written again as DefineShape3 and read back, the shape draws the same
                // (at one pixel of frame width a model unit is 20 twips).
                const float savedScaling = r.GetScaling();
                const unsigned long end = r.GetPosition();
                r.Seek(at);
                r.SetScaling(0.05f);
                flaGeometry model(id, r, alpha, VersionOf(code));
                r.SetScaling(savedScaling);
                r.Seek(end);
                model.BuildBloated();
                flaDump out(1, nullptr);
                model.DumpCharacterInFile(out);
                flaRead back(static_cast<int>(out.GetBuffer().size()), out.GetBuffer().data());
                back.SetScaling(0.05f);
                ASSERT_EQ(back.GetTag(), 32);
                const int backId = back.GetWord();
                flaGeometry again(backId, back, true, flaShape::DefineShape3);
                ASSERT_NO_THROW(again.BuildBloated()) << file << " shape " << id;
                ASSERT_EQ(again.GetSubGeometryCount(), model.GetSubGeometryCount());
                const flaBoundingBox b1 = DrawnBounds(model), b2 = DrawnBounds(again);
                if (b1.IsEmpty()) return;
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
    std::printf("decoded %d shapes, %d strokes\n", shapes, strokes);
}
