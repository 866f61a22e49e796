// Fonts and static text in the swfcheck comparisons (see swfcheck_util.h): the
// movie's output fonts and texts, and the DefineFont2 and DefineText tags the
// independent parser decodes, turned into the same plain descriptions. A decoded
// text is spelt back through its font's code table, so that a glyph index that
// points at the wrong glyph shows as a wrong letter.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "flio/flaFont.h"
#include "flio/flaText.h"
#include "swfcheck_util.h"

namespace flio_test {

namespace swfjson {
enum TextTagType { DefineFont = 12, DefineText = 25 };
}  // namespace swfjson

inline std::string FontText(long id, const std::string& name, bool bold, bool italic, std::size_t glyphs,
                            const std::vector<long>& codes) {
    std::vector<std::string> c;
    for (long code : codes) c.push_back(std::to_string(code));
    return std::to_string(id) + " '" + name + "'" + (bold ? " bold" : "") + (italic ? " italic" : "") +
           " glyphs=" + std::to_string(glyphs) + " codes=" + Join(c, ",");
}

// ---- model side ----------------------------------------------------------------

inline std::vector<std::string> ModelFonts(const flaMovie& movie) {
    std::map<int, std::string> byId;
    for (const auto& [face, font] : movie.GetFontTable().GetTable()) {
        std::vector<long> codes;
        for (unsigned i = 0; i < font.getCodeCnt(); ++i) codes.push_back(font.getCodeByIndex(i));
        byId[font.getId()] = FontText(font.getId(), face.name.utf8(), face.bold, face.italic, font.getGlyphCnt(), codes);
    }
    std::vector<std::string> out;
    for (const auto& entry : byId) out.push_back(entry.second);
    return out;
}

// Glyph outlines are written like shapes, with no style arrays: an edge only says
// on which side the glyph is filled.
inline std::vector<std::string> ModelGlyphEdges(const flaMovie& movie) {
    std::vector<std::string> out;
    const int w = FrameWidth(movie);
    for (const auto& entry : movie.GetFontTable().GetTable()) {
        const flaFont& font = entry.second;
        for (unsigned g = 0; g < font.getGlyphCnt(); ++g) {
            const std::string where = std::to_string(font.getId()) + "/" + std::to_string(g) + " ";
            if (!font.getGlyphByIndex(g)) continue;
            for (const std::string& e : ModelEdges(*font.getGlyphByIndex(g), w, [](const flaStyle& s) {
                     return std::string(" | ") + (s.LeftColor() ? "fill" : "-") + " | " + (s.RightColor() ? "fill" : "-");
                 }))
                out.push_back(where + e);
        }
    }
    return out;
}

// A DefineText as the format encodes the model: bounds and offsets in twips
// (truncated), the height 0.5785 x 20 twips per font-size unit, each advance
// (kerning + size x advance) x w / 500 in single precision, truncated, where
// character i takes kerning entry i + 1.
inline std::vector<std::string> ModelTexts(const flaMovie& movie) {
    std::map<int, std::string> byId;
    const int w = FrameWidth(movie);
    const double s = w * 20.0;
    for (const flaCharacter* c : movie.GetCharacterList()) {
        const auto* text = dynamic_cast<const flaTextGeometry*>(c);
        if (!text) continue;
        const flaFont* font = movie.getFont(text->getFontId());
        const flaBoundingBox& b = text->getBBox();
        unsigned char r = 0, g = 0, bl = 0, a = 0;
        text->getColor(&r, &g, &bl, &a);
        std::vector<std::string> indices, advances;
        const UT_String& chars = text->getText();
        for (std::size_t i = 0; i < chars.length(); ++i) {
            const auto code = static_cast<unsigned short>(chars[i]);
            float advance = 0;
            if (!font || !font->getAdvance(code, advance, 1.0f)) continue;
            const std::vector<int>& k = text->getKerning();
            const int kern = i + 1 < k.size() ? k[i + 1] : 0;
            indices.push_back(std::to_string(font->getGlyphIndex(code)));
            const float v = (static_cast<float>(kern) + static_cast<float>(text->getFontSize()) * advance) *
                            static_cast<float>(w) / 500.0f;
            advances.push_back(std::to_string(static_cast<long>(v)));
        }
        const long x = static_cast<long>(static_cast<double>(text->getRecordOffset().x) * s);
        const long y = static_cast<long>((static_cast<double>(text->getRecordOffset().y) + b.yMax) * s);
        byId[text->GetId()] =
            std::to_string(text->GetId()) + " bounds=" + std::to_string(static_cast<long>(b.xMin * s)) + "," +
            std::to_string(static_cast<long>(b.xMax * s)) + ",0," +
            std::to_string(static_cast<long>((b.yMax - b.yMin) * s)) + " font=" + std::to_string(text->getFontId()) +
            " colour=" + Rgba(r, g, bl, 255) + " offset=" + std::to_string(x) + "," + std::to_string(y) +
            " height=" + std::to_string(static_cast<long>(text->getFontSize() * 0.5785 * 20.0)) + " glyphs=" +
            std::to_string(chars.length()) + " '" + chars.utf8() + "' indices=" + Join(indices, ",") +
            " advances=" + Join(advances, ",");
    }
    std::vector<std::string> out;
    for (const auto& entry : byId) out.push_back(entry.second);
    return out;
}

// ---- decoded side --------------------------------------------------------------

inline std::map<long, const Json*> DecodedFontTags(const Json& movieJson) {
    std::map<long, const Json*> fonts;
    for (const Json& t : movieJson["tags"].items)
        if (t["type"].Int() == swfjson::DefineFont) fonts[t["id"].Int()] = &t;
    return fonts;
}

inline std::vector<std::string> DecodedFonts(const Json& movieJson) {
    std::vector<std::string> out;
    for (const auto& [id, t] : DecodedFontTags(movieJson)) {
        std::vector<long> codes;
        for (const Json& c : (*t)["codeUnits"].items) codes.push_back(c.Int());
        out.push_back(FontText(id, (*t)["fontName"].text, (*t)["isBold"].boolean, (*t)["isItalic"].boolean,
                               (*t)["glyphs"].Size(), codes));
    }
    return out;
}

inline std::vector<std::string> DecodedGlyphEdges(const Json& movieJson) {
    std::vector<std::string> out;
    for (const auto& [id, t] : DecodedFontTags(movieJson)) {
        const Json& glyphs = (*t)["glyphs"];
        for (std::size_t g = 0; g < glyphs.Size(); ++g) {
            const std::string where = std::to_string(id) + "/" + std::to_string(g) + " ";
            for (const std::string& e : DecodedEdges(
                     glyphs[g]["records"],
                     [](long left, long right, long) {
                         return std::string(" | ") + (left > 0 ? "fill" : "-") + " | " + (right > 0 ? "fill" : "-");
                     },
                     [](const Json&) {}))
                out.push_back(where + e);
        }
    }
    return out;
}

// One description per text record (the library writes one per text).
inline std::vector<std::string> DecodedTexts(const Json& movieJson) {
    const std::map<long, const Json*> fonts = DecodedFontTags(movieJson);
    std::vector<std::string> out;
    for (const Json& t : movieJson["tags"].items) {
        if (t["type"].Int() != swfjson::DefineText) continue;
        const Json& b = t["bounds"];
        const std::string bounds = std::to_string(b["xMin"].Int()) + "," + std::to_string(b["xMax"].Int()) + "," +
                                   std::to_string(b["yMin"].Int()) + "," + std::to_string(b["yMax"].Int());
        for (const Json& r : t["records"].items) {
            static const Json none;
            const auto font = fonts.find(r["fontId"].Int());
            const Json& codes = font == fonts.end() ? none : (*font->second)["codeUnits"];
            std::string spelt;
            std::vector<std::string> indices, advances;
            for (const Json& e : r["entries"].items) {
                indices.push_back(std::to_string(e["index"].Int()));
                advances.push_back(std::to_string(e["advance"].Int()));
                const Json& code = codes[static_cast<std::size_t>(e["index"].Int())];
                spelt += code.kind == Json::Number ? static_cast<char>(code.Int()) : '?';
            }
            out.push_back(std::to_string(t["id"].Int()) + " bounds=" + bounds + " font=" +
                          std::to_string(r["fontId"].Int()) + " colour=" + DecodedRgba(r["color"]) +
                          " offset=" + std::to_string(r["offsetX"].Int()) + "," + std::to_string(r["offsetY"].Int()) +
                          " height=" + std::to_string(r["fontSize"].Int()) + " glyphs=" +
                          std::to_string(r["entries"].Size()) + " '" + spelt + "' indices=" + Join(indices, ",") +
                          " advances=" + Join(advances, ","));
        }
    }
    return out;
}

}  // namespace flio_test
