// The grammar of shape records (style changes, straight and curved edges, the end
// record), shared by the record-at-a-time parser (flaGeometry::ParseShapeRecord)
// and the whole-shape decoder (flaShapeDecoder), which differ only in how they read
// bits and where the paths go.
//
// Bits reads bit fields: Bits(n), SBits(n); Sync() hands its position to Reader()
// before the style arrays are read with whole-byte reads, and Restart() starts
// again on the byte after them.
// Paths receives the pen's path: EndPath() finishes the path being drawn (a path of
// fewer than two points is dropped), StartPath(x, y) begins one at the pen,
// Point(x, y) appends a point, PathPoints() counts them; Edge() and SetEdge() the
// edge type of the path; FillBits(), LineBits() and SetStyleBits() the index bit
// counts; SetLeft(), SetRight(), SetLine() the style indices; NewStyles(reader)
// reads a new layer's style arrays. Coordinates are twips.
#pragma once

#include <cstdint>

#include "flio/flaRead.h"
#include "flio/flaStyle.h"
#include "io/flaFormat.h"

namespace flaShapeRecords {

// Pen arithmetic that cannot overflow on hostile data: the pen saturates instead.
inline int AddClamped(int a, std::int32_t b) {
    const std::int64_t s = static_cast<std::int64_t>(a) + b;
    if (s > INT32_MAX) return INT32_MAX;
    if (s < INT32_MIN) return INT32_MIN;
    return static_cast<int>(s);
}

// Bit fields straight from a flaRead, for the record-at-a-time parser.
struct ReaderBits {
    flaRead& in;
    std::uint32_t Bits(unsigned n) { return in.GetBits(static_cast<long>(n)); }
    std::int32_t SBits(unsigned n) { return in.GetSBits(static_cast<long>(n)); }
    void Sync() {}
    void Restart() { in.InitBits(); }
    flaRead& Reader() { return in; }
};

// Reads one shape record; x and y are the pen. True at the end record.
template <typename Bits, typename Paths>
bool Read(Bits& in, Paths& out, int& x, int& y) {
    namespace Record = flaFormat::ShapeRecord;
    if (in.Bits(1) == 0) {
        // Style change (or the end of the shape).
        out.EndPath();
        const std::uint32_t flags = in.Bits(5);
        if (flags == 0) return true;
        if (flags & Record::MoveTo) {
            const unsigned moveBits = in.Bits(5);
            x = in.SBits(moveBits);
            y = in.SBits(moveBits);
        }
        out.StartPath(x, y);
        if (flags & Record::FillStyle0) out.SetLeft(static_cast<int>(in.Bits(out.FillBits())));
        if (flags & Record::FillStyle1) out.SetRight(static_cast<int>(in.Bits(out.FillBits())));
        if (flags & Record::LineStyle) out.SetLine(static_cast<int>(in.Bits(out.LineBits())));
        if (flags & Record::NewStyles) {
            in.Sync();
            out.NewStyles(in.Reader());
            in.Restart();  // the bit counts start on a fresh byte after the arrays
            const unsigned fillBits = in.Bits(4);
            const unsigned lineBits = in.Bits(4);
            out.SetStyleBits(fillBits, lineBits);
        }
        return false;
    }

    if (in.Bits(1) == 1) {
        // Straight edge.
        const unsigned bits = in.Bits(4) + Record::EdgeBitsBias;
        if (out.Edge() == flaStyle::Curved) {
            out.EndPath();
            out.StartPath(x, y);
        }
        out.SetEdge(flaStyle::Straight);
        std::int32_t dx = 0, dy = 0;
        if (in.Bits(1)) {
            dx = in.SBits(bits);
            dy = in.SBits(bits);
        } else if (in.Bits(1)) {
            dy = in.SBits(bits);
        } else {
            dx = in.SBits(bits);
        }
        x = AddClamped(x, dx);
        y = AddClamped(y, dy);
        out.Point(x, y);
        return false;
    }

    // Curved edge: start (the pen), control, anchor.
    const unsigned bits = in.Bits(4) + Record::EdgeBitsBias;
    if (out.Edge() != flaStyle::Curved) {
        out.EndPath();
        out.StartPath(x, y);
    }
    out.SetEdge(flaStyle::Curved);
    const int startX = x, startY = y;
    const std::int32_t cdx = in.SBits(bits), cdy = in.SBits(bits);
    const int controlX = AddClamped(startX, cdx), controlY = AddClamped(startY, cdy);
    const std::int32_t adx = in.SBits(bits), ady = in.SBits(bits);
    x = AddClamped(controlX, adx);
    y = AddClamped(controlY, ady);
    // Every segment carries its own start, except the first, whose start is there.
    if (out.PathPoints() != 1) out.Point(startX, startY);
    out.Point(controlX, controlY);
    out.Point(x, y);
    return false;
}

}  // namespace flaShapeRecords
