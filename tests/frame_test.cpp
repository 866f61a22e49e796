#include <gtest/gtest.h>

#include <functional>

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

flaMatrix Translate(float x, float y) { return flaMatrix(1, 0, 0, 1, x, y); }

class FrameDiff : public ::testing::Test {
protected:
    FrameDiff() {
        a.MarkDumped();
        b.MarkDumped();
    }
    TestCharacter a{1};
    TestCharacter b{2};
    flaMatrix m0;
    flaMatrix m1 = Translate(0.1f, 0.2f);
    flaColorXForm red{256, 256, 256, 256, 10, 0, 0, 0};
};

struct DiffCase {
    const char* name;
    std::function<void(flaFrame& prev, flaFrame& cur)> fill;
    std::string expected;
};

TEST_F(FrameDiff, WritesOnlyTheDifferenceFromThePreviousFrame) {
    const std::string M0 = MatrixHex(m0), M1 = MatrixHex(m1), CX = CxHex(red);
    auto withBlend = [](flaCharacterInfo info, FLIO::eBlendMode mode) {
        info.SetBlendMode(mode);
        return info;
    };
    const DiffCase cases[] = {
        {"unchanged",
         [&](flaFrame& p, flaFrame& c) {
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
             c.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
         },
         kShowFrame},
        {"moved: flags 5, no character id",
         [&](flaFrame& p, flaFrame& c) {
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
             c.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1, m1, -1));
         },
         Join(Po2("05 01 00 " + M1), kShowFrame)},
        {"other character: RemoveObject2, then flags 6",
         [&](flaFrame& p, flaFrame& c) {
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
             c.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 1));
         },
         Join(Join(kRemoveDepth1, Po2("06 01 00 02 00 " + M0)), kShowFrame)},
        {"removed depth",
         [&](flaFrame& p, flaFrame& c) {
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 2));
             c.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 2));
         },
         Join(kRemoveDepth1, kShowFrame)},
        {"recoloured: replaced with the colour transform",
         [&](flaFrame& p, flaFrame& c) {
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
             flaCharacterInfo e(&a, 1);
             e.SetColorXForm(red);
             c.PlaceNewCharacterInFrame(e);
         },
         Join(Join(kRemoveDepth1, Po2("0E 01 00 01 00 " + M0 + " " + CX)), kShowFrame)},
        {"clip depth changed",
         [&](flaFrame& p, flaFrame& c) {
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
             flaCharacterInfo e(&a, 1);
             e.SetClipDepth(5);
             c.PlaceNewCharacterInFrame(e);
         },
         Join(Join(kRemoveDepth1, Po2("46 01 00 01 00 " + M0 + " 05 00")), kShowFrame)},
        {"placements in depth order, then removals",
         [&](flaFrame& p, flaFrame& c) {
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 5));
             c.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 5, m1, -1));
             c.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 3));
         },
         Join(Join(Join(Po2("06 03 00 01 00 " + M0), Po2("05 05 00 " + M1)), kRemoveDepth1), kShowFrame)},
        {"same blend mode everywhere: nothing to write",
         [&](flaFrame& p, flaFrame& c) {
             for (flaFrame* f : {&p, &c}) {
                 f->PlaceNewCharacterInFrame(withBlend(flaCharacterInfo(&a, 1), FLIO::BlendMultiply));
                 f->PlaceNewCharacterInFrame(withBlend(flaCharacterInfo(&b, 2), FLIO::BlendMultiply));
             }
         },
         kShowFrame},
        {"previous entries differ in blend mode: every entry is moved",
         [&](flaFrame& p, flaFrame& c) {
             for (flaFrame* f : {&p, &c}) {
                 f->PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
                 f->PlaceNewCharacterInFrame(withBlend(flaCharacterInfo(&b, 2), FLIO::BlendMultiply));
             }
         },
         Join(Join(Po2("05 01 00 " + M0), LongTag(70, "05 02 02 00 " + M0 + " 03")), kShowFrame)},
        {"blend mode set: PlaceObject3 move with the blend byte",
         [&](flaFrame& p, flaFrame& c) {
             p.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
             c.PlaceNewCharacterInFrame(withBlend(flaCharacterInfo(&a, 1), FLIO::BlendScreen));
         },
         Join(LongTag(70, "05 02 01 00 " + M0 + " 04"), kShowFrame)},
    };
    for (const DiffCase& c : cases) {
        flaFrame prev(550, 1.375), cur(550, 1.375);
        c.fill(prev, cur);
        EXPECT_EQ(FrameHex(cur, &prev), c.expected) << c.name;
    }
}

