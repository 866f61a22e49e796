#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "flio/PL_FileSpec.h"
#include "flio/flaSprite.h"
#include "import_test_util.h"

using namespace flio_test;

namespace {

// Records every fraction and stops after `limit` calls.
class StopAfter : public flaMovie::Progress {
public:
    explicit StopAfter(int limit_) : limit(limit_) {}
    bool Update(float fraction) override {
        fractions.push_back(fraction);
        return static_cast<int>(fractions.size()) < limit;
    }
    int limit;
    std::vector<float> fractions;
};

std::string WriteTempFile(const std::string& name, const Bytes& bytes) {
    const std::string path = ::testing::TempDir() + name;
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path;
}

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

flaMatrix Translation(float tx, float ty) { return flaMatrix(1, 0, 0, 1, tx, ty); }

// A movie with the static pass off, so that placements keep their file matrices.
struct RawMovie : ImportMovie {
    RawMovie() { set_PreProsessStaticCharacters(false); }
};

TEST(Import, HeaderChecks) {
    struct Case {
        const char* name;
        Bytes file;
        const char* message;
    };
    const Bytes good = SwfWriter().Finish();
    Bytes shortLength = good;
    shortLength[4] = 20;  // announced length below 21
    const Case cases[] = {
        {"compressed buffer", Compress(good), "ERROR: Illegal Header - not a Shockwave Flash File\n"},
        {"other signature", Hex("46 57 58 09 20 00 00 00"), "ERROR: Illegal Header - not a Shockwave Flash File\n"},
        {"two bytes", Hex("46 57"), "ERROR: Illegal Header - not a Shockwave Flash File\n"},
        {"five bytes", Hex("46 57 53 09 20"), "ERROR: file size is too short\n"},
        {"length 20", shortLength, "ERROR: file size is too short\n"},
    };
    for (const Case& c : cases) {
        ImportMovie movie;
        ::testing::internal::CaptureStdout();
        EXPECT_FALSE(movie.Read(c.file)) << c.name;
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), c.message) << c.name;
        EXPECT_EQ(movie.GetFrameCount(), 0u) << c.name;
    }
}

TEST(Import, FileImportCatchesWhatBufferImportPasses) {
    // Truncated inside the stage rectangle.
    Bytes truncated = SwfWriter().Finish();
    truncated.resize(10);
    {
        ImportMovie movie;
        EXPECT_THROW(movie.Read(truncated), flaRead::readError);
    }
    struct Case {
        const char* name;
        Bytes file;
        const char* errorText;
    };
    Bytes badZlib = Hex("43 57 53 09 40 00 00 00 78 9C 01 02 03");
    const Case cases[] = {
        {"truncated", truncated, "Some error while importing SWF\n"},
        {"bad zlib", badZlib, "Compressed SWF could not be decompressed\n"},
    };
    for (const Case& c : cases) {
        ImportMovie movie;
        const std::string path = WriteTempFile(std::string("flio_import_") + c.name + ".swf", c.file);
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr)) << c.name;
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), c.errorText) << c.name;
        std::remove(path.c_str());
    }
    ImportMovie movie;
    EXPECT_FALSE(movie.ReadMovieFromFile(PL_FileSpec(), nullptr));
    EXPECT_FALSE(movie.ReadMovieFromFile(PL_FileSpec("/nonexistent/flio.swf"), nullptr));
    EXPECT_FALSE(movie.ReadMovieFromFile(PL_FileSpec(::testing::TempDir().c_str()), nullptr));
}

TEST(Import, CompressedFileIsInflated) {
    SwfWriter w(11000, 8000, 24 << 8, 2);
    w.ShowFrame().ShowFrame();
    const std::string path = WriteTempFile("flio_import_cws.swf", Compress(w.Finish()));
    ImportMovie movie;
    EXPECT_TRUE(movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr));
    EXPECT_EQ(movie.GetFrameCount(), 2u);
    std::remove(path.c_str());
}

