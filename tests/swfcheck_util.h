// Checking written movies with the independent SWF parser (swfcheck --full): both
// its decoded tags and the in-memory movie are turned into the same plain
// descriptions (shape edges with their styles, each frame's display list with blend
// modes and filters, texts spelt through their fonts), so that a test
// compares them with EXPECT_EQ and sees every difference. The model side states the
// SWF encodings (twips, 16.16 and 8.8 fixed point) independently of the writer.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "cli_util.h"
#include "flio/PL_File.h"
#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaFilter.h"
#include "flio/flaFont.h"
#include "flio/flaFrame.h"
#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"
#include "flio/flaSound.h"
#include "flio/flaStyle.h"
#include "flio/flaText.h"
#include "json_mini.h"

namespace flio_test {

// The swfcheck program, or "" when it (or node, which runs it) is missing.
inline std::string SwfCheckTool() {
    static const std::string tool = FLIO_TOOLS_DIR "/swfcheck/swfcheck";
    static const bool there = access(tool.c_str(), R_OK) == 0 && RunCommand("command -v node").status == 0;
    return there ? tool : "";
}

#define SKIP_WITHOUT_SWFCHECK() \
    if (flio_test::SwfCheckTool().empty()) GTEST_SKIP() << "node or the swfcheck tool is not available"

// The parser's JSON for one file: {"ok", "movie"} or {"ok": false, "error"}. It goes
// through a file: node may exit before a long line has drained into a pipe.
inline Json SwfCheckFull(const std::string& file) {
    const std::string out = file + ".json";
    RunCommand("'" + SwfCheckTool() + "' --full '" + file + "' > '" + out + "'");
    std::ifstream in(out, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(out.c_str());
    return text.empty() ? Json() : Json::Parse(text);
}

inline int FrameWidth(const flaMovie& movie) {
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    return width;
}

inline std::string Rgba(const FLIO::flaRGBA& c) { return Nums(c.r, c.g, c.b, c.a); }
inline std::string Fixed(double v, double one) { return std::to_string(static_cast<long>(v * one)); }

// Shape edges "id L|Q points | left | right | line", texts "id font=f height=h
// 'text'", and each frame's "depth:id m=matrix blend filters" entries.
struct Described {
    std::vector<std::string> edges, texts, frames;
};

// ---- model side -----------------------------------------------------------------------------

// MATRIX fields: 16.16 terms and twips, truncated.
inline std::string ModelMatrix(const flaMatrix& m, int w) {
    auto twips = [w](float v) { return static_cast<long>(w * (static_cast<double>(v) * 20.0)); };
    return "m=" + Join({Fixed(m.GetA(), 65536), Fixed(m.GetD(), 65536), Fixed(m.GetB(), 65536),
                        Fixed(m.GetC(), 65536), Nums(twips(m.GetTX()), twips(m.GetTY()))});
}

inline std::string ModelColour(const flaColor* c, int w) {
    if (!c) return "-";
    switch (c->GetColorType()) {
        case flaColor::Solid: return Rgba(c->GetColor());
        case flaColor::Line:
            return "line " + Nums(c->IsHairLine() ? 1 : static_cast<long>(c->GetLineWidth() * 20.0 * w) & 0xFFFF) +
                   " " + Rgba(c->GetColor());
        case flaColor::Bitmap: return "bitmap " + Nums(c->GetBitmapID());
        default: return "gradient " + Nums(c->GetTickNumber());
    }
}

// A coordinate in twips: the product in float, rounded half away from zero.
inline std::string ModelTwips(const flaPoint& p, int w) {
    auto twips = [w](float v) {
        const double t = static_cast<double>(v * static_cast<float>(w * 20));
        return static_cast<long>(v >= 0 ? t + 0.5 : t - 0.5);
    };
    return Nums(twips(p.x), twips(p.y));
}

// Every written edge of the layers in twips. Every layer starts at (0, 0); a useless
// style is not written, nor an edge of length zero; a curve whose control point is
// on an end is written straight.
inline void ModelEdges(const flaGeometry& shape, int w, const std::string& id, std::vector<std::string>& edges) {
    for (std::size_t l = 0; l < shape.GetSubGeometryCount(); ++l) {
        const flaSubGeometry* sub = shape.GetSubGeometry(l);
        for (std::size_t s = 0; s < sub->GetStrokeCount(); ++s) {
            const flaSubGeometry::StrokeRecord& r = sub->GetStrokeRecord(s);
            if (r.style->IsUseless() || r.stroke->IsEmpty()) continue;
            const flaStyle& st = *r.style;
            const std::string styles = " | " + ModelColour(st.LeftColor(), w) + " | " +
                                       ModelColour(st.RightColor(), w) + " | " + ModelColour(st.LineColor(), w);
            const std::vector<flaPoint>& p = r.stroke->GetPoints();
            const std::size_t step = r.style->IsCurved() ? 3 : 1;
            std::string pen = ModelTwips(p[0], w);
            for (std::size_t i = step == 3 ? 0 : 1; i + step - 1 < p.size(); i += step) {
                const std::string to = ModelTwips(p[i + step - 1], w);
                if (step == 3 && !(p[i + 1] == p[i] || p[i + 1] == p[i + 2]))
                    edges.push_back(id + " Q " + pen + " " + ModelTwips(p[i + 1], w) + " " + to + styles);
                else if (to != pen)
                    edges.push_back(id + " L " + pen + " " + to + styles);
                pen = to;
            }
        }
    }
}

// Key fields of a FILTER record: type, blur (16.16) and strength (8.8); the sum of
// a colour matrix's FLOAT terms.
inline std::string ModelFilter(const FLIO::flaFilter& f) {
    using namespace FLIO;
    std::string s = std::to_string(f.GetFilterType());
    auto blur = [&s](const auto& g) { s += " blur=" + Fixed(g.blurX, 65536) + "," + Fixed(g.blurY, 65536); };
    auto strength = [&](const auto& g) { blur(g), s += " strength=" + Fixed(g.strength, 256); };
    switch (f.GetFilterType()) {
        case flaFilter::Blur: blur(static_cast<const flaFilterBlur&>(f)); break;
        case flaFilter::DropShadow: strength(static_cast<const flaFilterDropShadow&>(f)); break;
        case flaFilter::Glow: strength(static_cast<const flaFilterGlow&>(f)); break;
        case flaFilter::Bevel: strength(static_cast<const flaFilterBevel&>(f)); break;
        case flaFilter::Convolution: break;
        case flaFilter::ColorMatrix: {
            double sum = 0;
            for (float v : static_cast<const flaFilterColorMatrix&>(f).matrix) sum += v;
            s += " matrix=" + Fixed(sum, 1e6);
            break;
        }
        default: strength(static_cast<const flaFilterGradientBase&>(f));  // gradient glow and bevel
    }
    return s;
}

// The shapes described are those the movie places: the writer writes only those.
inline Described DescribeModel(const flaMovie& movie) {
    Described d;
    const int w = FrameWidth(movie);
    std::map<int, const flaGeometry*> shapes;
    for (unsigned long long f = 0; f < movie.GetFrameCount(); ++f) {
        std::vector<std::string> entries;
        for (const auto& [depth, e] : movie.GetFrame(static_cast<int>(f))->GetDisplayList()) {
            if (auto* g = dynamic_cast<const flaGeometry*>(e.GetCharacter())) shapes[g->GetId()] = g;
            entries.push_back(Nums(depth) + ":" + Nums(e.GetCharacter()->GetId()) + " " +
                              ModelMatrix(e.GetMatrix(), w));
            if (e.HasBlendMode()) entries.back() += " blend=" + Nums(static_cast<int>(e.BlendMode()));
            std::vector<std::string> filters;
            for (std::size_t i = 0; e.HasFilterList() && i < e.FilterList().size(); ++i)
                filters.push_back(ModelFilter(*e.FilterList()[i]));
            if (e.HasFilterList()) entries.back() += " filters=" + Join(filters, "; ");
        }
        d.frames.push_back(Join(entries, " | "));
    }
    for (const auto& [id, g] : shapes) ModelEdges(*g, w, Nums(id), d.edges);
    for (const flaCharacter* c : movie.GetCharacterList())
        if (auto* t = dynamic_cast<const flaTextGeometry*>(c))  // height: 0.5785 x 20 twips per font-size unit
            d.texts.push_back(Nums(t->GetId()) + " font=" + Nums(t->getFontId()) + " height=" +
                              Fixed(t->getFontSize() * 0.5785, 20) + " '" + t->getText().utf8() + "'");
    return d;
}

// ---- decoded side (tag type numbers are the parser's own) ------------------------------------

namespace swfjson {
enum TagType { DefineFont = 12, DefineShape = 22, DefineText = 25,
               PlaceObject = 49, RemoveObject = 54, ShowFrame = 58, StartSound = 61 };
}  // namespace swfjson

inline std::vector<const Json*> TagsOf(const Json& movie, long type) {
    std::vector<const Json*> tags;
    for (const Json& t : movie["tags"].items)
        if (t["type"].Int() == type) tags.push_back(&t);
    return tags;
}

inline std::string DecodedMatrix(const Json& m) {
    auto eps = [&m](const char* k, long none) { return m.Has(k) ? m[k]["epsilons"].Int() : none; };
    return "m=" + Nums(eps("scaleX", 65536), eps("scaleY", 65536), eps("rotateSkew0", 0), eps("rotateSkew1", 0),
                       m["translateX"].Int(), m["translateY"].Int());
}
inline std::string DecodedRgba(const Json& c) {
    return Nums(c["r"].Int(), c["g"].Int(), c["b"].Int(), c.Has("a") ? c["a"].Int() : 255);
}

inline std::string DecodedFilter(const Json& f) {
    auto eps = [&f](const char* k) { return std::to_string(f[k]["epsilons"].Int()); };
    std::string s = std::to_string(f["filter"].Int());
    if (f.Has("blurX")) s += " blur=" + eps("blurX") + "," + eps("blurY");
    if (f.Has("strength")) s += " strength=" + eps("strength");
    double sum = 0;
    for (const Json& v : f["matrix"].items) sum += v.number;
    return f.Has("matrix") && !f.Has("matrixWidth") ? s + " matrix=" + Fixed(sum, 1e6) : s;
}

// The display list replayed from the placement tags, described at each ShowFrame.
// The parser numbers blend modes from 0 (normal); the file's byte is one more.
inline void DecodedFrames(const Json& movie, std::vector<std::string>& frames) {
    struct Entry {
        long id = 0;
        std::string matrix = "m=65536,65536,0,0,0,0", blend, filters;
    };
    std::map<long, Entry> list;
    for (const Json& t : movie["tags"].items) {
        const long type = t["type"].Int();
        if (type == swfjson::RemoveObject) list.erase(t["depth"].Int());
        if (type == swfjson::PlaceObject) {
            Entry& e = list[t["depth"].Int()];
            if (!t["isUpdate"].boolean) e = Entry();
            e.id = t.Has("characterId") ? t["characterId"].Int() : e.id;
            e.matrix = t.Has("matrix") ? DecodedMatrix(t["matrix"]) : e.matrix;
            if (t.Has("blendMode")) e.blend = " blend=" + std::to_string(t["blendMode"].Int() + 1);
            std::vector<std::string> filters;
            for (const Json& f : t["filters"].items) filters.push_back(DecodedFilter(f));
            if (t.Has("filters")) e.filters = " filters=" + Join(filters, "; ");
        }
        if (type != swfjson::ShowFrame) continue;
        std::vector<std::string> entries;
        for (const auto& [depth, e] : list)
            entries.push_back(Nums(depth) + ":" + Nums(e.id) + " " + e.matrix + e.blend + e.filters);
        frames.push_back(Join(entries, " | "));
    }
}

inline Described DescribeDecoded(const Json& movie) {
    Described d;
    for (const Json* t : TagsOf(movie, swfjson::DefineShape)) {
        const Json& shape = (*t)["shape"];
        const std::string id = Nums((*t)["id"].Int());
        std::vector<std::string> fills, lines;
        auto load = [&](const Json& styles) {
            fills.assign(1, "-");
            lines.assign(1, "-");
            for (const Json& f : styles["fill"].items)
                fills.push_back(f["type"].Int() == 4   ? DecodedRgba(f["color"])
                                : f["type"].Int() == 0 ? "bitmap " + Nums(f["bitmapId"].Int())
                                                       : "gradient " + Nums(f["gradient"]["colors"].Size()));
            for (const Json& l : styles["line"].items)
                lines.push_back("line " + Nums(l["width"].Int()) + " " + DecodedRgba(l["fill"]["color"]));
        };
        load(shape["initialStyles"]);
        std::size_t left = 0, right = 0, line = 0;
        long x = 0, y = 0;
        for (const Json& r : shape["records"].items) {
            if (r["type"].Int() == 1) {  // style change
                if (r.Has("newStyles")) load(r["newStyles"]);
                if (r.Has("moveTo")) x = r["moveTo"]["x"].Int(), y = r["moveTo"]["y"].Int();
                left = r.Has("leftFill") ? static_cast<std::size_t>(r["leftFill"].Int()) : left;
                right = r.Has("rightFill") ? static_cast<std::size_t>(r["rightFill"].Int()) : right;
                line = r.Has("lineStyle") ? static_cast<std::size_t>(r["lineStyle"].Int()) : line;
                continue;
            }
            auto style = [](const std::vector<std::string>& list, std::size_t i) {
                return " | " + (i < list.size() ? list[i] : "bad index");
            };
            const Json& c = r["controlDelta"];
            std::string edge = id + (r.Has("controlDelta") ? " Q " : " L ") + Nums(x, y) + " ";
            if (r.Has("controlDelta")) edge += Nums(x + c["x"].Int(), y + c["y"].Int()) + " ";
            x += r["delta"]["x"].Int(), y += r["delta"]["y"].Int();
            d.edges.push_back(edge + Nums(x, y) + style(fills, left) + style(fills, right) + style(lines, line));
        }
    }
    std::map<long, const Json*> fonts;
    for (const Json* t : TagsOf(movie, swfjson::DefineFont)) fonts[(*t)["id"].Int()] = t;
    // A text is spelt back through its font's code table, so that a glyph index that
    // points at the wrong glyph shows as a wrong letter.
    for (const Json* t : TagsOf(movie, swfjson::DefineText))
        for (const Json& r : (*t)["records"].items) {
            static const Json none;
            const Json& codes = fonts.count(r["fontId"].Int()) ? (*fonts[r["fontId"].Int()])["codeUnits"] : none;
            std::string spelt;
            for (const Json& e : r["entries"].items) {
                const Json& code = codes[static_cast<std::size_t>(e["index"].Int())];
                spelt += code.kind == Json::Number ? static_cast<char>(code.Int()) : '?';
            }
            d.texts.push_back(Nums((*t)["id"].Int()) + " font=" + Nums(r["fontId"].Int()) + " height=" +
                              Nums(r["fontSize"].Int()) + " '" + spelt + "'");
        }
    DecodedFrames(movie, d.frames);
    return d;
}

}  // namespace flio_test
