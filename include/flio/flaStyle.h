// Fill and line styles of shapes: flaColor (a solid fill, a line style, a linear or
// radial gradient fill or a bitmap fill), flaGradientSteps (the colour stops of a
// gradient), flaGradientDetails and flaLineDetails (what DefineShape4 adds to
// gradients and lines), flaStyle (the left fill, right fill and line that an edge
// carries) and flaColorList (the owning list of colours of one sub-geometry, which
// also writes itself as an SWF FILLSTYLEARRAY or LINESTYLEARRAY).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "flio/flaMatrix.h"
#include "flio/flaRecords.h"

class flaDump;

// Up to eight colour stops (the limit of DefineShape3), kept in the order added.
class flaGradientSteps {
public:
    static const unsigned int MaxSteps = 8;

    flaGradientSteps() = default;

    // Appends a stop; false (and nothing changed) when eight are already present.
    // Only the low 8 bits of position are kept.
    bool Add(FLIO::flaRGBA colour, int position);
    bool Full() const { return count == MaxSteps; }
    int NbColours() const { return static_cast<int>(count); }

    // No bounds checks: i must be below NbColours().
    FLIO::flaRGBA Colour(unsigned int i) const { return colours[i]; }
    unsigned char Pos(unsigned int i) const { return positions[i]; }
    const FLIO::flaRGBA& GetTick(int i, int& position) const {
        position = positions[i];
        return colours[i];
    }

    bool operator==(const flaGradientSteps& o) const;
    bool operator!=(const flaGradientSteps& o) const { return !(*this == o); }

private:
    FLIO::flaRGBA colours[MaxSteps] = {};
    unsigned char positions[MaxSteps] = {};
    std::uint32_t count = 0;
};

// One colour stop of a gradient: its colour and its position (0 to 255).
struct flaGradientStop {
    FLIO::flaRGBA colour{0, 0, 0, 0};
    unsigned char position = 0;

    bool operator==(const flaGradientStop& o) const { return colour == o.colour && position == o.position; }
    bool operator!=(const flaGradientStop& o) const { return !(*this == o); }
};

// How a gradient spreads past its ends, how it blends its stops, and the focal
// point of a focal radial gradient. The defaults are what a DefineShape3 gradient
// draws; any other value needs DefineShape4.
struct flaGradientDetails {
    enum Spread : unsigned char { Pad = 0, Reflect = 1, Repeat = 2 };
    enum Interpolation : unsigned char { NormalRGB = 0, LinearRGB = 1 };

    Spread spread = Pad;
    Interpolation interpolation = NormalRGB;
    // A radial gradient whose centre of colour is moved along its x axis by
    // focalPoint (-1 to 1, kept as a signed 8.8 value). Ignored for a linear one.
    bool focal = false;
    float focalPoint = 0.0f;

    bool IsDefault() const { return spread == Pad && interpolation == NormalRGB && !focal; }
    bool operator==(const flaGradientDetails& o) const {
        return spread == o.spread && interpolation == o.interpolation && focal == o.focal &&
               focalPoint == o.focalPoint;
    }
    bool operator!=(const flaGradientDetails& o) const { return !(*this == o); }
};

// The caps, join and scaling of a line. The defaults are what a DefineShape3 line
// draws (round caps and joins, scaled with the shape, closed paths joined); any
// other value needs DefineShape4.
struct flaLineDetails {
    enum Cap : unsigned char { RoundCap = 0, NoCap = 1, SquareCap = 2 };
    enum Join : unsigned char { RoundJoin = 0, BevelJoin = 1, MiterJoin = 2 };

    Cap startCap = RoundCap;
    Join join = RoundJoin;
    Cap endCap = RoundCap;
    // How far a miter join may reach, in line widths (kept as an unsigned 8.8
    // value); only meaningful with MiterJoin.
    float miterLimit = 3.0f;
    bool noHScale = false;      // the width does not follow horizontal scaling
    bool noVScale = false;      // nor vertical scaling
    bool pixelHinting = false;  // anchors and widths snap to whole pixels
    bool noClose = false;       // a path that ends where it starts gets caps, not a join

    bool IsDefault() const {
        return startCap == RoundCap && join == RoundJoin && endCap == RoundCap && !noHScale && !noVScale &&
               !pixelHinting && !noClose;
    }
    bool operator==(const flaLineDetails& o) const {
        return startCap == o.startCap && join == o.join && endCap == o.endCap &&
               (join != MiterJoin || miterLimit == o.miterLimit) && noHScale == o.noHScale &&
               noVScale == o.noVScale && pixelHinting == o.pixelHinting && noClose == o.noClose;
    }
    bool operator!=(const flaLineDetails& o) const { return !(*this == o); }
};

class flaColor {
public:
    enum ColorType { Solid = 0, Line = 1, LinearGradient = 2, RadialGradient = 3, Bitmap = 4 };