TEST(Import, FrameRateWord) {
    struct Case {
        unsigned short word;
        int rate;
    };
    const Case cases[] = {{0x0C80, 12}, {0x0000, 24}, {0x6500, 24}, {0xFF00, 24}, {0x6400, 100}, {0x0100, 1}};
    for (const Case& c : cases) {
        ImportMovie movie;
        ASSERT_TRUE(movie.Read(SwfWriter(11000, 8000, c.word).Finish()));
        EXPECT_EQ(movie.GetFrameRate(), c.rate) << std::hex << c.word;
    }
}

TEST(Import, StageSizeRatioAndScaling) {
    RawMovie movie;
    SwfWriter w(11000, 8000, 24 << 8, 3);
    w.Shape(1).Place(1, 1, Translation(0.5f, 0.25f)).ShowFrame();
    ASSERT_TRUE(movie.Read(w.Finish()));
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    EXPECT_EQ(width, 550);
    EXPECT_EQ(height, 400);
    EXPECT_DOUBLE_EQ(movie.GetRatio(), 1.375);
    EXPECT_EQ(movie.GetFrameCount(), 3u);
    // 5500 twips is half of the 11000-twip stage width.
    const flaCharacterInfo* info = movie.At(0, 1);
    ASSERT_NE(info, nullptr);
    EXPECT_FLOAT_EQ(info->GetMatrix().GetTX(), 0.5f);
    EXPECT_FLOAT_EQ(info->GetMatrix().GetTY(), 0.25f);

    // A movie constructed with a size keeps it.
    ImportMovie sized(100, 100);
    ASSERT_TRUE(sized.Read(SwfWriter(11000, 8000).Finish()));
    sized.GetFrameSize(width, height);
    EXPECT_EQ(width, 100);
    EXPECT_DOUBLE_EQ(sized.GetRatio(), 1.0);
}

TEST(Import, UnsupportedElementsEachOnce) {
    struct Case {
        std::vector<int> codes;
        std::vector<flaUnsupported::UnsupportedElement> expected;
    };
    using U = flaUnsupported;
    const Case cases[] = {
        {{7, 17, 23, 34}, {U::Button}},
        {{12, 12}, {U::Action}},
        {{46}, {U::MorphShape}},
        {{33, 37}, {U::TextOrEditText}},
        {{37, 12, 7, 46, 12}, {U::TextOrEditText, U::Action, U::Button, U::MorphShape}},
        {{84, 730, 732, 1000, 3, 16}, {}},
    };
    for (const Case& c : cases) {
        SwfWriter w;
        for (int code : c.codes) w.Tag(code, Hex("01 00 02 00"));
        ImportMovie movie;
        ASSERT_TRUE(movie.Read(w.Finish()));
        const flaUnsupported* u = movie.GetUnsupported();
        EXPECT_EQ(std::vector<U::UnsupportedElement>(u->GetUnsupportedElementBegin(), u->GetUnsupportedElementEnd()),
                  c.expected);
    }
}

TEST(Import, DefinitionsReachTheDictionary) {
    SwfWriter w;
    w.Shape(3);
    w.Tag(20, Hex("04 00 03 02 00 02 00 AA BB"));  // DefineBitsLossless id 4
    w.Tag(36, Hex("05 00 05 01 00 01 00 CC"));     // DefineBitsLossless2 id 5
    w.Tag(21, Hex("06 00 FF D8 FF D9"));           // DefineBitsJPEG2 id 6
    w.Tag(8, Hex("FF D8 FF D9"));                  // JPEGTables
    w.Tag(14, Hex("07 00 3A 02 00 00 00 11 22"));  // DefineSound id 7
    ImportMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    ASSERT_NE(movie.GetCharacter(3), nullptr);
    EXPECT_FALSE(movie.GetCharacter(3)->IsSprite());
    ASSERT_EQ(movie.GetBitsLosslessList().size(), 1u);
    EXPECT_EQ(movie.GetBitsLosslessList().front()->id, 4u);
    ASSERT_EQ(movie.GetBitsLossless2List().size(), 1u);
    EXPECT_EQ(movie.GetBitsLossless2List().front()->id, 5u);
    ASSERT_EQ(movie.GetJPEGContainer().size(), 1u);
    EXPECT_EQ(movie.GetJPEGContainer().front()->id, 6u);
    EXPECT_EQ(movie.JPEGCopyTableSize(), 4u);
    ASSERT_NE(movie.GetSound(7), nullptr);
    EXPECT_TRUE(movie.HasUnsupported(flaUnsupported::LosslessBitmap));
}

