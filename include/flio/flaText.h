// Static text and glyph outlines. flaGlyphGeometry is the outline of one glyph, a
// shape in font units (1024 per em) written without a tag inside DefineFont2 and
// decoded from the fonts of an imported file. flaTextGeometry is one line of text
// in one face, size and colour, written as a DefineText tag with a single text
// record; a DefineText (or, in a faithful import, DefineText2) read from a file can
// be turned into glyph outlines ("bloated") through the movie's bloated fonts.
#pragma once

#include <memory>
#include <vector>

#include "flio/UT_String.h"
#include "flio/flaCharacter.h"
#include "flio/flaGeometry.h"
#include "flio/flaMatrix.h"
#include "flio/flaRecords.h"

class flaDump;
class flaRead;
class flaMovie;
class flaFont;

class flaGlyphGeometry : public flaGeometry {
public:
    flaGlyphGeometry();
    ~flaGlyphGeometry() override;

    // The SHAPE of the glyph: index bit counts, records, end record, padded to a
    // byte. No tag header.
    void DumpCharacterInFile(flaDump& dump) const override;

    // The reader (not owned) that holds the outline of an imported glyph.
    void setFlaReader(flaRead* r) { glyphReader = r; }
    // Decodes one SHAPE from the reader at its current position into a first
    // layer whose fills are opaque black. Throws flaRead::readError on malformed
    // data, leaving the glyph empty.
    void buildBloated();

    // Appends, for every layer of source, a new layer with copies of its strokes,
    // recoloured with colour (opaque black when null) and transformed by matrix
    // when one is given.
    void copyStrokeData(const flaGeometry& source, flaMatrix* matrix, const FLIO::flaRGBA* colour);

    // Fill colours given to a decoded outline: one per index its bit count can
    // name, but never more than this (fonts use index 1; a larger index is drawn
    // with the last colour).
    static const int kMaxDecodedFills = 16;

private:
    flaRead* glyphReader = nullptr;
};

class flaTextGeometry : public flaCharacter {
public:
    explicit flaTextGeometry(int id);
    // A DefineText read from a file: the reader stands after the character id; the
    // rest of the tag is kept for BuildBloated and the reader moves to its end.
    flaTextGeometry(int id, flaRead& reader);
    // The same for a DefineText2 when alphaColours is true: its record colours
    // carry alpha (RGBA), which the outlines keep.
    flaTextGeometry(int id, flaRead& reader, bool alphaColours);
    flaTextGeometry(const flaTextGeometry&) = delete;
    flaTextGeometry& operator=(const flaTextGeometry&) = delete;
    ~flaTextGeometry() override;

    void setText(const UT_String& t) { text = t; }
    const UT_String& getText() const { return text; }
    void setFontId(int id_) { fontId = id_; }
    int getFontId() const { return fontId; }
    void setFontSize(unsigned int size) {
        if (size != 0) fontSize = size;
    }
    unsigned int getFontSize() const { return fontSize; }
    void setColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a);
    void getColor(unsigned char* r, unsigned char* g, unsigned char* b, unsigned char* a) const;
    void setRecordOffset(const flaPoint& offset, const flaPoint& offsetNative);
    const flaPoint& getRecordOffset() const { return recordOffset; }
    const flaPoint& getRecordOffsetNative() const { return recordOffsetNative; }
    const flaBoundingBox& getBBox() const { return bbox; }
    void UpdateBBox(float x, float y) { bbox.UpdateBBox(flaPoint(x, y)); }

    // Grows the array with zeros when index lies beyond it.
    void setKerning(unsigned int index, int value);
    const std::vector<int>& getKerning() const { return kerning; }
    // The largest magnitude among the entries (0 when there are none).
    int getLargestKerning() const;

    // Stored only; the DefineText tag always carries the identity matrix.
    void SetTransformation(const flaMatrix& m) override;
    bool HasTransformation() const { return hasTransformation; }
    const flaMatrix& GetTransformation() const { return transformation; }

    // Glyph outlines of a text read from a file, copied out of the movie's
    // bloated fonts. Each record takes the font and height of the record before
    // when it gives none. When the text's reader is faithful (flaRead::IsFaithful)
    // it also keeps, as players draw it, the colour and y offset of the record
    // before, and starts where the glyphs of the record before ended unless it
    // gives an x offset; the classic reading starts each record that does not give
    // them in opaque black at x and y 0. A record whose font is missing draws
    // nothing and, like a glyph its font lacks in a faithful reading, does not
    // move the pen. Throws flaRead::readError on a malformed body, or when the
    // text would copy more than about four million outline points, leaving the
    // drawing empty.
    void BuildBloated(const flaMovie& movie);
    void DestroyBloated();
    flaGeometry& getDrawing() { return drawing; }
    const flaGeometry& getDrawing() const { return drawing; }
    bool HasStoredData() const { return reader != nullptr; }
    // True for a DefineText2 read from a file (colours with alpha).
    bool HasAlphaColours() const { return alphaColours; }

private:
    // DefineText. The font is looked up in the stream's font table, or in the
    // current movie's when the stream has none. A text read from a file is written
    // as its outlines instead (the drawing made by BuildBloated, as a DefineShape3
    // with the text's id), since the fonts it refers to are not written.
    void DumpCharacterInFile(flaDump& dump) const override;

    flaBoundingBox bbox;
    UT_String text;
    int fontId = -1;
    unsigned int fontSize = 32;
    unsigned char color[4] = {0, 0, 0, 255};
    flaPoint recordOffset{0.0f, 0.0f};
    flaPoint recordOffsetNative{0.0f, 0.0f};
    std::vector<int> kerning;
    std::unique_ptr<flaRead> reader;
    flaGlyphGeometry drawing;
    bool hasTransformation = false;
    flaMatrix transformation;
    bool alphaColours = false;
};
