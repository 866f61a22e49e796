// The movie and its frames: header bytes, tag order of a whole movie, definitions
// written once (a sprite's before its DefineSprite), the display-list difference
// written per frame (moves, replacements, removals, PlaceObject3 with blend modes
// and filters), background colours, sprite start actions, display-list editing, ids
// and the current movie.
#include <gtest/gtest.h>

#include <vector>

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

const char* const kShowFrame = "40 00";
const char* const kRemoveDepth1 = "02 07 01 00";

// The frame written as the difference from previous; with a size observer the
// writer takes its field-by-field path, which must write the same bytes.
std::string FrameHex(const flaFrame& frame, const flaFrame* previous, bool background = false) {
    CountingCallback sizes;
    flaDump dump(550, nullptr), observed(550, &sizes);
    frame.DumpFrameInFile(dump, previous, background);
    frame.DumpFrameInFile(observed, previous, background);
    const Bytes bytes = Flushed(dump);
    EXPECT_EQ(ToHex(Flushed(observed)), ToHex(bytes));
    EXPECT_EQ(sizes.Total(), static_cast<long long>(bytes.size()) * 8);
    return ToHex(bytes);
}

// One placement of a table: character, depth, and what differs from the defaults.
struct Entry {
    flaCharacter* c;
    int depth;
    flaMatrix m = flaMatrix();
    int blend = 0;
    const flaColorXForm* cx = nullptr;
    int clip = 0, start = -1;
};

void Place(flaFrame& frame, const std::vector<Entry>& entries) {
    for (const Entry& e : entries) {
        flaCharacterInfo info(e.c, e.depth, e.m, e.start);
        if (e.blend) info.SetBlendMode(static_cast<FLIO::eBlendMode>(e.blend));
        if (e.cx) info.SetColorXForm(*e.cx);
        info.SetClipDepth(e.clip);
        frame.PlaceNewCharacterInFrame(info);
    }
}

class FrameDiff : public ::testing::Test {
protected:
    FrameDiff() { for (TestCharacter* c : {&a, &b, &sprite}) c->MarkDumped(); }
    TestCharacter a{1}, b{2}, sprite{3, true};
    const flaMatrix m1{1, 0, 0, 1, 0.1f, 0.2f};
    const flaColorXForm red{256, 256, 256, 256, 10, 0, 0, 0};
    const std::string M0 = RecordHex(flaMatrix()), M1 = RecordHex(m1);
};

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
    const std::string M0 = RecordHex(flaMatrix()), place = Po2("06 01 00 01 00 " + M0);
    EXPECT_EQ(ToHex(Bytes(file.begin() + 21, file.end())),  // after the header
              "43 02 FF FF FF 40 00 40 00 40 00 82 00 01 00 " + place + " 82 00 03 00 " + Po2("06 02 00 03 00 " + M0) +
                  " 40 00 02 07 01 00 02 07 02 00 40 00 40 00 40 00 " + place + " 40 00 00 00");
    EXPECT_EQ(sizes.bits[3], 32);  // a's definition, under its own cost code
}

TEST(flaMovieWriter, TagOrderOfAWholeMovie) {
    TestMovie movie(100, 100);
    EXPECT_FALSE(movie.HasValidJPEGTables());
    movie.SetJPEGTables(Hex("FF D8 AA BB FF D9"));
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
    const Bytes file = movie.Write();
    EXPECT_EQ(TagCodes(file), expected);
    // The tables go first as they are, in a long-form tag after the 19-byte header; a
    // DefineBits joins them without their end marker.
    EXPECT_EQ(ToHex(Bytes(file.begin() + 19, file.begin() + 31)), "3F 02 06 00 00 00 FF D8 AA BB FF D9");
    Bytes joined(6, 0x11);
    movie.JPEGCopyTable(joined.data());
    EXPECT_EQ(ToHex(joined), "FF D8 AA BB 11 11");

    // Without streamed sound export a frame's block is not written.
    TestMovie plain(100, 100);
    plain.CreateFrames(1);
    auto* unused = new flaBuffer();
    unused->SetData(new unsigned char[2]{1, 2}, 2);
    plain.GetFrame(0)->PlaceStreamedSoundInFrame(unused);
    EXPECT_EQ(TagCodes(plain.Write()), (std::vector<unsigned>{9, 1, 0}));
}

TEST(flaMovie, IdsComeFromOneCounterAcrossKindsAndTheCurrentMovieIsTheNewest) {
    auto* first = new flaMovie();
    EXPECT_EQ(flaMovie::pCurrentMovie, first);
    {
        flaMovie movie;
        delete first;                 // not the current one: left alone
        flaSprite sprite(1, &movie);  // nor is a sprite ever the current movie
        EXPECT_EQ(flaMovie::pCurrentMovie, &movie);
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
        ASSERT_TRUE(info && info->GetCharacter() == movie.GetCharacterList()[0]) << i;
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
                                        Join("87 06 06 01 00 01 00", RecordHex(flaMatrix())) + " 40 00 40 00 00 00");
    // Tag header, id and frame count count under the sprite's code.
    ASSERT_GE(sizes.bits.size(), 4u);
    EXPECT_EQ(sizes.bits[3], 10 * 8);
}

