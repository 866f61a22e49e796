// The FILTER records of the eight filters: each filter's writer next to its reader
// and its field-by-field comparison.
//
// Encodings: FIXED is 16.16 (DataFixed / GetFixed), FIXED8 is 8.8 (DataFixed8 /
// GetFixed8), FLOAT is the IEEE-754 single (DataFloat / GetFloat) and RGBA four
// bytes. The writer always sets the composite-source bit. Readers take the flag
// bits from one byte counting from its most significant bit. Every read is checked
// by flaRead, so a record cut short by the end of its tag throws flaRead::readError.
#include <algorithm>

#include "flio/flaDump.h"
#include "flio/flaFilter.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"

namespace FLIO {

namespace {

namespace FilterFlag = flaFormat::FilterFlag;

unsigned char Capped(unsigned char passes, unsigned char cap) { return std::min(passes, cap); }

// Flags byte shared by the shadow, glow and bevel families. The composite-source
// bit is written as 1 whatever the filter holds; the pass count is OR-ed in as the
// caller prepared it.
void DumpFlags(flaDump& dump, bool inner, bool knockout, bool onTop, unsigned char passes) {
    unsigned char flags = FilterFlag::CompositeSource;
    if (inner) flags |= FilterFlag::Inner;
    if (knockout) flags |= FilterFlag::Knockout;
    if (onTop) flags |= FilterFlag::OnTop;
    dump.DataU8(static_cast<unsigned char>(flags | passes));
}

bool Bit(unsigned char flags, unsigned char fromTop) { return flaRead::getNBits(flags, fromTop, 1) != 0; }

float ReadFixed8(flaRead& reader) { return static_cast<float>(reader.GetFixed8()); }

template <class T>
const T* SameType(const flaFilter* self, const flaFilter* other) {
    if (!other || other->GetFilterType() != self->GetFilterType()) return nullptr;
    return dynamic_cast<const T*>(other);
}

}  // namespace

// ---------------------------------------------------------------- Blur

void flaFilterBlur::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(Blur));
    dump.DataFixed(blurX);
    dump.DataFixed(blurY);
    dump.DataU8(static_cast<unsigned char>(Capped(passes, 31) << 3));
}

void flaFilterBlur::ReadFromFile(flaRead& reader) {
    blurX = reader.GetFixed();
    blurY = reader.GetFixed();
    passes = flaRead::getNBits(reader.GetByte(), 0, 5);
}

bool flaFilterBlur::IsEqual(const flaFilter* other) const {
    const auto* o = SameType<flaFilterBlur>(this, other);
    return o && blurX == o->blurX && blurY == o->blurY && passes == o->passes;
}

// ---------------------------------------------------------------- DropShadow

void flaFilterDropShadow::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(DropShadow));
    colour.DumpInFile(dump);
    dump.DataFixed(blurX);
    dump.DataFixed(blurY);
    dump.DataFixed(angle);
    dump.DataFixed(distance);
    dump.DataFixed8(strength);
    // The pass count is not capped for the drop shadow.
    DumpFlags(dump, innerShadow, knockout, false, passes);
}

// The colour is not read here: the body is taken as starting at the blur values,
// four bytes before where the writer puts them. Import reads filters only to pass
// over them, so this offset has no effect on the movie built.
void flaFilterDropShadow::ReadFromFile(flaRead& reader) {
    blurX = reader.GetFixed();
    blurY = reader.GetFixed();
    angle = reader.GetFixed();
    distance = reader.GetFixed();
    strength = ReadFixed8(reader);
    const unsigned char flags = reader.GetByte();
    innerShadow = Bit(flags, 0);
    knockout = Bit(flags, 1);
    compositeSource = Bit(flags, 2);
    passes = flaRead::getNBits(flags, 3, 5);
}

