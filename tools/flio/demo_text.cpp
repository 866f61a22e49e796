// The demo's text band: the place where static text and its fonts go once the
// library writes them. It owns the band y 465-520 of the stage and the depths
// kDepthFirstText to kDepthFirstText + 9; nothing else in the demo draws there.
// Until then the band stays empty.
#include "demo_movie.h"

namespace flio_demo {

void BuildDemoText(flaMovie& movie) {
    // Text goes here: create the font(s) and a static text with a line or two,
    // add them to `movie`, and place the text in every frame at kDepthFirstText.
    (void)movie;
}

}  // namespace flio_demo
