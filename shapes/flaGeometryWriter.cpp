// Writing shapes: the DefineShape3 or DefineShape4 tag, style-change records and
// edge records.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "io/flaConvert.h"
#include "io/flaFormat.h"
#include "shapes/flaStyleRecords.h"

namespace {

using flaFormat::ShapeRecord::MaxEdgeBits;

// The low `bits` bits of v (two's complement for negative values).
void WriteSigned(flaDump& dump, std::int64_t v, int bits) { dump.Bits(static_cast<std::uint32_t>(v), bits); }

int SignedBits(std::int64_t v) { return flaDump::GetSignedBitNumber(v); }

struct TwipPoint {
    std::int64_t x, y;
};

// Model units to twips, rounded half away from zero on the absolute position so
// that rounding errors never accumulate along a path.
class TwipConverter {
public:
    explicit TwipConverter(const flaDump& d) : dump(d), k(static_cast<float>(d.GetFrameSizeX() * 20)) {}
    TwipPoint operator()(const flaPoint& p) const {
        const float tx = p.x * k, ty = p.y * k;
        int x = flio_detail::RoundBySign(tx, p.x);
        int y = flio_detail::RoundBySign(ty, p.y);
        dump.TransformCoordFromPegSide(x, y);
        return TwipPoint{x, y};
    }

private:
    const flaDump& dump;
    float k;
};

void WriteStraightEdge(flaDump& dump, const TwipPoint& to, TwipPoint& pen) {
    const std::int64_t dx = to.x - pen.x, dy = to.y - pen.y;
    pen = to;
    if (dx == 0 && dy == 0) return;
    int bits = std::max(SignedBits(dx), SignedBits(dy));
    if (bits > MaxEdgeBits) bits = MaxEdgeBits;
    dump.Bit(true);  // edge record
    dump.Bit(true);  // straight
    dump.Bits(static_cast<std::uint32_t>(bits - flaFormat::ShapeRecord::EdgeBitsBias), 4);
    if (dx == 0) {
        dump.Bit(false);  // not a general line
        dump.Bit(true);   // vertical
        WriteSigned(dump, dy, bits);
    } else if (dy == 0) {
        dump.Bit(false);
        dump.Bit(false);  // horizontal
        WriteSigned(dump, dx, bits);
    } else {
        dump.Bit(true);
        WriteSigned(dump, dx, bits);
        WriteSigned(dump, dy, bits);
    }
}

void WriteCurvedEdge(flaDump& dump, const TwipPoint& control, const TwipPoint& anchor, TwipPoint& pen) {
    const std::int64_t cx = control.x - pen.x, cy = control.y - pen.y;
    const std::int64_t ax = anchor.x - control.x, ay = anchor.y - control.y;
    pen = anchor;
    int bits = std::max(std::max(SignedBits(cx), SignedBits(cy)), std::max(SignedBits(ax), SignedBits(ay)));
    if (bits > MaxEdgeBits) bits = MaxEdgeBits;
    dump.Bit(true);   // edge record
    dump.Bit(false);  // curved
    dump.Bits(static_cast<std::uint32_t>(bits - flaFormat::ShapeRecord::EdgeBitsBias), 4);
    WriteSigned(dump, cx, bits);
    WriteSigned(dump, cy, bits);
    WriteSigned(dump, ax, bits);
    WriteSigned(dump, ay, bits);
}

// A shape's bounds RECT, widened by half of maxLineWidth (model units); a shape
// without points has zero bounds. With exactTwips the width is the one written
// for the line, rounded to the nearest twip.
void DumpBounds(flaDump& dump, const flaBoundingBox& box, float maxLineWidth) {
    if (box.IsEmpty()) {
        dump.DataRect(0, 0, 0, 0);
        return;
    }
    if (!dump.GetWriteOptions().exactTwips) {
        box.DumpInFile(dump, maxLineWidth);
        return;
    }
    using flio_detail::RoundBySign;
    const double k = static_cast<double>(dump.GetFrameSizeX()) * 20.0;
    const double h =
        maxLineWidth == 0.0f ? 0.0 : static_cast<double>(flio_shapes::LineWidthTwips(maxLineWidth, dump)) * 0.5;
    dump.DataRect(RoundBySign(box.xMin * k - h, box.xMin), RoundBySign(box.xMax * k + h, box.xMax),
                  RoundBySign(box.yMin * k - h, box.yMin), RoundBySign(box.yMax * k + h, box.yMax));
}

}  // namespace

