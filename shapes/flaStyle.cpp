#include "flio/flaStyle.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "flio/flaDump.h"
#include "io/flaFormat.h"
#include "shapes/flaBlockStore.h"

// ---- flaGradientSteps ----

bool flaGradientSteps::Add(FLIO::flaRGBA colour, int position) {
    if (Full()) return false;
    colours[count] = colour;
    positions[count] = static_cast<unsigned char>(position & 0xFF);
    ++count;
    return true;
}

bool flaGradientSteps::operator==(const flaGradientSteps& o) const {
    if (count != o.count) return false;
    for (std::uint32_t i = 0; i < count; ++i)
        if (colours[i] != o.colours[i] || positions[i] != o.positions[i]) return false;
    return true;
}

// ---- flaColor ----

flaColor::flaColor(int characterId, int styleIndex, std::int64_t qksId_, ColorType type_,
                   const FLIO::flaRGBA& colour)
    : flashKey(MakeFlashKey(characterId, styleIndex, false)), qksId(qksId_), type(type_), color(colour) {}

flaColor::flaColor(int characterId, int styleIndex, std::int64_t qksId_, ColorType type_,
                   const FLIO::flaRGBA& colour, float width)
    : flashKey(MakeFlashKey(characterId, styleIndex, true)),
      qksId(qksId_),
      type(type_),
      color(colour),
      lineWidth(width) {}

flaColor::flaColor(int characterId, int styleIndex, std::int64_t qksId_, ColorType type_,
                   const flaGradientSteps& steps, const flaMatrix& m)
    : flashKey(MakeFlashKey(characterId, styleIndex, false)), qksId(qksId_), type(type_), matrix(m), gradient(steps) {}

flaColor::flaColor(int characterId, int styleIndex, std::int64_t qksId_, ColorType type_, bool tiled, int bitmap,
                   const flaMatrix& m)
    : flashKey(MakeFlashKey(characterId, styleIndex, false)),
      qksId(qksId_),
      type(type_),
      matrix(m),
      bitmapId(bitmap),
      fillBitsTiled(tiled) {}

bool flaColor::IsCompatible(const flaColor& o) const {
    if (type != o.type || qksId != o.qksId) return false;
    switch (type) {
        case Solid:
        case Line:
            return color == o.color;
        case LinearGradient:
        case RadialGradient: {
            if (gradient.NbColours() != o.gradient.NbColours()) return false;
            for (unsigned int i = 0; i < static_cast<unsigned int>(gradient.NbColours()); ++i)
                if (gradient.Pos(i) != o.gradient.Pos(i) || gradient.Colour(i) != o.gradient.Colour(i)) return false;
            return true;
        }
        case Bitmap:
            return bitmapId == o.bitmapId;
    }
    return false;
}

void flaColor::SetExtraStops(const std::vector<flaGradientStop>& stops) {
    const std::size_t room = flaFormat::Gradient::MaxStops - flaGradientSteps::MaxSteps;
    extraStops.assign(stops.begin(), stops.begin() + static_cast<std::ptrdiff_t>(std::min(stops.size(), room)));
}

flaGradientStop flaColor::GetStop(int i) const {
    if (i < gradient.NbColours()) {
        const auto u = static_cast<unsigned int>(i);
        return flaGradientStop{gradient.Colour(u), gradient.Pos(u)};
    }
    return extraStops[static_cast<std::size_t>(i - gradient.NbColours())];
}

void flaColor::SetLineFill(const flaColor* fill) {
    lineFill = fill && fill->type != Line ? std::make_shared<const flaColor>(*fill) : nullptr;
}

bool flaColor::NeedsDefineShape4() const {
    switch (type) {
        case Line:
            return lineFill != nullptr || !lineDetails.IsDefault();
        case LinearGradient:
        case RadialGradient:
            return !extraStops.empty() || gradientDetails.spread != flaGradientDetails::Pad ||
                   gradientDetails.interpolation != flaGradientDetails::NormalRGB ||
                   (type == RadialGradient && gradientDetails.focal);
        case Bitmap:
            return !bitmapSmoothed;
        case Solid:
            break;
    }
    return false;
}

