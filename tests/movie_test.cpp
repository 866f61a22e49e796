// The movie: header bytes, tag order of a whole movie, definitions written once
// (a sprite's before its DefineSprite), the background rule, ids and the current
// movie.
#include <gtest/gtest.h>

#include "flio/flaFrame.h"
#include "flio/flaMovie.h"
#include "flio/flaSprite.h"
#include "movie_test_util.h"

using namespace flio_test;

namespace {

// Reaches the protected writer and the JPEG tables, which only import fills.
class TestMovie : public flaMovie {
public:
    using flaMovie::flaMovie;
    using flaMovie::BuildAndDumpStopSoundsActionOfMovie;
    using flaMovie::DumpAllBitmap;
    using flaMovie::PlaceSoundInFrame;

    void SetJPEGTables(const Bytes& bytes) {
        delete[] jpegTables;
        jpegTables = new unsigned char[bytes.size() + 1];
        std::copy(bytes.begin(), bytes.end(), jpegTables);
        jpegTablesLength = static_cast<std::uint32_t>(bytes.size());
    }
    Bytes Write(flaDump::SizeCallback* sizes = nullptr) {
        flaDump dump(frameSizeX, sizes);
        EXPECT_TRUE(DumpMovieToBuffer(dump));
        return Flushed(dump);
    }
};

// The bytes after the header's frame-count word.
Bytes Body(const Bytes& file) {
    return Bytes(file.begin() + static_cast<long>(8 + (5 + 4 * (file.at(8) >> 3) + 7) / 8 + 4), file.end());
}

}  // namespace

TEST(flaMovieWriter, HeaderBytes) {
    // "FWS", version 9 whatever was stored, the file's length, the stage RECT, the
    // rate (an ignored rate keeps 24), no frames, End.
    const struct { int width, height, rate; const char* bytes; } cases[] = {
        {550, 400, 24, "46 57 53 09 17 00 00 00 78 00 05 5F 00 00 0F A0 00 00 18 00 00 00 00"},
        {0, 100, 101, "46 57 53 09 17 00 00 00 78 00 06 40 00 00 12 C0 00 00 18 00 00 00 00"},  // 640 x 480
        {1, 1, 1, "46 57 53 09 12 00 00 00 30 0A 00 A0 00 01 00 00 00 00"},
    };
    for (const auto& c : cases) {
        TestMovie movie(c.width, c.height);
        EXPECT_TRUE(movie.SetVersion(10));
        movie.SetFrameRate(c.rate);
        EXPECT_EQ(ToHex(movie.Write()), c.bytes);
    }
}

TEST(flaMovieWriter, CharactersAreDefinedOnceBeforeTheirFirstFrame) {
    TestMovie movie(550, 400);
    auto* a = new TestCharacter(movie.GetNewCharacterId());
    movie.AddNewCharacter(a);
    movie.AddNewCharacter(new TestCharacter(movie.GetNewCharacterId()));  // never placed
    auto* c = new TestCharacter(movie.GetNewCharacterId());
    movie.AddNewCharacter(c);
    a->SetCostCode(3);
    movie.CreateFrames(8);
    movie.GetFrame(3)->PlaceNewCharacterInFrame(flaCharacterInfo(c, 2));
    movie.GetFrame(3)->PlaceNewCharacterInFrame(flaCharacterInfo(a, 1));
    movie.GetFrame(7)->PlaceNewCharacterInFrame(flaCharacterInfo(a, 1));
    CountingCallback sizes;
    const Bytes file = movie.Write(&sizes);
    EXPECT_EQ(file[19], 8);  // frame count, after the 9-byte RECT and the rate
    // Each definition just before its placement, in depth order; the background
    // (white) in the first frame only; removals once the frame no longer shows them.
    const std::string M0 = MatrixHex(flaMatrix()), place = Po2("06 01 00 01 00 " + M0);
    EXPECT_EQ(ToHex(Body(file)), "43 02 FF FF FF 40 00 40 00 40 00 82 00 01 00 " + place + " 82 00 03 00 " +
                                     Po2("06 02 00 03 00 " + M0) + " 40 00 02 07 01 00 02 07 02 00 40 00 40 00 40 00 " +
                                     place + " 40 00 00 00");
    EXPECT_EQ(sizes.bits[3], 32);  // a's definition, under its own cost code
}

