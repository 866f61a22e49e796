// Checking written movies with the independent SWF parser (swfcheck --full): runs
// it, and turns both its decoded tags and the in-memory movie into the same plain
// descriptions (shape edges with their styles, per-frame display lists, bitmaps,
// sounds), so that a test compares the two with EXPECT_EQ and sees every
// difference. The model side restates the SWF encodings (twips, 16.16 matrices)
// independently of the writer.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "cli_util.h"
#include "flio/PL_FileSpec.h"
#include "flio/flaBits.h"
#include "flio/flaDump.h"
#include "flio/flaFilter.h"
#include "flio/flaFrame.h"
#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"
#include "flio/flaStyle.h"
#include "json_mini.h"

namespace flio_test {

// The swfcheck program, or "" when it (or node, which runs it) is missing.
inline std::string SwfCheckTool() {
    static const std::string tool = [] {
        if (RunCommand("command -v node").status != 0) return std::string();
        const std::string dir = FLIO_TOOLS_DIR;
        for (const std::string& p : {dir + "/swfcheck", dir + "/swfcheck/swfcheck"}) {
            struct stat st {};
            if (stat(p.c_str(), &st) == 0 && S_ISREG(st.st_mode)) return p;
        }
        return std::string();
    }();
    return tool;
}

#define SKIP_WITHOUT_SWFCHECK() \
    if (flio_test::SwfCheckTool().empty()) GTEST_SKIP() << "node or the swfcheck tool is not available"

// The parser's JSON line for one file: {"file", "ok", "movie"} or {"ok": false, "error"}.
// The output goes through a file: node may exit before a long line has drained
// into a pipe.
inline Json SwfCheckFull(const std::string& file) {
    const std::string out = file + ".json";
    RunCommand("'" + SwfCheckTool() + "' --full '" + file + "' > '" + out + "'");
    std::ifstream in(out, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(out.c_str());
    return text.empty() ? Json() : Json::Parse(text);
}

// Writes the movie into the test's temporary folder; returns the path.
inline std::string WriteMovie(flaMovie& movie, const std::string& name, bool compress = false) {
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    const std::string path = testing::TempDir() + "flio_swfcheck_" + name + ".swf";
    flaDump dump(width, nullptr);
    EXPECT_TRUE(movie.DumpMovieToFile(PL_FileSpec(path.c_str()), dump, compress));
    return path;
}

inline int FrameWidth(const flaMovie& movie) {
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    return width;
}

// ---- shared formatting --------------------------------------------------------

inline std::string Join(const std::vector<std::string>& parts, const char* sep) {
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i) out += (i ? sep : "") + parts[i];
    return out;
}
inline std::string Rgba(int r, int g, int b, int a) {
    return std::to_string(r) + "," + std::to_string(g) + "," + std::to_string(b) + "," + std::to_string(a);
}
inline std::string MatrixText(long sx, long sy, long r0, long r1, long tx, long ty) {
    return "m=" + Join({std::to_string(sx), std::to_string(sy), std::to_string(r0), std::to_string(r1),
                        std::to_string(tx), std::to_string(ty)},
                       ",");
}

// ---- model side ----------------------------------------------------------------

// MATRIX fields as the format defines them: 16.16 terms truncated, translation in
// twips truncated.
inline std::string ModelMatrix(const flaMatrix& m, int frameWidth) {
    const double k = frameWidth;
    auto fixed = [](float v) { return static_cast<long>(static_cast<double>(v) * 65536.0); };
    auto twips = [k](float v) { return static_cast<long>(k * (static_cast<double>(v) * 20.0)); };
    return MatrixText(fixed(m.GetA()), fixed(m.GetD()), fixed(m.GetB()), fixed(m.GetC()), twips(m.GetTX()),
                      twips(m.GetTY()));
}

inline std::string ModelColour(const flaColor* c, int frameWidth) {
    if (!c) return "-";
    const FLIO::flaRGBA& rgba = c->GetColor();
    switch (c->GetColorType()) {
        case flaColor::Solid: return "solid " + Rgba(rgba.r, rgba.g, rgba.b, rgba.a);
        case flaColor::Line: {
            const long w = c->IsHairLine() ? 1 : static_cast<long>(c->GetLineWidth() * 20.0 * frameWidth) & 0xFFFF;
            return "line " + std::to_string(w) + " " + Rgba(rgba.r, rgba.g, rgba.b, rgba.a);
        }
        case flaColor::LinearGradient:
        case flaColor::RadialGradient: {
            std::vector<std::string> stops;
            for (int i = 0; i < c->GetTickNumber(); ++i) {
                int pos = 0;
                const FLIO::flaRGBA& s = c->GetTick(i, pos);
                stops.push_back(std::to_string(pos) + ":" + Rgba(s.r, s.g, s.b, s.a));
            }
            return std::string(c->GetColorType() == flaColor::LinearGradient ? "linear " : "radial ") +
                   ModelMatrix(c->GetMatrix(), frameWidth) + " " + Join(stops, ";");
        }
        case flaColor::Bitmap:
            return "bitmap " + std::to_string(c->GetBitmapID()) + (c->GetFillBitsTiled() ? " tiled " : " clipped ") +
                   ModelMatrix(c->GetMatrix(), frameWidth);
    }
    return "?";
}

struct TwipPos {
    long x = 0, y = 0;
    bool operator==(const TwipPos& o) const { return x == o.x && y == o.y; }
    std::string Text() const { return std::to_string(x) + "," + std::to_string(y); }
};

// A model coordinate in twips: the product in float, rounded half away from zero.
inline long ModelTwips(float v, int frameWidth) {
    const float t = v * static_cast<float>(frameWidth * 20);
    return static_cast<long>(v >= 0 ? static_cast<double>(t) + 0.5 : static_cast<double>(t) - 0.5);
}

inline const flaGeometry* ModelShape(const flaMovie& movie, int id) {
    return dynamic_cast<const flaGeometry*>(movie.GetCharacter(id));
}

// How an edge's styles are described: " | left | right | line".
using ModelStyleText = std::function<std::string(const flaStyle&)>;

// Every written edge of the geometry's layers, in twips, with its styles.
inline std::vector<std::string> ModelEdges(const flaGeometry& shape, int w, const ModelStyleText& styleText) {
    std::vector<std::string> edges;
    auto twips = [w](const flaPoint& p) { return TwipPos{ModelTwips(p.x, w), ModelTwips(p.y, w)}; };
    for (std::size_t l = 0; l < shape.GetSubGeometryCount(); ++l) {
        const flaSubGeometry* sub = shape.GetSubGeometry(l);
        TwipPos pen;  // every layer starts at (0, 0)
        for (std::size_t s = 0; s < sub->GetStrokeCount(); ++s) {
            const flaSubGeometry::StrokeRecord& r = sub->GetStrokeRecord(s);
            if (r.style->IsUseless() || r.stroke->IsEmpty()) continue;
            const std::string styles = styleText(*r.style);
            const std::vector<flaPoint>& p = r.stroke->GetPoints();
            pen = twips(p[0]);
            auto straight = [&](const flaPoint& to) {
                const TwipPos t = twips(to);
                if (t == pen) return;
                edges.push_back("L " + pen.Text() + " " + t.Text() + styles);
                pen = t;
            };
            if (!r.style->IsCurved()) {
                for (std::size_t i = 1; i < p.size(); ++i) straight(p[i]);
                continue;
            }
            for (std::size_t i = 0; i + 2 < p.size(); i += 3) {
                if (p[i + 1] == p[i] || p[i + 1] == p[i + 2]) {
                    straight(p[i + 2]);
                    continue;
                }
                const TwipPos c = twips(p[i + 1]), a = twips(p[i + 2]);
                edges.push_back("Q " + pen.Text() + " " + c.Text() + " " + a.Text() + styles);
                pen = a;
            }
        }
    }
    return edges;
}

inline std::vector<std::string> ModelShapeEdges(const flaMovie& movie, int shapeId) {
    const flaGeometry* shape = ModelShape(movie, shapeId);
    if (!shape) return {"no such shape"};
    const int w = FrameWidth(movie);
    return ModelEdges(*shape, w, [w](const flaStyle& s) {
        return " | " + ModelColour(s.LeftColor(), w) + " | " + ModelColour(s.RightColor(), w) + " | " +
               ModelColour(s.LineColor(), w);
    });
}

inline std::string ModelShapeBounds(const flaMovie& movie, int shapeId) {
    const flaGeometry* shape = ModelShape(movie, shapeId);
    if (!shape) return "no such shape";
    const double k = FrameWidth(movie) * 20.0;
    const double h = shape->GetMaxLineWidth() * 0.5 * k;
    const flaBoundingBox b = shape->GetBBox();
    auto round = [](double bound, double v) { return static_cast<long>(bound >= 0 ? v + 0.5 : v - 0.5); };
    return std::to_string(round(b.xMin, b.xMin * k - h)) + " " + std::to_string(round(b.xMax, b.xMax * k + h)) + " " +
           std::to_string(round(b.yMin, b.yMin * k - h)) + " " + std::to_string(round(b.yMax, b.yMax * k + h));
}

// A filter as "type(key=value ...)"; both sides add the same keys in the same order.
struct FilterText {
    std::vector<std::string> parts;
    void Add(const char* key, const std::string& value) { parts.push_back(std::string(key) + "=" + value); }
    void Flags(bool inner, bool knockout, long passes) {
        Add("inner", std::to_string(inner));
        Add("knockout", std::to_string(knockout));
        Add("passes", std::to_string(passes));
    }
    std::string Text(long type) const { return std::to_string(type) + "(" + Join(parts, " ") + ")"; }
};
inline std::string FloatText(double v) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.9g", v);
    return buffer;
}