TEST(Import, TagLoopEndsAtEndTagOrEndOfData) {
    // Nothing after End is read.
    SwfWriter after(11000, 8000, 24 << 8, 1);
    Bytes file = after.Finish();
    for (unsigned char b : Hex("00 03")) file.push_back(b);  // a DoAction after End
    ImportMovie movie;
    ASSERT_TRUE(movie.Read(file));
    EXPECT_EQ(movie.GetUnsupported()->GetUnsupportedElementCount(), 0u);

    // No End tag: the data ends the loop; a lone trailing byte is not a tag.
    SwfWriter noEnd(11000, 8000, 24 << 8, 1);
    noEnd.Shape(1).Place(1, 1).ShowFrame();
    Bytes open = noEnd.Finish(false);
    open.push_back(0x01);
    ImportMovie movie2;
    ASSERT_TRUE(movie2.Read(open));
    EXPECT_EQ(movie2.IdAt(0, 1), 1);
}

TEST(Import, NoShowFrameKeepsHeaderFrames) {
    SwfWriter w(11000, 8000, 24 << 8, 4);
    w.Shape(1).Place(1, 1);
    ImportMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    EXPECT_EQ(movie.GetFrameCount(), 4u);
    for (int f = 0; f < 4; ++f) EXPECT_EQ(movie.GetFrame(f)->GetCharacterCount(), 0u);
}

TEST(Import, PlacementReplay) {
    // Frame 0: A at 1, B at 2; frame 1: move of absent depth 9, A moved;
    // frame 2: C placed over A at depth 1 (both stay); frame 3: one RemoveObject2
    // takes the earlier (A), so C shows; frame 4: second removal empties depth 1;
    // RemoveObject with an unknown id changes nothing.
    SwfWriter w(11000, 8000, 24 << 8, 5);
    w.Shape(1).Shape(2).Shape(3);
    w.Place(1, 1).Place(2, 2).ShowFrame();
    w.Move(9, Translation(0.1f, 0)).Move(1, Translation(0.5f, 0)).ShowFrame();
    w.Place(3, 1).ShowFrame();
    w.Remove2(1).ShowFrame();
    w.Remove2(1).Tag(5, Hex("63 00 02 00")).ShowFrame();
    RawMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    ASSERT_EQ(movie.GetFrameCount(), 5u);
    EXPECT_EQ(movie.IdAt(0, 1), 1);
    EXPECT_EQ(movie.IdAt(0, 2), 2);
    EXPECT_EQ(movie.At(1, 9), nullptr);
    EXPECT_FLOAT_EQ(movie.At(1, 1)->GetMatrix().GetTX(), 0.5f);
    EXPECT_FLOAT_EQ(movie.At(0, 1)->GetMatrix().GetTX(), 0.0f);  // frame 0 kept its copy
    EXPECT_EQ(movie.IdAt(2, 1), 3);
    EXPECT_EQ(movie.IdAt(3, 1), 3);
    EXPECT_EQ(movie.At(4, 1), nullptr);
    EXPECT_EQ(movie.IdAt(4, 2), 2);  // stays on every frame until removed
}