TEST_F(FrameDiff, FirstFrameWritesEveryEntryAndTheBackground) {
    flaFrame frame(550, 1.375);
    frame.SetBackGroundColor(10, 20, 30, 40);
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 2, m1, -1));
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
    const std::string expected =
        Join(Join(Po2("06 01 00 01 00 " + MatrixHex(m0)), Po2("06 02 00 02 00 " + MatrixHex(m1))), "43 02 0A 14 1E");
    EXPECT_EQ(FrameHex(frame, nullptr, true), Join(expected, kShowFrame));
}

TEST_F(FrameDiff, PlaceObject3CarriesClipColourNameAndBlend) {
    TestCharacter sprite(3, true);
    sprite.MarkDumped();
    flaCharacterInfo e(&sprite, 12, m0, flaCharacterInfo::NoStartAction);
    e.SetClipDepth(20);
    e.SetColorXForm(red);
    e.SetBlendMode(FLIO::BlendLayer);
    flaFrame frame(550, 1.375);
    frame.PlaceNewCharacterInFrame(e);
    // Flags: character 2, matrix 4, colour 8, name 32, clip 64; second byte: blend 2.
    const std::string body = "6E 02 0C 00 03 00 " + MatrixHex(m0) + " " + CxHex(red) + " 31 32 00 14 00 02";
    EXPECT_EQ(FrameHex(frame, nullptr), Join(LongTag(70, body), kShowFrame));
}

TEST(flaFrame, BackgroundIsWrittenWhenAnyChannelChanges) {
    struct Case {
        unsigned char prev[4], cur[4];
        bool background;
        const char* expected;
    };
    const Case cases[] = {
        {{1, 2, 3, 4}, {1, 2, 3, 4}, true, "40 00"},
        {{1, 2, 3, 4}, {1, 2, 9, 4}, true, "43 02 01 02 09 40 00"},
        {{1, 2, 3, 4}, {1, 2, 3, 5}, true, "43 02 01 02 03 40 00"},  // alpha counts, is not written
        {{1, 2, 3, 4}, {9, 9, 9, 9}, false, "40 00"},
    };
    for (const Case& c : cases) {
        flaFrame prev(550, 1.0), cur(550, 1.0);
        prev.SetBackGroundColor(c.prev[0], c.prev[1], c.prev[2], c.prev[3]);
        cur.SetBackGroundColor(c.cur[0], c.cur[1], c.cur[2], c.cur[3]);
        EXPECT_EQ(FrameHex(cur, &prev, c.background), c.expected);
    }
}

TEST(flaFrame, SpriteStartActionsUnlessTheSpriteAdvancesOneFrame) {
    TestCharacter sprite(4, true);
    sprite.MarkDumped();
    const std::string M0 = MatrixHex(flaMatrix());
    auto actionsFor = [](const char* frameLE) {
        return LongTag(12, std::string("8B 02 00 33 00 81 02 00 ") + frameLE + " 06 00 00");
    };
    flaFrame f1(550, 1.0), f2(550, 1.0), f3(550, 1.0), f4(550, 1.0);
    f1.PlaceNewCharacterInFrame(flaCharacterInfo(&sprite, 3, flaMatrix(), 0));
    f2.PlaceNewCharacterInFrame(flaCharacterInfo(&sprite, 3, flaMatrix(), 1));
    f3.PlaceNewCharacterInFrame(flaCharacterInfo(&sprite, 3, flaMatrix(), 5));
    f4.PlaceNewCharacterInFrame(flaCharacterInfo(&sprite, 3, flaMatrix(), flaCharacterInfo::NoStartAction));

    EXPECT_EQ(FrameHex(f1, nullptr), Join(Join(Po2("26 03 00 04 00 " + M0 + " 33 00"), actionsFor("00 00")), "40 00"));
    EXPECT_EQ(FrameHex(f2, &f1), "40 00");
    EXPECT_EQ(FrameHex(f3, &f2), Join(actionsFor("05 00"), "40 00"));
    EXPECT_EQ(FrameHex(f4, &f3), "40 00");
    // A plain shape never gets start actions.
    TestCharacter shape(5);
    shape.MarkDumped();
    flaFrame g1(550, 1.0), g2(550, 1.0);
    g1.PlaceNewCharacterInFrame(flaCharacterInfo(&shape, 3, flaMatrix(), 0));
    g2.PlaceNewCharacterInFrame(flaCharacterInfo(&shape, 3, flaMatrix(), 7));
    EXPECT_EQ(FrameHex(g2, &g1), "40 00");
}