// The filter's fields as the FILTER record encodes them: 16.16 and 8.8 fixed point
// truncated, passes in the bits the record gives them (the composite-source bit is
// always written set, so it is not compared).
inline std::string ModelFilter(const FLIO::flaFilter& filter) {
    using namespace FLIO;
    auto fixed = [](double v) { return std::to_string(static_cast<long>(v * 65536.0)); };
    auto fixed8 = [](double v) { return std::to_string(static_cast<long>(v * 256.0)); };
    auto rgba = [](const flaRGBA& c) { return Rgba(c.r, c.g, c.b, c.a); };
    auto passes = [](unsigned v, unsigned most) { return static_cast<long>(std::min(v, most)); };
    FilterText t;
    switch (filter.GetFilterType()) {
        case flaFilter::DropShadow: {
            const auto& f = static_cast<const flaFilterDropShadow&>(filter);
            t.Add("colour", rgba(f.colour));
            t.Add("blur", fixed(f.blurX) + "," + fixed(f.blurY));
            t.Add("angle", fixed(f.angle));
            t.Add("distance", fixed(f.distance));
            t.Add("strength", fixed8(f.strength));
            t.Flags(f.innerShadow, f.knockout, passes(f.passes, 31));
            break;
        }
        case flaFilter::Blur: {
            const auto& f = static_cast<const flaFilterBlur&>(filter);
            t.Add("blur", fixed(f.blurX) + "," + fixed(f.blurY));
            t.Add("passes", std::to_string(passes(f.passes, 31)));
            break;
        }
        case flaFilter::Glow: {
            const auto& f = static_cast<const flaFilterGlow&>(filter);
            t.Add("colour", rgba(f.colour));
            t.Add("blur", fixed(f.blurX) + "," + fixed(f.blurY));
            t.Add("strength", fixed8(f.strength));
            t.Flags(f.innerGlow, f.knockout, passes(f.passes, 31));
            break;
        }
        case flaFilter::Bevel: {
            const auto& f = static_cast<const flaFilterBevel&>(filter);
            t.Add("shadow", rgba(f.shadowColour));
            t.Add("highlight", rgba(f.highlightColour));
            t.Add("blur", fixed(f.blurX) + "," + fixed(f.blurY));
            t.Add("angle", fixed(f.angle));
            t.Add("distance", fixed(f.distance));
            t.Add("strength", fixed8(f.strength));
            t.Add("ontop", std::to_string(f.onTop));
            t.Flags(f.innerShadow, f.knockout, passes(f.passes, 15));
            break;
        }
        case flaFilter::GradientGlow:
        case flaFilter::GradientBevel: {
            const auto& f = static_cast<const flaFilterGradientBase&>(filter);
            std::vector<std::string> stops;
            for (std::size_t i = 0; i < f.colours.size(); ++i)
                stops.push_back((i < f.ratios.size() ? std::to_string(f.ratios[i]) : "?") + ":" + rgba(f.colours[i]));
            t.Add("gradient", Join(stops, ";"));
            t.Add("blur", fixed(f.blurX) + "," + fixed(f.blurY));
            t.Add("angle", fixed(f.angle));
            t.Add("distance", fixed(f.distance));
            t.Add("strength", fixed8(f.strength));
            t.Add("ontop", std::to_string(f.onTop));
            t.Flags(f.innerShadow, f.knockout, passes(f.passes, 15));
            break;
        }
        case flaFilter::Convolution: {
            const auto& f = static_cast<const flaFilterConvolution&>(filter);
            std::vector<std::string> values;
            for (float v : f.matrix) values.push_back(FloatText(v));
            t.Add("size", std::to_string(f.matrixX) + "x" + std::to_string(f.matrixY));
            t.Add("divisor", FloatText(f.divisor));
            t.Add("bias", FloatText(f.bias));
            t.Add("matrix", Join(values, ","));
            t.Add("default", rgba(f.defaultColour));
            t.Add("clamp", std::to_string(f.clamp));
            t.Add("alpha", std::to_string(f.preserveAlpha));
            break;
        }
        case flaFilter::ColorMatrix: {
            std::vector<std::string> values;
            for (float v : static_cast<const flaFilterColorMatrix&>(filter).matrix) values.push_back(FloatText(v));
            t.Add("matrix", Join(values, ","));
            break;
        }
    }
    return t.Text(filter.GetFilterType());
}

