// Glyph outlines: written as a bare SHAPE inside DefineFont2, decoded from the
// fonts of an imported file, and copied into the drawing of a bloated text.
#include <memory>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"
#include "shapes/flaShapeDecoder.h"

flaGlyphGeometry::flaGlyphGeometry() : flaGeometry(-1) {}

flaGlyphGeometry::~flaGlyphGeometry() = default;

void flaGlyphGeometry::DumpCharacterInFile(flaDump& dump) const { DumpShapeBody(dump, true); }

void flaGlyphGeometry::buildBloated() {
    DestroyBloated();
    if (!glyphReader) return;
    try {
        flaRead& in = *glyphReader;
        flaSubGeometry* first = AddChildGeometry();
        const unsigned int bits = in.GetByte();
        const int fillBits = static_cast<int>(bits >> 4);
        const int lineBits = static_cast<int>(bits & 0x0Fu);

        // Every fill index the outline can name exists, up to a fixed number of
        // colours, so that a hostile bit count cannot make the glyph huge.
        const int fills = fillBits >= 4 ? kMaxDecodedFills : (1 << fillBits);
        flaShapeDecoder decoder(*this, first, in.GetScaling(), nullptr, false);
        decoder.SetUniformFills(fills, FLIO::flaRGBA(0, 0, 0, 255));
        decoder.Run(in, static_cast<unsigned>(fillBits), static_cast<unsigned>(lineBits));
        MarkBloated();
    } catch (...) {
        DestroyBloated();
        throw;
    }
}

void flaGlyphGeometry::copyStrokeData(const flaGeometry& source, flaMatrix* matrix, const FLIO::flaRGBA* colour) {
    for (std::size_t i = 0; i < source.GetSubGeometryCount(); ++i) {
        const flaSubGeometry* from = source.GetSubGeometry(i);
        if (!from) continue;
        // Mapped while copied: the glyph's own coordinates must not widen the bounds.
        flaSubGeometry* to = AddChildGeometry();
        to->CopyStrokesFrom(*from, matrix);
        to->resetColor(colour);
    }
}
