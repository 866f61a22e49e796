// The decoded side of the swfcheck comparisons (see swfcheck_util.h): the same
// descriptions built from the independent parser's JSON. Tag type numbers are the
// parser's own.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "json_mini.h"

namespace flio_test {

namespace swfjson {
enum TagType { DefineBitmap = 5, DefineShape = 22, DefineSound = 23, PlaceObject = 49, RemoveObject = 54,
               ShowFrame = 58, StartSound = 61 };
enum FillType { BitmapFill = 0, LinearFill = 2, RadialFill = 3, SolidFill = 4 };
}  // namespace swfjson

// A byte block: the parser prints a plain file's data as a byte array and an
// inflated file's as {"bytes": n}.
inline long DataLength(const Json& data) {
    return data.Has("bytes") ? data["bytes"].Int() : static_cast<long>(data["data"].Size());
}

inline std::string DecodedMatrix(const Json& m) {
    const long sx = m.Has("scaleX") ? m["scaleX"]["epsilons"].Int() : 65536;
    const long sy = m.Has("scaleY") ? m["scaleY"]["epsilons"].Int() : 65536;
    return MatrixText(sx, sy, m["rotateSkew0"]["epsilons"].Int(), m["rotateSkew1"]["epsilons"].Int(),
                      m["translateX"].Int(), m["translateY"].Int());
}

inline std::string DecodedRgba(const Json& c) {
    return Rgba(static_cast<int>(c["r"].Int()), static_cast<int>(c["g"].Int()), static_cast<int>(c["b"].Int()),
                c.Has("a") ? static_cast<int>(c["a"].Int()) : 255);
}

inline std::string DecodedFill(const Json& f) {
    switch (f["type"].Int()) {
        case swfjson::SolidFill: return "solid " + DecodedRgba(f["color"]);
        case swfjson::LinearFill:
        case swfjson::RadialFill: {
            std::vector<std::string> stops;
            for (const Json& s : f["gradient"]["colors"].items)
                stops.push_back(std::to_string(s["ratio"].Int()) + ":" + DecodedRgba(s["color"]));
            return std::string(f["type"].Int() == swfjson::LinearFill ? "linear " : "radial ") +
                   DecodedMatrix(f["matrix"]) + " " + Join(stops, ";");
        }
        case swfjson::BitmapFill:
            return "bitmap " + std::to_string(f["bitmapId"].Int()) + (f["repeating"].boolean ? " tiled " : " clipped ") +
                   DecodedMatrix(f["matrix"]);
    }
    return "fill type " + std::to_string(f["type"].Int());
}

inline std::string DecodedLine(const Json& l) { return "line " + std::to_string(l["width"].Int()) + " " + DecodedRgba(l["fill"]["color"]); }

inline std::map<int, const Json*> DecodedShapes(const Json& movieJson) {
    std::map<int, const Json*> shapes;
    for (const Json& t : movieJson["tags"].items)
        if (t["type"].Int() == swfjson::DefineShape) shapes[static_cast<int>(t["id"].Int())] = &t;
    return shapes;
}

// Replays shape records into edges in twips; styles(left, right, line) describes
// an edge's style indices, newStyles takes a new-styles block.
inline std::vector<std::string> DecodedEdges(const Json& records,
                                             const std::function<std::string(long, long, long)>& styles,
                                             const std::function<void(const Json&)>& newStyles) {
    std::vector<std::string> edges;
    long left = 0, right = 0, line = 0;
    TwipPos pen;
    for (const Json& r : records.items) {
        if (r["type"].Int() == 1) {  // style change
            if (r.Has("newStyles")) newStyles(r["newStyles"]);
            if (r.Has("moveTo")) pen = TwipPos{r["moveTo"]["x"].Int(), r["moveTo"]["y"].Int()};
            if (r.Has("leftFill")) left = r["leftFill"].Int();
            if (r.Has("rightFill")) right = r["rightFill"].Int();
            if (r.Has("lineStyle")) line = r["lineStyle"].Int();
            continue;
        }
        const std::string text = styles(left, right, line);
        const TwipPos to{pen.x + r["delta"]["x"].Int(), pen.y + r["delta"]["y"].Int()};
        if (r.Has("controlDelta")) {
            const TwipPos c{pen.x + r["controlDelta"]["x"].Int(), pen.y + r["controlDelta"]["y"].Int()};
            edges.push_back("Q " + pen.Text() + " " + c.Text() + " " + to.Text() + text);
        } else {
            edges.push_back("L " + pen.Text() + " " + to.Text() + text);
        }
        pen = to;
    }
    return edges;
}

inline std::vector<std::string> DecodedShapeEdges(const Json& defineShape) {
    const Json& shape = defineShape["shape"];
    std::vector<std::string> fills, lines;
    auto loadStyles = [&](const Json& styles) {
        fills.clear();
        lines.clear();
        for (const Json& f : styles["fill"].items) fills.push_back(DecodedFill(f));
        for (const Json& l : styles["line"].items) lines.push_back(DecodedLine(l));
    };
    loadStyles(shape["initialStyles"]);
    auto style = [&](const std::vector<std::string>& list, long i) {
        return i <= 0 ? std::string("-") : i <= static_cast<long>(list.size()) ? list[static_cast<std::size_t>(i - 1)]
                                                                                : "bad index";
    };
    return DecodedEdges(
        shape["records"],
        [&](long left, long right, long line) {
            return " | " + style(fills, left) + " | " + style(fills, right) + " | " + style(lines, line);
        },
        loadStyles);
}

inline std::string DecodedShapeBounds(const Json& defineShape) {
    const Json& b = defineShape["bounds"];
    return std::to_string(b["xMin"].Int()) + " " + std::to_string(b["xMax"].Int()) + " " +
           std::to_string(b["yMin"].Int()) + " " + std::to_string(b["yMax"].Int());
}

// A FILTER record as the parser decodes it, in ModelFilter's form.
inline std::string DecodedFilter(const Json& f) {
    auto eps = [&f](const char* key) { return std::to_string(f[key]["epsilons"].Int()); };
    auto flags = [&f](FilterText& t) { t.Flags(f["inner"].boolean, f["knockout"].boolean, f["passes"].Int()); };
    auto numbers = [](const Json& list) {
        std::vector<std::string> values;
        for (const Json& v : list.items) values.push_back(FloatText(v.number));
        return Join(values, ",");
    };
    FilterText t;
    const long type = f["filter"].Int();
    switch (type) {
        case 0:  // drop shadow
        case 2:  // glow
            t.Add("colour", DecodedRgba(f["color"]));
            t.Add("blur", eps("blurX") + "," + eps("blurY"));
            if (type == 0) {
                t.Add("angle", eps("angle"));
                t.Add("distance", eps("distance"));
            }
            t.Add("strength", eps("strength"));
            flags(t);
            break;
        case 1:  // blur
            t.Add("blur", eps("blurX") + "," + eps("blurY"));
            t.Add("passes", std::to_string(f["passes"].Int()));
            break;
        case 3:  // bevel
        case 4:  // gradient glow
        case 7:  // gradient bevel
            if (type == 3) {
                t.Add("shadow", DecodedRgba(f["shadowColor"]));
                t.Add("highlight", DecodedRgba(f["highlightColor"]));
            } else {
                std::vector<std::string> stops;
                for (const Json& s : f["gradient"].items)
                    stops.push_back(std::to_string(s["ratio"].Int()) + ":" + DecodedRgba(s["color"]));
                t.Add("gradient", Join(stops, ";"));
            }
            t.Add("blur", eps("blurX") + "," + eps("blurY"));
            t.Add("angle", eps("angle"));
            t.Add("distance", eps("distance"));
            t.Add("strength", eps("strength"));
            t.Add("ontop", std::to_string(f["onTop"].boolean));
            flags(t);
            break;
        case 5:  // convolution
            t.Add("size", std::to_string(f["matrixWidth"].Int()) + "x" + std::to_string(f["matrixHeight"].Int()));
            t.Add("divisor", FloatText(f["divisor"].number));
            t.Add("bias", FloatText(f["bias"].number));
            t.Add("matrix", numbers(f["matrix"]));
            t.Add("default", DecodedRgba(f["defaultColor"]));
            t.Add("clamp", std::to_string(f["clamp"].boolean));
            t.Add("alpha", std::to_string(f["preserveAlpha"].boolean));
            break;
        case 6:  // colour matrix
            t.Add("matrix", numbers(f["matrix"]));
            break;
    }
    return t.Text(type);
}

// Replays the placement tags into a display list and describes it at each ShowFrame.
inline std::vector<std::string> DecodedFrames(const Json& movieJson) {
    struct Entry {
        long id = 0;
        std::string matrix = MatrixText(65536, 65536, 0, 0, 0, 0), cx, blend, filters;
    };
    std::map<long, Entry> list;
    std::vector<std::string> frames;
    for (const Json& t : movieJson["tags"].items) {
        const long type = t["type"].Int();
        if (type == swfjson::RemoveObject) list.erase(t["depth"].Int());
        if (type == swfjson::PlaceObject) {
            Entry& e = list[t["depth"].Int()];
            if (!t["isUpdate"].boolean) e = Entry();
            if (t.Has("characterId")) e.id = t["characterId"].Int();
            if (t.Has("matrix")) e.matrix = DecodedMatrix(t["matrix"]);
            if (t.Has("colorTransform")) {
                const Json& c = t["colorTransform"];
                auto mult = [&c](const char* k) { return std::to_string(c.Has(k) ? c[k]["epsilons"].Int() : 256); };
                e.cx = " cx=" + Join({mult("redMult"), mult("greenMult"), mult("blueMult"), mult("alphaMult"),
                                      std::to_string(c["redAdd"].Int()), std::to_string(c["greenAdd"].Int()),
                                      std::to_string(c["blueAdd"].Int()), std::to_string(c["alphaAdd"].Int())},
                                     ",");
            }
            // The parser numbers blend modes from 0 (normal); the file's byte is one more.
            if (t.Has("blendMode")) e.blend = " blend=" + std::to_string(t["blendMode"].Int() + 1);
            if (t.Has("filters")) {
                std::vector<std::string> filters;
                for (const Json& f : t["filters"].items) filters.push_back(DecodedFilter(f));
                e.filters = " filters=" + Join(filters, ",");
            }
        }
        if (type == swfjson::ShowFrame) {
            std::vector<std::string> entries;
            for (const auto& [depth, e] : list)
                entries.push_back(std::to_string(depth) + ":" + std::to_string(e.id) + " " + e.matrix + e.cx + e.blend +
                                  e.filters);
            frames.push_back(Join(entries, "; "));
        }
    }
    return frames;
}

inline std::vector<std::string> DecodedBitmaps(const Json& movieJson) {
    std::map<long, std::string> byId;
    for (const Json& t : movieJson["tags"].items) {
        if (t["type"].Int() != swfjson::DefineBitmap) continue;
        const std::string media = t["mediaType"].text;
        const std::string size = std::to_string(t["width"].Int()) + "x" + std::to_string(t["height"].Int());
        if (media == "image/x-swf-lossless1") byId[t["id"].Int()] = "lossless1 " + size;
        else if (media == "image/x-swf-lossless2") byId[t["id"].Int()] = "lossless2 " + size;
        else if (media == "image/jpeg") byId[t["id"].Int()] = "jpeg " + std::to_string(DataLength(t["data"])) + " bytes";
        else byId[t["id"].Int()] = media;
    }
    std::vector<std::string> out;
    for (const auto& [id, text] : byId) out.push_back(std::to_string(id) + " " + text);
    return out;
}

inline std::vector<std::string> DecodedSounds(const Json& movieJson) {
    std::vector<std::string> out;
    for (const Json& t : movieJson["tags"].items)
        if (t["type"].Int() == swfjson::DefineSound)
            out.push_back(SoundText(t["id"].Int(), t["format"].Int(), t["soundRate"].Int(), t["soundSize"].Int(),
                                    t["soundType"].Int(), t["sampleCount"].Int(),
                                    DataLength(t["data"])));
    std::sort(out.begin(), out.end());
    return out;
}

inline std::vector<std::string> DecodedSoundStarts(const Json& movieJson) {
    std::vector<std::string> out;
    long frame = 0;
    for (const Json& t : movieJson["tags"].items) {
        if (t["type"].Int() == swfjson::ShowFrame) ++frame;
        if (t["type"].Int() != swfjson::StartSound) continue;
        const Json& s = t["soundInfo"];
        auto opt = [&s](const char* k) { return s.Has(k) ? std::to_string(s[k].Int()) : std::string("-"); };
        std::vector<std::string> env;
        for (const Json& e : s["envelopeRecords"].items)
            env.push_back(std::to_string(e["pos44"].Int()) + ":" + std::to_string(e["leftLevel"].Int()) + "/" +
                          std::to_string(e["rightLevel"].Int()));
        out.push_back("frame " + std::to_string(frame) + " id " + std::to_string(t["soundId"].Int()) +
                      " stop=" + std::to_string(s["syncStop"].boolean) + " nomultiple=" +
                      std::to_string(s["syncNoMultiple"].boolean) + " in=" + opt("inPoint") + " out=" +
                      opt("outPoint") + " loops=" + opt("loopCount") +
                      " env=" + (s.Has("envelopeRecords") ? "[" + Join(env, " ") + "]" : "-"));
    }
    return out;
}

}  // namespace flio_test
