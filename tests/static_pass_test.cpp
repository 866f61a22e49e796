#include <gtest/gtest.h>

#include <vector>

#include "flio/flaCharacterMatrices.h"
#include "flio/flaSprite.h"
#include "import_test_util.h"

using namespace flio_test;

namespace {

// A character that records the transformations baked into it.
class Recorder : public flaCharacter {
public:
    explicit Recorder(int id_) : flaCharacter(id_) {}
    void SetTransformation(const flaMatrix& m) override { baked.push_back(m); }
    void DumpCharacterInFile(flaDump&) const override {}
    std::vector<flaMatrix> baked;
};

flaMatrix T(float tx, float ty) { return flaMatrix(1, 0, 0, 1, tx, ty); }

// A 550 x 400 movie (ratio 1.375) with the given number of frames.
struct PassMovie : ImportMovie {
    explicit PassMovie(int frameCount) : ImportMovie(550, 400) { CreateFrames(frameCount); }
    template <class C>
    C* Add(C* c) {
        AddNewCharacter(c);
        return c;
    }
    void Place(int frame, flaCharacter* c, int depth, const flaMatrix& m) {
        GetFrame(frame)->PlaceNewCharacterInFrame(flaCharacterInfo(c, depth, m, -1));
    }
    const flaMatrix& MatrixAt(int frame, int depth) const { return *GetFrame(frame)->GetMatrixByDepth(depth); }
};

const float kCentreY = static_cast<float>(-0.5 / 1.375);

TEST(StaticPass, StaticShapeIsBakedAndPlacementsReset) {
    PassMovie movie(3);
    Recorder* shape = movie.Add(new Recorder(1));
    for (int f = 0; f < 3; ++f) movie.Place(f, shape, 1, T(0.25f, 0.125f));
    Recorder* unplaced = movie.Add(new Recorder(2));
    EXPECT_TRUE(movie.PreProsessStaticCharacters());

    ASSERT_EQ(shape->baked.size(), 1u);
    EXPECT_FLOAT_EQ(shape->baked[0].GetTX(), 0.25f - 0.5f);
    EXPECT_FLOAT_EQ(shape->baked[0].GetTY(), 0.125f + kCentreY);
    for (int f = 0; f < 3; ++f) EXPECT_TRUE(movie.MatrixAt(f, 1) == flaMatrix()) << f;
    EXPECT_TRUE(unplaced->baked.empty());
}

TEST(StaticPass, DynamicShapeIsShifted) {
    PassMovie movie(2);
    Recorder* shape = movie.Add(new Recorder(1));
    movie.Place(0, shape, 1, T(0.1f, 0));
    movie.Place(1, shape, 1, T(0.2f, 0));
    movie.PreProsessStaticCharacters();
    EXPECT_TRUE(shape->baked.empty());
    EXPECT_FLOAT_EQ(movie.MatrixAt(0, 1).GetTX(), 0.1f - 0.5f);
    EXPECT_FLOAT_EQ(movie.MatrixAt(1, 1).GetTX(), 0.2f - 0.5f);
    EXPECT_FLOAT_EQ(movie.MatrixAt(1, 1).GetTY(), kCentreY);
}

TEST(StaticPass, SpriteIsShiftedAndItsContentsCollectedOnce) {
    PassMovie movie(2);
    Recorder* inner = movie.Add(new Recorder(1));
    Recorder* innerMoving = movie.Add(new Recorder(2));
    auto* sprite = movie.Add(new flaSprite(3, &movie));
    sprite->CreateFrames(2);
    for (int f = 0; f < 2; ++f) {
        sprite->GetFrame(f)->PlaceNewCharacterInFrame(flaCharacterInfo(inner, 1, T(0.3f, 0), -1));
        sprite->GetFrame(f)->PlaceNewCharacterInFrame(flaCharacterInfo(innerMoving, 2, T(0.1f * f, 0), -1));
    }
    // The same sprite placed twice with one matrix: still never baked.
    movie.Place(0, sprite, 1, T(0.5f, 0));
    movie.Place(1, sprite, 1, T(0.5f, 0));

    flaCharacterMatrices map;
    movie.AssociateCharacterMatrices(map, 0);
    ASSERT_EQ(map[inner].size(), 2u);  // the sprite's two frames, once
    EXPECT_EQ(map[inner][0].level, 1);
    EXPECT_EQ(map[sprite].size(), 2u);
    EXPECT_EQ(map[sprite][0].level, 0);

    movie.PreProsessStaticCharacters();
    EXPECT_FLOAT_EQ(movie.MatrixAt(0, 1).GetTX(), 0.0f);  // 0.5 shifted by -0.5
    EXPECT_FLOAT_EQ(movie.MatrixAt(1, 1).GetTY(), kCentreY);
    // Inside: the static shape is baked and its level-1 placements get the inverse
    // shift; the moving one keeps its matrices untouched (level 1 is not shifted).
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
    const int levels = 20000;
    for (int i = 0; i < levels; ++i) {
        auto* sprite = movie.Add(new flaSprite(i + 2, &movie));
        sprite->CreateFrames(1);
        sprite->GetFrame(0)->PlaceNewCharacterInFrame(flaCharacterInfo(below, 1));
        below = sprite;
    }
    movie.Place(0, below, 1, flaMatrix());
    flaCharacterMatrices map;
    movie.AssociateCharacterMatrices(map, 0);
    ASSERT_EQ(map[shape].size(), 1u);
    EXPECT_EQ(map[shape][0].level, levels);
}

TEST(StaticPass, SwitchedOff) {
    PassMovie movie(1);
    Recorder* shape = movie.Add(new Recorder(1));
    movie.Place(0, shape, 1, T(0.25f, 0));
    movie.set_PreProsessStaticCharacters(false);
    EXPECT_FALSE(movie.PreProsessStaticCharacters());
    EXPECT_TRUE(shape->baked.empty());
    EXPECT_FLOAT_EQ(movie.MatrixAt(0, 1).GetTX(), 0.25f);
}

TEST(StaticPass, RunsAtTheEndOfAnImport) {
    SwfWriter w(11000, 8000, 24 << 8, 2);
    w.Shape(1).Shape(2);
    w.Place(1, 1, T(0.25f, 0)).Place(2, 2, T(0.1f, 0)).ShowFrame();
    w.Move(2, T(0.2f, 0)).ShowFrame();
    ImportMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    EXPECT_TRUE(movie.At(0, 1)->GetMatrix() == flaMatrix());
    EXPECT_TRUE(movie.At(1, 1)->GetMatrix() == flaMatrix());
    EXPECT_NEAR(movie.At(0, 2)->GetMatrix().GetTX(), 0.1f - 0.5f, 1e-6);
}

}  // namespace
