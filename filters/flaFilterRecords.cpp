// The FILTER records of the eight filters: each filter's writer next to its reader
// and its field-by-field comparison.
//
// Encodings: FIXED is 16.16, FIXED8 is 8.8, FLOAT is the IEEE-754 single and RGBA
// four bytes. Readers take the flag bits from one byte counting from its most
// significant bit. Every read is checked by flaRead, so a record cut short by the
// end of its tag throws flaRead::readError.
//
// Each record is read and written in one of two ways:
// - classic (the default): FIXED and FIXED8 through GetFixed / GetFixed8, which
//   take both halves unsigned, and DataFixed / DataFixed8, which only encode
//   values from 0 up; FLOAT read most significant byte first but written least
//   significant byte first; the composite-source bit always written as set; the
//   drop shadow's colour not read. Files written this way keep their bytes.
// - faithful (flaRead::IsFaithful on the reader, WriteOptions::fullStyles on the
//   stream): every field as the record lays it out, FIXED and FIXED8 signed, FLOAT
//   little-endian both ways, every flag and the pass count as held, so that a
//   record read and written again gives back its bytes.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

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

// The flags byte as held: every flag from its field and the pass count masked to
// the width of its field (passMask), so that a pass count too large for the field
// cannot change a flag above it.
void DumpFullFlags(flaDump& dump, bool inner, bool knockout, bool compositeSource, bool onTop,
                   unsigned char passes, unsigned char passMask) {
    unsigned char flags = static_cast<unsigned char>(passes & passMask);
    if (inner) flags |= FilterFlag::Inner;
    if (knockout) flags |= FilterFlag::Knockout;
    if (compositeSource) flags |= FilterFlag::CompositeSource;
    if (onTop) flags |= FilterFlag::OnTop;
    dump.DataU8(flags);
}

bool Bit(unsigned char flags, unsigned char fromTop) { return flaRead::getNBits(flags, fromTop, 1) != 0; }

// v * scale rounded to the nearest integer and held to [lowest, highest]: a value
// out of range gives the nearest one the field holds instead of wrapping round,
// NaN gives 0. Values read from a record are multiples of 1 / scale and come back
// unchanged.
std::int32_t FixedBits(double v, double scale, std::int32_t lowest, std::int32_t highest) {
    if (std::isnan(v)) return 0;
    const double scaled = std::round(v * scale);
    if (scaled <= lowest) return lowest;
    if (scaled >= highest) return highest;
    return static_cast<std::int32_t>(scaled);
}

const double kFixedOne = 65536.0;
const double kFixed8One = 256.0;

double ReadFixed(flaRead& reader) {
    if (!reader.IsFaithful()) return reader.GetFixed();
    return static_cast<std::int32_t>(reader.GetDWord()) / kFixedOne;
}

float ReadFixed8(flaRead& reader) {
    if (!reader.IsFaithful()) return static_cast<float>(reader.GetFixed8());
    return static_cast<float>(reader.GetSWord() / kFixed8One);
}

// Least significant byte first when faithful, as the writer stores it.
float ReadFloat(flaRead& reader) {
    if (!reader.IsFaithful()) return reader.GetFloat();
    const std::uint32_t bits = reader.GetDWord();
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

void DumpFixed(flaDump& dump, double v) {
    if (!dump.GetWriteOptions().fullStyles) return dump.DataFixed(v);
    dump.DataU32(static_cast<std::uint32_t>(FixedBits(v, kFixedOne, INT32_MIN, INT32_MAX)));
}

void DumpFixed8(flaDump& dump, double v) {
    if (!dump.GetWriteOptions().fullStyles) return dump.DataFixed8(v);
    dump.DataS16(static_cast<short>(FixedBits(v, kFixed8One, INT16_MIN, INT16_MAX)));
}

template <class T>
const T* SameType(const flaFilter* self, const flaFilter* other) {
    if (!other || other->GetFilterType() != self->GetFilterType()) return nullptr;
    return dynamic_cast<const T*>(other);
}

}  // namespace

