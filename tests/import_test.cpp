// The importer: header checks, tag dispatch, the replay of placements into frames,
// sprites, what the importer does with damaged or hostile input (among it the
// inputs that once crashed it), and the static pass that ends an import: characters
// placed with one matrix everywhere are baked, the others shifted to the stage
// centre; sprites are shifted and their contents walked.
#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli_util.h"
#include "flio/PL_File.h"
#include "flio/flaCharacterMatrices.h"
#include "flio/flaColorXForm.h"
#include "flio/flaFrame.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "flio/flaSprite.h"
#include "swf_writer.h"
#include "test_util.h"

using namespace flio_test;

namespace {

// The same file as "CWS": everything after the 8-byte header deflated.
Bytes Compress(const Bytes& file) {
    uLongf room = compressBound(static_cast<uLong>(file.size()));
    Bytes out(8 + room);
    std::copy(file.begin(), file.begin() + 8, out.begin());
    out[0] = 'C';
    compress(out.data() + 8, &room, file.data() + 8, static_cast<uLong>(file.size() - 8));
    out.resize(8 + room);
    return out;
}

// A damaged file is refused with one line: on standard output from a buffer (which
// takes only "FWS"), on standard error from a file or from memory read in place
// (which inflate "CWS" and catch what the buffer import throws).
TEST(Import, DamagedFilesAreRefusedWithOneLine) {
    const Bytes good = SwfWriter().Finish();
    Bytes length20 = good, truncated = good;
    length20[4] = 20;
    truncated.resize(10);  // inside the stage rectangle
    EXPECT_THROW(ImportMovie().Read(truncated), flaRead::readError);
    const char* notSwf = "ERROR: Illegal Header - not a Shockwave Flash File\n";
    const char* tooShort = "ERROR: file size is too short\n";
    const struct { bool fromFile; Bytes file; const char* message; } cases[] = {
        {false, Compress(good), notSwf},
        {false, Hex("46 57 58 09 20 00 00 00"), notSwf},
        {false, Hex("46 57"), notSwf},
        {false, Hex("46 57 53 09 20"), tooShort},
        {false, length20, tooShort},
        {true, Compress(SwfWriter(2).ShowFrame().ShowFrame().Finish()), ""},
        {true, truncated, "Some error while importing SWF\n"},
        {true, Hex("43 57 53 09 40 00 00 00 78 9C 01 02 03"), "Compressed SWF could not be decompressed\n"},
    };
    const std::string path = RunDir() + "flio_import.swf";
    for (const auto& c : cases) {
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(c.file.data()), c.file.size());
        ImportMovie movie;
        c.fromFile ? testing::internal::CaptureStderr() : testing::internal::CaptureStdout();
        const bool ok = c.fromFile ? movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr) : movie.Read(c.file);
        EXPECT_EQ(c.fromFile ? testing::internal::GetCapturedStderr() : testing::internal::GetCapturedStdout(),
                  c.message);
        EXPECT_EQ(Nums(ok, movie.GetFrameCount()), *c.message ? "0,0" : "1,2") << ToHex(c.file);
        if (!c.fromFile) continue;
        ImportMovie inMemory;  // the same image read where it lies: as from the file
        testing::internal::CaptureStderr();
        const bool read = inMemory.ReadMovieFromMemory(c.file.data(), c.file.size(), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
        EXPECT_EQ(Nums(read, inMemory.GetFrameCount()), Nums(ok, movie.GetFrameCount())) << ToHex(c.file);
    }
    ImportMovie movie;  // no name, no such file, a directory
    for (const std::string& name : {std::string(), std::string("/nonexistent/flio.swf"), RunDir()})
        EXPECT_FALSE(movie.ReadMovieFromFile(PL_FileSpec(name.c_str()), nullptr)) << name;
}

TEST(Import, RateAndStage) {
    // The rate's fraction byte is dropped; rates outside 1..100 become 24. The frames
    // are as many as announced, without any ShowFrame.
    for (auto [word, rate] : {std::make_pair(0x0C80, 12), {0x0000, 24}, {0x0100, 1}, {0x6400, 100}, {0x6500, 24}}) {
        ImportMovie movie;
        ASSERT_TRUE(movie.Read(SwfWriter(3, static_cast<unsigned short>(word)).Finish()));
        int width = 0, height = 0;
        movie.GetFrameSize(width, height);
        EXPECT_EQ(Nums(movie.GetFrameRate(), width, height, movie.GetFrameCount()), Nums(rate, 550, 400, 3)) << word;
        EXPECT_DOUBLE_EQ(movie.GetRatio(), 1.375);
    }
}

