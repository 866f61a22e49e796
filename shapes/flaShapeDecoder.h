// flaShapeDecoder: decodes the shape records of a stored shape or glyph in one run,
// with the fast bit reader. Paths are gathered in one reused buffer and handed to
// their layer once complete, as one exact-size stroke whose style lives in the
// layer's own storage; a shape's transformation is applied to each path as it is
// handed over, so that the points are walked once. The result is the one the
// record-at-a-time parser (flaGeometry::ParseShapeRecord) followed by
// flaGeometry's transformation gives, bounds included.
#pragma once

#include <vector>

#include "flio/flaGeometry.h"
#include "flio/flaRead.h"

class flaShapeDecoder {
public:
    // Decodes into geometry, whose first layer `first` already holds its style
    // arrays. scale turns twips into model units; a non-null matrix maps every
    // point, fill and line (the bounds take each point before and after, as
    // flaGeometry::Transform after a decode does).
    flaShapeDecoder(flaGeometry& geometry, flaSubGeometry* first, float scale, const flaMatrix* matrix,
                    bool withAlpha);
    flaShapeDecoder(const flaShapeDecoder&) = delete;
    flaShapeDecoder& operator=(const flaShapeDecoder&) = delete;
    ~flaShapeDecoder();

    // Glyph outlines: gives the first layer `count` solid fills of colour and caps
    // the fill indices set in that layer at count.
    void SetUniformFills(int count, const FLIO::flaRGBA& colour);
    // Reads the records from the reader's position through the end record, with
    // the given index bit counts; the reader then stands on the byte after it.
    void Run(flaRead& reader, unsigned fillBits, unsigned lineBits);

    // The path interface of flaShapeRecords::Read.
    void EndPath();
    void StartPath(int x, int y) { Point(x, y); }
    void Point(int x, int y) {
        path.emplace_back(static_cast<float>(x) * scale, static_cast<float>(y) * scale);
    }
    std::size_t PathPoints() const { return path.size(); }
    flaStyle::EdgeType Edge() const { return edge; }
    void SetEdge(flaStyle::EdgeType e) { edge = e; }
    unsigned FillBits() const { return fillBits; }
    unsigned LineBits() const { return lineBits; }
    void SetStyleBits(unsigned fill, unsigned line) {
        fillBits = fill;
        lineBits = line;
    }
    void SetLeft(int i) { left = i; }
    void SetRight(int i) { right = i; }
    void SetLine(int i) { line = i; }
    void NewStyles(flaRead& reader);

private:
    flaGeometry& geometry;
    flaSubGeometry* const first;
    flaSubGeometry* sub;
    const float scale;
    const flaMatrix* const matrix;
    const bool withAlpha;
    flaBoundingBox bounds;  // the geometry's, widened here and handed back at the end
    int fillLimit = 0;
    std::vector<flaPoint> path;  // the path being drawn (the thread's spare buffer, reused)
    flaStyle::EdgeType edge = flaStyle::Straight;
    unsigned fillBits = 0, lineBits = 0;
    int left = 0, right = 0, line = 0;
};
