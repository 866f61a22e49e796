#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "flio/PL_FileSpec.h"
#include "flio/flaFrame.h"
#include "flio/flaMovie.h"
#include "movie_test_util.h"

using namespace flio_test;

namespace {

// Reaches the protected writer and the JPEG tables, which only import fills.
class TestMovie : public flaMovie {
public:
    using flaMovie::flaMovie;
    using flaMovie::BuildAndDumpStopSoundsActionOfMovie;
    using flaMovie::DumpAllBitmap;
    using flaMovie::DumpMovieToBuffer;
    using flaMovie::PlaceSoundInFrame;

    void SetJPEGTables(const Bytes& bytes) {
        delete[] jpegTables;
        jpegTables = new unsigned char[bytes.size() ? bytes.size() : 1];
        std::copy(bytes.begin(), bytes.end(), jpegTables);
        jpegTablesLength = static_cast<std::uint32_t>(bytes.size());
    }
    Bytes Write() {
        flaDump dump(frameSizeX, nullptr);
        EXPECT_TRUE(DumpMovieToBuffer(dump));
        return Flushed(dump);
    }
};

// The bytes after the header's frame-count word.
Bytes Body(const Bytes& file) {
    const int nbits = file.at(8) >> 3;
    const std::size_t rectBytes = static_cast<std::size_t>((5 + 4 * nbits + 7) / 8);
    return Bytes(file.begin() + static_cast<long>(8 + rectBytes + 4), file.end());
}

// The tag codes of a file, in order, up to and including End.
std::vector<unsigned> TagCodes(const Bytes& file) {
    const Bytes body = Body(file);
    std::vector<unsigned> codes;
    std::size_t at = 0;
    while (at + 2 <= body.size()) {
        const unsigned word = body[at] | (body[at + 1] << 8);
        std::size_t length = word & 63;
        at += 2;
        if (length == 63) {
            length = body.at(at) | (body.at(at + 1) << 8) | (body.at(at + 2) << 16) | (static_cast<std::size_t>(body.at(at + 3)) << 24);
            at += 4;
        }
        codes.push_back(word >> 6);
        if ((word >> 6) == 0) break;
        at += length;
    }
    return codes;
}

TEST(flaMovieWriter, HeaderBytes) {
    TestMovie movie(550, 400);
    EXPECT_TRUE(movie.SetVersion(10));
    // "FWS", version 9 whatever was stored, length 23, RECT with Nbits 15, rate 24,
    // no frames, End.
    EXPECT_EQ(ToHex(movie.Write()), "46 57 53 09 17 00 00 00 78 00 05 5F 00 00 0F A0 00 00 18 00 00 00 00");
}

TEST(flaMovieWriter, StageRectangleAndRate) {
    struct Case {
        int width, height, rate;
        const char* rectAndRate;
    };
    const Case cases[] = {
        {550, 400, 24, "78 00 05 5F 00 00 0F A0 00 00 18"},
        {400, 550, 100, "78 00 03 E8 00 00 15 7C 00 00 64"},
        {0, 100, 12, "78 00 06 40 00 00 12 C0 00 00 0C"},  // default stage 640 x 480
        {1, 1, 1, "30 0A 00 A0 00 01"},
    };
    for (const Case& c : cases) {
        TestMovie movie(c.width, c.height);
        movie.SetFrameRate(c.rate);
        const Bytes file = movie.Write();
        const Bytes rect(file.begin() + 8, file.end() - 4);
        EXPECT_EQ(ToHex(rect), c.rectAndRate) << c.width << "x" << c.height;
        // The length field holds the size of the whole file.
        EXPECT_EQ(file[4] | (file[5] << 8) | (file[6] << 16) | (file[7] << 24), static_cast<int>(file.size()));
    }
}

TEST(flaMovieWriter, CharactersAreDefinedOnceBeforeTheirFirstFrame) {
    TestMovie movie(550, 400);
    auto* a = new TestCharacter(movie.GetNewCharacterId());
    auto* unused = new TestCharacter(movie.GetNewCharacterId());
    movie.AddNewCharacter(a);
    movie.AddNewCharacter(unused);
    movie.CreateFrames(8);
    movie.GetFrame(3)->PlaceNewCharacterInFrame(flaCharacterInfo(a, 1));
    movie.GetFrame(7)->PlaceNewCharacterInFrame(flaCharacterInfo(a, 1));

    const Bytes file = movie.Write();
    EXPECT_EQ(file[19], 8);  // frame count, after the 9-byte RECT and the rate
    const std::string place = Po2("06 01 00 01 00 " + MatrixHex(flaMatrix()));
    const std::string expected = "43 02 FF FF FF 40 00 40 00 40 00 82 00 01 00 " + place +
                                 " 40 00 02 07 01 00 40 00 40 00 40 00 " + place + " 40 00 00 00";
    EXPECT_EQ(ToHex(Body(file)), expected);
}

TEST(flaMovieWriter, FrameCountAndLengthOfFramesWithContent) {
    TestMovie movie(100, 100);
    movie.CreateFrames(3);
    movie.GetFrame(1)->SetBackGroundColor(1, 2, 3, 255);
    const std::vector<unsigned> expected{9, 1, 9, 1, 9, 1, 0};
    EXPECT_EQ(TagCodes(movie.Write()), expected);
}

TEST(flaMovieWriter, JPEGTablesAndBitmapGroupComeFirst) {
    TestMovie movie(100, 100);
    movie.SetJPEGTables(Hex("FF D8 FF D9"));
    flaDump dump(100, nullptr);
    movie.DumpAllBitmap(dump);
    EXPECT_EQ(ToHex(Flushed(dump)), "3F 02 04 00 00 00 FF D8 FF D9");

    // A tables block that is present but empty still gives the tag.
    TestMovie empty(100, 100);
    empty.SetJPEGTables(Bytes());
    flaDump dump2(100, nullptr);
    empty.DumpAllBitmap(dump2);
    EXPECT_EQ(ToHex(Flushed(dump2)), "3F 02 00 00 00 00");
}

TEST(flaMovieWriter, StopSoundsAction) {
    TestMovie movie;
    flaDump dump(640, nullptr);
    movie.BuildAndDumpStopSoundsActionOfMovie(dump);
    EXPECT_EQ(ToHex(Flushed(dump)), "3F 03 07 00 00 00 8B 01 00 00 09 00 00");
}

TEST(flaMovieWriter, DumpMovieToFileWritesTheImage) {
    TestMovie movie(550, 400);
    movie.CreateFrames(2);
    const std::string path = ::testing::TempDir() + "flio_movie_test.swf";
    flaDump dump(550, nullptr);
    ASSERT_TRUE(movie.DumpMovieToFile(PL_FileSpec(path.c_str()), dump, false));
    std::ifstream in(path, std::ios::binary);
    const Bytes onDisk((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(onDisk, dump.GetBuffer());
    std::remove(path.c_str());
    EXPECT_FALSE(movie.DumpMovieToFile(PL_FileSpec("/nonexistent-dir/x.swf"), dump, false));
}

TEST(flaMovie, IdsComeFromOneCounterAcrossKinds) {
    flaMovie movie;
    EXPECT_EQ(movie.GetNewCharacterId(), 1);
    auto* sound = new flaSound();
    EXPECT_EQ(movie.AddSound(sound), 2);
    EXPECT_EQ(movie.AddSound(sound), 2);  // the same sound is not added twice
    EXPECT_EQ(movie.GetSoundList().size(), 1u);
    EXPECT_EQ(movie.AddBitsLossless(new flaBitsLossless()), 3);
    EXPECT_EQ(movie.AddBitsLossless2(new flaBitsLossless2()), 4);
    auto* jpeg = new flaBitsJpeg2();
    movie.AddJPEG(jpeg);
    EXPECT_EQ(jpeg->id, 5u);
    // Ids already set are kept and do not advance the counter.
    auto* preset = new flaSound();
    preset->SetSoundID(40);
    EXPECT_EQ(movie.AddSound(preset), 40);
    auto* presetBits = new flaBitsLossless();
    presetBits->id = 41;
    EXPECT_EQ(movie.AddBitsLossless(presetBits), 41);
    EXPECT_EQ(movie.GetNewCharacterId(), 6);
    EXPECT_EQ(movie.AddBitsLossless(nullptr), -1);
    EXPECT_EQ(movie.AddBitsLossless2(nullptr), -1);

    EXPECT_EQ(movie.GetSound(40), preset);
    EXPECT_EQ(movie.GetSound(-1), nullptr);
    EXPECT_EQ(movie.GetSound(3), nullptr);  // bitmaps are not sounds
}

TEST(flaMovie, CharacterLookup) {
    flaMovie movie;
    auto* c = new TestCharacter(movie.GetNewCharacterId());
    EXPECT_EQ(movie.AddNewCharacter(c), 1);
    EXPECT_EQ(movie.GetCharacter(1), c);
    EXPECT_EQ(movie.GetCharacter(-1), nullptr);
    EXPECT_EQ(movie.GetCharacter(2), nullptr);
    EXPECT_EQ(movie.GetCharacterList().size(), 1u);
}

TEST(flaMovie, SettersIgnoreValuesOutOfRange) {
    flaMovie movie(0, 100);
    int w = 0, h = 0;
    movie.GetFrameSize(w, h);
    EXPECT_EQ(w, 640);
    EXPECT_EQ(h, 480);
    EXPECT_FALSE(movie.IsFrameSizeGiven());
    EXPECT_DOUBLE_EQ(movie.GetRatio(), 640.0 / 480.0);

    movie.SetFrameSize(0, 5);
    movie.GetFrameSize(w, h);
    EXPECT_EQ(w, 640);
    movie.SetFrameSize(300, 150);
    movie.GetFrameSize(w, h);
    EXPECT_EQ(w, 300);
    EXPECT_EQ(h, 150);
    EXPECT_DOUBLE_EQ(movie.GetRatio(), 2.0);

    struct RateCase {
        int set, expected;
    };
    for (const RateCase& c : {RateCase{0, 24}, RateCase{101, 24}, RateCase{100, 100}, RateCase{-5, 100},
                              RateCase{1, 1}}) {
        movie.SetFrameRate(c.set);
        EXPECT_EQ(movie.GetFrameRate(), c.expected) << c.set;
    }

    EXPECT_FALSE(movie.SetVersion(4));
    EXPECT_TRUE(movie.SetVersion(8));
    EXPECT_FALSE(movie.SetVersion(6));
    EXPECT_EQ(movie.GetVersion(), 8);

    flaMovie given(550, 400);
    EXPECT_TRUE(given.IsFrameSizeGiven());
}

TEST(flaMovie, FramesAndBounds) {
    TestMovie movie(200, 100);
    EXPECT_EQ(movie.GetFrame(0), nullptr);
    movie.CreateFrames(2);
    EXPECT_EQ(movie.GetFrameCount(), 2u);
    ASSERT_NE(movie.GetFrame(1), nullptr);
    EXPECT_EQ(movie.GetFrame(1)->GetFrameSizeX(), 200);
    EXPECT_DOUBLE_EQ(movie.GetFrame(1)->GetRatio(), 2.0);
    EXPECT_EQ(movie.GetFrame(-1), nullptr);
    EXPECT_EQ(movie.GetFrame(2), nullptr);
    const flaMovie& constMovie = movie;
    EXPECT_EQ(constMovie.GetFrame(2), nullptr);

    flaSoundInfo start;
    start.SetSoundId(3);
    EXPECT_TRUE(movie.PlaceSoundInFrame(start, 4));
    EXPECT_EQ(movie.GetFrameCount(), 5u);
    EXPECT_EQ(movie.GetFrame(4)->GetSoundCount(), 1u);
}

TEST(flaMovie, CurrentMovieFollowsConstructionAndDestruction) {
    auto* first = new flaMovie();
    EXPECT_EQ(flaMovie::pCurrentMovie, first);
    {
        flaMovie second;
        EXPECT_EQ(flaMovie::pCurrentMovie, &second);
        delete first;  // not the current one: left alone
        EXPECT_EQ(flaMovie::pCurrentMovie, &second);
    }
    EXPECT_EQ(flaMovie::pCurrentMovie, nullptr);
}

TEST(flaMovie, JPEGTableAccessors) {
    TestMovie movie;
    EXPECT_FALSE(movie.HasValidJPEGTables());
    EXPECT_EQ(movie.JPEGCopyTableSize(), 0u);
    movie.SetJPEGTables(Hex("FF D8 AA BB FF D9"));
    EXPECT_TRUE(movie.HasValidJPEGTables());
    EXPECT_EQ(movie.JPEGCopyTableSize(), 6u);
    Bytes out(6, 0x11);
    movie.JPEGCopyTable(out.data());
    EXPECT_EQ(ToHex(out), "FF D8 AA BB 11 11");
    movie.SetJPEGTables(Hex("FF D9"));
    EXPECT_EQ(movie.JPEGCopyTableSize(), 0u);
}

TEST(flaMovie, PaletteOnlyWhenExportIsOn) {
    flaMovie movie;
    EXPECT_EQ(movie.GetPaletteInformation(), nullptr);
    EXPECT_EQ(movie.GetExistingPaletteInformation(), nullptr);
    movie.SetExportPalette(true);
    EXPECT_NE(movie.GetPaletteInformation(), nullptr);
}

TEST(flaMovie, UnsupportedElementsAreRecordedOnce) {
    flaMovie movie;
    movie.AddToUnsupportedList(flaUnsupported::Action);
    movie.AddToUnsupportedList(flaUnsupported::Action);
    EXPECT_EQ(movie.GetUnsupported()->GetUnsupportedElementCount(), 1u);
}

}  // namespace

namespace {

TEST(flaMovieWriter, TagOrderOfAWholeMovie) {
    TestMovie movie(100, 100);
    movie.SetJPEGTables(Hex("FF D8 FF D9"));
    movie.AddJPEG(new flaBitsJpeg2(0, new char[2]{'\xFF', '\xD8'}, 2));
    movie.AddBitsLossless(new flaBitsLossless());
    movie.AddBitsLossless2(new flaBitsLossless2());
    movie.ActivateStreamedSoundExport(512);
    auto* sound = new flaSound();
    const int soundId = movie.AddSound(sound);
    auto* shape = new TestCharacter(movie.GetNewCharacterId());
    movie.AddNewCharacter(shape);
    movie.SetExportPalette(true);
    movie.GetPaletteInformation()->AddColourIndex(1, 7, UT_String("red"), UT_String("basic"));

    movie.CreateFrames(3);
    auto* block = new flaBuffer();
    block->SetData(new unsigned char[4]{1, 2, 3, 4}, 4);
    movie.GetFrame(0)->PlaceStreamedSoundInFrame(block);
    flaSoundInfo start;
    start.SetSoundId(soundId);
    movie.GetFrame(0)->PlaceSoundInFrame(start);
    movie.GetFrame(1)->PlaceSoundInFrame(start);
    movie.GetFrame(0)->PlaceNewCharacterInFrame(flaCharacterInfo(shape, 1));
    movie.GetFrame(2)->PlaceNewCharacterInFrame(flaCharacterInfo(shape, 1));

    // Bitmap group, stream head; per frame: stream block, DefineSound (once) and
    // StartSound, definitions, placements, background, ShowFrame; palette; End.
    const std::vector<unsigned> expected{8, 21, 20, 36, 45, 19, 14, 15, 2, 26, 9, 1, 15, 28, 1, 26, 1, 731, 0};
    EXPECT_EQ(TagCodes(movie.Write()), expected);
}

TEST(flaMovieWriter, StreamBlocksOnlyWhenExportIsActive) {
    TestMovie movie(100, 100);
    movie.CreateFrames(1);
    auto* block = new flaBuffer();
    block->SetData(new unsigned char[2]{1, 2}, 2);
    movie.GetFrame(0)->PlaceStreamedSoundInFrame(block);
    const std::vector<unsigned> expected{9, 1, 0};
    EXPECT_EQ(TagCodes(movie.Write()), expected);
}

}  // namespace

// The background shape comes from the shapes part of the library.
namespace {

TEST(flaMovie, ForceBackgroundColourPaintsLaterFramesWithOneShape) {
    flaMovie movie(100, 100);
    movie.CreateFrames(4);
    const unsigned char colours[4][4] = {{1, 2, 3, 255}, {1, 2, 3, 255}, {9, 8, 7, 255}, {1, 2, 3, 128}};
    for (int i = 0; i < 4; ++i)
        movie.GetFrame(i)->SetBackGroundColor(colours[i][0], colours[i][1], colours[i][2], colours[i][3]);

    movie.ForceBackgroundColour(0);  // the first frame carries the movie's colour
    movie.ForceBackgroundColour(1);  // same colour as frame 0
    movie.ForceBackgroundColour(4);  // no such frame
    EXPECT_TRUE(movie.GetCharacterList().empty());

    movie.ForceBackgroundColour(2);
    movie.ForceBackgroundColour(3);  // alpha alone differs
    ASSERT_EQ(movie.GetCharacterList().size(), 1u);
    const flaCharacter* shape = movie.GetCharacterList()[0];
    EXPECT_EQ(shape->GetId(), 1);
    for (int i = 2; i < 4; ++i) {
        const flaCharacterInfo* info = movie.GetFrame(i)->GetCharacterByDepth(1);
        ASSERT_NE(info, nullptr);
        EXPECT_EQ(info->GetCharacter(), shape);
        EXPECT_EQ(info->GetMatrix(), flaMatrix());
        EXPECT_FALSE(info->IsAClip());
        EXPECT_EQ(info->GetColorXForm(),
                  flaColorXForm(1, 1, 1, 1, colours[i][0], colours[i][1], colours[i][2], colours[i][3]));
    }
    EXPECT_EQ(movie.GetFrame(1)->GetCharacterCount(), 0u);
}

}  // namespace

