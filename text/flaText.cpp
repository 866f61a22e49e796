// Static text: the DefineText writer (one text record) and the bloating of a
// DefineText read from a file into glyph outlines.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "flio/flaDump.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"
#include "io/flaConvert.h"
#include "io/flaFormat.h"

using flio_detail::TruncToInt32;

namespace {

namespace TextRecord = flaFormat::TextRecord;

// The advance field of one glyph, in the units the text writer has always used.
std::int32_t AdvanceValue(int kerning, unsigned int fontSize, float advance, int frameWidth) {
    const float v = (static_cast<float>(kerning) + static_cast<float>(fontSize) * advance) * static_cast<float>(frameWidth) / 500.0f;
    return TruncToInt32(v);
}

// The most outline points one bloated text may copy out of its fonts.
const std::size_t kMaxBloatedTextPoints = std::size_t(1) << 22;

std::size_t PointCount(const flaGeometry& g) {
    std::size_t n = 1;  // an outline without points still costs its layer
    for (std::size_t s = 0; s < g.GetSubGeometryCount(); ++s) {
        const flaSubGeometry& sub = *g.GetSubGeometry(s);
        for (std::size_t i = 0; i < sub.GetStrokeCount(); ++i)
            if (const flaStroke* stroke = sub.GetStrokeRecord(i).stroke) n += stroke->GetSize();
    }
    return n;
}

}  // namespace

flaTextGeometry::flaTextGeometry(int id_) : flaCharacter(id_) { drawing.SetId(id_); }

flaTextGeometry::flaTextGeometry(int id_, flaRead& in) : flaTextGeometry(id_, in, false) {}

flaTextGeometry::flaTextGeometry(int id_, flaRead& in, bool alphaColours_)
    : flaCharacter(id_), alphaColours(alphaColours_) {
    drawing.SetId(id_);
    reader = in.CopyRestOfTag();
}

flaTextGeometry::~flaTextGeometry() = default;

void flaTextGeometry::setColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a) {
    color[0] = r;
    color[1] = g;
    color[2] = b;
    color[3] = a;
}

void flaTextGeometry::getColor(unsigned char* r, unsigned char* g, unsigned char* b, unsigned char* a) const {
    if (r) *r = color[0];
    if (g) *g = color[1];
    if (b) *b = color[2];
    if (a) *a = color[3];
}

void flaTextGeometry::setRecordOffset(const flaPoint& offset, const flaPoint& offsetNative) {
    recordOffset = offset;
    recordOffsetNative = offsetNative;
}

void flaTextGeometry::setKerning(unsigned int index, int value) {
    if (index >= kerning.size()) kerning.resize(static_cast<std::size_t>(index) + 1, 0);
    kerning[index] = value;
}

int flaTextGeometry::getLargestKerning() const {
    if (kerning.empty()) return 0;
    const auto [smallest, largest] = std::minmax_element(kerning.begin(), kerning.end());
    const int negated = *smallest == INT32_MIN ? INT32_MAX : -*smallest;
    return std::max(*largest, negated);
}

void flaTextGeometry::SetTransformation(const flaMatrix& m) {
    transformation = m;
    hasTransformation = true;
}

void flaTextGeometry::DumpCharacterInFile(flaDump& dump) const {
    // A text read from a file refers to fonts of that file, which are never written:
    // it goes out as its outlines (BuildBloated), a DefineShape3 under its own id.
    if (reader) {
        drawing.flaGeometry::DumpCharacterInFile(dump);
        return;
    }
    // The fonts and the frame width: those of the movie being written, or those of
    // the current movie for a text written on its own.
    const flaFont* font = nullptr;
    int frameWidth = dump.GetFrameSizeX();
    if (const flaFontTable* table = dump.GetFontTable()) {
        font = table->getFont(fontId);
    } else if (const flaMovie* movie = flaMovie::pCurrentMovie) {
        font = movie->getFont(fontId);
        int height = 0;
        movie->GetFrameSize(frameWidth, height);
    }
    const double s = static_cast<double>(dump.GetFrameSizeX()) * 20.0;

    const flaDump::TagStart tag = dump.BeginTag(flaFormat::DefineText);
    dump.DataU16(static_cast<unsigned short>(id));

    // TextBounds: the width as it is, the height from 0.
    dump.DataRect(TruncToInt32(bbox.xMin * s), TruncToInt32(bbox.xMax * s), 0, TruncToInt32((bbox.yMax - bbox.yMin) * s));
    dump.PadLastByte();

    flaMatrix identity;
    identity.DumpInFile(dump);
    dump.PadLastByte();

    const unsigned int glyphCount = font ? font->getGlyphCnt() : 0;
    const float largestAdvance = font ? font->getLargestAdvance(1.0f) : 0.0f;
    const int glyphBits = flaDump::GetBitNumber(static_cast<int>(std::min<unsigned int>(glyphCount, INT32_MAX)));
    const std::int32_t largest = AdvanceValue(getLargestKerning(), fontSize, largestAdvance, frameWidth);
    const int advanceBits = flaDump::GetBitNumber(largest) + 1;
    dump.DataU8(static_cast<unsigned char>(glyphBits));
    dump.DataU8(static_cast<unsigned char>(advanceBits));

    // The one text record.
    const std::int32_t xOffset = TruncToInt32(static_cast<double>(recordOffset.x) * s);
    const std::int32_t yOffset = TruncToInt32((static_cast<double>(recordOffset.y) + bbox.yMax) * s);
    dump.DataU8(static_cast<unsigned char>(TextRecord::Type | TextRecord::HasFont | TextRecord::HasColor |
                                           (yOffset != 0 ? TextRecord::HasYOffset : 0) |
                                           (xOffset != 0 ? TextRecord::HasXOffset : 0)));
    dump.DataU16(static_cast<unsigned short>(fontId));
    dump.DataU8(color[0]);
    dump.DataU8(color[1]);
    dump.DataU8(color[2]);
    if (xOffset != 0) dump.DataS16(static_cast<short>(xOffset));
    if (yOffset != 0) dump.DataS16(static_cast<short>(yOffset));
    dump.DataU16(static_cast<unsigned short>(TruncToInt32(fontSize * 0.5785 * 20.0)));
    dump.DataU8(static_cast<unsigned char>(text.length()));

    for (std::size_t i = 0; i < text.length(); ++i) {
        // The first kerning entry is never used: character i takes entry i + 1.
        const int kern = i + 1 < kerning.size() ? kerning[i + 1] : 0;
        const unsigned short code = static_cast<unsigned short>(text[i]);
        float advance = 0.0f;
        if (!font || !font->getAdvance(code, advance, 1.0f)) continue;  // counted above, but nothing written
        const int index = font->getGlyphIndex(code);
        dump.Bits(static_cast<std::uint32_t>(index), glyphBits);
        dump.Bits(static_cast<std::uint32_t>(AdvanceValue(kern, fontSize, advance, frameWidth)), advanceBits);
    }
    dump.DataU8(0);  // end of records
    dump.EndTag(tag);
}

