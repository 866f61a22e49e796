// Small movies built tag by tag for what the shared corpus lacks: timing and fill
// cases that a faithful round trip must keep. Used by the tests, and written to a
// folder by the handmade_movies program so that the player can render them.
#pragma once

#include <string>
#include <vector>

namespace flio_handmade {

struct Movie {
    std::string name;                  // a file name, "<name>.swf"
    std::vector<unsigned char> bytes;  // an uncompressed SWF file
    std::vector<int> frames;           // frames worth comparing in the player
};

// A sprite whose own timeline moves a square, faded by a colour transform that
// changes on every frame of the main timeline: its animation must go on.
Movie SpriteFadedByColourTransforms();
// A sprite removed and placed again at its depth within one frame: it restarts.
Movie SpriteReplacedInOneFrame();
// A main timeline of five frames holding a sprite of thirty: the main timeline
// loops after its fifth frame.
Movie ShortMainTimeline();
// A 4 x 4 bitmap filling squares far larger than itself: clipped (its edge pixels
// stretch out) and tiled, smoothed and not.
Movie ClippedBitmapFills();
// A movie at 12.5 frames per second (an 8.8 rate with a fraction).
Movie FractionalFrameRate();

// The ids and stage of the static-text movie.
namespace text {
const int kStageTwips = 11000;  // 550 pixels
const int kFont2 = 1, kFont3 = 2, kText = 3, kText2 = 4;
}  // namespace text
// White stage; a DefineFont2 and a DefineFont3 font of one square glyph each; a
// DefineText of three lines that sets its colour once, whose records inherit colour,
// y and pen from the record before (one names a missing font, one a missing glyph);
// a DefineText2 in half-transparent green on the DefineFont3 font.
Movie MultiRecordText();

std::vector<Movie> All();

}  // namespace flio_handmade