TEST(Import, DispatchReportsUnsupportedElementsOnceEach) {
    using U = flaUnsupported;
    const struct {
        std::vector<int> codes;
        std::vector<U::UnsupportedElement> expected;
    } cases[] = {
        {{7, 17, 23, 34}, {U::Button}},
        {{33, 37}, {U::TextOrEditText}},
        {{37, 12, 7, 46, 12}, {U::TextOrEditText, U::Action, U::Button, U::MorphShape}},
        {{84, 730, 732, 1000, 3, 16}, {}},
    };
    for (const auto& c : cases) {
        SwfWriter w;
        for (int code : c.codes) w.Tag(code, Hex("01 00 02 00"));
        ImportMovie movie;
        ASSERT_TRUE(movie.Read(w.Finish()));
        EXPECT_EQ(movie.Unsupported(), c.expected);
    }
    // Definitions reach the dictionary and the lists; a sound start goes to its frame
    // (stop records and unknown sounds are dropped; one after the last frame appends
    // a frame); a damaged palette tag (65535 keys announced, none there) is ignored.
    SwfWriter w;
    w.Shape(3).Tag(20, Hex("04 00 03 02 00 02 00 AA BB")).Tag(36, Hex("05 00 05 01 00 01 00 CC"));
    w.Tag(21, Hex("06 00 FF D8 FF D9")).Tag(8, Hex("FF D8 FF D9")).Tag(14, Hex("07 00 3A 02 00 00 00 11 22"));
    w.Tag(9, Hex("10 20 30")).Tag(15, Hex("07 00 00")).Tag(15, Hex("07 00 20")).Tag(15, Hex("08 00 00"));
    w.Tag(731, Hex("51 55 49 4C 4C 41 52 4B 49 4E 43 00 50 41 4C 31 08 00 00 00 FF FF 00 00 00 00 00 00"));
    w.ShowFrame().Tag(15, Hex("07 00 00"));
    ImportMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    ASSERT_EQ(movie.GetFrameCount(), 2u);
    EXPECT_EQ(movie.GetFrame(0)->GetBackGroundColor(), FLIO::flaRGBA(0x10, 0x20, 0x30, 255));
    EXPECT_EQ(Nums(movie.GetFrame(0)->GetSoundCount(), movie.GetFrame(1)->GetSoundCount()), "1,1");
    EXPECT_TRUE(movie.GetExistingPaletteInformation() && movie.GetCharacter(3) && movie.GetSound(7));
    const auto& lossless = movie.GetBitsLosslessList();
    const auto& lossless2 = movie.GetBitsLossless2List();
    const auto& jpegs = movie.GetJPEGContainer();
    ASSERT_EQ(Nums(lossless.size(), lossless2.size(), jpegs.size()), "1,1,1");
    EXPECT_EQ(Nums(lossless.front()->id, lossless2.front()->id, jpegs.front()->id), "4,5,6");
    EXPECT_EQ(movie.JPEGCopyTableSize(), 4u);
    EXPECT_EQ(movie.Unsupported(), std::vector<U::UnsupportedElement>{U::LosslessBitmap});

    // Nothing after End is read; without End the data ends the loop, and a lone
    // trailing byte is not a tag.
    Bytes file = SwfWriter().Finish();
    file.insert(file.end(), {0x00, 0x03});  // a DoAction after End
    ImportMovie after;
    ASSERT_TRUE(after.Read(file));
    EXPECT_TRUE(after.Unsupported().empty());
    SwfWriter noEnd;
    Bytes open = noEnd.Shape(1).Place(1, 1).ShowFrame().Finish(false);
    open.push_back(0x01);
    ImportMovie movie2;
    ASSERT_TRUE(movie2.Read(open));
    EXPECT_EQ(movie2.IdAt(0, 1), 1);
}

