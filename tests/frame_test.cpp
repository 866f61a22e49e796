// Frames: the display-list difference written per frame (moves, replacements,
// removals, PlaceObject3 with blend modes and filters), background colours,
// sprite start actions and definitions written once.
#include <gtest/gtest.h>

#include <vector>

#include "flio/flaFrame.h"
#include "movie_test_util.h"

using namespace flio_test;

namespace {

const char* const kShowFrame = "40 00";
const char* const kRemoveDepth1 = "02 07 01 00";

std::string FrameHex(const flaFrame& frame, const flaFrame* previous, bool background = false) {
    flaDump dump(550, nullptr);
    frame.DumpFrameInFile(dump, previous, background);
    return ToHex(Flushed(dump));
}

// One placement of a table: character, depth, and what differs from the defaults.
struct Entry { flaCharacter* c; int depth; flaMatrix m = flaMatrix(); int blend = 0; const flaColorXForm* cx = nullptr; int clip = 0, start = -1; };

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
    const std::string M0 = MatrixHex(flaMatrix()), M1 = MatrixHex(m1);
};

}  // namespace

TEST_F(FrameDiff, WritesOnlyTheDifferenceFromThePreviousFrame) {
    const int multiply = FLIO::BlendMultiply;
    const struct { const char* name; std::vector<Entry> prev, cur; std::string expected; } cases[] = {
        {"unchanged", {{&a, 1}}, {{&a, 1}}, ""},
        {"moved: flags 5, no character id", {{&a, 1}}, {{&a, 1, m1}}, Po2("05 01 00 " + M1)},
        {"other character: RemoveObject2, then flags 6", {{&a, 1}}, {{&b, 1}},
         Join(kRemoveDepth1, Po2("06 01 00 02 00 " + M0))},
        {"removed depth", {{&a, 1}, {&b, 2}}, {{&b, 2}}, kRemoveDepth1},
        {"recoloured: replaced with the colour transform", {{&a, 1}}, {{&a, 1, {}, 0, &red}},
         Join(kRemoveDepth1, Po2("0E 01 00 01 00 " + M0 + " " + CxHex(red)))},
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
        // Flags: character 2, matrix 4, colour 8, name 32, clip 64; second byte: blend 2.
        {"PlaceObject3 with clip, colour, name and blend", {},
         {{&sprite, 12, {}, FLIO::BlendLayer, &red, 20, flaCharacterInfo::NoStartAction}},
         LongTag(70, "6E 02 0C 00 03 00 " + M0 + " " + CxHex(red) + " 31 32 00 14 00 02")},
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
    for (int i = 0; i < 3; ++i) {  // the third list has a filter of equal values, a null entry (skipped)
        e.SetFilterList(i < 2 ? flaFilterList{blur} : flaFilterList{FLIO::flaFilter::CreateFilter_Blur(2.0, 2.0, 1), {}});
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
    flaCharacterInfoIterator it(frame.CharacterBeginIter());
    EXPECT_TRUE(it.ContainsColorXForm());  // somewhere from here to the end
    for (int i = 0; i < 2; ++i) ++it;
    EXPECT_TRUE(it.AtEnd());
    EXPECT_FALSE(it.ContainsColorXForm());
    EXPECT_TRUE(frame.RemoveCharacterAtDepth(3));  // and the streamed block below: no leak

    const flaBuffer* block = new flaBuffer();
    frame.PlaceStreamedSoundInFrame(new flaBuffer());
    frame.PlaceStreamedSoundInFrame(block);  // the first block is released
    frame.PlaceStreamedSoundInFrame(block);  // the same block again is kept
    EXPECT_EQ(frame.GetStreamedSound(), block);
}