TEST_F(FrameDiff, WritesOnlyTheDifferenceFromThePreviousFrame) {
    const int multiply = FLIO::BlendMultiply;
    const struct { const char* name; std::vector<Entry> prev, cur; std::string expected; } cases[] = {
        {"unchanged", {{&a, 1}}, {{&a, 1}}, ""},
        {"moved: flags 5, no character id", {{&a, 1}}, {{&a, 1, m1}}, Po2("05 01 00 " + M1)},
        {"other character: RemoveObject2, then flags 6", {{&a, 1}}, {{&b, 1}},
         Join(kRemoveDepth1, Po2("06 01 00 02 00 " + M0))},
        {"removed depth", {{&a, 1}, {&b, 2}}, {{&b, 2}}, kRemoveDepth1},
        {"recoloured: replaced with the colour transform", {{&a, 1}}, {{&a, 1, {}, 0, &red}},
         Join(kRemoveDepth1, Po2("0E 01 00 01 00 " + M0 + " " + RecordHex(red)))},
        {"clip depth changed", {{&a, 1}}, {{&a, 1, {}, 0, nullptr, 5}},
         Join(kRemoveDepth1, Po2("46 01 00 01 00 " + M0 + " 05 00"))},
        {"placements in depth order, then removals", {{&a, 1}, {&b, 5}}, {{&b, 5, m1}, {&a, 3}},
         Join(Join(Po2("06 03 00 01 00 " + M0), Po2("05 05 00 " + M1)), kRemoveDepth1)},
        {"same blend mode everywhere: nothing to write", {{&a, 1, {}, multiply}, {&b, 2, {}, multiply}},
         {{&a, 1, {}, multiply}, {&b, 2, {}, multiply}}, ""},
        {"entries differ in blend mode: every entry is moved", {{&a, 1}, {&b, 2, {}, multiply}},
         {{&a, 1}, {&b, 2, {}, multiply}}, Join(Po2("05 01 00 " + M0), LongTag(70, "05 02 02 00 " + M0 + " 03"))},
        {"blend mode set: PlaceObject3 move with the blend byte", {{&a, 1}}, {{&a, 1, {}, FLIO::BlendScreen}},
         LongTag(70, "05 02 01 00 " + M0 + " 04")},
        // The cases below have no previous frame.
        {"first frame: every entry in depth order", {}, {{&b, 2, m1}, {&a, 1}},
         Join(Po2("06 01 00 01 00 " + M0), Po2("06 02 00 02 00 " + M1))},
        {"sprite with clip, colour and its depth as name", {},
         {{&sprite, 12, {}, 0, &red, 20, flaCharacterInfo::NoStartAction}},
         Po2("6E 0C 00 03 00 " + M0 + " " + RecordHex(red) + " 31 32 00 14 00")},
        // Flags: character 2, matrix 4, colour 8, name 32, clip 64; second byte: blend 2.
        {"PlaceObject3 with clip, colour, name and blend", {},
         {{&sprite, 12, {}, FLIO::BlendLayer, &red, 20, flaCharacterInfo::NoStartAction}},
         LongTag(70, "6E 02 0C 00 03 00 " + M0 + " " + RecordHex(red) + " 31 32 00 14 00 02")},
    };
    for (const auto& c : cases) {
        flaFrame prev(550, 1.375), cur(550, 1.375);
        Place(prev, c.prev);
        Place(cur, c.cur);
        EXPECT_EQ(FrameHex(cur, c.prev.empty() ? nullptr : &prev), Join(c.expected, kShowFrame)) << c.name;
    }
}

TEST_F(FrameDiff, FiltersAreComparedByIdentity) {
    const auto blur = FLIO::flaFilter::CreateFilter_Blur(2.0, 2.0, 1);
    flaCharacterInfo e(&a, 1);
    flaFrame f[3]{{550, 1.0}, {550, 1.0}, {550, 1.0}};
    // The third list has a filter of equal values and a null entry (skipped).
    const flaFilterList lists[3] = {{blur}, {blur}, {FLIO::flaFilter::CreateFilter_Blur(2.0, 2.0, 1), {}}};
    for (int i = 0; i < 3; ++i) {
        e.SetFilterList(lists[i]);
        f[i].PlaceNewCharacterInFrame(e);
    }
    // New placement: flags 6, second flags byte 1, then the list: count, records.
    const std::string list = " 01 " + RecordHex(*blur);
    EXPECT_EQ(FrameHex(f[0], nullptr), Join(LongTag(70, "06 01 01 00 01 00 " + M0 + list), kShowFrame));
    EXPECT_EQ(FrameHex(f[1], &f[0]), kShowFrame);
    EXPECT_EQ(FrameHex(f[2], &f[1]), Join(LongTag(70, "05 01 01 00 " + M0 + list), kShowFrame));
}

