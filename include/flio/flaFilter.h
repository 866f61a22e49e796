// Display-object filters and blend modes carried by PlaceObject3 placements: the
// abstract FLIO::flaFilter, its eight concrete filters (shared through
// UT_SharedPtr), their creation functions, and each filter's FILTER record.
#pragma once

#include <vector>

#include "flio/UT_SharedPtr.h"
#include "flio/flaRecords.h"

class flaDump;
class flaRead;

namespace FLIO {

// The SWF BlendMode byte values, written unchanged. The underlying type is fixed so
// that any byte read from a file converts to it without undefined behaviour.
enum eBlendMode : int {
    BlendNormal = 1,
    BlendLayer = 2,
    BlendMultiply = 3,
    BlendScreen = 4,
    BlendLighten = 5,
    BlendDarken = 6,
    BlendDifference = 7,
    BlendAdd = 8,
    BlendSubtract = 9,
    BlendInvert = 10,
    BlendAlpha = 11,
    BlendErase = 12,
    BlendOverlay = 13,
    BlendHardlight = 14
};

class flaFilter : public UT_ShareBase {
public:
    // The SWF filter id. Fixed underlying type: any type byte from a file may be
    // converted and handed to CreateFilter, which rejects the unknown ones.
    enum FilterType : int {
        DropShadow = 0,
        Blur = 1,
        Glow = 2,
        Bevel = 3,
        GradientGlow = 4,
        Convolution = 5,
        ColorMatrix = 6,
        GradientBevel = 7
    };

    virtual ~flaFilter();
    // The whole FILTER record, filter-type byte first. With the stream's fullStyles
    // option every field is written as it stands (signed fixed-point values, every
    // flag, the pass count), so that a record read faithfully comes back byte for
    // byte; without it, as the classic writer always has.
    virtual void DumpInFile(flaDump& dump) const = 0;
    // The record body that follows the filter-type byte. A faithful reader
    // (flaRead::IsFaithful) keeps every field as the record has it; otherwise the
    // classic reading, which misreads a drop shadow's fields, negative fixed-point
    // values and floats.
    virtual void ReadFromFile(flaRead& reader) = 0;
    virtual bool IsEqual(const flaFilter* other) const = 0;
    virtual FilterType GetFilterType() const = 0;

    // A default filter of that type; null for an unknown type.
    static UT_SharedPtr<flaFilter> CreateFilter(FilterType type);
    static UT_SharedPtr<flaFilter> CreateFilter_Blur(double const& blurX, double const& blurY,
                                                     unsigned short const& passes);
    static UT_SharedPtr<flaFilter> CreateFilter_DropShadow(flaRGBA const& colour, double const& blurX,
                                                           double const& blurY, double const& angle,
                                                           double const& distance, float const& strength,
                                                           unsigned short const& passes, bool const& innerShadow,
                                                           bool const& knockout, bool const& compositeSource);
    static UT_SharedPtr<flaFilter> CreateFilter_Glow(flaRGBA colour, double const& blurX, double const& blurY,
                                                     float const& strength, unsigned short const& passes,
                                                     bool const& innerGlow, bool const& knockout,
                                                     bool const& compositeSource);
    static UT_SharedPtr<flaFilter> CreateFilter_Bevel(flaRGBA const& shadowColour, flaRGBA const& highlightColour,
                                                      double const& blurX, double const& blurY, double const& angle,
                                                      double const& distance, float const& strength,
                                                      unsigned short const& passes, bool const& innerShadow,
                                                      bool const& knockout, bool const& compositeSource,
                                                      bool const& onTop);
    static UT_SharedPtr<flaFilter> CreateFilter_GradientGlow(
        std::vector<flaRGBA> const& colours, std::vector<unsigned char> const& ratios, double const& blurX,
        double const& blurY, double const& angle, double const& distance, float const& strength,
        unsigned short const& passes, bool const& innerShadow, bool const& knockout, bool const& compositeSource,
        bool const& onTop);
    static UT_SharedPtr<flaFilter> CreateFilter_GradientBevel(
        std::vector<flaRGBA> const& colours, std::vector<unsigned char> const& ratios, double const& blurX,
        double const& blurY, double const& angle, double const& distance, float const& strength,
        unsigned short const& passes, bool const& innerShadow, bool const& knockout, bool const& compositeSource,
        bool const& onTop);
    static UT_SharedPtr<flaFilter> CreateFilter_Convolution(unsigned char const& matrixX,
                                                            unsigned char const& matrixY, float const& divisor,
                                                            float const& bias, std::vector<float> const& matrix,
                                                            flaRGBA const& defaultColour, bool const& clamp,
                                                            bool const& preserveAlpha);
    static UT_SharedPtr<flaFilter> CreateFilter_ColorMatrix(std::vector<float> const& matrix);
};

// The concrete filters; fields are public so that a host can inspect them.
class flaFilterBlur : public flaFilter {
public:
    void DumpInFile(flaDump& dump) const override;
    void ReadFromFile(flaRead& reader) override;
    bool IsEqual(const flaFilter* other) const override;
    FilterType GetFilterType() const override { return Blur; }

