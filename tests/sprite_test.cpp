// Sprites: read from a file (frames, the parent's dictionary), written with their
// dependencies first, and read back.
#include <gtest/gtest.h>

#include "flio/flaSprite.h"
#include "import_test_util.h"
#include "movie_test_util.h"

using namespace flio_test;

namespace {

flaSprite* FirstSprite(const flaMovie& movie) {
    for (flaCharacter* c : movie.GetCharacterList())
        if (auto* s = dynamic_cast<flaSprite*>(c)) return s;
    return nullptr;
}

TEST(flaSprite, ReadKeepsDeclaredFramesAndForwardsLookups) {
    // Sprite 2: 5 frames declared, 2 shown; places shape 1 of the parent's
    // dictionary; two DoActions; a DefineSprite inside it is ignored.
    SwfWriter w;
    w.Shape(1).Open(39).Word(2).Word(5).Place(1, 3).ShowFrame().Tag(12, Hex("00")).Tag(12, Hex("00"));
    w.Open(39).Word(9).Word(1).ShowFrame().Word(0).Close();
    w.ShowFrame().Word(0).Close().ShowFrame();
    RawMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    flaSprite* sprite = FirstSprite(movie);
    ASSERT_NE(sprite, nullptr);
    EXPECT_EQ(sprite->GetId(), 2);
    EXPECT_EQ(sprite->GetDeclaredFrameCount(), 5);
    EXPECT_EQ(sprite->GetFrameCount(), 5u);
    EXPECT_EQ(sprite->GetParent(), &movie);
    ASSERT_NE(sprite->GetFrame(1)->GetCharacterByDepth(3), nullptr);
    EXPECT_EQ(sprite->GetFrame(1)->GetCharacterByDepth(3)->GetCharacter(), movie.GetCharacter(1));
    EXPECT_EQ(sprite->GetCharacter(1), movie.GetCharacter(1));
    EXPECT_EQ(movie.GetCharacter(9), nullptr);
    EXPECT_EQ(movie.GetCharacterList().size(), 2u);
    // DoAction inside the sprite is reported once, in the parent's list.
    EXPECT_EQ(sprite->GetUnsupported(), movie.GetUnsupported());
    EXPECT_EQ(movie.Unsupported(), std::vector<flaUnsupported::UnsupportedElement>{flaUnsupported::Action});
}

TEST(flaSprite, DependenciesBeforeDefineSpriteAndCostCode) {
    flaMovie movie(550, 400);
    auto* shape = new TestCharacter(movie.GetNewCharacterId());
    movie.AddNewCharacter(shape);
    auto* sprite = new flaSprite(movie.GetNewCharacterId(), &movie);
    EXPECT_EQ(flaMovie::pCurrentMovie, &movie);  // a sprite does not become the current movie
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

TEST(flaSprite, WrittenSpriteReadsBack) {
    struct WriteMovie : flaMovie {
        using flaMovie::flaMovie;
        Bytes Write() {
            flaDump dump(frameSizeX, nullptr);
            DumpMovieToBuffer(dump);
            return Flushed(dump);
        }
    } source(550, 400);
    auto* shape = new TestCharacter(source.GetNewCharacterId());
    source.AddNewCharacter(shape);
    auto* sprite = new flaSprite(source.GetNewCharacterId(), &source);
    source.AddNewCharacter(sprite);
    sprite->CreateFrames(3);
    for (int f = 0; f < 3; ++f)
        sprite->GetFrame(f)->PlaceNewCharacterInFrame(flaCharacterInfo(shape, 1, Translation(0.1f * f, 0), -1));
    source.CreateFrames(1);
    source.GetFrame(0)->PlaceNewCharacterInFrame(
        flaCharacterInfo(sprite, 1, flaMatrix(), flaCharacterInfo::NoStartAction));

    RawMovie movie;
    ASSERT_TRUE(movie.Read(source.Write()));
    flaSprite* read = FirstSprite(movie);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->GetId(), 2);
    ASSERT_EQ(read->GetFrameCount(), 3u);
    EXPECT_EQ(movie.GetFrameCount(), 3u);  // the sprite's 3 frames extend the one-frame movie
    EXPECT_NEAR(read->GetFrame(2)->GetCharacterByDepth(1)->GetMatrix().GetTX(), 0.2f, 1e-4);
}

}  // namespace
