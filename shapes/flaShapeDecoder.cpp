#include "shapes/flaShapeDecoder.h"

#include "io/flaBitCursor.h"
#include "shapes/flaShapeRecords.h"

namespace {

// The path buffer of the last decoder of the thread, handed to the next one: glyphs
// are decoded by the thousand, each with a few short paths.
thread_local std::vector<flaPoint> spareBuffer;

}  // namespace

flaShapeDecoder::flaShapeDecoder(flaGeometry& g, flaSubGeometry* firstLayer, float s, const flaMatrix* m,
                                 bool alpha)
    : geometry(g), first(firstLayer), sub(firstLayer), scale(s), matrix(m), withAlpha(alpha), bounds(g.bbox) {
    path.swap(spareBuffer);
    path.clear();
}

flaShapeDecoder::~flaShapeDecoder() {
    // A buffer grown for a huge path is not kept.
    if (path.capacity() <= 4096) path.swap(spareBuffer);
}

void flaShapeDecoder::SetUniformFills(int count, const FLIO::flaRGBA& colour) {
    for (int i = 0; i < count; ++i)
        first->AddOwnFill(flaColor(geometry.GetId(), i + first->GetFillIndexBase(), 0, flaColor::Solid, colour));
    fillLimit = count;
}

void flaShapeDecoder::Run(flaRead& reader, unsigned fill, unsigned lineCount) {
    SetStyleBits(fill, lineCount);
    flaBitCursor bits(reader);
    int x = 0, y = 0;
    while (!flaShapeRecords::Read(bits, *this, x, y)) {
        if (fillLimit <= 0 || sub != first) continue;
        if (left > fillLimit) left = fillLimit;
        if (right > fillLimit) right = fillLimit;
    }
    bits.Sync();
    geometry.bbox = bounds;
    if (matrix)
        for (std::size_t i = 0; i < geometry.GetSubGeometryCount(); ++i)
            geometry.GetSubGeometry(i)->TransformColours(*matrix);
}

void flaShapeDecoder::EndPath() {
    if (path.size() < 2 || !sub) {
        path.clear();
        return;
    }
    // Indices that name no colour of the layer draw with no colour.
    const flaColor* leftColour = left > 0 ? sub->fills.At(static_cast<std::size_t>(left) - 1) : nullptr;
    const flaColor* rightColour = right > 0 ? sub->fills.At(static_cast<std::size_t>(right) - 1) : nullptr;
    const flaColor* lineColour = line > 0 ? sub->lines.At(static_cast<std::size_t>(line) - 1) : nullptr;
    // The bounds take every point, and its image under the matrix; in locals, so
    // that they stay in registers.
    double x0 = bounds.xMin, x1 = bounds.xMax, y0 = bounds.yMin, y1 = bounds.yMax;
    auto widen = [&x0, &x1, &y0, &y1](const flaPoint& p) {
        const double px = p.x, py = p.y;
        if (px > x1) x1 = px;
        if (px < x0) x0 = px;
        if (py > y1) y1 = py;
        if (py < y0) y0 = py;
    };
    if (matrix) {
        for (flaPoint& p : path) {
            widen(p);
            matrix->TransformInPlace(p);
            widen(p);
        }
    } else {
        for (const flaPoint& p : path) widen(p);
    }
    bounds.xMin = x0, bounds.xMax = x1, bounds.yMin = y0, bounds.yMax = y1;
    sub->AppendOwnStroke(path.data(), path.size(), flaStyle(edge, leftColour, rightColour, lineColour),
                         leftColour ? left : 0, rightColour ? right : 0, lineColour ? line : 0);
    path.clear();
}

void flaShapeDecoder::NewStyles(flaRead& reader) {
    sub = geometry.AddChildGeometry();
    sub->ParseShapeStyle(withAlpha, reader, geometry.GetId(), geometry.GetVersion());
}