// ---- bloating a text read from a file ----

void flaTextGeometry::DestroyBloated() { drawing.DestroyBloated(); }

void flaTextGeometry::BuildBloated(const flaMovie& movie) {
    DestroyBloated();
    if (!reader) return;
    try {
        flaRead& in = *reader;
        in.Seek(0);
        in.InitBits();
        // A faithful reading keeps from record to record what players keep: the
        // colour, the y offset and the pen, which stands where the glyphs of the
        // record before ended. The pen is counted in the file's units (twips), in
        // double, so that a long text neither overflows nor drifts.
        const bool faithful = in.IsFaithful();
        const float f = in.GetScaling();
        SRECT bounds;
        in.GetRect(&bounds);
        flaMatrix textMatrix;
        textMatrix.ReadFromFile(in);
        const long glyphBits = in.GetByte();
        const long advanceBits = in.GetByte();

        int fontId_ = -1;
        unsigned int height = 0;
        FLIO::flaRGBA colour(0, 0, 0, 255);
        double penX = 0.0;
        int y = 0;
        std::size_t pointBudget = kMaxBloatedTextPoints;
        for (;;) {
            const unsigned char flags = in.GetByte();
            if (!(flags & TextRecord::Type)) break;  // end of records (the other 7 bits are padding)
            const bool hasFont = (flags & TextRecord::HasFont) != 0;
            const bool hasColour = (flags & TextRecord::HasColor) != 0;
            const bool hasY = (flags & TextRecord::HasYOffset) != 0;
            const bool hasX = (flags & TextRecord::HasXOffset) != 0;
            if (hasFont) fontId_ = in.GetWord();
            if (hasColour) colour = in.GetColor(alphaColours);
            else if (!faithful) colour = FLIO::flaRGBA(0, 0, 0, 255);
            if (hasX) penX = in.GetSWord();
            else if (!faithful) penX = 0.0;
            if (hasY) y = in.GetSWord();
            else if (!faithful) y = 0;
            if (hasFont) height = in.GetWord();
            const unsigned int count = in.GetByte();
            struct Entry {
                std::uint32_t index;
                std::int32_t advance;
            };
            std::vector<Entry> entries;
            entries.reserve(count);
            in.InitBits();
            for (unsigned int i = 0; i < count; ++i) {
                const std::uint32_t index = in.GetBits(glyphBits);
                entries.push_back({index, in.GetSBits(advanceBits)});
            }

            const float scale = static_cast<float>(height) / static_cast<float>(flaFont::uiSwfEmSize);
            flaMatrix record(scale, 0.0f, 0.0f, scale, static_cast<float>(penX) * f, static_cast<float>(y) * f);
            // A record whose font is missing is skipped whole, as players skip it;
            // so, in a faithful reading, is a glyph its font does not have: neither
            // draws nor moves the pen.
            const flaFont* font = movie.getBloatedFont(fontId_);
            if (!font) continue;
            for (const Entry& e : entries) {
                const flaGlyphGeometry* glyph = e.index < font->getGlyphCnt() ? font->getGlyphByIndex(e.index) : nullptr;
                if (glyph) {
                    // Glyph entries can cost no bits at all, so a tiny body could
                    // otherwise copy a large outline without end.
                    pointBudget -= std::min(PointCount(*glyph), pointBudget);
                    if (pointBudget == 0) throw flaRead::readError("DefineText draws more outline points than allowed");
                    flaMatrix combined;
                    combined.Multiply(record, textMatrix);
                    drawing.copyStrokeData(*glyph, &combined, &colour);
                }
                if (!faithful) {
                    record.SetTX(record.GetTX() + static_cast<float>(e.advance) * f);
                } else if (glyph) {
                    penX += e.advance;
                    record.SetTX(static_cast<float>(penX) * f);
                }
            }
        }
    } catch (...) {
        DestroyBloated();
        throw;
    }
}