TEST(Import, PlaceObjectFields) {
    const flaColorXForm cx(256, 128, 256, 256, 10, 0, -5, 0);
    SwfWriter w(11000, 8000, 24 << 8, 4);
    w.Shape(1).Shape(2);
    // PlaceObject: id, depth, matrix, CXFORM without alpha; an unknown id is dropped.
    w.Open(4).Word(1).Word(3);
    Translation(0.5f, 0).DumpInFile(w.Out());
    w.Close();
    w.Tag(4, Hex("63 00 04 00 00"));
    // PlaceObject2 with every field: character, matrix, CXFORM with alpha, ratio,
    // name, clip depth.
    w.Open(26).Byte(0x7E).Word(5).Word(2);
    Translation(0.25f, 0).DumpInFile(w.Out());
    cx.DumpInFile(w.Out());
    w.Word(0x1234);
    w.Out().StringPrint("name");
    w.Word(7);
    w.Close().ShowFrame();
    // A move with a new character replaces the character and keeps the rest.
    w.Open(26).Byte(0x03).Word(5).Word(1).Close().ShowFrame();
    RawMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    EXPECT_EQ(movie.At(0, 4), nullptr);
    const flaCharacterInfo* po = movie.At(0, 3);
    ASSERT_NE(po, nullptr);
    EXPECT_FLOAT_EQ(po->GetMatrix().GetTX(), 0.5f);
    const flaCharacterInfo* po2 = movie.At(0, 5);
    ASSERT_NE(po2, nullptr);
    EXPECT_EQ(po2->GetCharacter()->GetId(), 2);
    EXPECT_FLOAT_EQ(po2->GetMatrix().GetTX(), 0.25f);
    EXPECT_EQ(po2->GetClipDepth(), 7);
    EXPECT_TRUE(po2->GetColorXForm() == cx);
    const flaCharacterInfo* moved = movie.At(1, 5);
    EXPECT_EQ(moved->GetCharacter()->GetId(), 1);
    EXPECT_EQ(moved->GetClipDepth(), 7);
    EXPECT_FLOAT_EQ(moved->GetMatrix().GetTX(), 0.25f);
}

TEST(Import, PlaceObjectColourTransformWithoutAlpha) {
    SwfWriter w;
    w.Shape(1);
    // CXFORM without alpha: has-add only, 6 bits, add terms 10, 0, -5.
    w.Tag(4, Hex("01 00 01 00 00") /* id, depth, empty matrix */);
    w.Open(4).Word(1).Word(2).Byte(0x00);
    w.Out().Bit(true);
    w.Out().Bit(false);
    const std::uint32_t nbits = 6, r = 10, g = 0, b = static_cast<std::uint32_t>(-5);
    w.Out().DataU32(reinterpret_cast<const char*>(&nbits), 4, true);
    w.Out().DataU32(reinterpret_cast<const char*>(&r), 6, true);
    w.Out().DataU32(reinterpret_cast<const char*>(&g), 6, true);
    w.Out().DataU32(reinterpret_cast<const char*>(&b), 6, true);
    w.Close().ShowFrame();
    RawMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    EXPECT_FALSE(movie.At(0, 1)->HasColorXForm());
    const flaColorXForm& cx = movie.At(0, 2)->GetColorXForm();
    EXPECT_TRUE(cx.GetIsAdd());
    EXPECT_EQ(cx.GetaR(), 10);
    EXPECT_EQ(cx.GetaB(), -5);
}

