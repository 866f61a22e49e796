// Shapes: flaGeometry (a shape character, written as a DefineShape3 tag, or as a
// DefineShape4 tag when it holds what only that tag can) made of
// flaSubGeometry layers, each with its own fill list, line list and strokes
// (flaStroke point lists drawn with a flaStyle). Shapes imported from a file keep
// their tag bytes and are decoded on demand by BuildBloated(), one shape record at a
// time, with flaGeometryCurrentParserVariable carrying the parser's state.
// flaGeometryBackground is a transparent square covering the frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "flio/flaCharacter.h"
#include "flio/flaMatrix.h"
#include "flio/flaRecords.h"
#include "flio/flaStyle.h"

class flaDump;
class flaRead;
class flaGeometry;
class flaGeometryCurrentParserVariable;

struct flaShape {
    // The tag a shape was read from; InMemory for shapes built by the host.
    enum ShapeVersion { DefineShape = 0, DefineShape2 = 1, DefineShape3 = 2, DefineShape4 = 3, InMemory = 4 };
};

// A path in model units. With straight edges the first point is where the path
// starts and every further point ends an edge; with curved edges the points are
// read in (start, control, anchor) triples, one per segment.
class flaStroke {
public:
    flaStroke() = default;

    void AddPoint(const flaPoint& p) { points.push_back(p); }
    void AddPoint(float x, float y) { points.emplace_back(x, y); }
    std::size_t GetSize() const { return points.size(); }
    bool IsEmpty() const { return points.empty(); }
    void Clear() { points.clear(); }
    // No bounds checks.
    flaPoint& operator[](std::size_t i) { return points[i]; }
    const flaPoint& operator[](std::size_t i) const { return points[i]; }
    std::vector<flaPoint>& GetPoints() { return points; }
    const std::vector<flaPoint>& GetPoints() const { return points; }

private:
    std::vector<flaPoint> points;
};

// One layer of a shape: fills, lines and the strokes drawn with them. The
// sub-geometry owns everything it holds: its colours, and every stroke and style
// handed to AddStroke (deleted in its destructor).
class flaSubGeometry {
public:
    struct StrokeRecord {
        flaStroke* stroke;
        flaStyle* style;
        int fill0Index;  // 1-based index of the left fill, 0 = none
        int fill1Index;  // right fill
        int lineIndex;   // line
    };

    flaSubGeometry(flaGeometry* owner, int fillIndexBase, int lineIndexBase);
    flaSubGeometry(const flaSubGeometry&) = delete;
    flaSubGeometry& operator=(const flaSubGeometry&) = delete;
    ~flaSubGeometry();

    // Takes ownership of stroke and style (both are deleted even if appending
    // fails). The indices are the 1-based positions of the style's colours in the
    // fill and line lists (0 when absent); every point widens the shape's bounds.
    void AddStroke(flaStroke* stroke, flaStyle* style);
    std::size_t GetStrokeCount() const { return strokes.size(); }
    const StrokeRecord& GetStrokeRecord(std::size_t i) const { return strokes[i]; }

    // Find-or-create the colours of this layer. The returned colour stays owned by
    // the sub-geometry. A new colour's key holds the shape's id and its style index
    // (its position in the list plus this layer's index base).
    flaColor* CreateSolidColour(const FLIO::flaRGBA& colour, std::int64_t qksId);
    flaColor* CreateLineColour(float width, const FLIO::flaRGBA& colour, std::int64_t qksId);
    flaColor* CreateGradientColour(flaColor::ColorType type, const flaMatrix& matrix, const flaGradientSteps& steps,
                                   std::int64_t qksId);
    // The tiling is not part of the match: a request differing only in tiling gets
    // the colour made first.
    flaColor* CreateBitmapColour(bool tiled, int bitmapId, const flaMatrix& matrix, std::int64_t qksId);

    // Append without looking for a match (the file readers' path); takes ownership.
    void AddFillColour(flaColor* colour);
    void AddLineColour(flaColor* colour);

    // 0-based; null when out of range.
    flaColor* GetFillColorByIndex(int i) const { return i < 0 ? nullptr : fills.At(static_cast<std::size_t>(i)); }
    flaColor* GetLineColorByIndex(int i) const { return i < 0 ? nullptr : lines.At(static_cast<std::size_t>(i)); }
    const flaColorList& GetFills() const { return fills; }
    const flaColorList& GetLines() const { return lines; }
    int GetFillIndexBase() const { return fillIndexBase; }
    int GetLineIndexBase() const { return lineIndexBase; }
    flaGeometry* GetGeometry() const { return geometry; }

    // The widest line of this layer, or start when that is wider.
    float GetMaxLineWidth(float start) const;

    // Replaces every colour of the layer by one solid fill of colour (opaque black
    // when null), drawn on the right of every stroke with no left fill and no line.
    // The colours the layer held are deleted.
    void resetColor(const FLIO::flaRGBA* colour);
    // Maps every point through m (widening the shape's bounds, which are not reset)
    // and transforms every fill, then every line.
    void Transform(const flaMatrix& m);
    // Appends copies of source's strokes, with copies of the colours they are drawn
    // with (each source colour copied once) and styles pointing at the copies. With
    // m, the copied points and colours are mapped through m first, so that only the
    // mapped points widen the shape's bounds.
    void CopyStrokesFrom(const flaSubGeometry& source, const flaMatrix* m = nullptr);