    // A strict weak order used to sort and merge colours across shapes. Colours
    // with the same non-zero host id are equivalent; without host ids a line and a
    // solid fill of the same colour are equivalent. Matrices are never compared.
    struct LessIgnoreMatrix {
        bool operator()(const flaColor& a, const flaColor& b) const;
        bool operator()(const flaColor* a, const flaColor* b) const { return (*this)(*a, *b); }
    };

    // In every constructor characterId and styleIndex make up the colour key and
    // qksId is the host's identifier of the colour (0 = none).
    // A solid fill (no line bit in the key).
    flaColor(int characterId, int styleIndex, std::int64_t qksId, ColorType type, const FLIO::flaRGBA& colour);
    // A line style of the given width in model units (0.0 = hairline).
    flaColor(int characterId, int styleIndex, std::int64_t qksId, ColorType type, const FLIO::flaRGBA& colour,
             float width);
    // A gradient fill.
    flaColor(int characterId, int styleIndex, std::int64_t qksId, ColorType type, const flaGradientSteps& steps,
             const flaMatrix& matrix);
    // A bitmap fill of the bitmap character bitmapId.
    flaColor(int characterId, int styleIndex, std::int64_t qksId, ColorType type, bool tiled, int bitmapId,
             const flaMatrix& matrix);
    flaColor(const flaColor&) = default;
    flaColor& operator=(const flaColor&) = default;

    // The key under which the host's palette information finds this colour:
    // characterId & 0xFFFF, plus 0x10000 for a line, plus styleIndex << 17.
    static std::uint32_t MakeFlashKey(int characterId, int styleIndex, bool isLine) {
        return (static_cast<std::uint32_t>(characterId) & 0xFFFFu) + (isLine ? 0x10000u : 0u) +
               (static_cast<std::uint32_t>(styleIndex) << 17);
    }

    std::uint32_t GetFlashKey() const { return flashKey; }
    std::int64_t GetQksId() const { return qksId; }
    ColorType GetColorType() const { return type; }
    const flaMatrix& GetMatrix() const { return matrix; }
    const flaGradientSteps& GetGradientSteps() const { return gradient; }
    int GetTickNumber() const { return gradient.NbColours(); }
    const FLIO::flaRGBA& GetTick(int i, int& position) const { return gradient.GetTick(i, position); }
    const FLIO::flaRGBA& GetColor() const { return color; }
    float GetLineWidth() const { return lineWidth; }
    bool IsHairLine() const { return lineWidth == 0.0f; }
    int GetBitmapID() const { return bitmapId; }
    bool GetFillBitsTiled() const { return fillBitsTiled; }
    // True for linear gradients only.
    bool GetGradientType() const { return type == LinearGradient; }

    // Details kept by a faithful import (flaRead::IsFaithful) and written when the
    // stream's options ask for full styles (flaDump::WriteOptions::fullStyles).
    // Gradients: spread, interpolation and focal point, and the stops past the
    // eighth (up to 15 in all; flaGradientSteps holds the first eight).
    const flaGradientDetails& GetGradientDetails() const { return gradientDetails; }
    void SetGradientDetails(const flaGradientDetails& d) { gradientDetails = d; }
    const std::vector<flaGradientStop>& GetExtraStops() const { return extraStops; }
    // Keeps the first 15 - 8 = 7 stops given.
    void SetExtraStops(const std::vector<flaGradientStop>& stops);
    // The stops of GetGradientSteps() then the extra ones.
    int GetAllStopCount() const { return gradient.NbColours() + static_cast<int>(extraStops.size()); }
    // No bounds check: i must be below GetAllStopCount().
    flaGradientStop GetStop(int i) const;
    // Bitmap fills: smoothed when scaled (the default), or drawn with hard pixels.
    bool GetBitmapSmoothed() const { return bitmapSmoothed; }
    void SetBitmapSmoothed(bool on) { bitmapSmoothed = on; }
    void SetFillBitsTiled(bool on) { fillBitsTiled = on; }
    // Lines: caps, join, scaling, and the fill that paints the line instead of its
    // colour (a gradient or bitmap fill; null for a line drawn in its colour). The
    // fill is held by the line, not by the layer's fill list; copies of the line
    // share it until one of them is transformed.
    const flaLineDetails& GetLineDetails() const { return lineDetails; }
    void SetLineDetails(const flaLineDetails& d) { lineDetails = d; }
    const flaColor* GetLineFill() const { return lineFill.get(); }
    // Keeps a copy of fill; null (or a line) removes the line's fill.
    void SetLineFill(const flaColor* fill);
    // True when a detail above differs from what DefineShape3 can hold.
    bool NeedsDefineShape4() const;

