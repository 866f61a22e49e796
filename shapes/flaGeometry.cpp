// The shape character: its layers, bounds and transformation, and the ready-made
// background shape.
#include "flio/flaGeometry.h"

#include <algorithm>
#include <memory>

#include "flio/flaRead.h"

flaGeometry::flaGeometry(int id) : flaCharacterBase(id), version(flaShape::InMemory), withAlpha(true) {}

flaGeometry::flaGeometry(int id, flaRead& outer, bool alpha, flaShape::ShapeVersion v)
    : flaCharacterBase(id), version(v), withAlpha(alpha) {
    reader = outer.CopyRestOfTag().release();
}

flaGeometry::~flaGeometry() {
    DestroyBloated();
    delete reader;
}

void flaGeometry::SetTransformation(const flaMatrix& m) {
    transformation = m;
    hasTransformation = true;
}

flaSubGeometry* flaGeometry::AddChildGeometry() {
    int fillBase = 0, lineBase = 0;
    if (!subGeometries.empty()) {
        const flaSubGeometry* last = subGeometries.back();
        fillBase = last->GetFillIndexBase() + static_cast<int>(last->GetFills().GetSize());
        lineBase = last->GetLineIndexBase() + static_cast<int>(last->GetLines().GetSize());
    }
    auto sub = std::make_unique<flaSubGeometry>(this, fillBase, lineBase);
    subGeometries.push_back(sub.get());
    return sub.release();
}

float flaGeometry::GetMaxLineWidth() const {
    float widest = 0.0f;
    for (const flaSubGeometry* s : subGeometries) widest = s->GetMaxLineWidth(widest);
    return widest;
}

void flaGeometry::Transform(const flaMatrix& m) {
    for (flaSubGeometry* s : subGeometries) s->Transform(m);
}

void flaGeometry::DestroyBloated() {
    for (flaSubGeometry* s : subGeometries) delete s;
    subGeometries.clear();
    bbox = flaBoundingBox();
    isBloated = 0;
}

flaGeometryBackground::flaGeometryBackground(int id) : flaGeometry(id) {
    flaSubGeometry* sub = AddChildGeometry();
    const flaColor* clear = sub->CreateSolidColour(FLIO::flaRGBA(0, 0, 0, 0), 0);
    auto stroke = std::make_unique<flaStroke>();
    // Three edges only: the path is deliberately left open.
    stroke->AddPoint(-1.0f, 1.0f);
    stroke->AddPoint(-1.0f, -1.0f);
    stroke->AddPoint(1.0f, -1.0f);
    stroke->AddPoint(1.0f, 1.0f);
    auto style = std::make_unique<flaStyle>(flaStyle::Straight, clear, nullptr, nullptr);
    sub->AddStroke(stroke.release(), style.release());
}
