// The in-memory model of one shape layer: strokes, styles and colours.
#include <algorithm>
#include <memory>
#include <unordered_map>

#include "flio/flaGeometry.h"
#include "shapes/flaBlockStore.h"

// The strokes and styles the layer made itself.
struct flaSubGeometry::OwnStorage {
    struct Entry {
        explicit Entry(const flaStyle& s) : style(s) {}
        flaStroke stroke;
        flaStyle style;
    };
    flaBlockStore<Entry, 4, 4096> entries;
};

flaSubGeometry::flaSubGeometry(flaGeometry* owner, int fillBase, int lineBase)
    : geometry(owner), fillIndexBase(fillBase), lineIndexBase(lineBase) {}

flaSubGeometry::~flaSubGeometry() { DeleteStrokes(); }

void flaSubGeometry::DeleteStrokes() {
    // What lies in the layer's own storage is freed with it; the rest was handed
    // over and is deleted.
    for (const StrokeRecord& r : strokes) {
        if (r.stroke && !(own && own->entries.Contains(r.stroke))) delete r.stroke;
        if (r.style && !(own && own->entries.Contains(r.style))) delete r.style;
    }
    strokes.clear();
    own.reset();
}

void flaSubGeometry::WidenBounds(const flaStroke& stroke) {
    if (!geometry) return;
    for (const flaPoint& p : stroke.GetPoints()) geometry->UpdateBBox(p);
}

void flaSubGeometry::AppendStroke(flaStroke* stroke, flaStyle* style, int fill0, int fill1, int line) {
    std::unique_ptr<flaStroke> ownedStroke(stroke);
    std::unique_ptr<flaStyle> ownedStyle(style);
    strokes.push_back(StrokeRecord{stroke, style, fill0, fill1, line});
    ownedStroke.release();
    ownedStyle.release();
    if (stroke) WidenBounds(*stroke);
}

flaStroke& flaSubGeometry::AppendOwnStroke(const flaPoint* points, std::size_t n, const flaStyle& style, int fill0,
                                           int fill1, int line) {
    if (!own) own = std::make_unique<OwnStorage>();
    if (strokes.capacity() == strokes.size()) strokes.reserve(strokes.empty() ? 4 : strokes.size() * 2);
    OwnStorage::Entry& entry = own->entries.Emplace(style);
    entry.stroke.GetPoints().assign(points, points + n);
    strokes.push_back(StrokeRecord{&entry.stroke, &entry.style, fill0, fill1, line});
    return entry.stroke;
}

void flaSubGeometry::AddStroke(flaStroke* stroke, flaStyle* style) {
    int fill0 = 0, fill1 = 0, line = 0;
    if (style) {
        fill0 = fills.IndexOf(style->LeftColor());
        fill1 = fills.IndexOf(style->RightColor());
        line = lines.IndexOf(style->LineColor());
    }
    AppendStroke(stroke, style, fill0, fill1, line);
}

void flaSubGeometry::AddFillColour(flaColor* colour) { fills.Add(colour); }
void flaSubGeometry::AddLineColour(flaColor* colour) { lines.Add(colour); }

namespace {

int CharacterIdOf(const flaGeometry* g) { return g ? g->GetId() : 0; }

}  // namespace

flaColor* flaSubGeometry::CreateSolidColour(const FLIO::flaRGBA& colour, std::int64_t qksId) {
    for (unsigned int i = 0; i < fills.GetSize(); ++i) {
        flaColor* c = fills[i];
        if (c->GetColorType() == flaColor::Solid && c->GetColor() == colour && c->GetQksId() == qksId) return c;
    }
    auto* c = new flaColor(CharacterIdOf(geometry), static_cast<int>(fills.GetSize()) + fillIndexBase, qksId,
                           flaColor::Solid, colour);
    fills.Add(c);
    return c;
}

flaColor* flaSubGeometry::CreateLineColour(float width, const FLIO::flaRGBA& colour, std::int64_t qksId) {
    for (unsigned int i = 0; i < lines.GetSize(); ++i) {
        flaColor* c = lines[i];
        if (c->GetColor() == colour && c->GetLineWidth() == width && c->GetQksId() == qksId) return c;
    }
    auto* c = new flaColor(CharacterIdOf(geometry), static_cast<int>(lines.GetSize()) + lineIndexBase, qksId,
                           flaColor::Line, colour, width);
    lines.Add(c);
    return c;
}