// ---------------------------------------------------------------- Blur

void flaFilterBlur::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(Blur));
    DumpFixed(dump, blurX);
    DumpFixed(dump, blurY);
    // The classic writer caps the count at 31; a count held as it stands keeps the
    // field's five bits.
    if (dump.GetWriteOptions().fullStyles)
        dump.DataU8(static_cast<unsigned char>((passes & FilterFlag::Passes5) << FilterFlag::BlurPassShift));
    else
        dump.DataU8(static_cast<unsigned char>(Capped(passes, 31) << 3));
}

void flaFilterBlur::ReadFromFile(flaRead& reader) {
    blurX = ReadFixed(reader);
    blurY = ReadFixed(reader);
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
    DumpFixed(dump, blurX);
    DumpFixed(dump, blurY);
    DumpFixed(dump, angle);
    DumpFixed(dump, distance);
    DumpFixed8(dump, strength);
    // The classic writer does not cap the drop shadow's pass count: a count above
    // 31 sets flag bits.
    if (dump.GetWriteOptions().fullStyles)
        DumpFullFlags(dump, innerShadow, knockout, compositeSource, false, passes, FilterFlag::Passes5);
    else
        DumpFlags(dump, innerShadow, knockout, false, passes);
}

// The classic reader does not read the colour: it takes the body as starting at
// the blur values, four bytes before where the writer puts them. The classic import
// reads filters only to pass over them, so this offset has no effect on the movie
// it builds. The faithful reader starts at the colour.
void flaFilterDropShadow::ReadFromFile(flaRead& reader) {
    if (reader.IsFaithful()) colour = reader.GetColor(true);
    blurX = ReadFixed(reader);
    blurY = ReadFixed(reader);
    angle = ReadFixed(reader);
    distance = ReadFixed(reader);
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
    DumpFixed(dump, blurX);
    DumpFixed(dump, blurY);
    DumpFixed8(dump, strength);
    if (dump.GetWriteOptions().fullStyles)
        DumpFullFlags(dump, innerGlow, knockout, compositeSource, false, passes, FilterFlag::Passes5);
    else
        DumpFlags(dump, innerGlow, knockout, false, Capped(passes, 31));
}

void flaFilterGlow::ReadFromFile(flaRead& reader) {
    colour = reader.GetColor(true);
    blurX = ReadFixed(reader);
    blurY = ReadFixed(reader);
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
    DumpFixed(dump, blurX);
    DumpFixed(dump, blurY);
    DumpFixed(dump, angle);
    DumpFixed(dump, distance);
    DumpFixed8(dump, strength);
    if (dump.GetWriteOptions().fullStyles)
        DumpFullFlags(dump, innerShadow, knockout, compositeSource, onTop, passes, FilterFlag::Passes4);
    else
        DumpFlags(dump, innerShadow, knockout, onTop, Capped(passes, 15));
}

