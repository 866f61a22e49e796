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
    : geometry(g), first(firstLayer), sub(firstLayer), scale(s), matrix(m), withAlpha(alpha) {
    path.swap(spareBuffer);
    path.clear();
}

flaShapeDecoder::~flaShapeDecoder() {
    // A buffer grown for a huge path is not kept.
    if (path.capacity() <= 4096) path.swap(spareBuffer);
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
    for (flaPoint& p : path) {
        geometry.UpdateBBox(p);
        if (matrix) {
            matrix->TransformInPlace(p);
            geometry.UpdateBBox(p);
        }
    }
    sub->AppendOwnStroke(path.data(), path.size(), flaStyle(edge, leftColour, rightColour, lineColour),
                         leftColour ? left : 0, rightColour ? right : 0, lineColour ? line : 0);
    path.clear();
}

void flaShapeDecoder::NewStyles(flaRead& reader) {
    sub = geometry.AddChildGeometry();
    sub->ParseShapeStyle(withAlpha, reader, geometry.GetId(), geometry.GetVersion());
}
