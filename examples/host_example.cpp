// A host application writing a movie through flio: a red square with a black
// outline that slides across a 400 x 300 stage for one second, written as a
// compressed SWF file.
//   host_example [OUT.swf]
#include <cstdio>

#include "flio/PL_File.h"
#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"

int main(int argc, char** argv) {
    const char* file = argc > 1 ? argv[1] : "host_example.swf";
    const int width = 400, height = 300;
    flaMovie movie(width, height);  // model units: 1.0 is the stage width
    movie.SetFrameRate(24);
    movie.CreateFrames(24);

    // A 50-pixel square centred on its origin: one clockwise path, fill on its right.
    auto* square = new flaGeometry(movie.GetNewCharacterId());
    movie.AddNewCharacter(square);  // the movie owns it from here on
    flaSubGeometry* layer = square->AddChildGeometry();
    const flaColor* red = layer->CreateSolidColour(FLIO::flaRGBA(220, 30, 30, 255), 0);
    const flaColor* outline = layer->CreateLineColour(2.0f / width, FLIO::flaRGBA(0, 0, 0, 255), 0);
    const float h = 25.0f / width;
    auto* outlinePath = new flaStroke;
    for (const flaPoint& p : {flaPoint(-h, -h), flaPoint(h, -h), flaPoint(h, h), flaPoint(-h, h), flaPoint(-h, -h)})
        outlinePath->AddPoint(p);
    layer->AddStroke(outlinePath, new flaStyle(flaStyle::Straight, nullptr, red, outline));

    // Place it at depth 2 in every frame, a little further right each time.
    for (int i = 0; i < 24; ++i) {
        const float x = (50.0f + 12.0f * static_cast<float>(i)) / width, y = 150.0f / width;
        movie.GetFrame(i)->PlaceNewCharacterInFrame(flaCharacterInfo(square, 2, flaMatrix(1, 0, 0, 1, x, y), -1));
    }

    flaDump dump(width, nullptr);
    if (!movie.DumpMovieToFile(PL_FileSpec(file), dump, /*compress=*/true)) return 1;
    std::printf("wrote %s\n", file);
    return 0;
}
