// Frames: the display-list difference written per frame (moves, replacements,
// removals, PlaceObject3 with blend modes and filters), background colours,
// sprite start actions and definitions written once.
#include <gtest/gtest.h>

#include <deque>
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
struct Entry {
    flaCharacter* c;
    int depth;
    flaMatrix m = flaMatrix();
    int blend = 0;
    const flaColorXForm* cx = nullptr;
    int clip = 0;
};

void Place(flaFrame& frame, const std::vector<Entry>& entries) {
    for (const Entry& e : entries) {
        flaCharacterInfo info(e.c, e.depth, e.m, -1);
        if (e.blend) info.SetBlendMode(static_cast<FLIO::eBlendMode>(e.blend));
        if (e.cx) info.SetColorXForm(*e.cx);
        info.SetClipDepth(e.clip);
        frame.PlaceNewCharacterInFrame(info);
    }
}

class FrameDiff : public ::testing::Test {
protected:
    FrameDiff() {
        a.MarkDumped();
        b.MarkDumped();
    }
    TestCharacter a{1}, b{2};
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
    };
    for (const auto& c : cases) {
        flaFrame prev(550, 1.375), cur(550, 1.375);
        Place(prev, c.prev);
        Place(cur, c.cur);
        EXPECT_EQ(FrameHex(cur, &prev), Join(c.expected, kShowFrame)) << c.name;
    }
}

TEST_F(FrameDiff, FirstFrameWritesEveryEntryAndTheBackground) {
    flaFrame frame(550, 1.375);
    frame.SetBackGroundColor(10, 20, 30, 40);
    Place(frame, {{&b, 2, m1}, {&a, 1}});
    EXPECT_EQ(FrameHex(frame, nullptr, true),
              Join(Join(Po2("06 01 00 01 00 " + M0), Po2("06 02 00 02 00 " + M1)), "43 02 0A 14 1E 40 00"));
}

TEST_F(FrameDiff, PlaceObject3CarriesClipColourNameAndBlend) {
    TestCharacter sprite(3, true);
    sprite.MarkDumped();
    flaCharacterInfo e(&sprite, 12, flaMatrix(), flaCharacterInfo::NoStartAction);
    e.SetClipDepth(20);
    e.SetColorXForm(red);
    e.SetBlendMode(FLIO::BlendLayer);
    flaFrame frame(550, 1.375);
    frame.PlaceNewCharacterInFrame(e);
    // Flags: character 2, matrix 4, colour 8, name 32, clip 64; second byte: blend 2.
    const std::string body = "6E 02 0C 00 03 00 " + M0 + " " + CxHex(red) + " 31 32 00 14 00 02";
    EXPECT_EQ(FrameHex(frame, nullptr), Join(LongTag(70, body), kShowFrame));
}