inline std::vector<std::string> ModelFrames(const flaMovie& movie) {
    std::vector<std::string> frames;
    const int w = FrameWidth(movie);
    for (unsigned long long f = 0; f < movie.GetFrameCount(); ++f) {
        std::vector<std::string> entries;
        for (const auto& [depth, e] : movie.GetFrame(static_cast<int>(f))->GetDisplayList()) {
            std::string s = std::to_string(depth) + ":" + std::to_string(e.GetCharacter()->GetId()) + " " +
                            ModelMatrix(e.GetMatrix(), w);
            if (e.HasColorXForm()) {
                const flaColorXForm& cx = e.GetColorXForm();
                const bool m = cx.GetIsMult(), a = cx.GetIsAdd();
                s += " cx=" + Join({std::to_string(m ? cx.GetmR() : 256), std::to_string(m ? cx.GetmG() : 256),
                                    std::to_string(m ? cx.GetmB() : 256), std::to_string(m ? cx.GetmA() : 256),
                                    std::to_string(a ? cx.GetaR() : 0), std::to_string(a ? cx.GetaG() : 0),
                                    std::to_string(a ? cx.GetaB() : 0), std::to_string(a ? cx.GetaA() : 0)},
                                   ",");
            }
            if (e.HasBlendMode()) s += " blend=" + std::to_string(static_cast<int>(e.BlendMode()));
            if (e.HasFilterList()) {
                std::vector<std::string> filters;
                for (const auto& filter : e.FilterList()) filters.push_back(ModelFilter(*filter));
                s += " filters=" + Join(filters, ",");
            }
            entries.push_back(s);
        }
        frames.push_back(Join(entries, "; "));
    }
    return frames;
}

