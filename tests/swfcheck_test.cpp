// Independent checks: movies written by the library are parsed by a third-party SWF
// parser (swfcheck --full), which must accept them, and what it decodes must be what
// the movie held (see swfcheck_util.h). Skipped when node or the tool is missing.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "swfcheck_util.h"
#include "test_util.h"
#ifdef FLIO_HAVE_DEMO
#include "demo_movie.h"
#endif

namespace flio_test {
namespace {

// Writes the movie, has it parsed and compares; returns the decoded movie.
Json ExpectDecodesAsBuilt(flaMovie& movie, const std::string& name, bool compress = false) {
    const std::string path = flio_test::RunDir() + "flio_swfcheck_" + name + ".swf";
    flaDump dump(FrameWidth(movie), nullptr);
    EXPECT_TRUE(movie.DumpMovieToFile(PL_FileSpec(path.c_str()), dump, compress));
    const Json result = SwfCheckFull(path);
    EXPECT_TRUE(result["ok"].boolean) << name << ": " << result["error"].text;
    const Json& h = result["movie"]["header"];
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    EXPECT_EQ(Nums(h["frameSize"]["xMax"].Int(), h["frameSize"]["yMax"].Int(), h["frameRate"]["epsilons"].Int()),
              Nums(width * 20, height * 20, movie.GetFrameRate() * 256));
    Described m = DescribeModel(movie), d = DescribeDecoded(result["movie"]);
    for (auto list : {&Described::edges, &Described::texts}) {
        std::sort((m.*list).begin(), (m.*list).end());
        std::sort((d.*list).begin(), (d.*list).end());
        EXPECT_EQ(m.*list, d.*list);
    }
    EXPECT_EQ(m.frames, d.frames);
    EXPECT_EQ(m.frames.size(), movie.GetFrameCount());
    return result["movie"];
}

#ifdef FLIO_HAVE_DEMO
// Beyond matching its model, the demo holds all eight filters, a blend mode that
// changes and texts in two faces of one font.
TEST(SwfCheck, DemoMovieDecodesAsBuilt) {
    SKIP_WITHOUT_SWFCHECK();
    using namespace flio_demo;
    for (const bool compress : {false, true}) {
        SCOPED_TRACE(compress ? "compressed" : "uncompressed");
        DemoHostData host;
        flaMovie movie(kStageWidth, kStageHeight);
        BuildDemoMovie(movie, host);
        const Json decoded = ExpectDecodesAsBuilt(movie, compress ? "demo_cws" : "demo_fws", compress);
        const Described d = DescribeDecoded(decoded);
        ASSERT_EQ(d.frames.size(), static_cast<std::size_t>(kFrameCount));
        for (int type = 0; type < 8; ++type)
            EXPECT_NE(d.frames[0].find(" filters=" + std::to_string(type) + " "), std::string::npos) << type;
        EXPECT_NE(d.frames[kBlendChangeFrame].find(" blend=8"), std::string::npos);
        EXPECT_EQ(Nums(TagsOf(decoded, swfjson::DefineFont).size(), d.texts.size()), "2,2");
    }
}
#endif

// ---- small movies ------------------------------------------------------------------

const FLIO::flaRGBA kRed(200, 30, 30, 255), kBlue(30, 60, 200, 128), kBlack(0, 0, 0, 255);

// Three shapes, placed moved, mirrored and rotated: a thick line, fills on either
// side, curves (one with its control point on an end) with a hairline, gradients,
// two layers with their own styles, open lines, an edge that is not written,
// coordinates off stage. A face of two outlined letters and a space, and a kerned
// text in it. A sound started plainly, with every option and an envelope, and
// stopped. The wide movie takes the bold face, a larger text, the other sound format.
void BuildSmallMovie(flaMovie& movie, int width) {
    const bool wide = width > 400;
    movie.CreateFrames(3);
    flaGradientSteps steps;
    steps.Add(kRed, 0);
    steps.Add(kBlue, 255);

    auto place = [&movie](auto* character, int depth, const flaMatrix& m) {
        movie.AddNewCharacter(character);
        movie.GetFrame(0)->PlaceNewCharacterInFrame(flaCharacterInfo(character, depth, m, -1));
        return character;
    };
    auto shape = [&](int depth, const flaMatrix& m) {
        return place(new flaGeometry(movie.GetNewCharacterId()), depth, m);
    };
    flaSubGeometry* s = shape(1, flaMatrix(1, 0, 0, 1, 0.5f, 0.3f))->AddChildGeometry();
    AddStroke(s, {{-0.1f, -0.1f}, {0.1f, -0.1f}, {0, 0.12f}, {-0.1f, -0.1f}}, false, nullptr,
              s->CreateSolidColour(kRed, 0), s->CreateLineColour(0.02f, kBlack, 0));
    AddStroke(s, {{0, 0}, {0, 0.2f}, {0.3f, 0.2f}, {0.3f, 0}, {0, 0}}, false, s->CreateSolidColour(kBlue, 0),
              nullptr, nullptr);

    s = shape(2, flaMatrix(-0.7f, 0.7f, -0.7f, 1.4f, 0.25f, 0.25f))->AddChildGeometry();
    const flaMatrix small(0.01f, 0, 0, 0.01f, 0.01f, -0.02f);
    AddStroke(s,  // three curves
              {{0.1f, 0}, {0.1f, 0.1f}, {0, 0.1f}, {0, 0.1f}, {-0.1f, 0.1f}, {-0.1f, 0}, {-0.1f, 0}, {-0.1f, -0.1f},
               {0.1f, 0}},
              true, nullptr, s->CreateGradientColour(flaColor::RadialGradient, small, steps, 0),
              s->CreateLineColour(0.0f, kBlack, 0));
    AddStroke(s,
              {{0.1f, 0.1f}, {0.2f, 0.1f}, {0.2f, 0.1f}, {0.2f, 0.1f}, {0.2f, 0.1f}, {0.2f, 0.3f}, {0.2f, 0.3f},
               {0.05f, 0.35f}, {0.1f, 0.1f}},
              true, nullptr, s->CreateSolidColour(kRed, 0), nullptr);

    flaGeometry* layered = shape(3, flaMatrix(0.5f, 0, 0, 0.5f, 0.2f, 0.2f));
    s = layered->AddChildGeometry();
    const flaMatrix m(0.005f, 0.002f, -0.002f, 0.005f, 0.1f, 0);
    AddStroke(s, {{0, 0}, {0.2f, 0}, {0.2f, 0.2f}, {0, 0}}, false, nullptr,
              s->CreateGradientColour(flaColor::LinearGradient, m, steps, 0), nullptr);
    s = layered->AddChildGeometry();
    const flaColor *line = s->CreateLineColour(0.005f, kRed, 0), *fill = s->CreateSolidColour(kBlue, 0);
    AddStroke(s, {{0, 0}, {0.3f, 0.05f}, {0.3f, 0.05f}, {0.1f, 0.2f}}, false, nullptr, nullptr, line);
    AddStroke(s, {{0, 0}, {0.5f, 0.5f}}, false, fill, fill, nullptr);  // same fill both sides, no line: not written
    AddStroke(s, {{0.3f, 0.3f}, {0.35f, 0.2f}, {0.4f, 0.3f}}, true, nullptr, nullptr, line);
    AddStroke(s, {{-0.6f, -0.4f}, {1.6f, -0.4f}, {1.6f, 1.3f}, {-0.6f, -0.4f}}, false, nullptr, fill, nullptr);

    static std::vector<std::unique_ptr<flaGlyphGeometry>> glyphs;  // outlive the movie
    flaFont& font = movie.getFont(fontInfo("Case Face", wide, true));
    const float em = 1.0f / static_cast<float>(width * 20);  // one glyph unit in model units
    const std::vector<flaPoint> outlines[] = {{{0, 0}, {300, -700}, {600, 0}, {0, 0}},
                                              {{0, -700}, {500, -700}, {500, 0}, {0, -700}}};
    for (int g = 0; g < 3; ++g) {
        glyphs.push_back(std::make_unique<flaGlyphGeometry>());
        if (g < 2 && (s = glyphs.back()->AddChildGeometry())) {
            AddStroke(s, outlines[g], false, nullptr, s->CreateSolidColour(kBlack, 0), nullptr);
            glyphs.back()->Transform(flaMatrix(em, 0, 0, em, 0, 0));
        }
        font.addCode(static_cast<unsigned short>("AB "[g]), glyphs.back().get(), 0.02f * static_cast<float>(g + 2));
    }
    auto* text = place(new flaTextGeometry(movie.GetNewCharacterId()), 4, flaMatrix(1, 0, 0, 1, 0.1f, 0.2f));
    text->setText(UT_String("AB BA"));
    text->setFontId(font.getId());
    text->setFontSize(wide ? 150 : 30);
    text->setRecordOffset(flaPoint(0.02f, -0.01f), flaPoint(0.02f, -0.01f));
    const int kerning[] = {9, 4, -6, 0, 12};
    for (unsigned i = 0; i < 5; ++i) text->setKerning(i, kerning[i]);
    text->UpdateBBox(0, 0);
    text->UpdateBBox(0.5f, 0.1f);

    const unsigned short bits = wide ? 16 : 8, channels = wide ? 2 : 1;
    const unsigned count = 300, bytes = count * bits / 8 * channels;
    auto* sound = new flaSound;
    sound->SetCompressFormat(flaSound::NotCompressed);
    sound->SetSampleRate(wide ? 44100 : 5512);
    sound->SetSampleSize(bits);
    sound->SetChannels(channels);
    sound->SetSampleCount(count);
    sound->SetSamples(new unsigned char[bytes](), bytes);
    const int id = movie.AddSound(sound);
    flaSoundInfo starts[3];
    for (flaSoundInfo& start : starts) start.SetSoundId(id);
    starts[1].SetSyncFlag(flaSoundInfo::SyncNoMultiple);
    starts[1].SetInPoint(10);
    starts[1].SetOutPoint(250);
    starts[1].SetLoopCount(3);
    flaSoundInfo::EnvelopePoint points[8];
    for (unsigned i = 0; i < 8; ++i)
        points[i] = {i * 40, static_cast<unsigned short>(4096 * i), static_cast<unsigned short>(32768 - 4096 * i)};
    starts[1].SetEnvelope(points, points + 8);
    starts[2].SetSyncFlag(flaSoundInfo::SyncStop);
    for (int f = 0; f < 3; ++f) movie.GetFrame(f)->PlaceSoundInFrame(starts[f]);
}

TEST(SwfCheck, SmallMoviesDecodeAsBuilt) {
    SKIP_WITHOUT_SWFCHECK();
    for (int width : {200, 800}) {
        flaMovie movie(width, width * 3 / 4);
        BuildSmallMovie(movie, width);
        const Json decoded = ExpectDecodesAsBuilt(movie, "small_" + std::to_string(width));
        EXPECT_EQ(TagsOf(decoded, swfjson::StartSound).size(), 3u);
    }
}

}  // namespace
}  // namespace flio_test
