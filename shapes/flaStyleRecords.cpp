// The style records of shapes, read and written: FILLSTYLE, LINESTYLE and
// DefineShape4's LINESTYLE2, and the style arrays of a layer. A faithful import
// (flaRead::IsFaithful) keeps every detail of them; the classic import keeps what
// DefineShape3 holds. The writer writes the details with the fullStyles option.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "io/flaConvert.h"
#include "io/flaFormat.h"
#include "shapes/flaStyleRecords.h"

namespace {

namespace Fill = flaFormat::Fill;
namespace Gradient = flaFormat::Gradient;
namespace Line2 = flaFormat::Line2;

unsigned int ReadStyleCount(flaRead& reader) {
    unsigned int n = reader.GetByte();
    if (n == flaFormat::ExtendedStyleCount) n = reader.GetWord();
    return n;
}

// One FILLSTYLE. Without `faithful`, the classic reading: no spread, interpolation
// or focal point, eight stops at most, every bitmap fill tiled and smoothed.
flaColor ReadFill(flaRead& in, int characterId, int index, bool alpha, bool faithful) {
    const unsigned int type = in.GetByte();
    if (type == Fill::LinearGradient || type == Fill::RadialGradient || type == Fill::FocalRadialGradient) {
        flaMatrix matrix;
        matrix.ReadFromFile(in);
        const unsigned int head = in.GetByte();
        const unsigned int records = head & flaFormat::GradientCountMask;
        flaGradientSteps steps;
        std::vector<flaGradientStop> extra;
        for (unsigned int i = 0; i < records; ++i) {
            const unsigned int ratio = in.GetByte();
            const FLIO::flaRGBA colour = in.GetColor(alpha);
            if (!steps.Add(colour, static_cast<int>(ratio)))
                extra.push_back(flaGradientStop{colour, static_cast<unsigned char>(ratio)});
        }
        flaGradientDetails details;
        if (type == Fill::FocalRadialGradient) {
            details.focal = true;
            details.focalPoint = static_cast<float>(in.GetSWord()) / 256.0f;
        }
        flaColor c(characterId, index, 0,
                   type == Fill::LinearGradient ? flaColor::LinearGradient : flaColor::RadialGradient, steps, matrix);
        if (faithful) {
            details.spread = static_cast<flaGradientDetails::Spread>((head >> Gradient::SpreadShift) & Gradient::ModeMask);
            details.interpolation = static_cast<flaGradientDetails::Interpolation>(
                (head >> Gradient::InterpolationShift) & Gradient::ModeMask);
            c.SetGradientDetails(details);
            c.SetExtraStops(extra);
        }
        return c;
    }
    if ((type & Fill::BitmapBits) == 0)
        return flaColor(characterId, index, 0, flaColor::Solid, in.GetColor(alpha));
    // Every other type is a bitmap fill.
    const int bitmapId = in.GetWord();
    flaMatrix matrix;
    matrix.ReadFromFile(in);
    const bool tiled = faithful ? (type & Fill::ClippedBit) == 0 : (type & Fill::TiledBit) != 0;
    flaColor c(characterId, index, 0, flaColor::Bitmap, tiled, bitmapId, matrix);
    if (faithful) c.SetBitmapSmoothed((type & Fill::NonSmoothedBit) == 0);
    return c;
}

std::uint16_t Fixed8(double v, double lowest, double highest) {
    const double scaled = std::nearbyint(std::min(std::max(v, lowest), highest) * 256.0);
    return static_cast<std::uint16_t>(static_cast<std::int32_t>(scaled) & 0xFFFF);
}

}  // namespace

std::int64_t flio_shapes::LineWidthTwips(float width, const flaDump& dump) {
    // A hairline has no width of its own: it is written as one twip.
    if (width == 0.0f) return 1;
    const double twips = static_cast<double>(width) * 20.0 * dump.GetFrameSizeX();
    if (!dump.GetWriteOptions().exactTwips) return flio_detail::TruncToInt64(twips);
    return std::max<std::int64_t>(1, flio_detail::TruncToInt64(std::nearbyint(twips)));
}

// ---- reading ----

void flaSubGeometry::ParseFillStyle(int characterId, flaRead& in, bool alpha) {
    const int index = static_cast<int>(fills.GetSize()) + fillIndexBase;
    fills.AddOwn(ReadFill(in, characterId, index, alpha, in.IsFaithful()));
}