TEST_F(FrameDiff, FiltersAreComparedByIdentity) {
    const flaFilterList blur{FLIO::flaFilter::CreateFilter_Blur(2.0, 2.0, 1)};
    flaCharacterInfo e(&a, 1);
    e.SetFilterList(blur);
    flaFrame f1(550, 1.0), f2(550, 1.0), f3(550, 1.0);
    f1.PlaceNewCharacterInFrame(e);
    f2.PlaceNewCharacterInFrame(e);
    e.SetFilterList({FLIO::flaFilter::CreateFilter_Blur(2.0, 2.0, 1)});  // equal values, another filter
    f3.PlaceNewCharacterInFrame(e);
    // New placement: flags 6, second flags byte 1, then the list: count, records.
    const std::string list = " 01 " + RecordHex(*blur[0]);
    EXPECT_EQ(FrameHex(f1, nullptr), Join(LongTag(70, "06 01 01 00 01 00 " + M0 + list), kShowFrame));
    EXPECT_EQ(FrameHex(f2, &f1), kShowFrame);
    EXPECT_EQ(FrameHex(f3, &f2), Join(LongTag(70, "05 01 01 00 " + M0 + list), kShowFrame));

    // A null entry of the list is skipped; the filters are shared, not copied.
    const auto glow = FLIO::flaFilter::CreateFilter(FLIO::flaFilter::Glow);
    e.SetFilterList({blur[0], UT_SharedPtr<FLIO::flaFilter>(), glow});
    flaDump dump(550, nullptr);
    e.DumpfilterListInFile(dump);
    EXPECT_EQ(ToHex(Flushed(dump)), Join(Join("02", RecordHex(*blur[0])), RecordHex(*glow)));
    EXPECT_EQ(glow->RefCount(), 2);
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

TEST(flaFrame, SpriteStartActionsUnlessTheSpriteAdvancesOneFrame) {
    TestCharacter sprite(4, true), shape(5);
    sprite.MarkDumped();
    shape.MarkDumped();
    auto actions = [](const char* frameLE) {
        return LongTag(12, std::string("8B 02 00 33 00 81 02 00 ") + frameLE + " 06 00 00");
    };
    const int starts[] = {0, 1, 5, flaCharacterInfo::NoStartAction};
    std::deque<flaFrame> sprites, shapes;  // frames do not move
    for (int start : starts) {
        sprites.emplace_back(550, 1.0);
        sprites.back().PlaceNewCharacterInFrame(flaCharacterInfo(&sprite, 3, flaMatrix(), start));
        shapes.emplace_back(550, 1.0);
        shapes.back().PlaceNewCharacterInFrame(flaCharacterInfo(&shape, 3, flaMatrix(), start));
    }
    const std::string place = Po2("26 03 00 04 00 " + MatrixHex(flaMatrix()) + " 33 00");
    EXPECT_EQ(FrameHex(sprites[0], nullptr), Join(Join(place, actions("00 00")), "40 00"));
    EXPECT_EQ(FrameHex(sprites[1], &sprites[0]), "40 00");
    EXPECT_EQ(FrameHex(sprites[2], &sprites[1]), Join(actions("05 00"), "40 00"));
    EXPECT_EQ(FrameHex(sprites[3], &sprites[2]), "40 00");
    EXPECT_EQ(FrameHex(shapes[2], &shapes[1]), "40 00");  // a plain shape never gets them
}

TEST(flaFrame, DefinitionsAreWrittenOnceUnderTheirOwnCostCode) {
    TestCharacter a(1), b(2);
    a.SetCostCode(3);
    b.SetCostCode(3);
    flaFrame f1(550, 1.0), f2(550, 1.0);
    f1.SetCostCode(7);
    f2.SetCostCode(7);
    Place(f1, {{&b, 2}, {&a, 1}});
    Place(f2, {{&a, 1, flaMatrix(1, 0, 0, 1, 0.5f, 0)}, {&b, 2}});
    CountingCallback counts;
    flaDump dump(550, &counts);
    f1.DumpFrameInFile(dump, nullptr, false);
    const long firstFrameEnd = static_cast<long>(dump.GetBuffer().size());
    f2.DumpFrameInFile(dump, &f1, false);
    const Bytes out = Flushed(dump);
    // Frame 1: each definition just before its placement; frame 2: no definitions.
    const std::string M0 = MatrixHex(flaMatrix());
    EXPECT_EQ(ToHex(Bytes(out.begin(), out.begin() + firstFrameEnd)),
              "82 00 01 00 " + Po2("06 01 00 01 00 " + M0) + " 82 00 02 00 " + Po2("06 02 00 02 00 " + M0) + " 40 00");
    EXPECT_EQ(counts.bits[3], 2 * 32);
    EXPECT_EQ(counts.Total(), static_cast<long long>(out.size()) * 8);
    EXPECT_EQ(dump.GetCostCode(), 0u);

    TestCharacter c(3), d(4);  // missing definitions in depth order, once
    flaFrame frame(550, 1.0);
    Place(frame, {{&d, 1}, {&c, 2}});
    flaDump defs(550, nullptr);
    frame.DumpAllCharactersInFile(defs);
    frame.DumpAllCharactersInFile(defs);
    EXPECT_EQ(ToHex(Flushed(defs)), "82 00 04 00 82 00 03 00");
}

TEST(flaFrame, DisplayListEditing) {
    TestCharacter a(1), b(2);
    flaFrame frame(550, 1.0);
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(nullptr, 4));  // ignored
    Place(frame, {{&a, 7}, {&b, 3}, {&b, 7}});                     // b replaces a at 7
    EXPECT_EQ(frame.GetCharacterCount(), 2u);
    EXPECT_EQ(frame.GetMinDepth(), 3);
    EXPECT_EQ(frame.GetCharacterByDepth(7)->GetCharacter(), &b);
    EXPECT_EQ(frame.GetCharacterById(1), nullptr);

    EXPECT_FALSE(frame.ReplaceMatrixInFrame(flaMatrix(2, 0, 0, 2, 0.25f, 0), 5));
    EXPECT_TRUE(frame.ReplaceMatrixInFrame(flaMatrix(2, 0, 0, 2, 0.25f, 0), 3));
    frame.TransformAllPlaceObjects(flaMatrix(1, 0, 0, 1, 0.5f, 0));
    EXPECT_EQ(*frame.GetMatrixByDepth(3), flaMatrix(2, 0, 0, 2, 0.75f, 0));

    const flaColorXForm cx(128, 256, 256, 256, 0, 0, 0, 0);
    EXPECT_FALSE(frame.PlaceColorXFormAtDepth(&cx, 5));
    EXPECT_TRUE(frame.PlaceColorXFormAtDepth(&cx, 7));
    flaCharacterInfoIterator it(frame.CharacterBeginIter());
    EXPECT_TRUE(it.ContainsColorXForm());  // somewhere from here to the end
    ++it;
    ++it;
    EXPECT_TRUE(it.AtEnd());
    EXPECT_FALSE(it.ContainsColorXForm());
    EXPECT_TRUE(frame.RemoveCharacterAtDepth(3));
    EXPECT_FALSE(frame.RemoveCharacterAtDepth(3));

    const flaBuffer* block = new flaBuffer();
    frame.PlaceStreamedSoundInFrame(new flaBuffer());
    frame.PlaceStreamedSoundInFrame(block);  // the first block is released
    frame.PlaceStreamedSoundInFrame(block);  // the same block again is kept
    EXPECT_EQ(frame.GetStreamedSound(), block);
}
