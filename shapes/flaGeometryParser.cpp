// Reading shapes: the shape records of DefineShape to DefineShape4, decoded into
// sub-geometries on demand (the style records are read in flaStyleRecords.cpp).
#include <cstdint>
#include <memory>

#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "io/flaConvert.h"
#include "io/flaFormat.h"

namespace {

namespace ShapeRecord = flaFormat::ShapeRecord;

// Pen arithmetic that cannot overflow on hostile data: the pen saturates instead.
int AddClamped(int a, std::int32_t b) {
    const std::int64_t s = static_cast<std::int64_t>(a) + b;
    if (s > INT32_MAX) return INT32_MAX;
    if (s < INT32_MIN) return INT32_MIN;
    return static_cast<int>(s);
}

}  // namespace

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

bool flaGeometry::ParseShapeRecord(int& x, int& y, bool alpha, flaRead& in, flaGeometryCurrentParserVariable& st) {
    if (in.GetBits(1) == 0) {
        // Style change (or the end of the shape).
        st.AddStrokeToGeometry();
        const std::uint32_t flags = in.GetBits(5);
        if (flags == 0) return true;
        if (flags & ShapeRecord::MoveTo) {
            const long moveBits = static_cast<long>(in.GetBits(5));
            x = in.GetSBits(moveBits);
            y = in.GetSBits(moveBits);
        }
        st.NewStroke();
        st.AddPointToStroke(static_cast<float>(x), static_cast<float>(y));
        if (flags & ShapeRecord::FillStyle0) st.SetLeftColour(static_cast<int>(in.GetBits(st.GetFillBits())));
        if (flags & ShapeRecord::FillStyle1) st.SetRightColour(static_cast<int>(in.GetBits(st.GetFillBits())));
        if (flags & ShapeRecord::LineStyle) st.SetLineColour(static_cast<int>(in.GetBits(st.GetLineBits())));
        if (flags & ShapeRecord::NewStyles) {
            flaSubGeometry* sub = AddChildGeometry();
            st.SetSubGeometry(sub);
            sub->ParseShapeStyle(alpha, in, id, version);
            in.InitBits();  // the bit counts start on a fresh byte after the arrays
            const int fillBits = static_cast<int>(in.GetBits(4));
            const int lineBits = static_cast<int>(in.GetBits(4));
            st.SetFillAndLineBits(fillBits, lineBits);
        }
        return false;
    }

    if (in.GetBits(1) == 1) {
        // Straight edge.
        const long bits = static_cast<long>(in.GetBits(4)) + ShapeRecord::EdgeBitsBias;
        if (st.EdgeStyle() == flaStyle::Curved) {
            st.AddStrokeToGeometry();
            st.NewStroke();
            st.AddPointToStroke(static_cast<float>(x), static_cast<float>(y));
        }
        st.SetEdgeStyle(flaStyle::Straight);
        std::int32_t dx = 0, dy = 0;
        if (in.GetBits(1)) {
            dx = in.GetSBits(bits);
            dy = in.GetSBits(bits);
        } else if (in.GetBits(1)) {
            dy = in.GetSBits(bits);
        } else {
            dx = in.GetSBits(bits);
        }
        x = AddClamped(x, dx);
        y = AddClamped(y, dy);
        st.AddPointToStroke(static_cast<float>(x), static_cast<float>(y));
        return false;
    }

    // Curved edge: start (the pen), control, anchor.
    const long bits = static_cast<long>(in.GetBits(4)) + ShapeRecord::EdgeBitsBias;
    if (st.EdgeStyle() != flaStyle::Curved) {
        st.AddStrokeToGeometry();
        st.NewStroke();
        st.AddPointToStroke(static_cast<float>(x), static_cast<float>(y));
    }
    st.SetEdgeStyle(flaStyle::Curved);
    const int startX = x, startY = y;
    const std::int32_t cdx = in.GetSBits(bits), cdy = in.GetSBits(bits);
    const int controlX = AddClamped(startX, cdx), controlY = AddClamped(startY, cdy);
    const std::int32_t adx = in.GetSBits(bits), ady = in.GetSBits(bits);
    x = AddClamped(controlX, adx);
    y = AddClamped(controlY, ady);
    // Every segment carries its own start, except the first, whose start is there.
    if (st.StrokePointCount() != 1) st.AddPointToStroke(static_cast<float>(startX), static_cast<float>(startY));
    st.AddPointToStroke(static_cast<float>(controlX), static_cast<float>(controlY));
    st.AddPointToStroke(static_cast<float>(x), static_cast<float>(y));
    return false;
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

        flaGeometryCurrentParserVariable state(*this, reader->GetScaling(), first);
        state.SetFillAndLineBits(static_cast<int>(bits >> 4), static_cast<int>(bits & 0x0Fu));
        int x = 0, y = 0;
        while (!ParseShapeRecord(x, y, withAlpha, *reader, state)) {
        }
        if (hasTransformation)
            for (flaSubGeometry* s : subGeometries) s->Transform(transformation);
        isBloated = 1;
    } catch (...) {
        DestroyBloated();
        throw;
    }
}