    // Writing. DumpStyleBits writes the fill and line style arrays (skipped for a
    // glyph, which has no style arrays) and then both index bit counts in 4 bits
    // each; it returns the counts through fillBits and lineBits.
    void DumpStyleBits(flaDump& dump, int& fillBits, int& lineBits, bool glyph) const;
    // The same with the lines written as LINESTYLE2 when lineStyle2 is set.
    void DumpStyleBits(flaDump& dump, int& fillBits, int& lineBits, bool glyph, bool lineStyle2) const;
    // The shape records of the strokes, with the given index bit counts. The pen
    // starts at (0, 0).
    void DumpStrokeList(flaDump& dump, int fillBits, int lineBits) const;
    // A layer after the first: a style-change record that moves the pen to (0, 0)
    // and clears the three styles, carrying this layer's style arrays and new bit
    // counts (for a glyph: no new styles, the bit counts stay), then the strokes.
    void Dump(flaDump& dump, int& fillBits, int& lineBits, bool glyph = false) const;
    void Dump(flaDump& dump, int& fillBits, int& lineBits, bool glyph, bool lineStyle2) const;
    // True when a fill or line of the layer needs DefineShape4.
    bool NeedsDefineShape4() const { return fills.NeedsDefineShape4() || lines.NeedsDefineShape4(); }

    // Reading: a FILLSTYLEARRAY then a LINESTYLEARRAY; one FILLSTYLE.
    void ParseShapeStyle(bool withAlpha, flaRead& reader, int characterId, flaShape::ShapeVersion version);
    void ParseFillStyle(int characterId, flaRead& reader, bool withAlpha);

private:
    friend class flaGeometryCurrentParserVariable;
    friend class flaShapeDecoder;
    // Appends a record whose indices are already known (the parser's path).
    void AppendStroke(flaStroke* stroke, flaStyle* style, int fill0, int fill1, int line);
    // Appends a record whose stroke (a copy of the n points) and style the layer
    // makes itself, in storage of its own rather than one heap object each; the
    // bounds are left to the caller.
    flaStroke& AppendOwnStroke(const flaPoint* points, std::size_t n, const flaStyle& style, int fill0, int fill1,
                               int line);
    void WidenBounds(const flaStroke& stroke);
    // Appends a copy of colour to the fills, kept in the list's own storage.
    void AddOwnFill(const flaColor& colour) { fills.AddOwn(colour); }
    // Maps every fill and line through m (Transform without the points).
    void TransformColours(const flaMatrix& m);
    void DeleteStrokes();

    // The strokes and styles the layer made itself: blocks that never move, the
    // newest first. A record whose stroke or style is not held there owns it.
    struct OwnStorage;
    std::vector<StrokeRecord> strokes;
    std::unique_ptr<OwnStorage> own;
    flaGeometry* geometry;
    flaColorList fills;
    flaColorList lines;
    int fillIndexBase;
    int lineIndexBase;
};

class flaGeometry : public flaCharacterBase {
public:
    explicit flaGeometry(int id);
    // A shape read from a file: the reader stands after the character id inside a
    // DefineShape tag. The rest of the tag is copied into a reader owned by the
    // geometry (with the same twip-to-model factor) and the outer reader moves to
    // the end of the tag; nothing is decoded until BuildBloated().
    flaGeometry(int id, flaRead& reader, bool withAlpha, flaShape::ShapeVersion version);
    flaGeometry(const flaGeometry&) = delete;
    flaGeometry& operator=(const flaGeometry&) = delete;
    ~flaGeometry() override;

    // Writes a DefineShape3 tag, or with the stream's fullStyles option a
    // DefineShape4 tag when the shape needs it (NeedsDefineShape4). A shape read
    // from a file that has not been decoded is decoded into a temporary copy for
    // writing.
    void DumpCharacterInFile(flaDump& dump) const override;
    // Stored only; applied to the points by BuildBloated().
    void SetTransformation(const flaMatrix& m) override;
    bool HasTransformation() const { return hasTransformation; }
    const flaMatrix& GetTransformation() const { return transformation; }

    // Appends a new layer whose index bases continue those of the last one.
    flaSubGeometry* AddChildGeometry();
    std::size_t GetSubGeometryCount() const { return subGeometries.size(); }
    flaSubGeometry* GetSubGeometry(std::size_t i) const { return subGeometries[i]; }

    flaBoundingBox GetBBox() const { return bbox; }
    void UpdateBBox(const flaPoint& p) { bbox.UpdateBBox(p); }
    float GetMaxLineWidth() const;
    void Transform(const flaMatrix& m);