bool flaFilterDropShadow::IsEqual(const flaFilter* other) const {
    const auto* o = SameType<flaFilterDropShadow>(this, other);
    return o && colour == o->colour && blurX == o->blurX && blurY == o->blurY && angle == o->angle &&
           distance == o->distance && strength == o->strength && innerShadow == o->innerShadow &&
           knockout == o->knockout && compositeSource == o->compositeSource && passes == o->passes;
}

// ---------------------------------------------------------------- Glow

void flaFilterGlow::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(Glow));
    colour.DumpInFile(dump);
    dump.DataFixed(blurX);
    dump.DataFixed(blurY);
    dump.DataFixed8(strength);
    DumpFlags(dump, innerGlow, knockout, false, Capped(passes, 31));
}

void flaFilterGlow::ReadFromFile(flaRead& reader) {
    colour = reader.GetColor(true);
    blurX = reader.GetFixed();
    blurY = reader.GetFixed();
    strength = ReadFixed8(reader);
    const unsigned char flags = reader.GetByte();
    innerGlow = Bit(flags, 0);
    knockout = Bit(flags, 1);
    compositeSource = Bit(flags, 2);
    passes = flaRead::getNBits(flags, 3, 5);
}

bool flaFilterGlow::IsEqual(const flaFilter* other) const {
    const auto* o = SameType<flaFilterGlow>(this, other);
    return o && colour == o->colour && blurX == o->blurX && blurY == o->blurY && strength == o->strength &&
           innerGlow == o->innerGlow && knockout == o->knockout && compositeSource == o->compositeSource &&
           passes == o->passes;
}

// ---------------------------------------------------------------- Bevel

void flaFilterBevel::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(Bevel));
    shadowColour.DumpInFile(dump);
    highlightColour.DumpInFile(dump);
    dump.DataFixed(blurX);
    dump.DataFixed(blurY);
    dump.DataFixed(angle);
    dump.DataFixed(distance);
    dump.DataFixed8(strength);
    DumpFlags(dump, innerShadow, knockout, onTop, Capped(passes, 15));
}

void flaFilterBevel::ReadFromFile(flaRead& reader) {
    shadowColour = reader.GetColor(true);
    highlightColour = reader.GetColor(true);
    blurX = reader.GetFixed();
    blurY = reader.GetFixed();
    angle = reader.GetFixed();
    distance = reader.GetFixed();
    strength = ReadFixed8(reader);
    const unsigned char flags = reader.GetByte();
    innerShadow = Bit(flags, 0);
    knockout = Bit(flags, 1);
    compositeSource = Bit(flags, 2);
    onTop = Bit(flags, 3);
    passes = flaRead::getNBits(flags, 4, 4);
}

bool flaFilterBevel::IsEqual(const flaFilter* other) const {
    const auto* o = SameType<flaFilterBevel>(this, other);
    return o && shadowColour == o->shadowColour && highlightColour == o->highlightColour && blurX == o->blurX &&
           blurY == o->blurY && angle == o->angle && distance == o->distance && strength == o->strength &&
           innerShadow == o->innerShadow && knockout == o->knockout && compositeSource == o->compositeSource &&
           onTop == o->onTop && passes == o->passes;
}

// ---------------------------------------------------------------- GradientGlow / GradientBevel

// The count byte holds at most 255, but every colour and every ratio held is
// written after it, whatever their number.
void flaFilterGradientBase::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(GetFilterType()));
    dump.DataU8(static_cast<unsigned char>(std::min<std::size_t>(colours.size(), 255)));
    for (const flaRGBA& c : colours) c.DumpInFile(dump);
    for (unsigned char r : ratios) dump.DataU8(r);
    dump.DataFixed(blurX);
    dump.DataFixed(blurY);
    dump.DataFixed(angle);
    dump.DataFixed(distance);
    dump.DataFixed8(strength);
    DumpFlags(dump, innerShadow, knockout, onTop, Capped(passes, 15));
}

