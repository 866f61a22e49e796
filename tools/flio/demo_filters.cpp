// The demo's filters and blend modes: one placement per filter type, and a group of
// overlapping discs drawn with blend modes, one of which changes during the movie.
#include <vector>

#include "demo_movie.h"
#include "flio/flaFilter.h"
#include "flio/flaFrame.h"
#include "flio/flaStyle.h"

namespace flio_demo {

namespace {

using FLIO::flaFilter;
using FLIO::flaRGBA;

// The eight filters, in filter-type order (drop shadow first).
std::vector<UT_SharedPtr<flaFilter>> AllFilters() {
    const flaRGBA black(0, 0, 0, 200), white(255, 255, 255, 255), gold(255, 200, 0, 255);
    std::vector<UT_SharedPtr<flaFilter>> f;
    f.push_back(flaFilter::CreateFilter_DropShadow(black, 4, 4, 0.785398, 5, 1.0f, 1, false, false, true));
    f.push_back(flaFilter::CreateFilter_Blur(6, 6, 2));
    f.push_back(flaFilter::CreateFilter_Glow(gold, 10, 10, 2.0f, 1, false, false, true));
    f.push_back(flaFilter::CreateFilter_Bevel(black, white, 4, 4, 0.785398, 4, 1.0f, 1, true, false, true, false));
    f.push_back(flaFilter::CreateFilter_GradientGlow({flaRGBA(255, 0, 0, 0), flaRGBA(255, 0, 0, 255),
                                                      flaRGBA(255, 255, 0, 255)},
                                                     {0, 128, 255}, 10, 10, 0.785398, 0, 1.5f, 1, false, false,
                                                     true, false));
    // Edge detection.
    f.push_back(flaFilter::CreateFilter_Convolution(3, 3, 1.0f, 0.0f, {-1, -1, -1, -1, 8, -1, -1, -1, -1},
                                                    flaRGBA(0, 0, 0, 0), true, true));
    // Swaps red and blue.
    f.push_back(flaFilter::CreateFilter_ColorMatrix({0, 0, 1, 0, 0,  //
                                                     0, 1, 0, 0, 0,  //
                                                     1, 0, 0, 0, 0,  //
                                                     0, 0, 0, 1, 0}));
    f.push_back(flaFilter::CreateFilter_GradientBevel({flaRGBA(255, 255, 255, 255), flaRGBA(128, 128, 128, 0),
                                                       flaRGBA(0, 0, 0, 255)},
                                                      {0, 128, 255}, 5, 5, 0.785398, 4, 1.0f, 1, true, false, true,
                                                      false));
    return f;
}

flaGeometry* Square(flaMovie& movie, float half, flaRGBA colour) {
    flaGeometry* shape = NewShape(movie);
    flaSubGeometry* sub = shape->AddChildGeometry();
    AddRect(sub, -half, -half, half, half, sub->CreateSolidColour(colour, 0), nullptr);
    return shape;
}

flaGeometry* Disc(flaMovie& movie, float radius, flaRGBA colour) {
    flaGeometry* shape = NewShape(movie);
    flaSubGeometry* sub = shape->AddChildGeometry();
    AddEllipse(sub, 0, 0, radius, radius, sub->CreateSolidColour(colour, 0), nullptr);
    return shape;
}

}  // namespace

void BuildDemoFilters(flaMovie& movie) {
    const int last = kFrameCount - 1;
    const std::vector<UT_SharedPtr<flaFilter>> filters = AllFilters();
    // One shape shared by the eight placements, so that only the filters differ.
    flaGeometry* tile = Square(movie, 25, flaRGBA(70, 130, 220, 255));
    for (std::size_t i = 0; i < filters.size(); ++i) {
        flaCharacterInfo info(tile, kDepthFirstFilter + static_cast<int>(i),
                              Placement(55 + 75.0f * static_cast<float>(i), 390), -1);
        info.SetFilterList(flaFilterList{filters[i]});
        for (int f = 0; f <= last; ++f) movie.GetFrame(f)->PlaceNewCharacterInFrame(info);
    }

    // Blend modes over an orange square: multiply, screen, and difference turning
    // into add halfway through.
    PlaceInFrames(movie, Square(movie, 45, flaRGBA(240, 150, 40, 255)), kDepthBlendBase, 0, last,
                  Placement(565, 235));
    const FLIO::eBlendMode modes[] = {FLIO::BlendMultiply, FLIO::BlendScreen, FLIO::BlendDifference};
    const flaRGBA colours[] = {flaRGBA(60, 160, 230, 255), flaRGBA(60, 200, 80, 255), flaRGBA(220, 60, 200, 255)};
    const float xs[] = {545, 585, 565}, ys[] = {215, 215, 255};
    for (int d = 0; d < 3; ++d) {
        flaGeometry* disc = Disc(movie, 28, colours[d]);
        for (int f = 0; f <= last; ++f) {
            flaCharacterInfo info(disc, kDepthFirstBlend + d, Placement(xs[d], ys[d]), -1);
            const bool changed = kDepthFirstBlend + d == kDepthBlendChanging && f >= kBlendChangeFrame;
            info.SetBlendMode(changed ? FLIO::BlendAdd : modes[d]);
            movie.GetFrame(f)->PlaceNewCharacterInFrame(info);
        }
    }
}

}  // namespace flio_demo
