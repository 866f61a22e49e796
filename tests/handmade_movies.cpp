#include "handmade_movies.h"

#include <zlib.h>

#include <cstdint>

#include "flio/flaColorXForm.h"
#include "flio/flaDump.h"
#include "io/flaFormat.h"

namespace flio_handmade {
namespace {

namespace Place = flaFormat::Place;

// A movie written tag by tag; coordinates in twips.
class Builder {
public:
    Builder(int widthPx, int heightPx, unsigned short rateWord, unsigned short frames) : d(widthPx, nullptr) {
        for (char c : {'F', 'W', 'S'}) d.DataU8(static_cast<unsigned char>(c));
        d.DataU8(8);
        d.DataU32(0UL);  // the file length, patched by Finish
        d.DataRect(0, widthPx * 20, 0, heightPx * 20);
        d.PadLastByte();
        d.DataU16(rateWord);
        d.DataU16(frames);
        Background(230, 230, 240);
    }

    void Background(unsigned char r, unsigned char g, unsigned char b) {
        d.TagHeader(flaFormat::SetBackgroundColor, flaFormat::SetBackgroundColorLength);
        d.DataU8(r);
        d.DataU8(g);
        d.DataU8(b);
    }

    // A MATRIX of scale (16.16) and translation (twips).
    void Matrix(std::int32_t scaleX, std::int32_t scaleY, std::int32_t tx, std::int32_t ty) {
        const bool scaled = scaleX != 0x10000 || scaleY != 0x10000;
        d.Bit(scaled);
        if (scaled) Pair(scaleX, scaleY);
        d.Bit(false);
        Pair(tx, ty);
        d.PadLastByte();
    }

    // DefineShape3: a rectangle with one fill, given as its FILLSTYLE writer.
    template <typename Fill>
    void Rectangle(int id, std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1, Fill fill) {
        const flaDump::TagStart tag = d.BeginTag(flaFormat::DefineShape3);
        d.DataU16(static_cast<unsigned short>(id));
        d.DataRect(x0, x1, y0, y1);
        d.PadLastByte();
        d.DataU8(1);  // one fill style
        fill();
        d.DataU8(0);  // no line style
        d.Bits(1, 4);  // fill index bits
        d.Bits(0, 4);  // line index bits
        // Move to the corner with fill 1 on the right, then four edges clockwise.
        d.Bits(0, 1);
        d.Bits(flaFormat::ShapeRecord::FillStyle1 | flaFormat::ShapeRecord::MoveTo, 5);
        Pair(x0, y0);
        d.Bits(1, 1);
        Edge(x1 - x0, 0);
        Edge(0, y1 - y0);
        Edge(x0 - x1, 0);
        Edge(0, y0 - y1);
        d.Bits(0, 6);  // end of shape
        d.PadLastByte();
        d.EndTag(tag);
    }

    void Solid(unsigned char r, unsigned char g, unsigned char b) {
        d.DataU8(flaFormat::Fill::Solid);
        for (unsigned char c : {r, g, b, static_cast<unsigned char>(255)}) d.DataU8(c);
    }

    // A bitmap fill: each bitmap pixel `pixel` twips wide, its top left corner at (x, y).
    void BitmapFill(unsigned char type, int bitmapId, int pixel, std::int32_t x, std::int32_t y) {
        d.DataU8(type);
        d.DataU16(static_cast<unsigned short>(bitmapId));
        Matrix(pixel << 16, pixel << 16, x, y);
    }

    // DefineBitsLossless of 32-bit pixels (alpha, red, green, blue).
    void Bitmap(int id, int width, int height, const std::vector<unsigned char>& argb) {
        uLongf packedSize = compressBound(static_cast<uLong>(argb.size()));
        std::vector<unsigned char> packed(packedSize);
        compress(packed.data(), &packedSize, argb.data(), static_cast<uLong>(argb.size()));
        d.TagHeader(flaFormat::DefineBitsLossless, static_cast<std::uint32_t>(7 + packedSize), true);
        d.DataU16(static_cast<unsigned short>(id));
        d.DataU8(flaFormat::BitmapFormat::RGB24);
        d.DataU16(static_cast<unsigned short>(width));
        d.DataU16(static_cast<unsigned short>(height));
        d.ChunkDump(packed.data(), static_cast<unsigned int>(packedSize));
    }