void flaSubGeometry::DumpStyleBits(flaDump& dump, int& fillBits, int& lineBits, bool glyph) const {
    DumpStyleBits(dump, fillBits, lineBits, glyph, false);
}

void flaSubGeometry::DumpStyleBits(flaDump& dump, int& fillBits, int& lineBits, bool glyph, bool lineStyle2) const {
    if (glyph) {
        // Glyph outlines carry no style arrays; a glyph normally has no lines at all.
        fillBits = flaDump::GetBitNumber(static_cast<int>(fills.GetSize()));
        lineBits = lines.IsEmpty() ? 0 : flaDump::GetBitNumber(static_cast<int>(lines.GetSize()));
    } else {
        fillBits = fills.DumpStyleArray(dump, lineStyle2);
        lineBits = lines.DumpStyleArray(dump, lineStyle2);
    }
    dump.Bits(static_cast<std::uint32_t>(fillBits), 4);
    dump.Bits(static_cast<std::uint32_t>(lineBits), 4);
}

void flaSubGeometry::DumpStrokeList(flaDump& dump, int fillBits, int lineBits) const {
    const TwipConverter twips(dump);
    TwipPoint pen{0, 0};
    flaStyle previous(flaStyle::Straight, nullptr, nullptr, nullptr);

    for (const StrokeRecord& r : strokes) {
        if (!r.style || !r.stroke || r.style->IsUseless() || r.stroke->IsEmpty()) continue;
        const flaStroke& points = *r.stroke;

        // Style change: new colours and/or a move to the stroke's first point.
        const TwipPoint start = twips(points[0]);
        const bool move = start.x != pen.x || start.y != pen.y;
        bool leftChanged, rightChanged, lineChanged;
        previous.WhatHasChanged(*r.style, leftChanged, rightChanged, lineChanged);
        if (leftChanged || rightChanged || lineChanged || move) {
            dump.Bit(false);  // not an edge
            dump.Bit(false);  // no new styles
            dump.Bit(lineChanged);
            dump.Bit(rightChanged);
            dump.Bit(leftChanged);
            dump.Bit(move);
            if (move) {
                int moveBits = std::max(SignedBits(start.x), SignedBits(start.y));
                if (moveBits > 31) moveBits = 31;
                dump.Bits(static_cast<std::uint32_t>(moveBits), 5);
                WriteSigned(dump, start.x, moveBits);
                WriteSigned(dump, start.y, moveBits);
                pen = start;
            }
            if (leftChanged) dump.Bits(static_cast<std::uint32_t>(r.fill0Index), fillBits);
            if (rightChanged) dump.Bits(static_cast<std::uint32_t>(r.fill1Index), fillBits);
            if (lineChanged) dump.Bits(static_cast<std::uint32_t>(r.lineIndex), lineBits);
            previous.CopyColorFrom(*r.style);
        }

        if (!r.style->IsCurved()) {
            for (std::size_t i = 1; i < points.GetSize(); ++i) WriteStraightEdge(dump, twips(points[i]), pen);
            continue;
        }
        for (std::size_t i = 0; i + 2 < points.GetSize(); i += 3) {
            const flaPoint& from = points[i];
            const flaPoint& control = points[i + 1];
            const flaPoint& anchor = points[i + 2];
            if (control == from || control == anchor)
                WriteStraightEdge(dump, twips(anchor), pen);
            else
                WriteCurvedEdge(dump, twips(control), twips(anchor), pen);
        }
    }
}

void flaSubGeometry::Dump(flaDump& dump, int& fillBits, int& lineBits, bool glyph) const {
    Dump(dump, fillBits, lineBits, glyph, false);
}