TEST(flaMovieWriter, TagOrderOfAWholeMovie) {
    TestMovie movie(100, 100);
    movie.SetJPEGTables(Hex("FF D8 FF D9"));
    movie.AddJPEG(new flaBitsJpeg2(0, new char[2]{'\xFF', '\xD8'}, 2));
    movie.AddBitsLossless(new flaBitsLossless());
    movie.AddBitsLossless2(new flaBitsLossless2());
    movie.ActivateStreamedSoundExport(512);
    flaSoundInfo start;
    start.SetSoundId(movie.AddSound(new flaSound()));
    auto* shape = new TestCharacter(movie.GetNewCharacterId());
    movie.AddNewCharacter(shape);
    movie.SetExportPalette(true);
    movie.GetPaletteInformation()->AddColourIndex(1, 7, UT_String("red"), UT_String("basic"));
    movie.CreateFrames(3);
    auto* block = new flaBuffer();
    block->SetData(new unsigned char[4]{1, 2, 3, 4}, 4);
    movie.GetFrame(0)->PlaceStreamedSoundInFrame(block);
    movie.GetFrame(0)->PlaceSoundInFrame(start);
    movie.GetFrame(1)->PlaceSoundInFrame(start);
    movie.GetFrame(0)->PlaceNewCharacterInFrame(flaCharacterInfo(shape, 1));
    movie.GetFrame(2)->PlaceNewCharacterInFrame(flaCharacterInfo(shape, 1));
    // Bitmap group, stream head; per frame: stream block, DefineSound (once) and
    // StartSound, definitions, placements, background, ShowFrame; palette; End.
    const std::vector<unsigned> expected{8, 21, 20, 36, 45, 19, 14, 15, 2, 26, 9, 1, 15, 28, 1, 26, 1, 731, 0};
    EXPECT_EQ(TagCodes(movie.Write()), expected);

    // Without streamed sound export a frame's block is not written.
    TestMovie plain(100, 100);
    plain.CreateFrames(1);
    auto* unused = new flaBuffer();
    unused->SetData(new unsigned char[2]{1, 2}, 2);
    plain.GetFrame(0)->PlaceStreamedSoundInFrame(unused);
    EXPECT_EQ(TagCodes(plain.Write()), (std::vector<unsigned>{9, 1, 0}));
}

TEST(flaMovieWriter, JPEGTablesAndStopSounds) {
    for (const char* tables : {"FF D8 FF D9", ""}) {  // present but empty still gives the tag
        TestMovie movie(100, 100);
        movie.SetJPEGTables(Hex(tables));
        flaDump dump(100, nullptr);
        movie.DumpAllBitmap(dump);
        EXPECT_EQ(ToHex(Flushed(dump)), *tables ? "3F 02 04 00 00 00 FF D8 FF D9" : "3F 02 00 00 00 00");
    }
    TestMovie movie(550, 400);
    EXPECT_FALSE(movie.HasValidJPEGTables());
    movie.SetJPEGTables(Hex("FF D8 AA BB FF D9"));  // copied without the end marker
    ASSERT_EQ(movie.JPEGCopyTableSize(), 6u);
    Bytes out(6, 0x11);
    movie.JPEGCopyTable(out.data());
    EXPECT_EQ(ToHex(out), "FF D8 AA BB 11 11");
    flaDump stop(640, nullptr);
    movie.BuildAndDumpStopSoundsActionOfMovie(stop);
    EXPECT_EQ(ToHex(Flushed(stop)), "3F 03 07 00 00 00 8B 01 00 00 09 00 00");
}