    // PlaceObject2: a new placement of id, or (id 0) a move, with a translation and
    // an optional colour transform.
    void Place2(int depth, int id, std::int32_t x, std::int32_t y, const flaColorXForm* cx = nullptr) {
        const flaDump::TagStart tag = d.BeginShortestTag(flaFormat::PlaceObject2);
        unsigned char flags = Place::HasMatrix | (id ? Place::HasCharacter : Place::Move);
        if (cx) flags |= Place::HasColorXForm;
        d.DataU8(flags);
        d.DataU16(static_cast<unsigned short>(depth));
        if (id) d.DataU16(static_cast<unsigned short>(id));
        Matrix(0x10000, 0x10000, x, y);
        if (cx) cx->DumpInFile(d);
        d.PadLastByte();
        d.EndTag(tag);
    }

    void Remove2(int depth) {
        d.TagHeader(flaFormat::RemoveObject2, flaFormat::RemoveObject2Length);
        d.DataU16(static_cast<unsigned short>(depth));
    }
    void ShowFrame() { d.TagHeader(flaFormat::ShowFrame, 0); }

    // DefineSprite of `frames` frames that moves character `shape` from x = 0 by
    // `step` twips a frame.
    void MovingSprite(int id, int shape, int frames, int step) {
        const flaDump::TagStart tag = d.BeginTag(flaFormat::DefineSprite);
        d.DataU16(static_cast<unsigned short>(id));
        d.DataU16(static_cast<unsigned short>(frames));
        for (int i = 0; i < frames; ++i) {
            Place2(1, i == 0 ? shape : 0, i * step, 0);
            ShowFrame();
        }
        d.TagHeader(flaFormat::End, 0);
        d.EndTag(tag);
    }

    std::vector<unsigned char> Finish() {
        d.TagHeader(flaFormat::End, 0);
        d.PatchU32(4, static_cast<std::uint32_t>(d.GetCurrentPosition()));
        d.PadLastByte();
        return d.GetBuffer();
    }

private:
    void Pair(std::int32_t a, std::int32_t b) {
        const int bits = std::max(flaDump::GetSignedBitNumber(a), flaDump::GetSignedBitNumber(b));
        d.Bits(static_cast<std::uint32_t>(bits), 5);
        d.Bits(static_cast<std::uint32_t>(a), bits);
        d.Bits(static_cast<std::uint32_t>(b), bits);
    }
    void Edge(std::int32_t dx, std::int32_t dy) {
        const int bits = std::max(flaDump::GetSignedBitNumber(dx), flaDump::GetSignedBitNumber(dy));
        d.Bits(1, 1);  // edge
        d.Bits(1, 1);  // straight
        d.Bits(static_cast<std::uint32_t>(bits - flaFormat::ShapeRecord::EdgeBitsBias), 4);
        d.Bits(1, 1);  // general line
        d.Bits(static_cast<std::uint32_t>(dx), bits);
        d.Bits(static_cast<std::uint32_t>(dy), bits);
    }