void flaSubGeometry::Dump(flaDump& dump, int& fillBits, int& lineBits, bool glyph, bool lineStyle2) const {
    dump.Bit(false);   // not an edge
    dump.Bit(!glyph);  // new styles (a glyph has no style arrays)
    dump.Bit(true);    // line style
    dump.Bit(true);    // fill style 1
    dump.Bit(true);    // fill style 0
    dump.Bit(true);    // move to (0, 0)
    dump.Bits(2, 5);  // MoveBits
    dump.Bits(0, 2);
    dump.Bits(0, 2);
    dump.Bits(0, fillBits);
    dump.Bits(0, fillBits);
    dump.Bits(0, lineBits);
    if (!glyph) {
        fillBits = fills.DumpStyleArray(dump, lineStyle2);
        lineBits = lines.DumpStyleArray(dump, lineStyle2);
        dump.Bits(static_cast<std::uint32_t>(fillBits), 4);
        dump.Bits(static_cast<std::uint32_t>(lineBits), 4);
    }
    DumpStrokeList(dump, fillBits, lineBits);
}

void flaGeometry::DumpShapeBody(flaDump& dump, bool glyph) const { DumpShapeBody(dump, glyph, false); }

void flaGeometry::DumpShapeBody(flaDump& dump, bool glyph, bool lineStyle2) const {
    int fillBits = 0, lineBits = 0;
    if (subGeometries.empty()) {
        const flaSubGeometry none(nullptr, 0, 0);
        none.DumpStyleBits(dump, fillBits, lineBits, glyph, lineStyle2);
    } else {
        subGeometries[0]->DumpStyleBits(dump, fillBits, lineBits, glyph, lineStyle2);
        subGeometries[0]->DumpStrokeList(dump, fillBits, lineBits);
        for (std::size_t i = 1; i < subGeometries.size(); ++i)
            subGeometries[i]->Dump(dump, fillBits, lineBits, glyph, lineStyle2);
    }
    dump.Bits(0, 6);  // end of shape
    dump.PadLastByte();
}

void flaGeometry::DumpCharacterInFile(flaDump& dump) const {
    if (!isBloated && reader) {
        // An imported shape that was never decoded: decode a copy for writing. If
        // its data is malformed, the shape is written empty so that references to
        // its id stay valid.
        flaGeometry copy(id);
        copy.reader = new flaRead(static_cast<int>(reader->GetSize()), reader->GetBuffer());
        copy.reader->SetScaling(reader->GetScaling());
        copy.reader->SetFaithful(reader->IsFaithful());
        copy.version = version;
        copy.withAlpha = withAlpha;
        copy.transformation = transformation;
        copy.hasTransformation = hasTransformation;
        try {
            copy.BuildBloated();
        } catch (const flaRead::readError&) {
        }
        copy.isBloated = 1;  // write what there is, never recurse
        copy.DumpCharacterInFile(dump);
        return;
    }

    const bool shape4 = dump.GetWriteOptions().fullStyles && NeedsDefineShape4();
    const flaDump::TagStart tag = dump.BeginTag(shape4 ? flaFormat::DefineShape4 : flaFormat::DefineShape3);
    dump.DataU16(static_cast<unsigned short>(id));
    DumpBounds(dump, bbox, GetMaxLineWidth());
    if (shape4) {
        dump.PadLastByte();            // every RECT starts on a byte
        DumpBounds(dump, bbox, 0.0f);  // the edge bounds: the points alone
        dump.DataU8(Shape4Flags());
    }
    DumpShapeBody(dump, false, shape4);
    dump.EndTag(tag);
}

bool flaGeometry::NeedsDefineShape4() const {
    if (fillWindingRule || nonScalingStrokes || scalingStrokes) return true;
    return std::any_of(subGeometries.begin(), subGeometries.end(),
                       [](const flaSubGeometry* s) { return s->NeedsDefineShape4(); });
}

unsigned char flaGeometry::Shape4Flags() const {
    bool nonScaling = nonScalingStrokes, scaling = scalingStrokes;
    if (version != flaShape::DefineShape4) {
        // No flags of the file's own: the hints that the lines call for.
        for (const flaSubGeometry* s : subGeometries)
            for (unsigned int i = 0; i < s->GetLines().GetSize(); ++i) {
                const flaLineDetails& d = s->GetLines()[i]->GetLineDetails();
                if (d.noHScale || d.noVScale)
                    nonScaling = true;
                else
                    scaling = true;
            }
    }
    unsigned int flags = fillWindingRule ? flaFormat::Shape4::FillWindingRule : 0u;
    if (nonScaling) flags |= flaFormat::Shape4::NonScalingStrokes;
    if (scaling) flags |= flaFormat::Shape4::ScalingStrokes;
    return static_cast<unsigned char>(flags);
}
