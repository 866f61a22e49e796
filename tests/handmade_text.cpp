// The hand-built static-text movie: two fonts with one square glyph each (a
// DefineFont2 and a DefineFont3 with twenty times finer outlines), a DefineText of
// several records that inherit colour, y and pen from the record before, and a
// DefineText2 with an alpha colour. The fonts are written by the library's own font
// writer, the text records through flaDump.
#include <cstdint>
#include <utility>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaFont.h"
#include "flio/flaGeometry.h"
#include "flio/flaText.h"
#include "flio/flaMatrix.h"
#include "handmade_movies.h"
#include "io/flaFormat.h"

namespace flio_handmade {
namespace {

using namespace text;
using Bytes = std::vector<unsigned char>;

const int kSide = 400;     // the square glyph's side, in DefineFont2's units (1024 per em)
const int kAdvance = 500;  // twips, at the height of the records (1024 twips: one unit one twip)

// One font with one square glyph, 'A': (0, 0) to (side, -side), as the library's
// font writer writes it (DefineFont2). A DefineFont3 gets the body of one with
// twenty times the side, under its own code.
Bytes SquareFontTag(int id, bool font3) {
    flaGlyphGeometry glyph;
    flaSubGeometry* sub = glyph.AddChildGeometry();
    const flaColor* fill = sub->CreateSolidColour(FLIO::flaRGBA(0, 0, 0, 255), 0);
    const float s = static_cast<float>(kSide) / 20.0f * (font3 ? 20.0f : 1.0f);  // twips on a 1-pixel stage
    auto* square = new flaStroke;
    for (const flaPoint& p : {flaPoint(0, 0), flaPoint(s, 0), flaPoint(s, -s), flaPoint(0, -s), flaPoint(0, 0)})
        square->AddPoint(p);
    sub->AddStroke(square, new flaStyle(flaStyle::Straight, nullptr, fill, nullptr));
    flaFont font(id, fontInfo("Square", false, false));
    font.addCode('A', &glyph, 0.0f);
    flaDump dump(1, nullptr);
    font.DumpCharacterInFile(dump);
    dump.PadLastByte();
    Bytes tag = dump.GetBuffer();
    if (font3) {
        const std::uint16_t header = flaFormat::LongHeaderWord(flaFormat::DefineFont3);
        tag[0] = static_cast<unsigned char>(header & 0xFF), tag[1] = static_cast<unsigned char>(header >> 8);
    }
    return tag;
}

// A text record: what it sets (no font when font < 0, no colour when a < 0, x and y
// only when given) and its glyphs, each the square with the one advance.
struct Record {
    int font = -1, height = 1024;
    int r = 0, g = 0, b = 0, a = -1;
    bool hasX = false, hasY = false;
    int x = 0, y = 0;
    std::vector<int> glyphs{0};  // glyph indices