inline std::vector<std::string> ModelBitmaps(const flaMovie& movie) {
    std::map<unsigned, std::string> byId;
    for (const flaBitsLossless* b : movie.GetBitsLosslessList())
        byId[b->id] = "lossless1 " + std::to_string(b->width) + "x" + std::to_string(b->height);
    for (const flaBitsLossless2* b : movie.GetBitsLossless2List())
        byId[b->id] = "lossless2 " + std::to_string(b->width) + "x" + std::to_string(b->height);
    for (const flaBitsJpegBase* j : movie.GetJPEGContainer()) {
        flaBitsJpegBase::JPEGData data;
        j->InitJpegData(data);
        byId[j->id] = "jpeg " + std::to_string(data.jpegSize) + " bytes";
        if (data.ownsBuffer) delete[] data.jpeg;
    }
    std::vector<std::string> out;
    for (const auto& [id, text] : byId) out.push_back(std::to_string(id) + " " + text);
    return out;
}

inline std::string SoundText(long id, long format, long rate, long size, long stereo, long samples, long bytes) {
    return std::to_string(id) + " format=" + std::to_string(format) + " rate=" + std::to_string(rate) +
           " size=" + std::to_string(size) + (stereo ? " stereo" : " mono") + " samples=" + std::to_string(samples) +
           " bytes=" + std::to_string(bytes);
}