void flaFilterGradientBase::ReadFromFile(flaRead& reader) {
    const unsigned char count = reader.GetByte();
    colours.resize(count);
    ratios.resize(count);
    for (flaRGBA& c : colours) c = reader.GetColor(true);
    for (unsigned char& r : ratios) r = reader.GetByte();
    blurX = reader.GetFixed();
    blurY = reader.GetFixed();
    angle = reader.GetFixed();
    distance = reader.GetFixed();
    strength = ReadFixed8(reader);
    const unsigned char flags = reader.GetByte();
    innerShadow = Bit(flags, 0);
    knockout = Bit(flags, 1);
    compositeSource = Bit(flags, 2);
    onTop = Bit(flags, 3);
    passes = flaRead::getNBits(flags, 4, 4);
}

bool flaFilterGradientBase::IsEqual(const flaFilter* other) const {
    const auto* o = SameType<flaFilterGradientBase>(this, other);
    return o && colours == o->colours && ratios == o->ratios && blurX == o->blurX && blurY == o->blurY &&
           angle == o->angle && distance == o->distance && strength == o->strength &&
           innerShadow == o->innerShadow && knockout == o->knockout && compositeSource == o->compositeSource &&
           onTop == o->onTop && passes == o->passes;
}

// ---------------------------------------------------------------- Convolution

void flaFilterConvolution::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(Convolution));
    dump.DataU8(matrixX);
    dump.DataU8(matrixY);
    dump.DataFloat(divisor);
    dump.DataFloat(bias);
    for (float v : matrix) dump.DataFloat(v);
    defaultColour.DumpInFile(dump);
    dump.DataU8(static_cast<unsigned char>((clamp ? FilterFlag::Clamp : 0) | (preserveAlpha ? FilterFlag::PreserveAlpha : 0)));
}

// FLOAT values go through the bit reader, most significant byte first, while the
// writer stores them least significant byte first: a written filter reads back
// with its floats byte-swapped. The matrix is read value by value, so a matrix size
// that the tag cannot hold fails at the tag's end instead of allocating for it.
void flaFilterConvolution::ReadFromFile(flaRead& reader) {
    matrixX = reader.GetByte();
    matrixY = reader.GetByte();
    divisor = reader.GetFloat();
    bias = reader.GetFloat();
    const std::size_t count = static_cast<std::size_t>(matrixX) * matrixY;
    matrix.clear();
    matrix.reserve(std::min<std::size_t>(count, static_cast<std::size_t>(reader.DataSize()) / 4));
    for (std::size_t i = 0; i < count; ++i) matrix.push_back(reader.GetFloat());
    defaultColour = reader.GetColor(true);
    const unsigned char flags = reader.GetByte();
    clamp = Bit(flags, 6);
    preserveAlpha = Bit(flags, 7);
}

bool flaFilterConvolution::IsEqual(const flaFilter* other) const {
    const auto* o = SameType<flaFilterConvolution>(this, other);
    return o && matrixX == o->matrixX && matrixY == o->matrixY && divisor == o->divisor && bias == o->bias &&
           matrix == o->matrix && defaultColour == o->defaultColour && clamp == o->clamp &&
           preserveAlpha == o->preserveAlpha;
}

// ---------------------------------------------------------------- ColorMatrix

// No count is written: the record is the matrix values as they are held.
void flaFilterColorMatrix::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(ColorMatrix));
    for (float v : matrix) dump.DataFloat(v);
}

// Always 20 values (a 4 x 5 matrix), read like the convolution's floats.
void flaFilterColorMatrix::ReadFromFile(flaRead& reader) {
    matrix.assign(20, 0.0f);
    for (float& v : matrix) v = reader.GetFloat();
}

bool flaFilterColorMatrix::IsEqual(const flaFilter* other) const {
    const auto* o = SameType<flaFilterColorMatrix>(this, other);
    return o && matrix == o->matrix;
}

}  // namespace FLIO
