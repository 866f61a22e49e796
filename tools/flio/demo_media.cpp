// The demo's media: bitmaps made here (a 32-bit opaque one and one with alpha,
// both compressed here, since the library keeps bitmap data exactly as the tag
// carries it), the embedded JPEG image, shapes filled with them, and an event
// sound of 16-bit samples made here.
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "demo_movie.h"
#include "flio/flaBits.h"
#include "flio/flaFrame.h"
#include "flio/flaSound.h"
#include "flio/flaStyle.h"

namespace flio_demo {

namespace {

constexpr unsigned kBitmapSize = 64;

// zlib-compresses bytes into a new[] block, as a lossless bitmap keeps its data.
unsigned char* Compress(const std::vector<unsigned char>& raw, unsigned int& size) {
    uLongf length = compressBound(static_cast<uLong>(raw.size()));
    std::vector<unsigned char> out(length);
    if (compress2(out.data(), &length, raw.data(), static_cast<uLong>(raw.size()), Z_BEST_COMPRESSION) != Z_OK)
        throw std::runtime_error("cannot compress bitmap data");
    auto* block = new unsigned char[length];
    std::memcpy(block, out.data(), length);
    size = static_cast<unsigned int>(length);
    return block;
}

// A 64 x 64 opaque picture: a colour ramp with a checkerboard of darker squares.
// Format 5 of DefineBitsLossless stores each pixel as a reserved byte (written
// 255), red, green, blue.
flaBitsLossless* OpaqueBitmap() {
    std::vector<unsigned char> raw;
    raw.reserve(kBitmapSize * kBitmapSize * 4);
    for (unsigned y = 0; y < kBitmapSize; ++y)
        for (unsigned x = 0; x < kBitmapSize; ++x) {
            const bool dark = ((x / 8) + (y / 8)) % 2 == 1;
            const unsigned shade = dark ? 3 : 4;
            raw.push_back(255);
            raw.push_back(static_cast<unsigned char>(x * 4 * shade / 4));
            raw.push_back(static_cast<unsigned char>(y * 4 * shade / 4));
            raw.push_back(static_cast<unsigned char>((255 - (x + y) * 2) * shade / 4));
        }
    auto* bits = new flaBitsLossless;
    bits->format = 5;
    bits->width = kBitmapSize;
    bits->height = kBitmapSize;
    bits->colorTableSize = 0;
    bits->data = Compress(raw, bits->dataSize);
    return bits;
}

// A 64 x 64 disc that fades to transparent at its edge, in format 5 of
// DefineBitsLossless2: alpha, then red, green and blue premultiplied by alpha.
flaBitsLossless2* AlphaBitmap() {
    std::vector<unsigned char> raw;
    raw.reserve(kBitmapSize * kBitmapSize * 4);
    const int c = static_cast<int>(kBitmapSize) / 2;
    for (int y = 0; y < static_cast<int>(kBitmapSize); ++y)
        for (int x = 0; x < static_cast<int>(kBitmapSize); ++x) {
            const int d2 = (x - c) * (x - c) + (y - c) * (y - c);
            const int r2 = c * c;
            const unsigned alpha = d2 >= r2 ? 0u : static_cast<unsigned>(255 - 255 * d2 / r2);
            const unsigned red = x < c ? 255u : 40u, green = 40u + static_cast<unsigned>(y) * 3u,
                           blue = x < c ? 60u : 255u;
            raw.push_back(static_cast<unsigned char>(alpha));
            raw.push_back(static_cast<unsigned char>(red * alpha / 255));
            raw.push_back(static_cast<unsigned char>(green * alpha / 255));
            raw.push_back(static_cast<unsigned char>(blue * alpha / 255));
        }
    auto* bits = new flaBitsLossless2;
    bits->format = 5;
    bits->width = kBitmapSize;
    bits->height = kBitmapSize;
    bits->colorTableSize = 0;
    bits->data = Compress(raw, bits->dataSize);
    return bits;
}

// A square of `side` pixels with its top-left at (x, y), filled with the bitmap
// scaled by `scale` (bitmap pixels to stage pixels) and aligned on the square.
flaGeometry* BitmapSquare(flaMovie& movie, int bitmapId, bool tiled, float x, float y, float side, float scale) {
    flaGeometry* shape = NewShape(movie);
    flaSubGeometry* sub = shape->AddChildGeometry();
    // A bitmap fill matrix maps bitmap pixels to twips: 20 twips per stage pixel.
    const flaMatrix fillMatrix(20.0f * scale, 0, 0, 20.0f * scale, Units(x), Units(y));
    const flaColor* fill = sub->CreateBitmapColour(tiled, bitmapId, fillMatrix, 0);
    const flaColor* frame = sub->CreateLineColour(Units(1), FLIO::flaRGBA(40, 40, 40, 255), 0);
    AddRect(sub, x, y, x + side, y + side, fill, frame);
    return shape;
}

}  // namespace

void BuildDemoBitmaps(flaMovie& movie) {
    const int last = kFrameCount - 1;
    const int opaqueId = movie.AddBitsLossless(OpaqueBitmap());
    const int alphaId = movie.AddBitsLossless2(AlphaBitmap());
    auto* jpegData = new char[kDemoJpegSize];
    std::memcpy(jpegData, kDemoJpeg, kDemoJpegSize);
    auto* jpeg = new flaBitsJpeg2(0, jpegData, kDemoJpegSize);
    movie.AddJPEG(jpeg);
    const int jpegId = static_cast<int>(jpeg->id);

    const float top = 180, side = 100;
    // Clipped fills: each bitmap stretched over its square.
    PlaceInFrames(movie, BitmapSquare(movie, opaqueId, false, 20, top, side, side / kBitmapSize), kDepthBitmapOpaque,
                  0, last, flaMatrix());
    // Stripes behind the bitmap with alpha show through where it fades.
    flaGeometry* stripes = NewShape(movie);
    flaSubGeometry* sub = stripes->AddChildGeometry();
    for (int i = 0; i < 5; ++i)
        AddRect(sub, 140, top + 20.0f * static_cast<float>(i), 240, top + 20.0f * static_cast<float>(i) + 10,
                sub->CreateSolidColour(FLIO::flaRGBA(30, 30, 30, 255), 0), nullptr);
    PlaceInFrames(movie, stripes, kDepthAlphaBacking, 0, last, flaMatrix());
    PlaceInFrames(movie, BitmapSquare(movie, alphaId, false, 140, top, side, side / kBitmapSize), kDepthBitmapAlpha,
                  0, last, flaMatrix());
    PlaceInFrames(movie, BitmapSquare(movie, jpegId, false, 260, top, side, side / 96.0f), kDepthBitmapJpeg, 0, last,
                  flaMatrix());
    // Tiled: the opaque bitmap at 40 % repeats across the square, which sways.
    flaGeometry* tiles = BitmapSquare(movie, opaqueId, true, -50, -50, side, 0.4f);
    for (int i = 0; i <= last; ++i) {
        const float sway = static_cast<float>(i % 24 < 12 ? i % 24 : 24 - i % 24) - 6.0f;  // -6 to 6 degrees
        movie.GetFrame(i)->PlaceNewCharacterInFrame(
            flaCharacterInfo(tiles, kDepthBitmapTiled, Placement(430, top + 50, 1, 1, sway), -1));
    }
}

void BuildDemoSound(flaMovie& movie) {
    // Half a second of a 440 Hz triangle wave, 16-bit mono at 22 050 Hz, made with
    // integer arithmetic so that every run gives the same bytes.
    const unsigned rate = 22050, count = rate / 2;
    auto* samples = new unsigned char[count * 2];
    const std::uint32_t step = static_cast<std::uint32_t>((440ull << 32) / rate);
    std::uint32_t phase = 0;
    for (unsigned i = 0; i < count; ++i, phase += step) {
        // Triangle from the phase: rises over the first half, falls over the second.
        const std::int32_t ramp = static_cast<std::int32_t>(phase >> 16);  // 0 to 65535
        const std::int32_t tri = ramp < 32768 ? ramp * 2 - 32768 : (65535 - ramp) * 2 - 32767;
        const std::int32_t value = tri * 3 / 8;  // well below full scale
        const auto v = static_cast<std::uint16_t>(static_cast<std::int16_t>(value));
        samples[2 * i] = static_cast<unsigned char>(v & 0xFF);  // little-endian
        samples[2 * i + 1] = static_cast<unsigned char>(v >> 8);
    }
    auto* sound = new flaSound;
    sound->SetCompressFormat(flaSound::NotCompressed);
    sound->SetSampleRate(rate);
    sound->SetSampleSize(16);
    sound->SetChannels(1);
    sound->SetSampleCount(count);
    sound->SetSamples(samples, count * 2);
    const int id = movie.AddSound(sound);

    // Start: skip the first 10 ms, stop 50 ms before the end (positions at 44 kHz),
    // play four times, and pan from left to right with the envelope.
    flaSoundInfo start;
    start.SetSoundId(id);
    start.SetSyncFlag(flaSoundInfo::SyncNoMultiple);
    start.SetInPoint(441);
    start.SetOutPoint(count * 2 - 2205);
    start.SetLoopCount(4);
    flaSoundInfo::EnvelopePoint envelope[3];
    envelope[0].position = 0;
    envelope[0].leftLevel = 32768;
    envelope[0].rightLevel = 0;
    envelope[1].position = count;
    envelope[1].leftLevel = 24000;
    envelope[1].rightLevel = 24000;
    envelope[2].position = count * 2;
    envelope[2].leftLevel = 0;
    envelope[2].rightLevel = 32768;
    start.SetEnvelope(envelope, envelope + 3);
    movie.GetFrame(kSoundStartFrame)->PlaceSoundInFrame(start);

    flaSoundInfo stop;
    stop.SetSoundId(id);
    stop.SetSyncFlag(flaSoundInfo::SyncStop);
    movie.GetFrame(kSoundStopFrame)->PlaceSoundInFrame(stop);
}

}  // namespace flio_demo
