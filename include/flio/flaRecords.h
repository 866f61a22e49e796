// Core value records shared by every drawing part: FLIO::flaRGBA (8-bit colour with
// alpha), flaPoint (a point in model units, where 1.0 is the frame width) and
// flaBoundingBox (a box that grows as points are added).
#pragma once

class flaDump;

namespace FLIO {

struct flaRGBA {
    unsigned char r, g, b, a;

    flaRGBA() = default;  // channels left unset
    flaRGBA(unsigned char r_, unsigned char g_, unsigned char b_, unsigned char a_) : r(r_), g(g_), b(b_), a(a_) {}

    bool operator==(const flaRGBA& o) const { return r == o.r && g == o.g && b == o.b && a == o.a; }
    bool operator!=(const flaRGBA& o) const { return !(*this == o); }
    // Lexicographic on r, g, b, a as unsigned values.
    bool operator<(const flaRGBA& o) const {
        if (r != o.r) return r < o.r;
        if (g != o.g) return g < o.g;
        if (b != o.b) return b < o.b;
        return a < o.a;
    }
    // RGBA record: four whole bytes.
    void DumpInFile(flaDump& dump) const;
};

}  // namespace FLIO

class flaPoint {
public:
    float x, y;

    flaPoint() = default;  // coordinates left unset
    flaPoint(float x_, float y_) : x(x_), y(y_) {}

    bool operator==(const flaPoint& o) const { return x == o.x && y == o.y; }
    bool operator!=(const flaPoint& o) const { return !(*this == o); }

    double GetDist(flaPoint* other);
    // Turn at b between b->a and b->this: 0 for a straight continuation, -pi for a
    // reversal; 1.0 when a == b.
    double GetAngle(flaPoint* a, flaPoint* b);
    // Distance to the infinite line through a and b.
    double PointToLineDist(flaPoint* a, flaPoint* b);
};

class flaBoundingBox {
public:
    double xMin = 999999999.0;
    double xMax = -999999999.0;
    double yMin = 999999999.0;
    double yMax = -999999999.0;

    flaBoundingBox() = default;
    flaBoundingBox& operator=(const flaBoundingBox&) = default;
    flaBoundingBox(const flaBoundingBox&) = default;

    // True until a point has been added.
    bool IsEmpty() const { return xMin > xMax || yMin > yMax; }
    void UpdateBBox(const flaPoint& p) {
        const double px = p.x, py = p.y;
        if (px > xMax) xMax = px;
        if (px < xMin) xMin = px;
        if (py > yMax) yMax = py;
        if (py < yMin) yMin = py;
    }
    // The shape-bounds RECT: twips = value * frameSizeX * 20, widened by half of
    // maxLineWidth (model units) and rounded half away from zero by the sign of the
    // stored bound. Written bit-packed, not padded.
    void DumpInFile(flaDump& dump, float maxLineWidth) const;
};
