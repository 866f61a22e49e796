// The demo's text band (y 465-520, depths kDepthFirstText..): one font family,
// "Demo Block", in a regular and a bold face whose glyph outlines the demo draws
// itself, and a static text in each face, kerned.
//
// Glyphs are drawn in the font's em square (flaFont::uiSwfEmSize = 1024 units per
// em) with the baseline at y = 0 and y growing downwards, as SWF glyphs are: a
// capital stands on the baseline and reaches up to y = -kCapHeight. Every outline
// goes clockwise on screen with its fill on the right, so a counter (the hole of
// the O) goes the other way round.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "demo_movie.h"
#include "flio/flaFont.h"
#include "flio/flaFrame.h"
#include "flio/flaStyle.h"
#include "flio/flaText.h"

namespace flio_demo {

namespace {

constexpr float kPi = 3.14159265358979f;
constexpr float kEm = 1024.0f;  // flaFont::uiSwfEmSize
constexpr float kCapHeight = 700.0f;
constexpr float kOvershoot = 12.0f;  // round letters reach a little past the baseline and cap height
constexpr float kAscent = 800.0f, kDescent = 200.0f;

// Glyph outlines are written like shape coordinates: a model unit is the stage
// width, and twips are what a glyph's SHAPE holds, one per em unit.
float EmToModel(float em) { return em / static_cast<float>(kStageWidth * 20); }
flaPoint EmPt(float x, float y) { return flaPoint(EmToModel(x), EmToModel(y)); }

// The text writer's units. It draws the em at fontSize x 0.5785 x 20 twips and
// turns an advance a (or a kerning k) into (k + fontSize x a) x w / 500 twips, w
// being the stage width in pixels. These are the values that give advances and
// kerning of so many em units.
constexpr float kTwipsPerSizeUnit = 0.5785f * 20.0f;
float AdvanceFromEm(float em) { return em / kEm * kTwipsPerSizeUnit * 500.0f / static_cast<float>(kStageWidth); }
int KerningFromEm(float em, unsigned int fontSize) {
    return static_cast<int>(std::lround(em * static_cast<float>(fontSize) * AdvanceFromEm(1.0f)));
}
float EmToPixels(float em, unsigned int fontSize) { return em / kEm * static_cast<float>(fontSize) * 0.5785f; }

// Stroke weights of a face, in em units.
struct Weight {
    float stem;     // vertical strokes
    float bar;      // horizontal strokes
    float bearing;  // space on each side of a letter
};
constexpr Weight kRegular{92, 78, 60};
constexpr Weight kBold{156, 128, 50};

void AddOutline(flaSubGeometry* sub, const std::vector<flaPoint>& em, const flaColor* fill) {
    auto* stroke = new flaStroke;
    for (const flaPoint& p : em) stroke->AddPoint(EmPt(p.x, p.y));
    stroke->AddPoint(EmPt(em.front().x, em.front().y));
    sub->AddStroke(stroke, new flaStyle(flaStyle::Straight, nullptr, fill, nullptr));
}

// An ellipse of eight quadratic arcs, clockwise on screen or, for a counter,
// counter-clockwise.
void AddOval(flaSubGeometry* sub, float cx, float cy, float rx, float ry, bool counter, const flaColor* fill) {
    const float k = 1.0f / std::cos(kPi / 8.0f);
    const float turn = counter ? -1.0f : 1.0f;
    auto* stroke = new flaStroke;
    for (int i = 0; i < 8; ++i) {
        const float a0 = turn * kPi / 4.0f * static_cast<float>(i);
        const float am = a0 + turn * kPi / 8.0f;
        const float a1 = turn * kPi / 4.0f * static_cast<float>(i + 1);
        stroke->AddPoint(EmPt(cx + rx * std::cos(a0), cy + ry * std::sin(a0)));
        stroke->AddPoint(EmPt(cx + k * rx * std::cos(am), cy + k * ry * std::sin(am)));
        stroke->AddPoint(EmPt(cx + rx * std::cos(a1), cy + ry * std::sin(a1)));
    }
    sub->AddStroke(stroke, new flaStyle(flaStyle::Curved, nullptr, fill, nullptr));
}

// Draws one capital of the face into a new glyph; returns its advance width.
float DrawLetter(flaGlyphGeometry& glyph, unsigned short code, const Weight& w) {
    flaSubGeometry* sub = glyph.AddChildGeometry();
    // Glyph fills carry no colour of their own (the text's colour is used).
    const flaColor* ink = sub->CreateSolidColour(FLIO::flaRGBA(0, 0, 0, 255), 0);
    const float x0 = w.bearing, h = kCapHeight;
    switch (code) {
        case 'F': {
            const float width = 400 + w.stem, xs = x0 + w.stem, arm = x0 + width * 0.82f;
            const float midTop = -h * 0.56f, midBottom = midTop + w.bar;
            AddOutline(sub,
                       {{x0, -h}, {x0 + width, -h}, {x0 + width, -h + w.bar}, {xs, -h + w.bar}, {xs, midTop},
                        {arm, midTop}, {arm, midBottom}, {xs, midBottom}, {xs, 0}, {x0, 0}},
                       ink);
            return width + 2 * w.bearing;
        }
        case 'L': {
            const float width = 380 + w.stem, xs = x0 + w.stem;
            AddOutline(sub, {{x0, -h}, {xs, -h}, {xs, -w.bar}, {x0 + width, -w.bar}, {x0 + width, 0}, {x0, 0}}, ink);
            return width + 2 * w.bearing;
        }
        case 'I':
            AddOutline(sub, {{x0, -h}, {x0 + w.stem, -h}, {x0 + w.stem, 0}, {x0, 0}}, ink);
            return w.stem + 2 * w.bearing;
        case 'O': {
            const float width = 560 + w.stem, cx = x0 + width / 2, cy = -h / 2;
            const float rx = width / 2, ry = h / 2 + kOvershoot;
            AddOval(sub, cx, cy, rx, ry, false, ink);
            AddOval(sub, cx, cy, rx - w.stem, ry - w.bar, true, ink);
            return width + 2 * w.bearing;
        }
        default:  // the space: no outline
            return 260;
    }
}

// Pairs that are set closer (or wider) than their advances, in em units.
struct KernPair {
    char left, right;
    float em;
};
constexpr KernPair kKernPairs[] = {{'F', 'O', -110}, {'L', 'I', -30}, {'I', 'O', 10}};

float PairKerning(char left, char right) {
    for (const KernPair& p : kKernPairs)
        if (p.left == left && p.right == right) return p.em;
    return 0;
}

constexpr char kLetters[] = "FLIO ";

// Fills the face's output font with the demo's letters; the glyphs go into `owned`.
flaFont& MakeFace(flaMovie& movie, bool bold, DemoHostData& owned) {
    flaFont& font = movie.getFont(fontInfo("Demo Block", bold, false));
    for (const char* c = kLetters; *c; ++c) {
        owned.glyphs.push_back(std::make_unique<flaGlyphGeometry>());
        flaGlyphGeometry* glyph = owned.glyphs.back().get();
        const auto code = static_cast<unsigned short>(*c);
        const float advance = DrawLetter(*glyph, code, bold ? kBold : kRegular);
        font.addCode(code, glyph, AdvanceFromEm(advance));
    }
    return font;
}

// One line of text in the font with its top-left corner at the text's origin. The
// bounding box runs from y = 0 down by the face's ascent plus descent (the text's
// bounds are written from y = 0 in any case); the writer puts the baseline at the
// record offset plus the box's bottom, so an offset of minus the descent puts it
// kAscent below the top. Kerning entry i + 1 moves the characters after character i.
flaTextGeometry* MakeText(flaMovie& movie, const flaFont& font, const std::string& text, unsigned int fontSize,
                          FLIO::flaRGBA colour) {
    auto* t = new flaTextGeometry(movie.GetNewCharacterId());
    t->setText(UT_String(text));
    t->setFontId(font.getId());
    t->setFontSize(fontSize);
    t->setColor(colour.r, colour.g, colour.b, 255);
    float width = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        float advance = 0;
        font.getAdvance(static_cast<unsigned short>(text[i]), advance, 1.0f);
        width += advance / AdvanceFromEm(1.0f);
        if (i + 1 < text.size()) {
            const float kern = PairKerning(text[i], text[i + 1]);
            if (kern != 0) t->setKerning(static_cast<unsigned int>(i + 1), KerningFromEm(kern, fontSize));
            width += kern;
        }
    }
    t->UpdateBBox(0, 0);
    t->UpdateBBox(Units(EmToPixels(width, fontSize)), Units(EmToPixels(kAscent + kDescent, fontSize)));
    const float descent = Units(EmToPixels(kDescent, fontSize));
    t->setRecordOffset(flaPoint(0, -descent), flaPoint(0, -EmToPixels(kDescent, fontSize)));
    movie.AddNewCharacter(t);
    return t;
}

}  // namespace

void BuildDemoText(flaMovie& movie, DemoHostData& owned) {
    // The regular face is asked for first, so it takes the lower id.
    const flaFont& regular = MakeFace(movie, false, owned);
    const flaFont& bold = MakeFace(movie, true, owned);
    const unsigned int size = 64;
    flaTextGeometry* plain = MakeText(movie, regular, "FOLIO FLIO", size, FLIO::flaRGBA(30, 50, 120, 255));
    flaTextGeometry* heavy = MakeText(movie, bold, "FLIO FOLIO", size, FLIO::flaRGBA(150, 30, 40, 255));
    PlaceInFrames(movie, plain, kDepthFirstText, 0, kFrameCount - 1, Placement(40, 470));
    PlaceInFrames(movie, heavy, kDepthFirstText + 1, 0, kFrameCount - 1, Placement(340, 470));
}

}  // namespace flio_demo