void flaFilterBevel::ReadFromFile(flaRead& reader) {
    shadowColour = reader.GetColor(true);
    highlightColour = reader.GetColor(true);
    blurX = ReadFixed(reader);
    blurY = ReadFixed(reader);
    angle = ReadFixed(reader);
    distance = ReadFixed(reader);
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

// The count byte holds at most 255. The classic writer writes every colour and
// every ratio held after it, whatever their number. Written as it stands, the
// record holds as many stops as the count says: a stop is a colour with its ratio,
// so the count is that of the complete stops, at most 255, and only those follow.
void flaFilterGradientBase::DumpInFile(flaDump& dump) const {
    const bool full = dump.GetWriteOptions().fullStyles;
    dump.DataU8(static_cast<unsigned char>(GetFilterType()));
    if (full) {
        const std::size_t count = std::min<std::size_t>({colours.size(), ratios.size(), 255});
        dump.DataU8(static_cast<unsigned char>(count));
        for (std::size_t i = 0; i < count; ++i) colours[i].DumpInFile(dump);
        for (std::size_t i = 0; i < count; ++i) dump.DataU8(ratios[i]);
    } else {
        dump.DataU8(static_cast<unsigned char>(std::min<std::size_t>(colours.size(), 255)));
        for (const flaRGBA& c : colours) c.DumpInFile(dump);
        for (unsigned char r : ratios) dump.DataU8(r);
    }
    DumpFixed(dump, blurX);
    DumpFixed(dump, blurY);
    DumpFixed(dump, angle);
    DumpFixed(dump, distance);
    DumpFixed8(dump, strength);
    if (full)
        DumpFullFlags(dump, innerShadow, knockout, compositeSource, onTop, passes, FilterFlag::Passes4);
    else
        DumpFlags(dump, innerShadow, knockout, onTop, Capped(passes, 15));
}

void flaFilterGradientBase::ReadFromFile(flaRead& reader) {
    const unsigned char count = reader.GetByte();
    colours.resize(count);
    ratios.resize(count);
    for (flaRGBA& c : colours) c = reader.GetColor(true);
    for (unsigned char& r : ratios) r = reader.GetByte();
    blurX = ReadFixed(reader);
    blurY = ReadFixed(reader);
    angle = ReadFixed(reader);
    distance = ReadFixed(reader);
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
    if (dump.GetWriteOptions().fullStyles) {
        // Exactly the matrixX x matrixY values that the record's size says, so that
        // what follows stays where a reader looks for it: values missing are 0.
        const std::size_t count = static_cast<std::size_t>(matrixX) * matrixY;
        for (std::size_t i = 0; i < count; ++i) dump.DataFloat(i < matrix.size() ? matrix[i] : 0.0f);
    } else {
        for (float v : matrix) dump.DataFloat(v);
    }
    defaultColour.DumpInFile(dump);
    dump.DataU8(static_cast<unsigned char>((clamp ? FilterFlag::Clamp : 0) | (preserveAlpha ? FilterFlag::PreserveAlpha : 0)));
}

// The classic reader takes FLOAT values through the bit reader, most significant
// byte first, while the writer stores them least significant byte first: a written
// filter reads back with its floats byte-swapped (the faithful reader takes them
// as they are written). The matrix is read value by value, so a matrix size
// that the tag cannot hold fails at the tag's end instead of allocating for it.
void flaFilterConvolution::ReadFromFile(flaRead& reader) {
    matrixX = reader.GetByte();
    matrixY = reader.GetByte();
    divisor = ReadFloat(reader);
    bias = ReadFloat(reader);
    const std::size_t count = static_cast<std::size_t>(matrixX) * matrixY;
    matrix.clear();
    matrix.reserve(std::min<std::size_t>(count, static_cast<std::size_t>(reader.DataSize()) / 4));
    for (std::size_t i = 0; i < count; ++i) matrix.push_back(ReadFloat(reader));
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

// No count is written. The classic writer writes the matrix values as they are
// held; written as it stands, the record has the 20 values a reader takes (values
// missing are 0, values beyond the 20th are left out).
void flaFilterColorMatrix::DumpInFile(flaDump& dump) const {
    dump.DataU8(static_cast<unsigned char>(ColorMatrix));
    if (dump.GetWriteOptions().fullStyles) {
        for (std::size_t i = 0; i < flaFormat::ColorMatrixValues; ++i)
            dump.DataFloat(i < matrix.size() ? matrix[i] : 0.0f);
    } else {
        for (float v : matrix) dump.DataFloat(v);
    }
}

// Always 20 values (a 4 x 5 matrix), read like the convolution's floats.
void flaFilterColorMatrix::ReadFromFile(flaRead& reader) {
    matrix.assign(flaFormat::ColorMatrixValues, 0.0f);
    for (float& v : matrix) v = ReadFloat(reader);
}

bool flaFilterColorMatrix::IsEqual(const flaFilter* other) const {
    const auto* o = SameType<flaFilterColorMatrix>(this, other);
    return o && matrix == o->matrix;
}

}  // namespace FLIO