TEST(Import, PlacementReplay) {
    // Frame 0: A at 1, B at 2; frame 1: move of absent depth 9, A moved; frame 2: C
    // placed over A at depth 1 (both stay); frame 3: one RemoveObject2 takes the
    // earlier (A), so C shows; frame 4: the second empties depth 1. RemoveObject of
    // an unknown id changes nothing.
    SwfWriter w(5);
    w.Shape(1).Shape(2).Shape(3).Place(1, 1).Place(2, 2).ShowFrame();
    w.Move(9, Translation(0.1f, 0)).Move(1, Translation(0.5f, 0)).ShowFrame();
    w.Place(3, 1).ShowFrame().Remove2(1).ShowFrame();
    w.Remove2(1).Tag(5, Hex("63 00 02 00")).ShowFrame();
    RawMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    ASSERT_EQ(movie.GetFrameCount(), 5u);
    // The ids at depth 1 in frames 0, 2, 3 and 4, at depth 9 in frame 1 and at depth 2 in frame 4 (-1: none).
    EXPECT_EQ(Nums(movie.IdAt(0, 1), movie.IdAt(2, 1), movie.IdAt(3, 1), movie.IdAt(4, 1), movie.IdAt(1, 9),
                   movie.IdAt(4, 2)),
              "1,3,3,-1,-1,2");
    EXPECT_FLOAT_EQ(movie.At(1, 1)->GetMatrix().GetTX(), 0.5f);
    EXPECT_FLOAT_EQ(movie.At(0, 1)->GetMatrix().GetTX(), 0.0f);  // frame 0 kept its copy
}

TEST(Import, PlaceObjectFields) {
    const flaColorXForm cx(256, 128, 256, 256, 10, 0, -5, 0);
    SwfWriter w(4);
    w.Shape(1).Shape(2);
    // PlaceObject: id, depth, matrix, no CXFORM; an unknown id is dropped; a CXFORM
    // without alpha: has-add, 6 bits, add terms 10, 0, -5.
    w.Open(4).Word(1).Word(3);
    Translation(0.5f, 0).DumpInFile(w.Out());
    w.Close().Tag(4, Hex("63 00 04 00 00")).Tag(4, Hex("01 00 06 00 00 98 A0 3B"));
    // PlaceObject2 with character, matrix, CXFORM with alpha, ratio, name, clip depth.
    w.Open(26).Byte(0x7E).Word(5).Word(2);
    Translation(0.25f, 0).DumpInFile(w.Out());
    cx.DumpInFile(w.Out());
    w.Word(0x1234).Out().StringPrint("name");
    w.Word(7).Close();
    // Ratio and clip depth without a name: the ratio must be passed over.
    w.Open(26).Byte(0x56).Word(8).Word(1);
    Translation(0, 0).DumpInFile(w.Out());
    w.Word(0x0102).Word(9).Close().ShowFrame();
    // A move with a new character replaces the character and keeps the rest.
    w.Open(26).Byte(0x03).Word(5).Word(1).Close().ShowFrame();
    RawMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    EXPECT_EQ(movie.At(0, 4), nullptr);
    EXPECT_FLOAT_EQ(movie.At(0, 3)->GetMatrix().GetTX(), 0.5f);
    EXPECT_FALSE(movie.At(0, 3)->HasColorXForm());
    const flaColorXForm& noAlpha = movie.At(0, 6)->GetColorXForm();
    EXPECT_EQ(Nums(noAlpha.GetIsAdd(), noAlpha.GetaR(), noAlpha.GetaB()), "1,10,-5");
    const flaCharacterInfo *po2 = movie.At(0, 5), *moved = movie.At(1, 5);
    EXPECT_EQ(Nums(po2->GetCharacter()->GetId(), po2->GetClipDepth(), movie.At(0, 8)->GetClipDepth()), "2,7,9");
    EXPECT_TRUE(po2->GetColorXForm() == cx);
    EXPECT_EQ(Nums(moved->GetCharacter()->GetId(), moved->GetClipDepth()), "1,7");
    for (const flaCharacterInfo* e : {po2, moved}) EXPECT_FLOAT_EQ(e->GetMatrix().GetTX(), 0.25f);
}

TEST(Import, PlaceObject3ReadsPastFiltersAndBlendMode) {
    const struct {
        unsigned char flags, flags2;
        Bytes rest;  // filter list, blend, cache, background
        bool placed;
        const char* out;
    } cases[] = {
        {0x06, 0x03, Hex("01 01 00 00 01 00 00 00 02 00 08 03"), true, ""},  // blur filter and blend
        {0x06, 0x24, Hex("01 00 11 22 33 44"), true, ""},                    // cache and background
        {0x06, 0x01, Hex("02 09 FF FF FF"), true, ""},  // unknown filter type: the rest is skipped
        {0x06, 0x08, Hex(""), true, ""},                // class name
        {0x06, 0x20, Hex("01"), true, ""},              // visibility without background
        {0x06, 0x01, Hex("01 01 00 00"), true, ""},     // filter cut short
        {0x06, 0x10, Hex(""), false, ""},               // "has image" wants a class name that is not there
        {0x86, 0x00, Hex(""), true, "Clips Actions found\n"},  // announced, not read
    };
    for (const auto& c : cases) {
        SwfWriter w;
        w.Shape(1).Open(70).Byte(c.flags).Byte(c.flags2).Word(4);
        if (c.flags2 & 0x08) w.Out().StringPrint("Cls");
        w.Word(1);
        Translation(0.5f, 0).DumpInFile(w.Out());
        for (unsigned char b : c.rest) w.Byte(b);
        RawMovie movie;
        ::testing::internal::CaptureStdout();
        ASSERT_TRUE(movie.Read(w.Close().ShowFrame().Finish())) << ToHex(c.rest);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), c.out);
        const flaCharacterInfo* info = movie.At(0, 4);
        ASSERT_EQ(info != nullptr, c.placed) << int(c.flags2);
        if (!info) continue;
        EXPECT_FLOAT_EQ(info->GetMatrix().GetTX(), 0.5f);
        EXPECT_FALSE(info->HasBlendMode());
        EXPECT_FALSE(info->HasFilterList());
    }
}