void flaColor::Transform(const flaMatrix& m) {
    if (lineFill) {
        // The fill is shared with the copies of this line: transform a copy of it.
        auto fill = std::make_shared<flaColor>(*lineFill);
        fill->Transform(m);
        lineFill = std::move(fill);
    }
    switch (type) {
        case LinearGradient:
        case RadialGradient:
        case Bitmap: {
            const flaMatrix old = matrix;
            matrix.Multiply(old, m);
            break;
        }
        case Line:
            lineWidth *= std::sqrt(std::fabs(m.GetD() * m.GetA() - m.GetC() * m.GetB()));
            break;
        case Solid:
            break;
    }
}

bool flaColor::LessIgnoreMatrix::operator()(const flaColor& a, const flaColor& b) const {
    if (a.qksId < b.qksId) return true;
    if (a.qksId > b.qksId) return false;
    if (a.qksId != 0) return false;

    const ColorType ta = a.type == Line ? Solid : a.type;
    const ColorType tb = b.type == Line ? Solid : b.type;
    if (ta != tb) return ta < tb;
    switch (ta) {
        case Solid:
        case Line:
            return a.color < b.color;
        case LinearGradient:
        case RadialGradient: {
            const auto na = static_cast<unsigned char>(a.gradient.NbColours());
            const auto nb = static_cast<unsigned char>(b.gradient.NbColours());
            if (na != nb) return na < nb;
            for (unsigned int i = 0; i < na; ++i) {
                if (a.gradient.Pos(i) != b.gradient.Pos(i)) return a.gradient.Pos(i) < b.gradient.Pos(i);
                const FLIO::flaRGBA ca = a.gradient.Colour(i), cb = b.gradient.Colour(i);
                if (ca < cb) return true;
                if (cb < ca) return false;
            }
            return false;
        }
        case Bitmap:
            return a.bitmapId < b.bitmapId;
    }
    return false;
}

// ---- flaColorList ----

struct flaColorList::OwnStorage {
    flaBlockStore<flaColor, 2, 1024> colours;
};

flaColorList::flaColorList() = default;

flaColorList::~flaColorList() { DeleteAllElements(); }

flaColor* flaColorList::AddOwn(const flaColor& colour) {
    if (!own) own = std::make_unique<OwnStorage>();
    if (colours.size() == colours.capacity()) colours.reserve(colours.empty() ? 2 : colours.size() * 2);
    flaColor& kept = own->colours.Emplace(colour);
    colours.push_back(&kept);
    return &kept;
}

void flaColorList::Add(flaColor* colour) {
    std::unique_ptr<flaColor> guard(colour);
    colours.push_back(colour);
    guard.release();
}

int flaColorList::IndexOf(const flaColor* colour) const {
    if (!colour) return 0;
    for (std::size_t i = 0; i < colours.size(); ++i)
        if (colours[i] == colour) return static_cast<int>(i) + 1;
    return 0;
}

void flaColorList::DeleteAllElements() {
    for (flaColor* c : colours)
        if (!(own && own->colours.Contains(c))) delete c;
    colours.clear();
    own.reset();
}

bool flaColorList::CheckColorAlreadyExist(const flaColor* colour) const {
    if (!colour) return false;
    for (const flaColor* c : colours)
        if (c->GetColor() == colour->GetColor()) return true;
    return false;
}

bool flaColorList::NeedsDefineShape4() const {
    return std::any_of(colours.begin(), colours.end(), [](const flaColor* c) { return c->NeedsDefineShape4(); });
}

int flaColorList::DumpStyleArray(flaDump& dump) const { return DumpStyleArray(dump, false); }

int flaColorList::DumpStyleArray(flaDump& dump, bool lineStyle2) const {
    const unsigned int count = GetSize();
    if (count < flaFormat::ExtendedStyleCount) {
        dump.DataU8(static_cast<unsigned char>(count));
    } else {
        dump.DataU8(flaFormat::ExtendedStyleCount);
        dump.DataU16(static_cast<unsigned short>(count));
    }
    for (const flaColor* c : colours) c->DumpColorInFile(dump, lineStyle2);
    return flaDump::GetBitNumber(static_cast<int>(count));
}