TEST(flaMovie, IdsComeFromOneCounterAcrossKinds) {
    flaMovie movie;
    EXPECT_EQ(movie.GetNewCharacterId(), 1);
    auto* sound = new flaSound();
    EXPECT_EQ(movie.AddSound(sound), 2);
    EXPECT_EQ(movie.AddSound(sound), 2);  // the same sound is not added twice
    EXPECT_EQ(movie.AddBitsLossless(new flaBitsLossless()), 3);
    auto* preset = new flaSound();  // ids already set are kept and do not advance the counter
    preset->SetSoundID(40);
    EXPECT_EQ(movie.AddSound(preset), 40);
    EXPECT_EQ(movie.GetNewCharacterId(), 4);
}

TEST(flaMovie, CurrentMovieFollowsConstructionAndDestruction) {
    auto* first = new flaMovie();
    EXPECT_EQ(flaMovie::pCurrentMovie, first);
    {
        flaMovie second;
        delete first;                  // not the current one: left alone
        flaSprite sprite(1, &second);  // nor is a sprite ever the current movie
        EXPECT_EQ(flaMovie::pCurrentMovie, &second);
    }
    EXPECT_EQ(flaMovie::pCurrentMovie, nullptr);
}

// A frame whose colour differs from the movie's (frame 0's) gets one full-stage
// shape tinted by an offset-only transform; the same colour gets nothing.
TEST(flaMovie, ForceBackgroundColourPaintsLaterFramesWithOneShape) {
    flaMovie movie(100, 100);
    movie.CreateFrames(4);
    const unsigned char colours[4][4] = {{1, 2, 3, 255}, {1, 2, 3, 255}, {9, 8, 7, 255}, {1, 2, 3, 128}};
    for (int i = 0; i < 4; ++i) {
        movie.GetFrame(i)->SetBackGroundColor(colours[i][0], colours[i][1], colours[i][2], colours[i][3]);
        movie.ForceBackgroundColour(i);
    }
    movie.ForceBackgroundColour(4);  // no such frame
    ASSERT_EQ(movie.GetCharacterList().size(), 1u);
    EXPECT_EQ(movie.GetFrame(1)->GetCharacterCount(), 0u);
    for (int i = 2; i < 4; ++i) {  // alpha alone differs in frame 3
        const flaCharacterInfo* info = movie.GetFrame(i)->GetCharacterByDepth(1);
        ASSERT_NE(info, nullptr);
        EXPECT_EQ(info->GetCharacter(), movie.GetCharacterList()[0]);
        EXPECT_EQ(info->GetMatrix(), flaMatrix());
        EXPECT_EQ(info->GetColorXForm(),
                  flaColorXForm(1, 1, 1, 1, colours[i][0], colours[i][1], colours[i][2], colours[i][3]));
    }
}

TEST(flaSprite, DependenciesBeforeDefineSpriteAndCostCode) {
    flaMovie movie(550, 400);
    auto* shape = new TestCharacter(movie.GetNewCharacterId());
    movie.AddNewCharacter(shape);
    auto* sprite = new flaSprite(movie.GetNewCharacterId(), &movie);
    movie.AddNewCharacter(sprite);
    sprite->SetCostCode(3);
    sprite->CreateFrames(2);
    for (int f = 0; f < 2; ++f) sprite->GetFrame(f)->PlaceNewCharacterInFrame(flaCharacterInfo(shape, 1));
    CountingCallback sizes;
    flaDump dump(550, &sizes);
    sprite->DumpInFile(dump);
    // The shape's definition (82 00 01 00), then DefineSprite id 2 with two frames:
    // PlaceObject2 of the shape at depth 1, ShowFrame, ShowFrame, End.
    EXPECT_EQ(ToHex(Flushed(dump)), "82 00 01 00 FF 09 13 00 00 00 02 00 02 00 " +
                                        Join("87 06 06 01 00 01 00", MatrixHex(flaMatrix())) + " 40 00 40 00 00 00");
    // Tag header, id and frame count count under the sprite's code.
    ASSERT_GE(sizes.bits.size(), 4u);
    EXPECT_EQ(sizes.bits[3], 10 * 8);
}
