// Movie-level records: flaQKData / flaPalette, the host's palette information
// carried in the private tag 731 (colour keys of shape styles mapped to named
// colours of named palettes), and flaUnsupported, the kinds of SWF element an
// import met but could not represent.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "flio/UT_String.h"

class flaDump;
class flaRead;

class flaPalette {
public:
    struct Palette {
        UT_String name;
    };

    class ColourInfo {
    public:
        const UT_String& GetColourName() const { return colourName; }
        const Palette* GetPalette() const { return palette; }
        const UT_String& GetPaletteName() const { return palette->name; }
        std::int64_t GetColourId() const { return colourId; }
        std::uint32_t GetIndex() const { return index; }

    protected:
        friend class flaPalette;
        ColourInfo(const UT_String& name, const Palette* pal, std::int64_t id, std::uint32_t idx)
            : colourName(name), palette(pal), colourId(id), index(idx) {}

    private:
        UT_String colourName;
        const Palette* palette;
        std::int64_t colourId;
        std::uint32_t index;
    };

    static const unsigned long MagicPAL1 = 0x50414C31;  // "PAL1"
    static const unsigned long MagicPALT = 0x50414C54;  // "PALT", the legacy layout

    flaPalette() = default;
    explicit flaPalette(unsigned long magic) : legacy(magic == MagicPALT) {}
    flaPalette(const flaPalette&) = delete;
    flaPalette& operator=(const flaPalette&) = delete;
    ~flaPalette();

    // key = (flag ? 0x10000 : 0) | (high << 17) | (low & 0xFFFF)
    static unsigned long CreateFlashKey(int low, int high, bool flag);

    void AddColourIndex(unsigned long key, std::int64_t colourId, const UT_String& colourName,
                        const UT_String& paletteName);
    // Keys are 32-bit values: only the low 32 bits of a key are used.
    const ColourInfo* GetColourInformation(unsigned long key) const;
    // The colour at that index (null past the end), for hosts that list the colours.
    const ColourInfo* GetColour(std::size_t index) const;
    bool IsColourPresent(unsigned long key) const { return GetColourInformation(key) != nullptr; }
    std::size_t GetColourCount() const { return colours.size(); }
    std::size_t GetKeyCount() const { return colourMap.size(); }
    bool IsLegacy() const { return legacy; }

    void Dump(flaDump& dump) const;
    bool Read(flaRead& reader);

private:
    Palette* GetPalette(const UT_String& name);

    std::map<std::uint32_t, ColourInfo*> colourMap;
    std::vector<ColourInfo*> colours;
    std::vector<std::unique_ptr<Palette>> palettes;
    bool legacy = false;
};

class flaQKData {
public:
    flaQKData() = default;
    flaQKData(const flaQKData&) = delete;
    flaQKData& operator=(const flaQKData&) = delete;
    ~flaQKData();

    void Dump(flaDump& dump) const;  // tag 731, only when a palette exists
    bool Read(flaRead& reader);
    flaPalette* GetPaletteInformation();  // creates an empty palette on first use
    const flaPalette* GetExistingPaletteInformation() const { return palette; }

private:
    flaPalette* palette = nullptr;
};

class flaUnsupported {
public:
    enum UnsupportedElement {
        TextOrEditText = 0,   // DefineText2, DefineEditText
        MorphShape = 1,       // DefineMorphShape
        Action = 2,           // DoAction
        Button = 3,           // DefineButton, DefineButton2, DefineButtonSound, DefineButtonCxform
        LosslessBitmap = 5    // DefineBitsLossless, DefineBitsLossless2
    };
    typedef std::vector<UnsupportedElement>::const_iterator const_iterator;

    void AddUnsupportedElement(const UnsupportedElement& e) {
        if (!UnsupportedElementAlreadyInserted(e)) elements.push_back(e);
    }
    bool UnsupportedElementAlreadyInserted(const UnsupportedElement& e) const;
    std::size_t GetUnsupportedElementCount() const { return elements.size(); }
    const_iterator GetUnsupportedElementBegin() const { return elements.begin(); }
    const_iterator GetUnsupportedElementEnd() const { return elements.end(); }
    // A short English name of the element, for reports.
    static const char* GetElementName(UnsupportedElement e);

private:
    std::vector<UnsupportedElement> elements;
};