TEST(Import, SpriteEndFrameExtension) {
    // A 10-frame sprite placed in the first frame of a 3-frame movie extends it; a
    // one-frame sprite does not.
    for (unsigned short spriteFrames : {10, 1}) {
        SwfWriter w(3);
        w.Open(39).Word(2).Word(spriteFrames);
        for (int i = 0; i < spriteFrames; ++i) w.ShowFrame();
        w.Word(0).Close().Place(2, 1).ShowFrame().ShowFrame().ShowFrame();
        RawMovie movie;
        ASSERT_TRUE(movie.Read(w.Finish()));
        const unsigned frames = spriteFrames > 3 ? spriteFrames : 3;
        ASSERT_EQ(movie.GetFrameCount(), frames);
        for (unsigned f = 0; f < frames; ++f) EXPECT_EQ(movie.IdAt(static_cast<int>(f), 1), 2) << f;
    }
}

TEST(Import, SpriteKeepsDeclaredFramesAndForwardsLookups) {
    // Sprite 2: 5 frames declared, 2 shown; places shape 1 of the parent's
    // dictionary; two DoActions; a DefineSprite inside it is ignored.
    SwfWriter w;
    w.Shape(1).Open(39).Word(2).Word(5).Place(1, 3).ShowFrame().Tag(12, Hex("00")).Tag(12, Hex("00"));
    w.Open(39).Word(9).Word(1).ShowFrame().Word(0).Close();
    w.ShowFrame().Word(0).Close().ShowFrame();
    RawMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    auto* sprite = dynamic_cast<flaSprite*>(movie.GetCharacter(2));
    ASSERT_NE(sprite, nullptr);
    EXPECT_EQ(Nums(sprite->GetDeclaredFrameCount(), sprite->GetFrameCount(), movie.GetCharacterList().size()), "5,5,2");
    EXPECT_EQ(sprite->GetParent(), &movie);
    ASSERT_NE(sprite->GetFrame(1)->GetCharacterByDepth(3), nullptr);
    EXPECT_EQ(sprite->GetFrame(1)->GetCharacterByDepth(3)->GetCharacter(), movie.GetCharacter(1));
    EXPECT_EQ(sprite->GetCharacter(1), movie.GetCharacter(1));
    EXPECT_EQ(movie.GetCharacter(9), nullptr);
    // DoAction inside the sprite is reported once, in the parent's list.
    EXPECT_EQ(sprite->GetUnsupported(), movie.GetUnsupported());
    EXPECT_EQ(movie.Unsupported(), std::vector<flaUnsupported::UnsupportedElement>{flaUnsupported::Action});
}

TEST(Import, ProgressCallbackCanStop) {
    // Records every fraction and stops after `limit` calls.
    struct StopAfter : flaMovie::Progress {
        explicit StopAfter(std::size_t n) : limit(n) {}
        bool Update(float f) override { return fractions.push_back(f), fractions.size() < limit; }
        std::size_t limit;
        std::vector<float> fractions;
    };
    SwfWriter w(3);
    const Bytes file = w.Shape(1).Place(1, 1).ShowFrame().ShowFrame().ShowFrame().Finish();
    StopAfter all(1000);
    RawMovie full;
    ASSERT_TRUE(full.Read(file, &all));
    ASSERT_EQ(all.fractions.size(), 6u);  // one call before each of the six tags, rising within (0, 1]
    const std::vector<float>& f = all.fractions;
    for (std::size_t i = 1; i < f.size(); ++i) EXPECT_GT(f[i], f[i - 1]);
    EXPECT_TRUE(f.front() > 0.0f && f.back() <= 1.0f);
    // Stopping before the first ShowFrame: true, the header's frames, nothing placed.
    StopAfter stop(3);
    RawMovie part;
    EXPECT_TRUE(part.Read(file, &stop));
    EXPECT_EQ(Nums(stop.fractions.size(), part.GetFrameCount(), part.At(0, 1) != nullptr), "3,3,0");
}