TEST(flaFrame, BackgroundIsWrittenWhenAnyChannelChanges) {
    const struct { unsigned char prev[4], cur[4]; bool background; const char* expected; } cases[] = {
        {{1, 2, 3, 4}, {1, 2, 3, 4}, true, "40 00"},
        {{1, 2, 3, 4}, {1, 2, 9, 4}, true, "43 02 01 02 09 40 00"},
        {{1, 2, 3, 4}, {1, 2, 3, 5}, true, "43 02 01 02 03 40 00"},  // alpha counts, is not written
        {{1, 2, 3, 4}, {9, 9, 9, 9}, false, "40 00"},
    };
    for (const auto& c : cases) {
        flaFrame prev(550, 1.0), cur(550, 1.0);
        prev.SetBackGroundColor(c.prev[0], c.prev[1], c.prev[2], c.prev[3]);
        cur.SetBackGroundColor(c.cur[0], c.cur[1], c.cur[2], c.cur[3]);
        EXPECT_EQ(FrameHex(cur, &prev, c.background), c.expected);
    }
}

TEST_F(FrameDiff, SpriteStartActionsUnlessTheSpriteAdvancesOneFrame) {
    auto actions = [](const char* frameLE) {
        return Join(LongTag(12, std::string("8B 02 00 33 00 81 02 00 ") + frameLE + " 06 00 00"), "40 00");
    };
    const int starts[] = {0, 1, 5, flaCharacterInfo::NoStartAction};
    flaFrame s[4]{{550, 1.0}, {550, 1.0}, {550, 1.0}, {550, 1.0}}, shapes[2]{{550, 1.0}, {550, 1.0}};
    for (int i = 0; i < 4; ++i) Place(s[i], {{&sprite, 3, {}, 0, nullptr, 0, starts[i]}});
    for (int i = 0; i < 2; ++i) Place(shapes[i], {{&a, 3, {}, 0, nullptr, 0, starts[2 * i]}});
    EXPECT_EQ(FrameHex(s[0], nullptr), Join(Po2("26 03 00 03 00 " + M0 + " 33 00"), actions("00 00")));
    EXPECT_EQ(FrameHex(s[1], &s[0]), "40 00");
    EXPECT_EQ(FrameHex(s[2], &s[1]), actions("05 00"));
    EXPECT_EQ(FrameHex(s[3], &s[2]), "40 00");
    EXPECT_EQ(FrameHex(shapes[1], &shapes[0]), "40 00");  // a plain shape never gets them
}

TEST(flaFrame, DisplayListEditing) {
    TestCharacter a(1), b(2);
    flaFrame frame(550, 1.0);
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(nullptr, 4));  // ignored
    Place(frame, {{&a, 7}, {&b, 3}, {&b, 7}});                     // b replaces a at 7
    EXPECT_EQ(frame.GetCharacterCount(), 2u);
    EXPECT_EQ(frame.GetMinDepth(), 3);
    EXPECT_EQ(frame.GetCharacterByDepth(7)->GetCharacter(), &b);

    EXPECT_TRUE(frame.ReplaceMatrixInFrame(flaMatrix(2, 0, 0, 2, 0.25f, 0), 3));
    frame.TransformAllPlaceObjects(flaMatrix(1, 0, 0, 1, 0.5f, 0));
    EXPECT_EQ(*frame.GetMatrixByDepth(3), flaMatrix(2, 0, 0, 2, 0.75f, 0));

    const flaColorXForm cx(128, 256, 256, 256, 0, 0, 0, 0);
    EXPECT_FALSE(frame.PlaceColorXFormAtDepth(&cx, 5));
    EXPECT_TRUE(frame.PlaceColorXFormAtDepth(&cx, 7));
    EXPECT_TRUE(flaCharacterInfoIterator(frame.CharacterBeginIter()).ContainsColorXForm());
    EXPECT_TRUE(frame.RemoveCharacterAtDepth(3));  // and the streamed block below: no leak

    const flaBuffer* block = new flaBuffer();
    frame.PlaceStreamedSoundInFrame(new flaBuffer());
    frame.PlaceStreamedSoundInFrame(block);  // the first block is released
    frame.PlaceStreamedSoundInFrame(block);  // the same block again is kept
    EXPECT_EQ(frame.GetStreamedSound(), block);
}