    // DefineShape4's flags, kept by a faithful import: the fills use the non-zero
    // winding rule (instead of even-odd), and the hints that the shape has lines
    // that do not scale with it and lines that do. A DefineShape4 tag written for a
    // shape read from another tag (or built in memory) also gets the hints that
    // its lines call for.
    bool GetFillWindingRule() const { return fillWindingRule; }
    void SetFillWindingRule(bool on) { fillWindingRule = on; }
    bool GetNonScalingStrokes() const { return nonScalingStrokes; }
    void SetNonScalingStrokes(bool on) { nonScalingStrokes = on; }
    bool GetScalingStrokes() const { return scalingStrokes; }
    void SetScalingStrokes(bool on) { scalingStrokes = on; }
    // True when one of the flags above is set or a layer needs DefineShape4.
    bool NeedsDefineShape4() const;

    flaShape::ShapeVersion GetVersion() const { return version; }
    bool GetWithAlpha() const { return withAlpha; }
    bool IsBloated() const { return isBloated != 0; }
    bool HasStoredData() const { return reader != nullptr; }

    // Decodes the stored tag data into layers (again after DestroyBloated). Does
    // nothing when already decoded or when there is no stored data. Throws
    // flaRead::readError on malformed data, leaving the geometry empty and
    // undecoded.
    void BuildBloated();
    // Deletes every layer and clears the bounds; stored tag data stays.
    void DestroyBloated();

    // Reads one shape record; x and y are the pen in twips. True at the end record.
    bool ParseShapeRecord(int& x, int& y, bool withAlpha, flaRead& reader, flaGeometryCurrentParserVariable& state);

protected:
    // Writes the style arrays of the first layer, every layer's records and the end
    // record (the SHAPEWITHSTYLE body after the bounds; for a glyph, the SHAPE body).
    void DumpShapeBody(flaDump& dump, bool glyph) const;
    // The same with the lines written as LINESTYLE2 when lineStyle2 is set.
    void DumpShapeBody(flaDump& dump, bool glyph, bool lineStyle2) const;
    flaRead* GetStoredReader() const { return reader; }
    void MarkBloated() { isBloated = 1; }

private:
    friend class flaShapeDecoder;  // widens the bounds as it decodes

    // DefineShape4's flags byte as written.
    unsigned char Shape4Flags() const;

    std::vector<flaSubGeometry*> subGeometries;
    flaShape::ShapeVersion version;
    int isBloated = 0;
    flaRead* reader = nullptr;  // owned
    flaBoundingBox bbox;
    bool withAlpha;
    flaMatrix transformation;
    bool hasTransformation = false;
    bool fillWindingRule = false;
    bool nonScalingStrokes = false;
    bool scalingStrokes = false;
};

// The state of the shape-record parser between two records.
class flaGeometryCurrentParserVariable {
public:
    flaGeometryCurrentParserVariable(const flaGeometry& geometry, float scale, flaSubGeometry* subGeometry);
    flaGeometryCurrentParserVariable(const flaGeometryCurrentParserVariable&) = delete;
    flaGeometryCurrentParserVariable& operator=(const flaGeometryCurrentParserVariable&) = delete;
    ~flaGeometryCurrentParserVariable();  // frees a stroke never handed over

    void SetFillAndLineBits(int fill, int line) {
        fillBits = fill;
        lineBits = line;
    }
    int GetFillBits() const { return fillBits; }
    int GetLineBits() const { return lineBits; }

    void SetLeftColour(int i) { leftColour = i; }
    void SetRightColour(int i) { rightColour = i; }
    void SetLineColour(int i) { lineColour = i; }
    int GetLeftColour() const { return leftColour; }
    int GetRightColour() const { return rightColour; }
    int GetLineColour() const { return lineColour; }

    flaStyle::EdgeType EdgeStyle() const { return edgeStyle; }
    void SetEdgeStyle(flaStyle::EdgeType e) { edgeStyle = e; }

    const flaGeometry* GetGeometry() const { return geometry; }
    flaSubGeometry* GetSubGeometry() const { return subGeometry; }
    void SetSubGeometry(flaSubGeometry* s) { subGeometry = s; }
    float GetScale() const { return scale; }

    const flaStroke* GetStroke() const { return stroke; }
    std::size_t StrokePointCount() const { return stroke ? stroke->GetSize() : 0; }
    // Creates an empty stroke when there is none.
    void NewStroke();
    // Hands a stroke of two points or more, with a style of the current colours and
    // edge type, to the sub-geometry; a shorter stroke is only emptied.
    void AddStrokeToGeometry();
    // Appends (x * scale, y * scale) to the current stroke, if any.
    void AddPointToStroke(float x, float y) {
        if (stroke) stroke->AddPoint(x * scale, y * scale);
    }
    void AddPointToStroke(const flaPoint& p) { AddPointToStroke(p.x, p.y); }

private:
    int fillBits = 0;
    int lineBits = 0;
    const flaGeometry* geometry;
    flaSubGeometry* subGeometry;
    flaStroke* stroke = nullptr;
    float scale;
    int leftColour = 0;
    int rightColour = 0;
    int lineColour = 0;
    flaStyle::EdgeType edgeStyle = flaStyle::Straight;
};

// A transparent square through (-1, 1), (-1, -1), (1, -1), (1, 1) that covers the frame.
class flaGeometryBackground : public flaGeometry {
public:
    explicit flaGeometryBackground(int id);
};