TEST(Import, PlaceObject3ReadsPastFiltersAndBlendMode) {
    struct Case {
        const char* name;
        Bytes afterFields;  // filter list, blend, cache, background
        unsigned char flags2;
    };
    const Case cases[] = {
        {"blur filter and blend", Hex("01 01 00 00 01 00 00 00 02 00 08 03"), 0x03},
        {"cache and background", Hex("01 00 11 22 33 44"), 0x24},
        // Type 9 is unknown: the rest of the tag cannot be read and is skipped.
        {"unknown filter", Hex("02 09 FF FF FF"), 0x01},
        {"class name", Hex(""), 0x08},
        // A visibility byte without the background colour: the tag ends early in
        // fields that are dropped anyway, and the placement stands.
        {"visible only", Hex("01"), 0x20},
        {"truncated filter", Hex("01 01 00 00"), 0x01},
    };
    for (const Case& c : cases) {
        SwfWriter w;
        w.Shape(1);
        w.Open(70).Byte(0x06).Byte(c.flags2).Word(4);
        if (c.flags2 & 0x08) w.Out().StringPrint("Cls");
        w.Word(1);
        Translation(0.5f, 0).DumpInFile(w.Out());
        for (unsigned char b : c.afterFields) w.Byte(b);
        w.Close().ShowFrame();
        RawMovie movie;
        ASSERT_TRUE(movie.Read(w.Finish())) << c.name;
        const flaCharacterInfo* info = movie.At(0, 4);
        ASSERT_NE(info, nullptr) << c.name;
        EXPECT_FLOAT_EQ(info->GetMatrix().GetTX(), 0.5f) << c.name;
        EXPECT_FALSE(info->HasBlendMode()) << c.name;
        EXPECT_FALSE(info->HasFilterList()) << c.name;
    }
    // "Has image" with "has character" brings a class name that this tag lacks: the
    // fields run out, and the tag is dropped like one of an unknown character.
    SwfWriter image;
    image.Shape(1);
    image.Open(70).Byte(0x06).Byte(0x10).Word(4).Word(1).Byte(0).Close().ShowFrame();
    RawMovie imageMovie;
    ASSERT_TRUE(imageMovie.Read(image.Finish()));
    EXPECT_EQ(imageMovie.At(0, 4), nullptr);

    // Clip actions are announced, not read.
    SwfWriter w;
    w.Shape(1);
    w.Open(70).Byte(0x86).Byte(0).Word(4).Word(1).Byte(0).Close().ShowFrame();
    ::testing::internal::CaptureStdout();
    RawMovie movie;
    EXPECT_TRUE(movie.Read(w.Finish()));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Clips Actions found\n");
}

TEST(Import, SpriteEndFrameExtension) {
    // A 10-frame sprite placed in the first frame of a 3-frame movie.
    SwfWriter w(11000, 8000, 24 << 8, 3);
    w.Open(39).Word(2).Word(10);
    for (int i = 0; i < 10; ++i) w.ShowFrame();
    w.Word(0).Close();
    w.Place(2, 1).ShowFrame().ShowFrame().ShowFrame();
    RawMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    EXPECT_EQ(movie.SpriteEndFrame(), 10u);
    ASSERT_EQ(movie.GetFrameCount(), 10u);
    for (int f = 0; f < 10; ++f) EXPECT_EQ(movie.IdAt(f, 1), 2) << f;

    // A one-frame sprite needs no extension.
    SwfWriter one(11000, 8000, 24 << 8, 2);
    one.Open(39).Word(2).Word(1).ShowFrame().Word(0).Close();
    one.Place(2, 1).ShowFrame().ShowFrame();
    RawMovie movie2;
    ASSERT_TRUE(movie2.Read(one.Finish()));
    EXPECT_EQ(movie2.GetFrameCount(), 2u);
}

TEST(Import, ProgressCallbackCanStop) {
    SwfWriter w(11000, 8000, 24 << 8, 3);
    w.Shape(1).Place(1, 1).ShowFrame().ShowFrame().ShowFrame();
    const Bytes file = w.Finish();

    StopAfter all(1000);
    RawMovie full;
    ASSERT_TRUE(full.Read(file, &all));
    ASSERT_EQ(all.fractions.size(), 6u);  // one call before each of the six tags
    for (std::size_t i = 1; i < all.fractions.size(); ++i) EXPECT_GT(all.fractions[i], all.fractions[i - 1]);
    EXPECT_GT(all.fractions.front(), 0.0f);
    EXPECT_LE(all.fractions.back(), 1.0f);

    // Stopping before the first ShowFrame: true, the header's frames, nothing placed.
    StopAfter stop(3);
    RawMovie part;
    EXPECT_TRUE(part.Read(file, &stop));
    EXPECT_EQ(stop.fractions.size(), 3u);
    EXPECT_EQ(part.GetFrameCount(), 3u);
    EXPECT_EQ(part.At(0, 1), nullptr);
}