TEST(flaFrame, DefinitionsAreWrittenOnceUnderTheirOwnCostCode) {
    TestCharacter a(1), b(2);
    a.SetCostCode(3);
    b.SetCostCode(3);
    flaFrame f1(550, 1.0), f2(550, 1.0);
    f1.SetCostCode(7);
    f2.SetCostCode(7);
    f1.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 2));
    f1.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1));
    f2.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 1, flaMatrix(1, 0, 0, 1, 0.5f, 0), -1));
    f2.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 2));

    CountingCallback counts;
    flaDump dump(550, &counts);
    f1.DumpFrameInFile(dump, nullptr, false);
    const std::size_t firstFrameEnd = dump.GetBuffer().size();
    f2.DumpFrameInFile(dump, &f1, false);
    const Bytes out = Flushed(dump);
    // Frame 1: each definition just before its placement; frame 2: no definitions.
    const std::string M0 = MatrixHex(flaMatrix());
    EXPECT_EQ(ToHex(Bytes(out.begin(), out.begin() + static_cast<long>(firstFrameEnd))),
              Join(Join(Join(Join("82 00 01 00", Po2("06 01 00 01 00 " + M0)), "82 00 02 00"),
                        Po2("06 02 00 02 00 " + M0)),
                   "40 00"));
    EXPECT_EQ(counts.bits[3], 2 * 32);
    EXPECT_EQ(counts.Total(), static_cast<long long>(out.size()) * 8);
    EXPECT_EQ(dump.GetCostCode(), 0u);
}

TEST(flaFrame, DumpAllCharactersWritesMissingDefinitionsInDepthOrder) {
    TestCharacter a(1), b(2);
    flaFrame frame(550, 1.0);
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 1));
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 2));
    flaDump dump(550, nullptr);
    frame.DumpAllCharactersInFile(dump);
    frame.DumpAllCharactersInFile(dump);
    EXPECT_EQ(ToHex(Flushed(dump)), "82 00 02 00 82 00 01 00");
}

TEST(flaFrame, DisplayListEditing) {
    TestCharacter a(1), b(2);
    flaFrame frame(550, 1.0);
    EXPECT_EQ(frame.GetMinDepth(), 0);
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(nullptr, 4));  // ignored
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(&a, 7));
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 3));
    frame.PlaceNewCharacterInFrame(flaCharacterInfo(&b, 7));  // replaces a
    EXPECT_EQ(frame.GetCharacterCount(), 2u);
    EXPECT_EQ(frame.GetMinDepth(), 3);
    EXPECT_EQ(frame.GetMaxDepth(), 7);
    EXPECT_EQ(frame.GetCharacterByDepth(7)->GetCharacter(), &b);
    EXPECT_EQ(frame.GetCharacterById(2)->GetDepth(), 3);
    EXPECT_EQ(frame.GetCharacterById(1), nullptr);

    const flaMatrix m(2, 0, 0, 2, 0.25f, 0);
    EXPECT_FALSE(frame.ReplaceMatrixInFrame(m, 5));
    EXPECT_TRUE(frame.ReplaceMatrixInFrame(m, 3));
    EXPECT_EQ(*frame.GetMatrixByDepth(3), m);
    EXPECT_EQ(frame.GetMatrixByDepth(5), nullptr);

    const flaColorXForm cx(128, 256, 256, 256, 0, 0, 0, 0);
    EXPECT_FALSE(frame.PlaceColorXFormAtDepth(&cx, 5));
    EXPECT_FALSE(frame.PlaceColorXFormAtDepth(nullptr, 3));
    flaCharacterInfoIterator it(frame.CharacterBeginIter());
    EXPECT_FALSE(it.ContainsColorXForm());
    EXPECT_TRUE(frame.PlaceColorXFormAtDepth(&cx, 7));
    EXPECT_TRUE(it.ContainsColorXForm());
    ++it;
    EXPECT_EQ(it->GetDepth(), 7);
    EXPECT_TRUE(it.ContainsColorXForm());
    ++it;
    EXPECT_TRUE(it.AtEnd());
    EXPECT_FALSE(it.ContainsColorXForm());

    frame.TransformAllPlaceObjects(flaMatrix(1, 0, 0, 1, 0.5f, 0));
    EXPECT_EQ(*frame.GetMatrixByDepth(3), flaMatrix(2, 0, 0, 2, 0.75f, 0));
    EXPECT_EQ(*frame.GetMatrixByDepth(7), flaMatrix(1, 0, 0, 1, 0.5f, 0));

    EXPECT_TRUE(frame.RemoveCharacterAtDepth(3));
    EXPECT_FALSE(frame.RemoveCharacterAtDepth(3));
}