flaColor* flaSubGeometry::CreateGradientColour(flaColor::ColorType type, const flaMatrix& matrix,
                                               const flaGradientSteps& steps, std::int64_t qksId) {
    for (unsigned int i = 0; i < fills.GetSize(); ++i) {
        flaColor* c = fills[i];
        if (c->GetColorType() == type && c->GetQksId() == qksId && c->GetGradientSteps() == steps &&
            c->GetMatrix() == matrix)
            return c;
    }
    auto* c = new flaColor(CharacterIdOf(geometry), static_cast<int>(fills.GetSize()) + fillIndexBase, qksId, type,
                           steps, matrix);
    fills.Add(c);
    return c;
}

flaColor* flaSubGeometry::CreateBitmapColour(bool tiled, int bitmapId, const flaMatrix& matrix, std::int64_t qksId) {
    for (unsigned int i = 0; i < fills.GetSize(); ++i) {
        flaColor* c = fills[i];
        if (c->GetColorType() == flaColor::Bitmap && c->GetQksId() == qksId && c->GetBitmapID() == bitmapId &&
            c->GetMatrix() == matrix)
            return c;
    }
    auto* c = new flaColor(CharacterIdOf(geometry), static_cast<int>(fills.GetSize()) + fillIndexBase, qksId,
                           flaColor::Bitmap, tiled, bitmapId, matrix);
    fills.Add(c);
    return c;
}

float flaSubGeometry::GetMaxLineWidth(float start) const {
    float widest = start;
    for (unsigned int i = 0; i < lines.GetSize(); ++i) widest = std::max(widest, lines[i]->GetLineWidth());
    return widest;
}

void flaSubGeometry::resetColor(const FLIO::flaRGBA* colour) {
    // Every style is replaced below, so nothing refers to the old colours any more.
    fills.DeleteAllElements();
    lines.DeleteAllElements();
    const flaColor* solid = CreateSolidColour(colour ? *colour : FLIO::flaRGBA(0, 0, 0, 255), 0);
    for (StrokeRecord& r : strokes) {
        const flaStyle::EdgeType edge = r.style ? r.style->edgeType() : flaStyle::Straight;
        const flaStyle style(edge, nullptr, solid, nullptr);
        if (r.style)
            *r.style = style;
        else
            r.style = new flaStyle(style);
        r.fill0Index = 0;
        r.fill1Index = 1;
    }
}

void flaSubGeometry::Transform(const flaMatrix& m) {
    for (StrokeRecord& r : strokes) {
        if (!r.stroke) continue;
        for (flaPoint& p : r.stroke->GetPoints()) {
            m.TransformInPlace(p);
            if (geometry) geometry->UpdateBBox(p);
        }
    }
    TransformColours(m);
}

void flaSubGeometry::TransformColours(const flaMatrix& m) {
    for (unsigned int i = 0; i < fills.GetSize(); ++i) fills[i]->Transform(m);
    for (unsigned int i = 0; i < lines.GetSize(); ++i) lines[i]->Transform(m);
}

void flaSubGeometry::CopyStrokesFrom(const flaSubGeometry& source, const flaMatrix* m) {
    std::unordered_map<const flaColor*, const flaColor*> copies;
    auto copyOf = [&](const flaColor* c, flaColorList& list) -> const flaColor* {
        if (!c) return nullptr;
        auto found = copies.find(c);
        if (found != copies.end()) return found->second;
        auto* copy = new flaColor(*c);
        if (m) copy->Transform(*m);
        list.Add(copy);
        copies.emplace(c, copy);
        return copy;
    };
    for (const StrokeRecord& r : source.strokes) {
        const flaStyle* s = r.style;
        const flaStyle::EdgeType edge = s ? s->edgeType() : flaStyle::Straight;
        const flaColor* left = s ? copyOf(s->LeftColor(), fills) : nullptr;
        const flaColor* right = s ? copyOf(s->RightColor(), fills) : nullptr;
        const flaColor* line = s ? copyOf(s->LineColor(), lines) : nullptr;
        const flaPoint* points = r.stroke ? r.stroke->GetPoints().data() : nullptr;
        flaStroke& stroke = AppendOwnStroke(points, r.stroke ? r.stroke->GetSize() : 0,
                                            flaStyle(edge, left, right, line), fills.IndexOf(left),
                                            fills.IndexOf(right), lines.IndexOf(line));
        if (m)
            for (flaPoint& p : stroke.GetPoints()) m->TransformInPlace(p);
        WidenBounds(stroke);
    }
}