inline std::vector<std::string> ModelSounds(const flaMovie& movie) {
    static const long rates[] = {5500, 11000, 22000, 44000};
    std::vector<std::string> out;
    for (const flaSound* s : movie.GetSoundList())
        out.push_back(SoundText(s->GetSoundID(), s->GetCompressFormat(), rates[flaSound::RateCode(s->GetSampleRate())],
                                s->GetSampleSize() == 8 ? 8 : 16, s->GetChannels() == 2, s->GetSampleCount(),
                                s->GetSize()));
    std::sort(out.begin(), out.end());
    return out;
}

inline std::string Optional(bool has, unsigned long v) { return has ? std::to_string(v) : "-"; }

inline std::vector<std::string> ModelSoundStarts(const flaMovie& movie) {
    std::vector<std::string> out;
    for (unsigned long long f = 0; f < movie.GetFrameCount(); ++f) {
        const flaFrame* frame = movie.GetFrame(static_cast<int>(f));
        for (unsigned i = 0; i < frame->GetSoundCount(); ++i) {
            const flaSoundInfo& s = *frame->GetSound(i);
            std::vector<std::string> env;
            for (unsigned p = 0; s.HasEnvelope() && p < s.GetEnvelopePointCount(); ++p) {
                const auto& e = s.GetEnvelopePoint(p);
                env.push_back(std::to_string(e.position) + ":" + std::to_string(e.leftLevel) + "/" +
                              std::to_string(e.rightLevel));
            }
            out.push_back("frame " + std::to_string(f) + " id " + std::to_string(s.GetSoundId()) +
                          " stop=" + std::to_string(s.IsSyncStop()) + " nomultiple=" +
                          std::to_string(s.IsSyncNoMultiple()) + " in=" + Optional(s.HasInPoint(), s.GetInPoint()) +
                          " out=" + Optional(s.HasOutPoint(), s.GetOutPoint()) +
                          " loops=" + Optional(s.HasLoopCount(), s.GetLoopCount()) +
                          " env=" + (s.HasEnvelope() ? "[" + Join(env, " ") + "]" : "-"));
        }
    }
    return out;
}

}  // namespace flio_test

#include "swfcheck_decoded.h"