TEST(flaFrame, OwnsItsStreamBlockAndKeepsSoundStarts) {
    flaFrame frame(550, 1.0);
    frame.PlaceStreamedSoundInFrame(new flaBuffer());
    const flaBuffer* second = new flaBuffer();
    frame.PlaceStreamedSoundInFrame(second);  // the first is released
    frame.PlaceStreamedSoundInFrame(second);  // the same block again is kept
    EXPECT_EQ(frame.GetStreamedSound(), second);

    flaSoundInfo s1, s2;
    s1.SetSoundId(4);
    s2.SetSoundId(9);
    frame.PlaceSoundInFrame(s1);
    frame.PlaceSoundInFrame(s2);
    ASSERT_EQ(frame.GetSoundCount(), 2u);
    EXPECT_EQ(frame.GetSound(1)->GetSoundId(), 9);
    EXPECT_EQ(frame.GetSound(2), nullptr);
    std::vector<const flaSoundInfo*> all;
    frame.GetAllSoundEvent(all);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0]->GetSoundId(), 4);
}

}  // namespace

namespace {

std::string FilterHex(const FLIO::flaFilter& f) {
    flaDump dump(550, nullptr);
    f.DumpInFile(dump);
    return ToHex(Flushed(dump));
}

TEST_F(FrameDiff, FiltersAreComparedByIdentity) {
    const flaFilterList blur{FLIO::flaFilter::CreateFilter_Blur(2.0, 2.0, 1)};
    const flaFilterList sameValues{FLIO::flaFilter::CreateFilter_Blur(2.0, 2.0, 1)};
    const std::string M0 = MatrixHex(m0);

    flaCharacterInfo e(&a, 1);
    e.SetFilterList(blur);
    flaFrame f1(550, 1.0), f2(550, 1.0), f3(550, 1.0);
    f1.PlaceNewCharacterInFrame(e);
    f2.PlaceNewCharacterInFrame(e);
    e.SetFilterList(sameValues);
    f3.PlaceNewCharacterInFrame(e);

    // New placement: flags 6, second flags byte 1, then the list: count, records.
    EXPECT_EQ(FrameHex(f1, nullptr),
              Join(LongTag(70, "06 01 01 00 01 00 " + M0 + " 01 " + FilterHex(*blur[0])), kShowFrame));
    EXPECT_EQ(FrameHex(f2, &f1), kShowFrame);
    EXPECT_EQ(FrameHex(f3, &f2), Join(LongTag(70, "05 01 01 00 " + M0 + " 01 " + FilterHex(*blur[0])), kShowFrame));
}

TEST(flaCharacterInfo, FilterListWritesCountThenRecords) {
    flaCharacterInfo info;
    flaDump empty(550, nullptr);
    info.DumpfilterListInFile(empty);
    EXPECT_EQ(ToHex(Flushed(empty)), "00");

    const auto blur = FLIO::flaFilter::CreateFilter_Blur(1.0, 1.0, 1);
    const auto glow = FLIO::flaFilter::CreateFilter(FLIO::flaFilter::Glow);
    info.SetFilterList({blur, UT_SharedPtr<FLIO::flaFilter>(), glow});  // the null entry is skipped
    flaDump dump(550, nullptr);
    info.DumpfilterListInFile(dump);
    EXPECT_EQ(ToHex(Flushed(dump)), Join(Join("02", FilterHex(*blur)), FilterHex(*glow)));
    EXPECT_EQ(blur->RefCount(), 2);  // shared, not copied
}

}  // namespace