TEST(Import, TimelineSoundAndBackground) {
    SwfWriter w(11000, 8000, 24 << 8, 2);
    w.Tag(14, Hex("07 00 3A 02 00 00 00 11 22"));  // DefineSound id 7
    w.Tag(9, Hex("10 20 30"));
    w.Tag(15, Hex("07 00 00"));  // start sound 7
    w.Tag(15, Hex("07 00 20"));  // stop record: dropped
    w.Tag(15, Hex("08 00 00"));  // unknown sound: dropped
    w.ShowFrame().ShowFrame();
    w.Tag(15, Hex("07 00 00"));  // after the last frame: a frame is appended for it
    ImportMovie movie;
    ASSERT_TRUE(movie.Read(w.Finish()));
    EXPECT_EQ(movie.GetFrame(0)->GetBackGroundColor(), FLIO::flaRGBA(0x10, 0x20, 0x30, 255));
    EXPECT_EQ(movie.GetFrame(0)->GetSoundCount(), 1u);
    ASSERT_EQ(movie.GetFrameCount(), 3u);
    EXPECT_EQ(movie.GetFrame(2)->GetSoundCount(), 1u);
}

TEST(Import, PaletteTagBothWays) {
    flaMovie source(550, 400);
    source.SetExportPalette(true);
    source.GetPaletteInformation()->AddColourIndex(flaPalette::CreateFlashKey(5, 3, true), 42, UT_String("Red"),
                                                   UT_String("Main"));
    flaDump dump(550, nullptr);
    const std::string path = ::testing::TempDir() + "flio_palette.swf";
    ASSERT_TRUE(source.DumpMovieToFile(PL_FileSpec(path.c_str()), dump, false));
    ImportMovie movie;
    ASSERT_TRUE(movie.ReadMovieFromFile(PL_FileSpec(path.c_str()), nullptr));
    std::remove(path.c_str());
    const flaPalette* palette = movie.GetExistingPaletteInformation();
    ASSERT_NE(palette, nullptr);
    const flaPalette::ColourInfo* colour = palette->GetColourInformation(0x70005);
    ASSERT_NE(colour, nullptr);
    EXPECT_EQ(colour->GetColourId(), 42);
    EXPECT_EQ(colour->GetColourName().utf8(), "Red");

    // A damaged palette tag is ignored; the rest of the file still counts.
    // Signature, "PAL1", block length 8, 65535 keys announced, none there.
    Bytes body = Hex("51 55 49 4C 4C 41 52 4B 49 4E 43 00 50 41 4C 31 08 00 00 00 FF FF 00 00 00 00 00 00");
    SwfWriter w(11000, 8000, 24 << 8, 1);
    w.Tag(731, body).Shape(1).Place(1, 1).ShowFrame();
    ImportMovie damaged;
    ASSERT_TRUE(damaged.Read(w.Finish()));
    EXPECT_EQ(damaged.IdAt(0, 1), 1);
}

TEST(Import, HugeCountsAreBounded) {
    // 65535 declared frames are created; the sprites' declared frames count
    // against the same limit, so thousands of them are refused, not allocated.
    SwfWriter w(11000, 8000, 24 << 8, 0xFFFF);
    for (int i = 0; i < 20; ++i) w.Open(39).Word(static_cast<unsigned short>(i + 1)).Word(0xFFFF).Close();
    ImportMovie movie;
    EXPECT_THROW(movie.Read(w.Finish()), flaRead::readError);

    SwfWriter ok(11000, 8000, 24 << 8, 0xFFFF);
    ImportMovie big;
    ASSERT_TRUE(big.Read(ok.Finish()));
    EXPECT_EQ(big.GetFrameCount(), 0xFFFFu);
}

}  // namespace