    flaDump d;
};

const int kPixel = 20;  // twips

void RedSquare(Builder& b, int id) {
    b.Rectangle(id, 0, 0, 40 * kPixel, 40 * kPixel, [&] { b.Solid(220, 40, 40); });
}

}  // namespace

Movie SpriteFadedByColourTransforms() {
    Builder b(300, 120, 24 << 8, 24);
    RedSquare(b, 1);
    b.MovingSprite(2, 1, 12, 15 * kPixel);
    b.Place2(1, 2, 20 * kPixel, 40 * kPixel);
    b.ShowFrame();
    for (int i = 1; i < 24; ++i) {
        const flaColorXForm fade(256, 256, 256, static_cast<short>(256 - 6 * i), 0, 0, 0, 0);
        b.Place2(1, 0, 20 * kPixel, 40 * kPixel, &fade);
        b.ShowFrame();
    }
    return {"sprite_faded_by_colour_transforms", b.Finish(), {1, 6, 13}};
}

Movie SpriteReplacedInOneFrame() {
    Builder b(300, 120, 24 << 8, 20);
    RedSquare(b, 1);
    b.MovingSprite(2, 1, 12, 15 * kPixel);
    b.Place2(1, 2, 20 * kPixel, 40 * kPixel);
    b.ShowFrame();
    for (int i = 1; i < 20; ++i) {
        if (i == 7) {
            b.Remove2(1);
            b.Place2(1, 2, 20 * kPixel, 40 * kPixel);
        }
        b.ShowFrame();
    }
    return {"sprite_replaced_in_one_frame", b.Finish(), {1, 10, 15}};
}

Movie ShortMainTimeline() {
    Builder b(300, 200, 24 << 8, 5);
    RedSquare(b, 1);
    b.Rectangle(3, 0, 0, 20 * kPixel, 20 * kPixel, [&] { b.Solid(40, 40, 200); });
    b.MovingSprite(2, 1, 30, 8 * kPixel);
    b.Place2(1, 2, 10 * kPixel, 20 * kPixel);
    // A blue square that the main timeline moves down a step a frame.
    for (int i = 0; i < 5; ++i) {
        b.Place2(2, i == 0 ? 3 : 0, 20 * kPixel, (100 + 20 * i) * kPixel);
        b.ShowFrame();
    }
    return {"short_main_timeline", b.Finish(), {1, 4, 8}};
}

Movie ClippedBitmapFills() {
    Builder b(400, 400, 24 << 8, 1);
    std::vector<unsigned char> argb;
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            for (int c : {255, 60 * x, 60 * y, (x + y) % 2 ? 220 : 40}) argb.push_back(static_cast<unsigned char>(c));
    b.Bitmap(1, 4, 4, argb);
    namespace Fill = flaFormat::Fill;
    const unsigned char types[4] = {Fill::ClippedBitmap, Fill::NonSmoothedClippedBitmap, Fill::RepeatingBitmap,
                                    Fill::NonSmoothedRepeatingBitmap};
    for (int i = 0; i < 4; ++i) {
        const int x = (i % 2) * 200 * kPixel, y = (i / 2) * 200 * kPixel;
        // Each bitmap pixel 10 pixels wide: the 40-pixel image fills a quarter of
        // the 180-pixel square.
        b.Rectangle(2 + i, x + 10 * kPixel, y + 10 * kPixel, x + 190 * kPixel, y + 190 * kPixel,
                    [&] { b.BitmapFill(types[i], 1, 10 * kPixel, x + 70 * kPixel, y + 70 * kPixel); });
        b.Place2(1 + i, 2 + i, 0, 0);
    }
    b.ShowFrame();
    return {"clipped_bitmap_fills", b.Finish(), {1}};
}

Movie FractionalFrameRate() {
    Builder b(200, 100, (12 << 8) | 128, 2);
    RedSquare(b, 1);
    b.Place2(1, 1, 10 * kPixel, 10 * kPixel);
    b.ShowFrame();
    b.Place2(1, 0, 60 * kPixel, 10 * kPixel);
    b.ShowFrame();
    return {"fractional_frame_rate", b.Finish(), {1, 2}};
}

std::vector<Movie> All() {
    return {SpriteFadedByColourTransforms(), SpriteReplacedInOneFrame(), ShortMainTimeline(), ClippedBitmapFills(),
            FractionalFrameRate(), MultiRecordText()};
}

}  // namespace flio_handmade
