// The static pass: characters placed with one matrix everywhere are baked, the
// others shifted to the stage centre; sprites are shifted and their contents walked.
#include <gtest/gtest.h>

#include <vector>

#include "flio/flaCharacterMatrices.h"
#include "flio/flaSprite.h"
#include "import_test_util.h"

using namespace flio_test;

namespace {

// A character that records the transformations baked into it.
struct Recorder : flaCharacter {
    explicit Recorder(int id_) : flaCharacter(id_) {}
    void SetTransformation(const flaMatrix& m) override { baked.push_back(m); }
    void DumpCharacterInFile(flaDump&) const override {}
    std::vector<flaMatrix> baked;
};

// A 550 x 400 movie (ratio 1.375): the centre shift is (-0.5, -0.5 / 1.375).
struct PassMovie : ImportMovie {
    explicit PassMovie(int frameCount) : ImportMovie(550, 400) { CreateFrames(frameCount); }
    template <class C>
    C* Add(C* c) {
        AddNewCharacter(c);
        return c;
    }
    void Place(flaMovie* in, int frame, flaCharacter* c, int depth, const flaMatrix& m) {
        in->GetFrame(frame)->PlaceNewCharacterInFrame(flaCharacterInfo(c, depth, m, -1));
    }
    float TX(int frame, int depth) const { return GetFrame(frame)->GetMatrixByDepth(depth)->GetTX(); }
};

const float kCentreY = static_cast<float>(-0.5 / 1.375);

TEST(StaticPass, StaticIsBakedDynamicIsShiftedOrNothingWhenOff) {
    for (bool on : {true, false}) {
        PassMovie movie(2);
        Recorder* still = movie.Add(new Recorder(1));
        Recorder* moving = movie.Add(new Recorder(2));
        Recorder* unplaced = movie.Add(new Recorder(3));
        for (int f = 0; f < 2; ++f) {
            movie.Place(&movie, f, still, 1, Translation(0.25f, 0.125f));
            movie.Place(&movie, f, moving, 2, Translation(0.1f * static_cast<float>(f + 1), 0));
        }
        movie.set_PreProsessStaticCharacters(on);
        EXPECT_EQ(movie.PreProsessStaticCharacters(), on);
        EXPECT_TRUE(moving->baked.empty());
        EXPECT_TRUE(unplaced->baked.empty());
        if (!on) {
            EXPECT_TRUE(still->baked.empty());
            EXPECT_FLOAT_EQ(movie.TX(1, 1), 0.25f);
            EXPECT_FLOAT_EQ(movie.TX(1, 2), 0.2f);
            continue;
        }
        ASSERT_EQ(still->baked.size(), 1u);
        EXPECT_FLOAT_EQ(still->baked[0].GetTX(), 0.25f - 0.5f);
        EXPECT_FLOAT_EQ(still->baked[0].GetTY(), 0.125f + kCentreY);
        for (int f = 0; f < 2; ++f) EXPECT_TRUE(*movie.GetFrame(f)->GetMatrixByDepth(1) == flaMatrix()) << f;
        EXPECT_FLOAT_EQ(movie.TX(0, 2), 0.1f - 0.5f);
        EXPECT_FLOAT_EQ(movie.TX(1, 2), 0.2f - 0.5f);
        EXPECT_FLOAT_EQ(movie.GetFrame(1)->GetMatrixByDepth(2)->GetTY(), kCentreY);
    }
}

TEST(StaticPass, SpriteIsShiftedAndItsContentsCollectedOnce) {
    PassMovie movie(2);
    Recorder* inner = movie.Add(new Recorder(1));
    Recorder* innerMoving = movie.Add(new Recorder(2));
    auto* sprite = movie.Add(new flaSprite(3, &movie));
    sprite->CreateFrames(2);
    for (int f = 0; f < 2; ++f) {
        movie.Place(sprite, f, inner, 1, Translation(0.3f, 0));
        movie.Place(sprite, f, innerMoving, 2, Translation(0.1f * static_cast<float>(f), 0));
        movie.Place(&movie, f, sprite, 1, Translation(0.5f, 0));  // one matrix, still never baked
    }
    flaCharacterMatrices map;
    movie.AssociateCharacterMatrices(map, 0);
    ASSERT_EQ(map[inner].size(), 2u);  // the sprite's two frames, once
    EXPECT_EQ(map[inner][0].level, 1);
    EXPECT_EQ(map[sprite].size(), 2u);
    EXPECT_EQ(map[sprite][0].level, 0);

    movie.PreProsessStaticCharacters();
    EXPECT_FLOAT_EQ(movie.TX(0, 1), 0.0f);  // 0.5 shifted by -0.5
    EXPECT_FLOAT_EQ(movie.GetFrame(1)->GetMatrixByDepth(1)->GetTY(), kCentreY);
    // Inside: the static shape is baked and its level-1 placements get the inverse
    // shift; the moving one keeps its matrices (level 1 is not shifted).
    ASSERT_EQ(inner->baked.size(), 1u);
    EXPECT_FLOAT_EQ(inner->baked[0].GetTX(), 0.3f - 0.5f);
    EXPECT_FLOAT_EQ(sprite->GetFrame(0)->GetMatrixByDepth(1)->GetTX(), 0.5f);
    EXPECT_FLOAT_EQ(sprite->GetFrame(0)->GetMatrixByDepth(1)->GetTY(), -kCentreY);
    EXPECT_TRUE(innerMoving->baked.empty());
    EXPECT_FLOAT_EQ(sprite->GetFrame(1)->GetMatrixByDepth(2)->GetTX(), 0.1f);
}

TEST(StaticPass, ChainedSpritesAreCollectedWithoutRecursion) {
    // Sprite n places sprite n - 1; 20000 levels would overflow a recursive walk.
    PassMovie movie(1);
    Recorder* shape = movie.Add(new Recorder(1));
    flaCharacter* below = shape;
    for (int i = 0; i < 20000; ++i) {
        auto* sprite = movie.Add(new flaSprite(i + 2, &movie));
        sprite->CreateFrames(1);
        movie.Place(sprite, 0, below, 1, flaMatrix());
        below = sprite;
    }
    movie.Place(&movie, 0, below, 1, flaMatrix());
    flaCharacterMatrices map;
    movie.AssociateCharacterMatrices(map, 0);
    ASSERT_EQ(map[shape].size(), 1u);
    EXPECT_EQ(map[shape][0].level, 20000);
}

TEST(StaticPass, RunsAtTheEndOfAnImport) {
    SwfWriter w(11000, 8000, 24 << 8, 2);
    w.Shape(1).Shape(2).Place(1, 1, Translation(0.25f, 0)).Place(2, 2, Translation(0.1f, 0)).ShowFrame();
    ImportMovie movie;
    ASSERT_TRUE(movie.Read(w.Move(2, Translation(0.2f, 0)).ShowFrame().Finish()));
    EXPECT_TRUE(movie.At(1, 1)->GetMatrix() == flaMatrix());
    EXPECT_NEAR(movie.At(0, 2)->GetMatrix().GetTX(), 0.1f - 0.5f, 1e-6);
}

}  // namespace
