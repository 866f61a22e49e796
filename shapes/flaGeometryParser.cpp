// Reading shapes: the shape records of DefineShape to DefineShape4, decoded into
// sub-geometries on demand (the style records are read in flaStyleRecords.cpp).
#include <cstdint>
#include <memory>

#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "shapes/flaShapeDecoder.h"
#include "shapes/flaShapeRecords.h"

// ---- parser state ----

flaGeometryCurrentParserVariable::flaGeometryCurrentParserVariable(const flaGeometry& g, float s,
                                                                   flaSubGeometry* sub)
    : geometry(&g), subGeometry(sub), stroke(new flaStroke), scale(s) {}

flaGeometryCurrentParserVariable::~flaGeometryCurrentParserVariable() { delete stroke; }

void flaGeometryCurrentParserVariable::NewStroke() {
    if (!stroke) stroke = new flaStroke;
}

void flaGeometryCurrentParserVariable::AddStrokeToGeometry() {
    if (!stroke) return;
    if (stroke->GetSize() < 2 || !subGeometry) {
        stroke->Clear();
        return;
    }
    std::unique_ptr<flaStroke> done(stroke);
    stroke = nullptr;
    // Indices that name no colour of the layer draw with no colour.
    const flaColorList& fills = subGeometry->fills;
    const flaColorList& lines = subGeometry->lines;
    const flaColor* left = leftColour > 0 ? fills.At(static_cast<std::size_t>(leftColour) - 1) : nullptr;
    const flaColor* right = rightColour > 0 ? fills.At(static_cast<std::size_t>(rightColour) - 1) : nullptr;
    const flaColor* line = lineColour > 0 ? lines.At(static_cast<std::size_t>(lineColour) - 1) : nullptr;
    auto style = std::make_unique<flaStyle>(edgeStyle, left, right, line);
    subGeometry->AppendStroke(done.release(), style.release(), left ? leftColour : 0, right ? rightColour : 0,
                              line ? lineColour : 0);
}

// ---- shape records ----

namespace {

// The record grammar's path interface over the parser state.
struct ParserPaths {
    flaGeometry& geometry;
    flaGeometryCurrentParserVariable& st;
    bool withAlpha;

    void EndPath() { st.AddStrokeToGeometry(); }
    void StartPath(int x, int y) {
        st.NewStroke();
        Point(x, y);
    }
    void Point(int x, int y) { st.AddPointToStroke(static_cast<float>(x), static_cast<float>(y)); }
    std::size_t PathPoints() const { return st.StrokePointCount(); }
    flaStyle::EdgeType Edge() const { return st.EdgeStyle(); }
    void SetEdge(flaStyle::EdgeType e) { st.SetEdgeStyle(e); }
    unsigned FillBits() const { return static_cast<unsigned>(st.GetFillBits()); }
    unsigned LineBits() const { return static_cast<unsigned>(st.GetLineBits()); }
    void SetStyleBits(unsigned fill, unsigned line) {
        st.SetFillAndLineBits(static_cast<int>(fill), static_cast<int>(line));
    }
    void SetLeft(int i) { st.SetLeftColour(i); }
    void SetRight(int i) { st.SetRightColour(i); }
    void SetLine(int i) { st.SetLineColour(i); }
    void NewStyles(flaRead& reader) {
        flaSubGeometry* sub = geometry.AddChildGeometry();
        st.SetSubGeometry(sub);
        sub->ParseShapeStyle(withAlpha, reader, geometry.GetId(), geometry.GetVersion());
    }
};

}  // namespace

bool flaGeometry::ParseShapeRecord(int& x, int& y, bool alpha, flaRead& in, flaGeometryCurrentParserVariable& st) {
    flaShapeRecords::ReaderBits bits{in};
    ParserPaths paths{*this, st, alpha};
    return flaShapeRecords::Read(bits, paths, x, y);
}

// ---- decoding a stored shape ----

void flaGeometry::BuildBloated() {
    if (isBloated || !reader) return;
    DestroyBloated();
    try {
        reader->Seek(0);
        reader->InitBits();
        SRECT bounds;
        reader->GetRect(&bounds);  // rebuilt from the strokes instead
        if (version == flaShape::DefineShape4) {
            reader->GetRect(&bounds);  // edge bounds, rebuilt too
            const unsigned int flags = reader->GetByte();
            if (reader->IsFaithful()) {
                fillWindingRule = (flags & flaFormat::Shape4::FillWindingRule) != 0;
                nonScalingStrokes = (flags & flaFormat::Shape4::NonScalingStrokes) != 0;
                scalingStrokes = (flags & flaFormat::Shape4::ScalingStrokes) != 0;
            }
        }
        flaSubGeometry* first = AddChildGeometry();
        first->ParseShapeStyle(withAlpha, *reader, id, version);
        const unsigned int bits = reader->GetByte();

        flaShapeDecoder decoder(*this, first, reader->GetScaling(), hasTransformation ? &transformation : nullptr,
                                withAlpha);
        decoder.Run(*reader, bits >> 4, bits & 0x0Fu);
        isBloated = 1;
    } catch (...) {
        DestroyBloated();
        throw;
    }
}
