// The filter base: the factory by filter type and one creation function per
// filter type, each copying its arguments into the new filter's fields.
#include "flio/flaFilter.h"

namespace FLIO {

namespace {

// A new filter wrapped with its first reference.
template <class T>
UT_SharedPtr<flaFilter> Share(T* filter) {
    return UT_SharedPtr<flaFilter>(filter);
}

// The passes argument is 16-bit but the filters keep it in 8 bits.
unsigned char Passes8(unsigned short passes) { return static_cast<unsigned char>(passes & 0xFF); }

template <class T>
UT_SharedPtr<flaFilter> CreateGradient(std::vector<flaRGBA> const& colours, std::vector<unsigned char> const& ratios,
                                       double blurX, double blurY, double angle, double distance, float strength,
                                       unsigned short passes, bool innerShadow, bool knockout,
                                       bool compositeSource, bool onTop) {
    T* f = new T;
    f->colours = colours;
    f->ratios = ratios;
    f->blurX = blurX;
    f->blurY = blurY;
    f->angle = angle;
    f->distance = distance;
    f->strength = strength;
    f->innerShadow = innerShadow;
    f->knockout = knockout;
    f->compositeSource = compositeSource;
    f->onTop = onTop;
    f->passes = Passes8(passes);
    return Share(f);
}

}  // namespace

flaFilter::~flaFilter() = default;

UT_SharedPtr<flaFilter> flaFilter::CreateFilter(FilterType type) {
    switch (type) {
        case DropShadow: return Share(new flaFilterDropShadow);
        case Blur: return Share(new flaFilterBlur);
        case Glow: return Share(new flaFilterGlow);
        case Bevel: return Share(new flaFilterBevel);
        case GradientGlow: return Share(new flaFilterGradientGlow);
        case Convolution: return Share(new flaFilterConvolution);
        case ColorMatrix: return Share(new flaFilterColorMatrix);
        case GradientBevel: return Share(new flaFilterGradientBevel);
    }
    return UT_SharedPtr<flaFilter>();
}

UT_SharedPtr<flaFilter> flaFilter::CreateFilter_Blur(double const& blurX, double const& blurY,
                                                     unsigned short const& passes) {
    auto* f = new flaFilterBlur;
    f->blurX = blurX;
    f->blurY = blurY;
    f->passes = Passes8(passes);
    return Share(f);
}

UT_SharedPtr<flaFilter> flaFilter::CreateFilter_DropShadow(flaRGBA const& colour, double const& blurX,
                                                           double const& blurY, double const& angle,
                                                           double const& distance, float const& strength,
                                                           unsigned short const& passes, bool const& innerShadow,
                                                           bool const& knockout, bool const& compositeSource) {
    auto* f = new flaFilterDropShadow;
    f->colour = colour;
    f->blurX = blurX;
    f->blurY = blurY;
    f->angle = angle;
    f->distance = distance;
    f->strength = strength;
    f->innerShadow = innerShadow;
    f->knockout = knockout;
    f->compositeSource = compositeSource;
    f->passes = Passes8(passes);
    return Share(f);
}

UT_SharedPtr<flaFilter> flaFilter::CreateFilter_Glow(flaRGBA colour, double const& blurX, double const& blurY,
                                                     float const& strength, unsigned short const& passes,
                                                     bool const& innerGlow, bool const& knockout,
                                                     bool const& compositeSource) {
    auto* f = new flaFilterGlow;
    f->colour = colour;
    f->blurX = blurX;
    f->blurY = blurY;
    f->strength = strength;
    f->innerGlow = innerGlow;
    f->knockout = knockout;
    f->compositeSource = compositeSource;
    f->passes = Passes8(passes);
    return Share(f);
}

UT_SharedPtr<flaFilter> flaFilter::CreateFilter_Bevel(flaRGBA const& shadowColour, flaRGBA const& highlightColour,
                                                      double const& blurX, double const& blurY, double const& angle,
                                                      double const& distance, float const& strength,
                                                      unsigned short const& passes, bool const& innerShadow,
                                                      bool const& knockout, bool const& compositeSource,
                                                      bool const& onTop) {
    auto* f = new flaFilterBevel;
    f->shadowColour = shadowColour;
    f->highlightColour = highlightColour;
    f->blurX = blurX;
    f->blurY = blurY;
    f->angle = angle;
    f->distance = distance;
    f->strength = strength;
    f->innerShadow = innerShadow;
    f->knockout = knockout;
    f->compositeSource = compositeSource;
    f->onTop = onTop;
    f->passes = Passes8(passes);
    return Share(f);
}

UT_SharedPtr<flaFilter> flaFilter::CreateFilter_GradientGlow(
    std::vector<flaRGBA> const& colours, std::vector<unsigned char> const& ratios, double const& blurX,
    double const& blurY, double const& angle, double const& distance, float const& strength,
    unsigned short const& passes, bool const& innerShadow, bool const& knockout, bool const& compositeSource,
    bool const& onTop) {
    return CreateGradient<flaFilterGradientGlow>(colours, ratios, blurX, blurY, angle, distance, strength, passes,
                                                 innerShadow, knockout, compositeSource, onTop);
}

UT_SharedPtr<flaFilter> flaFilter::CreateFilter_GradientBevel(
    std::vector<flaRGBA> const& colours, std::vector<unsigned char> const& ratios, double const& blurX,
    double const& blurY, double const& angle, double const& distance, float const& strength,
    unsigned short const& passes, bool const& innerShadow, bool const& knockout, bool const& compositeSource,
    bool const& onTop) {
    return CreateGradient<flaFilterGradientBevel>(colours, ratios, blurX, blurY, angle, distance, strength, passes,
                                                  innerShadow, knockout, compositeSource, onTop);
}

UT_SharedPtr<flaFilter> flaFilter::CreateFilter_Convolution(unsigned char const& matrixX,
                                                            unsigned char const& matrixY, float const& divisor,
                                                            float const& bias, std::vector<float> const& matrix,
                                                            flaRGBA const& defaultColour, bool const& clamp,
                                                            bool const& preserveAlpha) {
    auto* f = new flaFilterConvolution;
    f->matrixX = matrixX;
    f->matrixY = matrixY;
    f->divisor = divisor;
    f->bias = bias;
    f->matrix = matrix;
    f->defaultColour = defaultColour;
    f->clamp = clamp;
    f->preserveAlpha = preserveAlpha;
    return Share(f);
}

UT_SharedPtr<flaFilter> flaFilter::CreateFilter_ColorMatrix(std::vector<float> const& matrix) {
    auto* f = new flaFilterColorMatrix;
    f->matrix = matrix;
    return Share(f);
}

}  // namespace FLIO