    double blurX = 0, blurY = 0;
    unsigned char passes = 0;
};

class flaFilterDropShadow : public flaFilter {
public:
    void DumpInFile(flaDump& dump) const override;
    void ReadFromFile(flaRead& reader) override;
    bool IsEqual(const flaFilter* other) const override;
    FilterType GetFilterType() const override { return DropShadow; }

    flaRGBA colour{0, 0, 0, 0};
    double blurX = 0, blurY = 0, angle = 0, distance = 0;
    float strength = 0;
    bool innerShadow = false, knockout = false, compositeSource = true;
    unsigned char passes = 0;
};

class flaFilterGlow : public flaFilter {
public:
    void DumpInFile(flaDump& dump) const override;
    void ReadFromFile(flaRead& reader) override;
    bool IsEqual(const flaFilter* other) const override;
    FilterType GetFilterType() const override { return Glow; }

    flaRGBA colour{0, 0, 0, 255};
    double blurX = 0, blurY = 0;
    float strength = 0;
    bool innerGlow = false, knockout = false, compositeSource = true;
    unsigned char passes = 0;
};

class flaFilterBevel : public flaFilter {
public:
    void DumpInFile(flaDump& dump) const override;
    void ReadFromFile(flaRead& reader) override;
    bool IsEqual(const flaFilter* other) const override;
    FilterType GetFilterType() const override { return Bevel; }

    flaRGBA shadowColour{0, 0, 0, 255}, highlightColour{0, 0, 0, 255};
    double blurX = 0, blurY = 0, angle = 0, distance = 0;
    float strength = 0;
    bool innerShadow = false, knockout = false, compositeSource = true, onTop = false;
    unsigned char passes = 0;
};

// Shared layout of the gradient glow and gradient bevel filters.
class flaFilterGradientBase : public flaFilter {
public:
    void DumpInFile(flaDump& dump) const override;
    void ReadFromFile(flaRead& reader) override;
    bool IsEqual(const flaFilter* other) const override;

    std::vector<flaRGBA> colours;
    std::vector<unsigned char> ratios;
    double blurX = 0, blurY = 0, angle = 0, distance = 0;
    float strength = 0;
    bool innerShadow = false, knockout = false, compositeSource = true, onTop = false;
    unsigned char passes = 0;
};

class flaFilterGradientGlow : public flaFilterGradientBase {
public:
    FilterType GetFilterType() const override { return GradientGlow; }
};

class flaFilterGradientBevel : public flaFilterGradientBase {
public:
    FilterType GetFilterType() const override { return GradientBevel; }
};

class flaFilterConvolution : public flaFilter {
public:
    void DumpInFile(flaDump& dump) const override;
    void ReadFromFile(flaRead& reader) override;
    bool IsEqual(const flaFilter* other) const override;
    FilterType GetFilterType() const override { return Convolution; }

    unsigned char matrixX = 0, matrixY = 0;
    float divisor = 0, bias = 0;
    std::vector<float> matrix;
    flaRGBA defaultColour{0, 0, 0, 0};
    bool clamp = false, preserveAlpha = false;
};

class flaFilterColorMatrix : public flaFilter {
public:
    void DumpInFile(flaDump& dump) const override;
    void ReadFromFile(flaRead& reader) override;
    bool IsEqual(const flaFilter* other) const override;
    FilterType GetFilterType() const override { return ColorMatrix; }

    std::vector<float> matrix;
};

}  // namespace FLIO

// A placement's filters, shared between placements.
typedef std::vector<UT_SharedPtr<FLIO::flaFilter>> flaFilterList;
