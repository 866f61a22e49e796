// Writing shapes: the DefineShape3 tag, style-change records and edge records.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "io/flaConvert.h"

namespace {

// The widest delta an edge record carries; larger deltas are cut to this width.
const int MaxEdgeBits = 17;

// Writes the low `bits` bits of v (two's complement for negative values).
void WriteField(flaDump& dump, std::uint32_t v, int bits) {
    const unsigned char le[4] = {static_cast<unsigned char>(v & 0xFF), static_cast<unsigned char>((v >> 8) & 0xFF),
                                 static_cast<unsigned char>((v >> 16) & 0xFF),
                                 static_cast<unsigned char>((v >> 24) & 0xFF)};
    dump.DataU32(reinterpret_cast<const char*>(le), bits, true);
}

void WriteSigned(flaDump& dump, std::int64_t v, int bits) {
    WriteField(dump, static_cast<std::uint32_t>(static_cast<std::uint64_t>(v) & 0xFFFFFFFFu), bits);
}

// Bit count of a magnitude, without the sign bit.
int MagnitudeBits(std::int64_t v) {
    std::int64_t m = v < 0 ? -v : v;
    if (m > INT32_MAX) m = INT32_MAX;
    return flaDump::GetBitNumber(static_cast<int>(m));
}

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
    int bits = std::max(MagnitudeBits(dx), MagnitudeBits(dy)) + 1;
    if (bits > MaxEdgeBits) bits = MaxEdgeBits;
    dump.Bit(true);  // edge record
    dump.Bit(true);  // straight
    WriteField(dump, static_cast<std::uint32_t>(bits - 2), 4);
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
    int bits = std::max(std::max(MagnitudeBits(cx), MagnitudeBits(cy)), std::max(MagnitudeBits(ax), MagnitudeBits(ay))) + 1;
    if (bits > MaxEdgeBits) bits = MaxEdgeBits;
    dump.Bit(true);   // edge record
    dump.Bit(false);  // curved
    WriteField(dump, static_cast<std::uint32_t>(bits - 2), 4);
    WriteSigned(dump, cx, bits);
    WriteSigned(dump, cy, bits);
    WriteSigned(dump, ax, bits);
    WriteSigned(dump, ay, bits);
}

}  // namespace

void flaSubGeometry::DumpStyleBits(flaDump& dump, int& fillBits, int& lineBits, bool glyph) const {
    if (glyph) {
        // Glyph outlines carry no style arrays; a glyph normally has no lines at all.
        fillBits = flaDump::GetBitNumber(static_cast<int>(fills.GetSize()));
        lineBits = lines.IsEmpty() ? 0 : flaDump::GetBitNumber(static_cast<int>(lines.GetSize()));
    } else {
        fillBits = fills.DumpStyleArray(dump);
        lineBits = lines.DumpStyleArray(dump);
    }
    WriteField(dump, static_cast<std::uint32_t>(fillBits), 4);
    WriteField(dump, static_cast<std::uint32_t>(lineBits), 4);
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
                int moveBits = std::max(MagnitudeBits(start.x), MagnitudeBits(start.y)) + 1;
                if (moveBits > 31) moveBits = 31;
                WriteField(dump, static_cast<std::uint32_t>(moveBits), 5);
                WriteSigned(dump, start.x, moveBits);
                WriteSigned(dump, start.y, moveBits);
                pen = start;
            }
            if (leftChanged) WriteField(dump, static_cast<std::uint32_t>(r.fill0Index), fillBits);
            if (rightChanged) WriteField(dump, static_cast<std::uint32_t>(r.fill1Index), fillBits);
            if (lineChanged) WriteField(dump, static_cast<std::uint32_t>(r.lineIndex), lineBits);
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
    dump.Bit(false);   // not an edge
    dump.Bit(!glyph);  // new styles (a glyph has no style arrays)
    dump.Bit(true);    // line style
    dump.Bit(true);    // fill style 1
    dump.Bit(true);    // fill style 0
    dump.Bit(true);    // move to (0, 0)
    WriteField(dump, 2, 5);
    WriteField(dump, 0, 2);
    WriteField(dump, 0, 2);
    WriteField(dump, 0, fillBits);
    WriteField(dump, 0, fillBits);
    WriteField(dump, 0, lineBits);
    if (!glyph) {
        fillBits = fills.DumpStyleArray(dump);
        lineBits = lines.DumpStyleArray(dump);
        WriteField(dump, static_cast<std::uint32_t>(fillBits), 4);
        WriteField(dump, static_cast<std::uint32_t>(lineBits), 4);
    }
    DumpStrokeList(dump, fillBits, lineBits);
}

void flaGeometry::DumpShapeBody(flaDump& dump, bool glyph) const {
    int fillBits = 0, lineBits = 0;
    if (subGeometries.empty()) {
        const flaSubGeometry none(nullptr, 0, 0);
        none.DumpStyleBits(dump, fillBits, lineBits, glyph);
    } else {
        subGeometries[0]->DumpStyleBits(dump, fillBits, lineBits, glyph);
        subGeometries[0]->DumpStrokeList(dump, fillBits, lineBits);
        for (std::size_t i = 1; i < subGeometries.size(); ++i)
            subGeometries[i]->Dump(dump, fillBits, lineBits, glyph);
    }
    WriteField(dump, 0, 6);  // end of shape
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

    const int start = dump.GetCurrentPosition();
    dump.DataU16(static_cast<unsigned short>((32 << 6) | 63));  // DefineShape3, long form
    dump.DataU32(0UL);                                           // length, patched below
    dump.DataU16(static_cast<unsigned short>(id));
    if (bbox.IsEmpty()) {
        flaBoundingBox zero;
        zero.xMin = zero.xMax = zero.yMin = zero.yMax = 0.0;
        zero.DumpInFile(dump, 0.0f);
    } else
        bbox.DumpInFile(dump, GetMaxLineWidth());
    DumpShapeBody(dump, false);

    const std::uint32_t length = static_cast<std::uint32_t>(dump.GetCurrentPosition() - start - 6);
    const unsigned char le[4] = {static_cast<unsigned char>(length & 0xFF),
                                 static_cast<unsigned char>((length >> 8) & 0xFF),
                                 static_cast<unsigned char>((length >> 16) & 0xFF),
                                 static_cast<unsigned char>((length >> 24) & 0xFF)};
    dump.FixData(start + 2, reinterpret_cast<const char*>(le), 32, 32, false);
}