    Record& Font(int id) { return font = id, *this; }
    Record& Colour(int r_, int g_, int b_, int a_ = 255) { return r = r_, g = g_, b = b_, a = a_, *this; }
    Record& X(int v) { return hasX = true, x = v, *this; }
    Record& Y(int v) { return hasY = true, y = v, *this; }
    Record& Glyphs(int n) { return glyphs.assign(static_cast<std::size_t>(n), 0), *this; }
    Record& Indices(std::vector<int> indices) { return glyphs = std::move(indices), *this; }
};

// A DefineText (or DefineText2, whose colours have alpha) tag: id, bounds, the text
// matrix (a translation, in twips), glyph and advance bit counts, records.
void TextTag(flaDump& d, int id, bool text2, int tx, int ty, const std::vector<Record>& records) {
    const flaDump::TagStart tag = d.BeginTag(text2 ? flaFormat::DefineText2 : flaFormat::DefineText);
    d.DataU16(static_cast<unsigned short>(id));
    d.DataRect(0, kStageTwips, 0, 8000);
    d.PadLastByte();
    d.Bit(false), d.Bit(false), d.Bits(16, 5), d.Bits(static_cast<std::uint32_t>(tx), 16),
        d.Bits(static_cast<std::uint32_t>(ty), 16);
    d.PadLastByte();
    d.DataU8(1), d.DataU8(12);
    namespace TR = flaFormat::TextRecord;
    for (const Record& rec : records) {
        d.DataU8(static_cast<unsigned char>(TR::Type | (rec.font >= 0 ? TR::HasFont : 0) |
                                            (rec.a >= 0 ? TR::HasColor : 0) | (rec.hasY ? TR::HasYOffset : 0) |
                                            (rec.hasX ? TR::HasXOffset : 0)));
        if (rec.font >= 0) d.DataU16(static_cast<unsigned short>(rec.font));
        if (rec.a >= 0) {
            for (int c : {rec.r, rec.g, rec.b}) d.DataU8(static_cast<unsigned char>(c));
            if (text2) d.DataU8(static_cast<unsigned char>(rec.a));
        }
        if (rec.hasX) d.DataS16(static_cast<short>(rec.x));
        if (rec.hasY) d.DataS16(static_cast<short>(rec.y));
        if (rec.font >= 0) d.DataU16(static_cast<unsigned short>(rec.height));
        d.DataU8(static_cast<unsigned char>(rec.glyphs.size()));
        for (int index : rec.glyphs) d.Bits(static_cast<std::uint32_t>(index), 1), d.Bits(kAdvance, 12);
        d.PadLastByte();
    }
    d.DataU8(0);
    d.EndTag(tag);
}

// Three lines in one DefineText that sets its colour once: a record that gives
// nothing continues the line in red; a new line gives only x and y; a record gives
// only a colour; one gives only y (the pen keeps its x); one names a missing font
// and the last names the font again, with a glyph it does not have first. As the
// player draws it, what is missing neither draws nor moves the pen.
std::vector<Record> MultiLineRecords() {
    return {Record().Font(kFont2).Colour(200, 0, 0).X(400).Y(1000).Glyphs(2),
            Record(),
            Record().X(400).Y(2000).Glyphs(2),
            Record().Colour(0, 0, 200),
            Record().Y(3000),
            Record().Font(99),
            Record().Font(kFont2).Indices({1, 0})};
}

void Place(flaDump& d, int id, int depth) {
    const flaDump::TagStart tag = d.BeginTag(flaFormat::PlaceObject2);
    d.DataU8(flaFormat::Place::HasCharacter | flaFormat::Place::HasMatrix);
    d.DataU16(static_cast<unsigned short>(depth));
    d.DataU16(static_cast<unsigned short>(id));
    flaMatrix().DumpInFile(d);
    d.EndTag(tag);
}

}  // namespace

Movie MultiRecordText() {
    flaDump d(kStageTwips / 20, nullptr);
    for (char b : {'F', 'W', 'S', '\x09', '\0', '\0', '\0', '\0'}) d.DataU8(static_cast<unsigned char>(b));
    d.DataRect(0, kStageTwips, 0, 8000);
    d.PadLastByte();
    d.DataU16(24 << 8);
    d.DataU16(1);
    d.TagHeader(flaFormat::SetBackgroundColor, flaFormat::SetBackgroundColorLength);
    for (int i = 0; i < 3; ++i) d.DataU8(255);
    for (const Bytes& tag : {SquareFontTag(kFont2, false), SquareFontTag(kFont3, true)})
        for (unsigned char b : tag) d.DataU8(b);
    TextTag(d, kText, false, 0, 0, MultiLineRecords());
    // Half-transparent green on the DefineFont3 font, moved by its text matrix.
    TextTag(d, kText2, true, 300, 4000, {Record().Font(kFont3).Colour(0, 160, 0, 128).X(100).Y(1000).Glyphs(3)});
    Place(d, kText, 1);
    Place(d, kText2, 2);
    d.TagHeader(flaFormat::ShowFrame, 0);
    d.TagHeader(flaFormat::End, 0);
    d.PatchU32(4, static_cast<std::uint32_t>(d.GetCurrentPosition()));
    d.PadLastByte();
    return {"multi_record_text", d.GetBuffer(), {1}};
}

}  // namespace flio_handmade
