// Assembles the demo movie from its parts.
#include "demo_movie.h"

#include "flio/flaFrame.h"

namespace flio_demo {

void BuildDemoMovie(flaMovie& movie, DemoHostData& host) {
    movie.SetFrameRate(kFrameRate);
    movie.CreateFrames(kFrameCount);

    // A pale blue stage that turns pale orange at kBackgroundChangeFrame. Every frame
    // carries its colour (a frame whose colour differs from the one before writes a
    // new background colour); players keep the first one, so the later colour is
    // painted by the movie's forced background shape.
    for (int i = 0; i < kFrameCount; ++i) {
        if (i < kBackgroundChangeFrame)
            movie.GetFrame(i)->SetBackGroundColor(225, 235, 250, 255);
        else
            movie.GetFrame(i)->SetBackGroundColor(250, 230, 205, 255);
    }
    for (int i = kBackgroundChangeFrame; i < kFrameCount; ++i) movie.ForceBackgroundColour(i);

    BuildDemoShapes(movie);
    BuildDemoBitmaps(movie);
    BuildDemoSound(movie);
    BuildDemoFilters(movie);
    BuildDemoText(movie, host);
}

}  // namespace flio_demo
