// The built-in demo movie of `flio demo`. It is built through the library's public
// headers only, the way a host application builds a movie, and exercises every
// kind of content the writer supports: shapes with every fill and line style,
// animation of placements, a forced background colour, lossless and JPEG bitmaps
// with bitmap fills, an event sound, filters and blend modes.
//
// The scene is laid out on a 640 x 520 pixel stage in four bands:
//   y   0-150  shapes: a moving rectangle, a scaling circle with a linear gradient,
//              a rotating star with a radial gradient, a hairline outline whose
//              colour transform cycles, a shape replaced by another, a shape removed
//   y 165-305  bitmaps (32-bit, with alpha, JPEG, tiled) and the blend-mode group
//   y 315-460  one placement per filter
//   y 465-520  static text in a bold and a regular face of a font drawn by the demo
#pragma once

#include <memory>
#include <vector>

#include "flio/flaGeometry.h"
#include "flio/flaMatrix.h"
#include "flio/flaMovie.h"
#include "flio/flaRecords.h"
#include "flio/flaText.h"

class flaColorXForm;

namespace flio_demo {

constexpr int kStageWidth = 640;
constexpr int kStageHeight = 520;
constexpr int kFrameCount = 60;
constexpr int kFrameRate = 24;

// The frame from which the background colour changes (painted by the forced
// background shape from there on).
constexpr int kBackgroundChangeFrame = 40;
// Frames at which the demo's timeline events happen.
constexpr int kReplaceFrame = 24;       // the square at kDepthReplaced becomes a hexagon
constexpr int kRemoveFrame = 36;        // the diamond at kDepthRemoved disappears
constexpr int kSoundStartFrame = 2;     // the event sound starts
constexpr int kSoundStopFrame = 44;     // and is stopped
constexpr int kBlendChangeFrame = 30;   // the blend mode at kDepthBlendChanging changes

// Depths. Depth 1 belongs to the forced background shape.
constexpr int kDepthMoving = 10;
constexpr int kDepthScaling = 11;
constexpr int kDepthRotating = 12;
constexpr int kDepthRecoloured = 13;
constexpr int kDepthReplaced = 14;
constexpr int kDepthRemoved = 15;
constexpr int kDepthAlphaBacking = 19;
constexpr int kDepthBitmapOpaque = 20;
constexpr int kDepthBitmapAlpha = 21;
constexpr int kDepthBitmapJpeg = 22;
constexpr int kDepthBitmapTiled = 23;
constexpr int kDepthFirstFilter = 30;  // 30 to 37, one per filter type
constexpr int kDepthBlendBase = 40;
constexpr int kDepthFirstBlend = 41;   // 41 to 43
constexpr int kDepthBlendChanging = 43;
constexpr int kDepthFirstText = 50;    // 50 to 59, text (50 regular, 51 bold)

// What the demo movie uses without owning it, as a host keeps it: the glyph
// outlines of its fonts (a font refers to the host's glyphs). It must outlive
// every write of the movie.
struct DemoHostData {
    std::vector<std::unique_ptr<flaGlyphGeometry>> glyphs;
};

// Builds the whole demo into `movie`, which must be a fresh movie constructed with
// kStageWidth x kStageHeight; what the movie only refers to goes into `host`. The
// result is the same on every run.
void BuildDemoMovie(flaMovie& movie, DemoHostData& host);

// The parts, in the order BuildDemoMovie calls them (after creating the frames).
void BuildDemoShapes(flaMovie& movie);
void BuildDemoBitmaps(flaMovie& movie);
void BuildDemoSound(flaMovie& movie);
void BuildDemoFilters(flaMovie& movie);
void BuildDemoText(flaMovie& movie, DemoHostData& host);

// Helpers shared by the parts. Positions and sizes are in stage pixels; the
// helpers convert them to model units (1.0 = stage width).
float Units(float pixels);
flaPoint Pt(float xPixels, float yPixels);
// Scale, then rotate (degrees, clockwise on screen), then translate (pixels).
flaMatrix Placement(float xPixels, float yPixels, float scaleX = 1.0f, float scaleY = 1.0f, float degrees = 0.0f);

// A new empty shape with the movie's next id, already owned by the movie.
flaGeometry* NewShape(flaMovie& movie);
// Closed outlines drawn clockwise on screen, so the fill is on the right of every
// edge; fill or line may be null.
void AddRect(flaSubGeometry* sub, float x0, float y0, float x1, float y1, const flaColor* fill,
             const flaColor* line);
void AddPolygon(flaSubGeometry* sub, const std::vector<flaPoint>& pixels, const flaColor* fill,
                const flaColor* line);
// An ellipse of eight quadratic curves.
void AddEllipse(flaSubGeometry* sub, float cx, float cy, float rx, float ry, const flaColor* fill,
                const flaColor* line);

// Places `character` at `depth` in frames first..last (inclusive) with the same matrix.
void PlaceInFrames(flaMovie& movie, flaCharacter* character, int depth, int first, int last, const flaMatrix& m);

// The JPEG image kept in tools/flio/data/demo.jpg, embedded at build time.
extern const unsigned char kDemoJpeg[];
extern const unsigned int kDemoJpegSize;

}  // namespace flio_demo
