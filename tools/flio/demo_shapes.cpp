// The demo's drawing helpers and its band of vector shapes.
#include <cmath>

#include "demo_movie.h"
#include "flio/flaColorXForm.h"
#include "flio/flaFrame.h"
#include "flio/flaStyle.h"

namespace flio_demo {

namespace {

constexpr float kPi = 3.14159265358979f;

FLIO::flaRGBA Rgb(unsigned char r, unsigned char g, unsigned char b) { return FLIO::flaRGBA(r, g, b, 255); }

// A gradient matrix that maps the gradient square (32768 twips wide) onto a square
// of `sizePixels`, rotated by `degrees`, centred on (x, y) pixels.
flaMatrix GradientMatrix(float sizePixels, float degrees, float xPixels, float yPixels) {
    const float scale = sizePixels * 20.0f / 32768.0f;
    const float a = degrees * kPi / 180.0f;
    return flaMatrix(scale * std::cos(a), scale * std::sin(a), -scale * std::sin(a), scale * std::cos(a),
                     Units(xPixels), Units(yPixels));
}

flaGradientSteps Steps(std::initializer_list<std::pair<FLIO::flaRGBA, int>> stops) {
    flaGradientSteps steps;
    for (const auto& s : stops) steps.Add(s.first, s.second);
    return steps;
}

// The points of a regular star (or polygon when inner == outer), clockwise on screen.
std::vector<flaPoint> StarPoints(int tips, float outer, float inner, float startDegrees) {
    std::vector<flaPoint> pts;
    const int n = inner == outer ? tips : tips * 2;
    for (int i = 0; i < n; ++i) {
        const float r = (inner == outer || i % 2 == 0) ? outer : inner;
        const float a = (startDegrees + 360.0f * static_cast<float>(i) / static_cast<float>(n)) * kPi / 180.0f;
        pts.emplace_back(r * std::cos(a), r * std::sin(a));
    }
    return pts;
}

// Rectangle with a solid fill and a 3-pixel line, straight edges.
flaGeometry* MovingRectangle(flaMovie& movie) {
    flaGeometry* shape = NewShape(movie);
    flaSubGeometry* sub = shape->AddChildGeometry();
    const flaColor* fill = sub->CreateSolidColour(Rgb(220, 40, 40), 0);
    const flaColor* line = sub->CreateLineColour(Units(3), Rgb(60, 10, 10), 0);
    AddRect(sub, -30, -15, 30, 15, fill, line);
    return shape;
}

// Circle of curved edges with a linear gradient, no line.
flaGeometry* GradientCircle(flaMovie& movie) {
    flaGeometry* shape = NewShape(movie);
    flaSubGeometry* sub = shape->AddChildGeometry();
    const flaColor* fill = sub->CreateGradientColour(
        flaColor::LinearGradient, GradientMatrix(90, 45, 0, 0),
        Steps({{Rgb(255, 230, 0), 0}, {Rgb(255, 120, 0), 128}, {Rgb(200, 0, 60), 255}}), 0);
    AddEllipse(sub, 0, 0, 45, 45, fill, nullptr);
    return shape;
}

// Star with a radial gradient and a 2-pixel line; a second layer adds a disc in
// its centre (a new-styles record in the written shape).
flaGeometry* RadialStar(flaMovie& movie) {
    flaGeometry* shape = NewShape(movie);
    flaSubGeometry* sub = shape->AddChildGeometry();
    const flaColor* fill = sub->CreateGradientColour(
        flaColor::RadialGradient, GradientMatrix(100, 0, 0, 0),
        Steps({{Rgb(255, 255, 255), 0}, {Rgb(90, 160, 255), 140}, {Rgb(20, 40, 160), 255}}), 0);
    const flaColor* line = sub->CreateLineColour(Units(2), Rgb(10, 20, 80), 0);
    AddPolygon(sub, StarPoints(5, 50, 22, -90), fill, line);
    flaSubGeometry* centre = shape->AddChildGeometry();
    AddEllipse(centre, 0, 0, 9, 9, centre->CreateSolidColour(FLIO::flaRGBA(255, 240, 120, 230), 0), nullptr);
    return shape;
}

// A lens of two curves and a straight base, filled pale and drawn with a hairline.
flaGeometry* HairlineLens(flaMovie& movie) {
    flaGeometry* shape = NewShape(movie);
    flaSubGeometry* sub = shape->AddChildGeometry();
    const flaColor* fill = sub->CreateSolidColour(Rgb(120, 210, 140), 0);
    const flaColor* hairline = sub->CreateLineColour(0.0f, Rgb(0, 60, 20), 0);
    // Clockwise: up the left curve to the tip, down the right curve, back along the base.
    auto* curves = new flaStroke;
    for (const flaPoint& p : {Pt(-45, 35), Pt(-50, -30), Pt(0, -50), Pt(0, -50), Pt(50, -30), Pt(45, 35)})
        curves->AddPoint(p);
    sub->AddStroke(curves, new flaStyle(flaStyle::Curved, nullptr, fill, hairline));
    auto* base = new flaStroke;
    base->AddPoint(Pt(45, 35));
    base->AddPoint(Pt(-45, 35));
    sub->AddStroke(base, new flaStyle(flaStyle::Straight, nullptr, fill, hairline));
    // A hairline inside the lens, on its own (no fill on either side).
    auto* vein = new flaStroke;
    for (const flaPoint& p : {Pt(0, 30), Pt(-12, -5), Pt(0, -38)}) vein->AddPoint(p);
    sub->AddStroke(vein, new flaStyle(flaStyle::Curved, nullptr, nullptr, hairline));
    return shape;
}

flaGeometry* SolidPolygon(flaMovie& movie, const std::vector<flaPoint>& pixels, FLIO::flaRGBA colour,
                          float lineWidth) {
    flaGeometry* shape = NewShape(movie);
    flaSubGeometry* sub = shape->AddChildGeometry();
    AddPolygon(sub, pixels, sub->CreateSolidColour(colour, 0),
               sub->CreateLineColour(Units(lineWidth), Rgb(30, 30, 30), 0));
    return shape;
}

}  // namespace

float Units(float pixels) { return pixels / static_cast<float>(kStageWidth); }

flaPoint Pt(float xPixels, float yPixels) { return flaPoint(Units(xPixels), Units(yPixels)); }

flaMatrix Placement(float xPixels, float yPixels, float scaleX, float scaleY, float degrees) {
    const float a = degrees * kPi / 180.0f;
    const float c = std::cos(a), s = std::sin(a);
    return flaMatrix(scaleX * c, scaleX * s, -scaleY * s, scaleY * c, Units(xPixels), Units(yPixels));
}

flaGeometry* NewShape(flaMovie& movie) {
    auto* shape = new flaGeometry(movie.GetNewCharacterId());
    movie.AddNewCharacter(shape);
    return shape;
}

void AddPolygon(flaSubGeometry* sub, const std::vector<flaPoint>& pixels, const flaColor* fill,
                const flaColor* line) {
    if (pixels.empty()) return;
    auto* stroke = new flaStroke;
    for (const flaPoint& p : pixels) stroke->AddPoint(Pt(p.x, p.y));
    stroke->AddPoint(Pt(pixels.front().x, pixels.front().y));
    sub->AddStroke(stroke, new flaStyle(flaStyle::Straight, nullptr, fill, line));
}

void AddRect(flaSubGeometry* sub, float x0, float y0, float x1, float y1, const flaColor* fill,
             const flaColor* line) {
    AddPolygon(sub, {flaPoint(x0, y0), flaPoint(x1, y0), flaPoint(x1, y1), flaPoint(x0, y1)}, fill, line);
}

void AddEllipse(flaSubGeometry* sub, float cx, float cy, float rx, float ry, const flaColor* fill,
                const flaColor* line) {
    // Eight 45-degree arcs; the control point lies on the bisector at r / cos(22.5).
    const float k = 1.0f / std::cos(kPi / 8.0f);
    auto* stroke = new flaStroke;
    for (int i = 0; i < 8; ++i) {
        const float a0 = kPi / 4.0f * static_cast<float>(i);
        const float am = a0 + kPi / 8.0f;
        const float a1 = kPi / 4.0f * static_cast<float>((i + 1) % 8);
        stroke->AddPoint(Pt(cx + rx * std::cos(a0), cy + ry * std::sin(a0)));
        stroke->AddPoint(Pt(cx + k * rx * std::cos(am), cy + k * ry * std::sin(am)));
        stroke->AddPoint(Pt(cx + rx * std::cos(a1), cy + ry * std::sin(a1)));
    }
    sub->AddStroke(stroke, new flaStyle(flaStyle::Curved, nullptr, fill, line));
}

void PlaceInFrames(flaMovie& movie, flaCharacter* character, int depth, int first, int last, const flaMatrix& m) {
    for (int i = first; i <= last; ++i)
        if (flaFrame* frame = movie.GetFrame(i)) frame->PlaceNewCharacterInFrame(flaCharacterInfo(character, depth, m, -1));
}

void BuildDemoShapes(flaMovie& movie) {
    const int last = kFrameCount - 1;
    flaGeometry* rect = MovingRectangle(movie);
    flaGeometry* circle = GradientCircle(movie);
    flaGeometry* star = RadialStar(movie);
    flaGeometry* lens = HairlineLens(movie);
    flaGeometry* square = SolidPolygon(movie, {{-35, -35}, {35, -35}, {35, 35}, {-35, 35}}, Rgb(60, 180, 90), 2);
    flaGeometry* hexagon = SolidPolygon(movie, StarPoints(6, 40, 40, 0), Rgb(150, 70, 200), 2);
    flaGeometry* diamond = SolidPolygon(movie, {{0, -45}, {35, 0}, {0, 45}, {-35, 0}}, Rgb(40, 90, 220), 1);

    for (int i = 0; i <= last; ++i) {
        flaFrame* frame = movie.GetFrame(i);
        const float t = static_cast<float>(i) / static_cast<float>(last);  // 0 to 1 over the movie
        // Slides along the top edge.
        frame->PlaceNewCharacterInFrame(flaCharacterInfo(rect, kDepthMoving, Placement(40 + 560 * t, 25), -1));
        // Grows and shrinks between 0.6 and 1.3.
        const float scale = 0.95f + 0.35f * std::sin(2.0f * kPi * t);
        frame->PlaceNewCharacterInFrame(
            flaCharacterInfo(circle, kDepthScaling, Placement(80, 100, scale, scale), -1));
        // One full turn.
        frame->PlaceNewCharacterInFrame(
            flaCharacterInfo(star, kDepthRotating, Placement(200, 100, 1, 1, 360.0f * t), -1));
        // Colour transform: multiply red and blue down and add a shifting tint.
        flaCharacterInfo lensInfo(lens, kDepthRecoloured, Placement(320, 100), -1);
        const auto phase = static_cast<short>(i * 255 / last);
        lensInfo.SetColorXForm(flaColorXForm(static_cast<short>(256 - phase / 2), 256,
                                             static_cast<short>(128 + phase / 2), 256, phase, 0,
                                             static_cast<short>(-phase / 3), 0));
        frame->PlaceNewCharacterInFrame(lensInfo);
        // Replaced by another character at the same depth.
        frame->PlaceNewCharacterInFrame(
            flaCharacterInfo(i < kReplaceFrame ? square : hexagon, kDepthReplaced, Placement(440, 100), -1));
        // Removed.
        if (i < kRemoveFrame)
            frame->PlaceNewCharacterInFrame(flaCharacterInfo(diamond, kDepthRemoved, Placement(565, 100), -1));
    }
}

}  // namespace flio_demo