void flaSubGeometry::ParseShapeStyle(bool alpha, flaRead& in, int characterId, flaShape::ShapeVersion version) {
    const unsigned int fillCount = ReadStyleCount(in);
    for (unsigned int i = 0; i < fillCount; ++i) ParseFillStyle(characterId, in, alpha);

    const unsigned int lineCount = ReadStyleCount(in);
    const float factor = in.GetScaling();
    const bool faithful = in.IsFaithful();
    for (unsigned int i = 0; i < lineCount; ++i) {
        const int index = static_cast<int>(lines.GetSize()) + lineIndexBase;
        const unsigned int width = in.GetWord();
        FLIO::flaRGBA colour(0, 0, 0, 255);  // a line drawn with a fill style has no colour of its own
        flaLineDetails details;
        std::optional<flaColor> fill;
        if (version == flaShape::DefineShape4) {
            const unsigned int flags = in.GetByte();
            const unsigned int more = in.GetByte();
            details.startCap = static_cast<flaLineDetails::Cap>((flags >> Line2::StartCapShift) & Line2::CapMask);
            details.join = static_cast<flaLineDetails::Join>((flags >> Line2::JoinShift) & Line2::CapMask);
            details.endCap = static_cast<flaLineDetails::Cap>(more & Line2::EndCapMask);
            details.noHScale = (flags & Line2::NoHScale) != 0;
            details.noVScale = (flags & Line2::NoVScale) != 0;
            details.pixelHinting = (flags & Line2::PixelHinting) != 0;
            details.noClose = (more & Line2::NoClose) != 0;
            if (details.join == Line2::JoinMiter) details.miterLimit = static_cast<float>(in.GetWord()) / 256.0f;
            if (flags & Line2::HasFill) {
                const int fillIndex = static_cast<int>(fills.GetSize()) + fillIndexBase;
                fill = ReadFill(in, characterId, faithful ? index : fillIndex, alpha, faithful);
            } else {
                colour = in.GetColor(true);
            }
        } else {
            colour = in.GetColor(alpha);
        }
        // One twip or less is a hairline, the inverse of the writer's rule.
        const float lineWidth = width <= 1 ? 0.0f : static_cast<float>(width) * factor;
        flaColor line(characterId, index, 0, flaColor::Line, colour, lineWidth);
        if (faithful) {
            line.SetLineDetails(details);
            line.SetLineFill(fill ? &*fill : nullptr);
        } else if (fill) {
            fills.AddOwn(*fill);  // the classic import lists a line's fill with the layer's fills
        }
        lines.AddOwn(line);
    }
}

// ---- writing ----

void flaColor::DumpColorInFile(flaDump& dump) const { DumpColorInFile(dump, false); }

void flaColor::DumpColorInFile(flaDump& dump, bool lineStyle2) const {
    if (type != Line) {
        DumpFill(dump);
    } else if (lineStyle2) {
        DumpLineStyle2(dump);
    } else {
        dump.DataU16(static_cast<unsigned short>(flio_shapes::LineWidthTwips(lineWidth, dump) & 0xFFFF));
        color.DumpInFile(dump);
    }
}

void flaColor::DumpFill(flaDump& dump) const {
    const bool full = dump.GetWriteOptions().fullStyles;
    switch (type) {
        case Solid:
        case Line:
            dump.DataU8(Fill::Solid);
            color.DumpInFile(dump);
            break;
        case LinearGradient:
        case RadialGradient: {
            const bool focal = full && type == RadialGradient && gradientDetails.focal;
            dump.DataU8(type == LinearGradient ? Fill::LinearGradient
                                               : focal ? Fill::FocalRadialGradient : Fill::RadialGradient);
            matrix.DumpInFile(dump);
            const int stops = full ? GetAllStopCount() : gradient.NbColours();
            unsigned int head = static_cast<unsigned int>(stops);
            if (full)
                head |= (gradientDetails.spread & Gradient::ModeMask) << Gradient::SpreadShift |
                        (gradientDetails.interpolation & Gradient::ModeMask) << Gradient::InterpolationShift;
            dump.DataU8(static_cast<unsigned char>(head));
            for (int i = 0; i < stops; ++i) {
                const flaGradientStop stop = GetStop(i);
                dump.DataU8(stop.position);
                stop.colour.DumpInFile(dump);
            }
            if (focal) dump.DataU16(Fixed8(gradientDetails.focalPoint, -128.0, 127.99609375));
            break;
        }
        case Bitmap: {
            unsigned int code = Fill::RepeatingBitmap;
            if (!fillBitsTiled) code |= Fill::ClippedBit;
            if (full && !bitmapSmoothed) code |= Fill::NonSmoothedBit;
            dump.DataU8(static_cast<unsigned char>(code));
            dump.DataU16(static_cast<unsigned short>(bitmapId));
            matrix.DumpInFile(dump);
            break;
        }
    }
}

void flaColor::DumpLineStyle2(flaDump& dump) const {
    const flaLineDetails& d = lineDetails;
    dump.DataU16(static_cast<unsigned short>(flio_shapes::LineWidthTwips(lineWidth, dump) & 0xFFFF));
    unsigned int flags = (d.startCap & Line2::CapMask) << Line2::StartCapShift;
    flags |= (d.join & Line2::CapMask) << Line2::JoinShift;
    if (lineFill) flags |= Line2::HasFill;
    if (d.noHScale) flags |= Line2::NoHScale;
    if (d.noVScale) flags |= Line2::NoVScale;
    if (d.pixelHinting) flags |= Line2::PixelHinting;
    dump.DataU8(static_cast<unsigned char>(flags));
    dump.DataU8(static_cast<unsigned char>((d.noClose ? Line2::NoClose : 0u) | (d.endCap & Line2::EndCapMask)));
    if ((d.join & Line2::CapMask) == Line2::JoinMiter) dump.DataU16(Fixed8(d.miterLimit, 0.0, 255.99609375));
    if (lineFill)
        lineFill->DumpFill(dump);
    else
        color.DumpInFile(dump);
}