    // Same type and host id, then the same content (matrices are not compared;
    // a line's width is not compared).
    bool IsCompatible(const flaColor& o) const;
    // Gradients and bitmaps map their matrix through m; a line scales its width by
    // the square root of m's area factor; a solid fill is unchanged.
    void Transform(const flaMatrix& m);
    // Writes the FILLSTYLE record, or the LINESTYLE record for a line.
    void DumpColorInFile(flaDump& dump) const;
    // The same; a line is written as DefineShape4's LINESTYLE2 when lineStyle2 is
    // set. With the stream's fullStyles option a fill is written with its details;
    // with exactTwips a line's width is rounded to the nearest twip (truncated
    // otherwise).
    void DumpColorInFile(flaDump& dump, bool lineStyle2) const;

private:
    void DumpFill(flaDump& dump) const;
    void DumpLineStyle2(flaDump& dump) const;

    std::uint32_t flashKey;
    std::int64_t qksId;
    ColorType type;
    flaMatrix matrix;
    flaGradientSteps gradient;
    FLIO::flaRGBA color{0, 0, 0, 0};
    float lineWidth = 0.0f;
    int bitmapId = -1;
    bool fillBitsTiled = false;
    bool bitmapSmoothed = true;
    flaGradientDetails gradientDetails;
    std::vector<flaGradientStop> extraStops;
    flaLineDetails lineDetails;
    std::shared_ptr<const flaColor> lineFill;  // never changed once set: copies share it
};

// What an edge is drawn with: the fill on its left, the fill on its right and its
// line, any of them null. The colours are not owned.
class flaStyle {
public:
    // Curved edges read their points as (start, control, anchor) triples; every
    // other value means straight edges.
    enum EdgeType { Curved = 0, Straight = 1 };

    flaStyle(EdgeType type, const flaColor* left_, const flaColor* right_, const flaColor* line_)
        : edge(type), left(left_), right(right_), line(line_) {}

    EdgeType edgeType() const { return edge; }
    bool IsCurved() const { return edge == Curved; }
    const flaColor* LeftColor() const { return left; }
    const flaColor* RightColor() const { return right; }
    const flaColor* LineColor() const { return line; }

    bool operator==(const flaStyle& o) const {
        return edge == o.edge && left == o.left && right == o.right && line == o.line;
    }
    bool operator!=(const flaStyle& o) const { return !(*this == o); }

    // The same fill on both sides and no line: such an edge draws nothing.
    bool IsUseless() const { return left == right && line == nullptr; }
    void WhatHasChanged(const flaStyle& o, bool& leftChanged, bool& rightChanged, bool& lineChanged) const {
        leftChanged = left != o.left;
        rightChanged = right != o.right;
        lineChanged = line != o.line;
    }
    // Copies the three colours, not the edge type.
    void CopyColorFrom(const flaStyle& o) {
        left = o.left;
        right = o.right;
        line = o.line;
    }

private:
    EdgeType edge;
    const flaColor* left;
    const flaColor* right;
    const flaColor* line;
};

// The colours of one sub-geometry in insertion order. The list owns its colours:
// DeleteAllElements() and the destructor delete them. It cannot be copied, since two
// owning lists of the same colours would delete them twice.
class flaColorList {
public:
    flaColorList();
    flaColorList(const flaColorList&) = delete;
    flaColorList& operator=(const flaColorList&) = delete;
    ~flaColorList();

    // Takes ownership of colour (deleted if it cannot be appended).
    void Add(flaColor* colour);
    unsigned int GetSize() const { return static_cast<unsigned int>(colours.size()); }
    bool IsEmpty() const { return colours.empty(); }
    // No bounds check.
    flaColor* operator[](unsigned int i) const { return colours[i]; }
    // Null when i is out of range.
    flaColor* At(std::size_t i) const { return i < colours.size() ? colours[i] : nullptr; }
    // 1-based position of the colour (by pointer), 0 when absent or null.
    int IndexOf(const flaColor* colour) const;

    void DeleteAllElements();

    bool CheckPtrInList(const flaColor* colour) const { return IndexOf(colour) != 0; }
    // True when an element has the same four RGBA bytes (nothing else is compared).
    bool CheckColorAlreadyExist(const flaColor* colour) const;

    // Writes the style array: the count (one byte below 255, else 0xFF and a 16-bit
    // count), then every colour in order. Returns the bit count of a style index.
    int DumpStyleArray(flaDump& dump) const;
    // The same, lines written as LINESTYLE2 when lineStyle2 is set (DefineShape4).
    int DumpStyleArray(flaDump& dump, bool lineStyle2) const;
    // True when a colour of the list needs DefineShape4.
    bool NeedsDefineShape4() const;

private:
    friend class flaSubGeometry;  // keeps the colours its readers make in the list's own storage
    // Appends a copy of colour kept in storage of the list's own, rather than a
    // heap object of its own; returns it.
    flaColor* AddOwn(const flaColor& colour);

    struct OwnStorage;  // the colours made by AddOwn
    std::vector<flaColor*> colours;
    std::unique_ptr<OwnStorage> own;
};