TEST(Import, HugeCountsAreBounded) {
    // 65535 declared frames are created; sprites' declared frames count against the
    // same limit, so thousands of them are refused, not allocated.
    SwfWriter w(0xFFFF);
    for (int i = 0; i < 20; ++i) w.Open(39).Word(static_cast<unsigned short>(i + 1)).Word(0xFFFF).Close();
    EXPECT_THROW(ImportMovie().Read(w.Finish()), flaRead::readError);
    ImportMovie big;
    ASSERT_TRUE(big.Read(SwfWriter(0xFFFF).Finish()));
    EXPECT_EQ(big.GetFrameCount(), 0xFFFFu);
}

// Inputs found by fuzz/fuzz_import.cpp that once crashed the importer: each is
// imported and its shapes decoded; a clean rejection is fine, a crash or a
// sanitizer report is not.
TEST(Import, FuzzFoundInputsDoNotCrash) {
    const std::filesystem::path dir = std::filesystem::path(FLIO_TEST_DATA_DIR) / "fuzz";
    std::error_code ec;
    if (!std::filesystem::is_directory(dir, ec)) GTEST_SKIP() << "no fuzz inputs";
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        ImportMovie movie;
        bool imported = false;
        ::testing::internal::CaptureStdout();
        try {
            imported = movie.Read(FileBytes(entry.path().string()));
        } catch (const flaRead::readError&) {
        }
        for (std::size_t i = 0; imported && i < movie.GetCharacterList().size(); ++i) {
            auto* shape = dynamic_cast<flaGeometry*>(movie.GetCharacterList()[i]);
            try {
                if (shape) shape->BuildBloated();
            } catch (const flaRead::readError&) {
            }
        }
        ::testing::internal::GetCapturedStdout();
    }
}

// ---- the static pass ----------------------------------------------------------------------

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

// (The pass switched off leaves every matrix as read: the import tests above rely on it.)
TEST(StaticPass, StaticIsBakedDynamicIsShifted) {
    PassMovie movie(2);
    Recorder* still = movie.Add(new Recorder(1));
    Recorder* moving = movie.Add(new Recorder(2));
    Recorder* unplaced = movie.Add(new Recorder(3));
    for (int f = 0; f < 2; ++f) {
        movie.Place(&movie, f, still, 1, Translation(0.25f, 0.125f));
        movie.Place(&movie, f, moving, 2, Translation(0.1f * static_cast<float>(f + 1), 0));
    }
    movie.PreProsessStaticCharacters();
    EXPECT_TRUE(moving->baked.empty() && unplaced->baked.empty());
    ASSERT_EQ(still->baked.size(), 1u);
    EXPECT_FLOAT_EQ(still->baked[0].GetTX(), 0.25f - 0.5f);
    EXPECT_FLOAT_EQ(still->baked[0].GetTY(), 0.125f + kCentreY);
    for (int f = 0; f < 2; ++f) EXPECT_TRUE(*movie.GetFrame(f)->GetMatrixByDepth(1) == flaMatrix()) << f;
    EXPECT_FLOAT_EQ(movie.TX(0, 2), 0.1f - 0.5f);
    EXPECT_FLOAT_EQ(movie.TX(1, 2), 0.2f - 0.5f);
    EXPECT_FLOAT_EQ(movie.GetFrame(1)->GetMatrixByDepth(2)->GetTY(), kCentreY);
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
    ASSERT_EQ(Nums(map[inner].size(), map[sprite].size()), "2,2");  // the sprite's two frames, once
    EXPECT_EQ(Nums(map[inner][0].level, map[sprite][0].level), "1,0");

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
    SwfWriter w(2);
    w.Shape(1).Shape(2).Place(1, 1, Translation(0.25f, 0)).Place(2, 2, Translation(0.1f, 0)).ShowFrame();
    ImportMovie movie;
    ASSERT_TRUE(movie.Read(w.Move(2, Translation(0.2f, 0)).ShowFrame().Finish()));
    EXPECT_TRUE(movie.At(1, 1)->GetMatrix() == flaMatrix());
    EXPECT_NEAR(movie.At(0, 2)->GetMatrix().GetTX(), 0.1f - 0.5f, 1e-6);
}

}  // namespace
