// Independent checks: movies written by the library are decoded by a third-party
// SWF parser (swfcheck --full), and what it decodes is compared with what the
// movie held: shape bounds, edges and styles, every frame's display list
// (depth, character id, matrix, colour transform, blend mode, filters with their
// fields), bitmaps, sounds and sound starts, fonts with their glyph outlines and
// codes, and static texts. Skipped when node or the tool is missing.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "flio/flaFilter.h"
#include "flio/flaSound.h"
#include "flio/flaStyle.h"
#include "swfcheck_text.h"
#include "swfcheck_util.h"
#ifdef FLIO_HAVE_DEMO
#include "demo_movie.h"
#endif

namespace flio_test {
namespace {

// Parses the file and checks that the parser accepted it.
Json ParsedMovie(const std::string& path) {
    const Json result = SwfCheckFull(path);
    EXPECT_TRUE(result["ok"].boolean) << path << ": " << result["error"].text;
    return result["movie"];
}

// Every shape the movie places is decoded with the model's bounds and edges, and
// nothing else is defined as a shape.
void ExpectShapesMatch(const flaMovie& movie, const Json& decoded) {
    const std::map<int, const Json*> shapes = DecodedShapes(decoded);
    std::vector<int> placed;
    for (unsigned long long f = 0; f < movie.GetFrameCount(); ++f)
        for (const auto& entry : movie.GetFrame(static_cast<int>(f))->GetDisplayList())
            if (ModelShape(movie, entry.second.GetCharacter()->GetId())) placed.push_back(entry.second.GetCharacter()->GetId());
    std::sort(placed.begin(), placed.end());
    placed.erase(std::unique(placed.begin(), placed.end()), placed.end());
    std::vector<int> defined;
    for (const auto& s : shapes) defined.push_back(s.first);
    EXPECT_EQ(placed, defined);
    for (const auto& [id, tag] : shapes) {
        SCOPED_TRACE("shape " + std::to_string(id));
        EXPECT_EQ(ModelShapeBounds(movie, id), DecodedShapeBounds(*tag));
        EXPECT_EQ(ModelShapeEdges(movie, id), DecodedShapeEdges(*tag));
    }
}

void ExpectMovieMatches(const flaMovie& movie, const Json& decoded) {
    int width = 0, height = 0;
    movie.GetFrameSize(width, height);
    EXPECT_EQ(decoded["header"]["frameCount"].Int(), static_cast<long>(movie.GetFrameCount()));
    EXPECT_EQ(decoded["header"]["frameSize"]["xMax"].Int(), width * 20);
    EXPECT_EQ(decoded["header"]["frameSize"]["yMax"].Int(), height * 20);
    EXPECT_EQ(decoded["header"]["frameRate"]["epsilons"].Int(), movie.GetFrameRate() * 256);
    ExpectShapesMatch(movie, decoded);
    EXPECT_EQ(ModelFrames(movie), DecodedFrames(decoded));
    EXPECT_EQ(ModelBitmaps(movie), DecodedBitmaps(decoded));
    EXPECT_EQ(ModelSounds(movie), DecodedSounds(decoded));
    EXPECT_EQ(ModelSoundStarts(movie), DecodedSoundStarts(decoded));
    EXPECT_EQ(ModelFonts(movie), DecodedFonts(decoded));
    EXPECT_EQ(ModelGlyphEdges(movie), DecodedGlyphEdges(decoded));
    EXPECT_EQ(ModelTexts(movie), DecodedTexts(decoded));
}

#ifdef FLIO_HAVE_DEMO
// The display-list entry at `depth` in a frame description of DecodedFrames.
std::string EntryAt(const std::string& frame, int depth) {
    const std::string key = std::to_string(depth) + ":";
    std::size_t at = frame.rfind("; " + key) != std::string::npos ? frame.rfind("; " + key) + 2 : 0;
    if (frame.compare(at, key.size(), key) != 0) return "";
    return frame.substr(at, frame.find("; ", at) - at);
}

// What the demo promises beyond matching its model: all eight filters, the blend
// mode that changes, two faces of one font, and kerned text that lands on stage in
// the text band.
void ExpectDemoPromises(const Json& decoded) {
    using namespace flio_demo;
    const std::vector<std::string> frames = DecodedFrames(decoded);
    ASSERT_EQ(frames.size(), static_cast<std::size_t>(kFrameCount));
    for (int type = 0; type < 8; ++type)
        EXPECT_NE(EntryAt(frames[0], kDepthFirstFilter + type).find(" filters=" + std::to_string(type) + "("),
                  std::string::npos) << "filter type " << type;
    EXPECT_NE(EntryAt(frames[kBlendChangeFrame - 1], kDepthBlendChanging).find(" blend=7"), std::string::npos);
    EXPECT_NE(EntryAt(frames[kBlendChangeFrame], kDepthBlendChanging).find(" blend=8"), std::string::npos);

    const std::map<long, const Json*> fonts = DecodedFontTags(decoded);
    ASSERT_EQ(fonts.size(), 2u);
    const Json& regular = *fonts.begin()->second;
    const Json& bold = *fonts.rbegin()->second;
    EXPECT_EQ(regular["fontName"].text, bold["fontName"].text);
    EXPECT_FALSE(regular["isBold"].boolean);
    EXPECT_TRUE(bold["isBold"].boolean);

    int texts = 0;
    for (const Json& t : decoded["tags"].items) {
        if (t["type"].Int() != swfjson::DefineText) continue;
        ++texts;
        SCOPED_TRACE("text " + std::to_string(t["id"].Int()));
        // Kerning reached the file: some glyph is written with two different advances.
        std::map<long, std::set<long>> advances;
        for (const Json& e : t["records"][0]["entries"].items) advances[e["index"].Int()].insert(e["advance"].Int());
        EXPECT_TRUE(std::any_of(advances.begin(), advances.end(), [](const auto& a) { return a.second.size() > 1; }));
        // Placed inside the band and on stage.
        const Json* place = nullptr;
        for (const Json& p : decoded["tags"].items)
            if (!place && p["type"].Int() == swfjson::PlaceObject && p["characterId"].Int() == t["id"].Int()) place = &p;
        ASSERT_NE(place, nullptr);
        const long x = (*place)["matrix"]["translateX"].Int(), y = (*place)["matrix"]["translateY"].Int();
        const Json& b = t["bounds"];
        EXPECT_GE(x + b["xMin"].Int(), 0);
        EXPECT_LE(x + b["xMax"].Int(), kStageWidth * 20);
        EXPECT_GE(y + b["yMin"].Int(), 465 * 20);
        EXPECT_LE(y + b["yMax"].Int(), 520 * 20);
        // The baseline lies inside the bounds, with a capital's height above it.
        const long baseline = b["yMin"].Int() + t["records"][0]["offsetY"].Int();
        EXPECT_GT(baseline - t["records"][0]["fontSize"].Int() * 700 / 1024, b["yMin"].Int());
        EXPECT_LE(baseline, b["yMax"].Int());
    }
    EXPECT_EQ(texts, 2);
}

TEST(SwfCheck, DemoMovieDecodesAsBuilt) {
    SKIP_WITHOUT_SWFCHECK();
    for (const bool compress : {false, true}) {
        SCOPED_TRACE(compress ? "compressed" : "uncompressed");
        flio_demo::DemoHostData host;
        flaMovie movie(flio_demo::kStageWidth, flio_demo::kStageHeight);
        flio_demo::BuildDemoMovie(movie, host);
        const Json decoded = ParsedMovie(WriteMovie(movie, compress ? "demo_cws" : "demo_fws", compress));
        ExpectMovieMatches(movie, decoded);
        // The demo's own promises: its length, its media and both sound starts.
        EXPECT_GE(movie.GetFrameCount(), 48u);
        EXPECT_EQ(DecodedBitmaps(decoded).size(), 3u);
        EXPECT_EQ(DecodedSoundStarts(decoded).size(), 2u);
        ExpectDemoPromises(decoded);
    }
}
#endif

// ---- shapes ---------------------------------------------------------------------

const FLIO::flaRGBA kRed(200, 30, 30, 255), kBlue(30, 60, 200, 128), kBlack(0, 0, 0, 255);

flaStroke* Path(std::initializer_list<flaPoint> points) {
    auto* s = new flaStroke;
    for (const flaPoint& p : points) s->AddPoint(p);
    return s;
}

// A bitmap for the bitmap fills: 2 x 2 opaque pixels, data not inspected here.
int AddTinyBitmap(flaMovie& movie) {
    auto* bits = new flaBitsLossless;
    bits->format = 5;
    bits->width = 2;
    bits->height = 2;
    bits->colorTableSize = 0;
    bits->dataSize = 0;
    return movie.AddBitsLossless(bits);
}

struct ShapeCase {
    const char* name;
    flaMatrix placement;
    std::function<void(flaMovie&, flaGeometry&)> draw;
};

const ShapeCase kShapeCases[] = {
    {"straight_edges_fill_right_thick_line", flaMatrix(1, 0, 0, 1, 0.5f, 0.3f),
     [](flaMovie&, flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         s->AddStroke(Path({{-0.1f, -0.1f}, {0.1f, -0.1f}, {0, 0.12f}, {-0.1f, -0.1f}}),
                      new flaStyle(flaStyle::Straight, nullptr, s->CreateSolidColour(kRed, 0),
                                   s->CreateLineColour(0.02f, kBlack, 0)));
     }},
    {"counter_clockwise_fill_left_horizontal_vertical", flaMatrix(-1, 0, 0, 2, 0.4f, 0.2f),
     [](flaMovie&, flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         s->AddStroke(Path({{0, 0}, {0, 0.2f}, {0.3f, 0.2f}, {0.3f, 0}, {0, 0}}),
                      new flaStyle(flaStyle::Straight, s->CreateSolidColour(kBlue, 0), nullptr, nullptr));
     }},
    {"curves_radial_gradient_hairline", flaMatrix(0.7f, 0.7f, -0.7f, 0.7f, 0.25f, 0.25f),
     [](flaMovie&, flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         flaGradientSteps steps;
         steps.Add(kRed, 0);
         steps.Add(kBlue, 255);
         const flaColor* fill =
             s->CreateGradientColour(flaColor::RadialGradient, flaMatrix(0.01f, 0, 0, 0.01f, 0.01f, -0.02f), steps, 0);
         s->AddStroke(Path({{0.1f, 0}, {0.1f, 0.1f}, {0, 0.1f},  //
                            {0, 0.1f}, {-0.1f, 0.1f}, {-0.1f, 0},  //
                            {-0.1f, 0}, {-0.1f, -0.1f}, {0, -0.1f},  //
                            {0, -0.1f}, {0.1f, -0.1f}, {0.1f, 0}}),
                      new flaStyle(flaStyle::Curved, nullptr, fill, s->CreateLineColour(0.0f, kBlack, 0)));
     }},
    {"curve_with_control_on_an_end_is_straight", flaMatrix(),
     [](flaMovie&, flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         s->AddStroke(Path({{0.1f, 0.1f}, {0.2f, 0.1f}, {0.2f, 0.1f},  //
                            {0.2f, 0.1f}, {0.2f, 0.1f}, {0.2f, 0.3f},  //
                            {0.2f, 0.3f}, {0.05f, 0.35f}, {0.1f, 0.1f}}),
                      new flaStyle(flaStyle::Curved, nullptr, s->CreateSolidColour(kRed, 0), nullptr));
     }},
    {"linear_gradient_and_bitmap_fills_tiled_and_clipped", flaMatrix(1, 0, 0, 1, 0.1f, 0.1f),
     [](flaMovie& movie, flaGeometry& g) {
         const int bitmap = AddTinyBitmap(movie);
         flaSubGeometry* s = g.AddChildGeometry();
         flaGradientSteps steps;
         steps.Add(kBlack, 0);
         steps.Add(kRed, 100);
         steps.Add(kBlue, 255);
         const flaColor* linear = s->CreateGradientColour(flaColor::LinearGradient,
                                                          flaMatrix(0.005f, 0.002f, -0.002f, 0.005f, 0.1f, 0), steps, 0);
         const flaColor* tiled = s->CreateBitmapColour(true, bitmap, flaMatrix(20, 0, 0, 20, 0, 0), 0);
         const flaColor* clipped = s->CreateBitmapColour(false, bitmap, flaMatrix(40, 0, 0, 40, 0.3f, 0), 0);
         s->AddStroke(Path({{0, 0}, {0.2f, 0}, {0.2f, 0.2f}, {0, 0.2f}, {0, 0}}),
                      new flaStyle(flaStyle::Straight, nullptr, linear, nullptr));
         s->AddStroke(Path({{0.3f, 0}, {0.5f, 0}, {0.5f, 0.2f}, {0.3f, 0.2f}, {0.3f, 0}}),
                      new flaStyle(flaStyle::Straight, nullptr, tiled, nullptr));
         s->AddStroke(Path({{0.6f, 0}, {0.8f, 0}, {0.8f, 0.2f}, {0.6f, 0.2f}, {0.6f, 0}}),
                      new flaStyle(flaStyle::Straight, nullptr, clipped, nullptr));
     }},
    {"three_layers_with_their_own_styles", flaMatrix(1, 0, 0, 1, 0.05f, 0.05f),
     [](flaMovie&, flaGeometry& g) {
         for (int layer = 0; layer < 3; ++layer) {
             flaSubGeometry* s = g.AddChildGeometry();
             const float o = 0.1f * static_cast<float>(layer);
             s->AddStroke(Path({{o, o}, {o + 0.2f, o}, {o + 0.2f, o + 0.2f}, {o, o}}),
                          new flaStyle(flaStyle::Straight, nullptr,
                                       s->CreateSolidColour(FLIO::flaRGBA(static_cast<unsigned char>(80 * layer), 90,
                                                                          40, 255),
                                                            0),
                                       layer == 1 ? s->CreateLineColour(0.01f, kBlack, 0) : nullptr));
         }
     }},
    {"open_lines_only_and_a_useless_edge", flaMatrix(1, 0, 0, 1, 0.2f, 0.2f),
     [](flaMovie&, flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         const flaColor* line = s->CreateLineColour(0.005f, kRed, 0);
         const flaColor* fill = s->CreateSolidColour(kBlue, 0);
         s->AddStroke(Path({{0, 0}, {0.3f, 0.05f}, {0.3f, 0.05f}, {0.1f, 0.2f}}),
                      new flaStyle(flaStyle::Straight, nullptr, nullptr, line));
         // Same fill on both sides and no line: not written.
         s->AddStroke(Path({{0, 0}, {0.5f, 0.5f}}), new flaStyle(flaStyle::Straight, fill, fill, nullptr));
         s->AddStroke(Path({{0.3f, 0.3f}, {0.35f, 0.2f}, {0.4f, 0.3f}}),
                      new flaStyle(flaStyle::Curved, nullptr, nullptr, line));
     }},
    {"coordinates_off_stage_and_negative", flaMatrix(0.5f, 0, 0, 0.5f, 0, 0),
     [](flaMovie&, flaGeometry& g) {
         flaSubGeometry* s = g.AddChildGeometry();
         s->AddStroke(Path({{-0.6f, -0.4f}, {1.6f, -0.4f}, {1.6f, 1.3f}, {-0.6f, 1.3f}, {-0.6f, -0.4f}}),
                      new flaStyle(flaStyle::Straight, nullptr, s->CreateSolidColour(kRed, 0), nullptr));
     }},
};

void PrintTo(const ShapeCase& c, std::ostream* os) { *os << c.name; }

class SwfCheckShape : public testing::TestWithParam<ShapeCase> {};

TEST_P(SwfCheckShape, DecodesWithTheModelsEdgesBoundsAndStyles) {
    SKIP_WITHOUT_SWFCHECK();
    const ShapeCase& c = GetParam();
    flaMovie movie(200, 150);
    movie.CreateFrames(1);
    auto* shape = new flaGeometry(movie.GetNewCharacterId());
    movie.AddNewCharacter(shape);
    c.draw(movie, *shape);
    movie.GetFrame(0)->PlaceNewCharacterInFrame(flaCharacterInfo(shape, 2, c.placement, -1));
    const Json decoded = ParsedMovie(WriteMovie(movie, c.name));
    ExpectMovieMatches(movie, decoded);
    EXPECT_FALSE(DecodedShapeEdges(*DecodedShapes(decoded).at(shape->GetId())).empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, SwfCheckShape, testing::ValuesIn(kShapeCases),
                         [](const testing::TestParamInfo<ShapeCase>& i) { return std::string(i.param.name); });

// ---- timeline -------------------------------------------------------------------

// Each frame changes something: a move, a scale and rotation, a colour transform,
// a replacement, a removal, a filter list and a blend mode that changes.
TEST(SwfCheck, TimelineDecodesFrameByFrame) {
    SKIP_WITHOUT_SWFCHECK();
    flaMovie movie(300, 200);
    movie.CreateFrames(7);
    auto square = [&movie](FLIO::flaRGBA colour) {
        auto* g = new flaGeometry(movie.GetNewCharacterId());
        movie.AddNewCharacter(g);
        flaSubGeometry* s = g->AddChildGeometry();
        s->AddStroke(Path({{-0.05f, -0.05f}, {0.05f, -0.05f}, {0.05f, 0.05f}, {-0.05f, 0.05f}, {-0.05f, -0.05f}}),
                     new flaStyle(flaStyle::Straight, nullptr, s->CreateSolidColour(colour, 0), nullptr));
        return g;
    };
    flaGeometry* a = square(kRed);
    flaGeometry* b = square(kBlue);
    const auto blur = FLIO::flaFilter::CreateFilter_Blur(4, 4, 1);
    const auto glow = FLIO::flaFilter::CreateFilter_Glow(kRed, 3, 3, 1.0f, 1, false, false, true);
    for (int f = 0; f < 7; ++f) {
        flaFrame* frame = movie.GetFrame(f);
        const float t = static_cast<float>(f);
        frame->PlaceNewCharacterInFrame(flaCharacterInfo(a, 2, flaMatrix(1, 0, 0, 1, 0.1f + 0.05f * t, 0.2f), -1));
        const float c = 1.0f - 0.1f * t, s = 0.2f * t;
        frame->PlaceNewCharacterInFrame(flaCharacterInfo(a, 3, flaMatrix(c, s, -s, c, 0.5f, 0.3f), -1));
        flaCharacterInfo tinted(b, 4, flaMatrix(1, 0, 0, 1, 0.8f, 0.3f), -1);
        if (f >= 2) tinted.SetColorXForm(flaColorXForm(128, 256, 256, 200, static_cast<short>(10 * f), 0, -20, 0));
        frame->PlaceNewCharacterInFrame(tinted);
        frame->PlaceNewCharacterInFrame(flaCharacterInfo(f < 3 ? a : b, 5, flaMatrix(1, 0, 0, 1, 0.3f, 0.5f), -1));
        if (f < 4) frame->PlaceNewCharacterInFrame(flaCharacterInfo(b, 6, flaMatrix(2, 0, 0, 2, 0.6f, 0.5f), -1));
        flaCharacterInfo filtered(a, 7, flaMatrix(1, 0, 0, 1, 0.9f, 0.5f), -1);
        filtered.SetFilterList(f < 5 ? flaFilterList{blur} : flaFilterList{blur, glow});
        filtered.SetBlendMode(f < 3 ? FLIO::BlendMultiply : FLIO::BlendHardlight);
        frame->PlaceNewCharacterInFrame(filtered);
    }
    const Json decoded = ParsedMovie(WriteMovie(movie, "timeline"));
    ExpectMovieMatches(movie, decoded);
    EXPECT_EQ(DecodedFrames(decoded).size(), 7u);
}

// ---- fonts and text ---------------------------------------------------------------

struct TextCase {
    const char* name;
    int stageWidth;
    bool bold, italic;
    unsigned int size;
    flaPoint offset;
    std::vector<int> kerning;
    const char* text;
};

const TextCase kTextCases[] = {
    {"italic_offset_kerning", 400, false, true, 30, flaPoint(0.02f, 0.01f), {9, 4, -6, 0, 12}, "ABBA"},
    {"bold_italic_large_without_kerning", 800, true, true, 150, flaPoint(0, 0), {}, "BA B"},
    {"negative_offset_small_size", 200, false, false, 12, flaPoint(-0.01f, -0.02f), {0, -3}, "AAB"},
};

void PrintTo(const TextCase& c, std::ostream* os) { *os << c.name; }

class SwfCheckText : public testing::TestWithParam<TextCase> {};

// A face of two outlined letters and an empty space, and one text in it.
TEST_P(SwfCheckText, FontAndTextDecodeAsHeld) {
    SKIP_WITHOUT_SWFCHECK();
    const TextCase& c = GetParam();
    flaMovie movie(c.stageWidth, c.stageWidth * 3 / 4);
    movie.CreateFrames(1);
    const float em = 1.0f / static_cast<float>(c.stageWidth * 20);  // one glyph unit in model units
    std::vector<std::unique_ptr<flaGlyphGeometry>> glyphs;
    flaFont& font = movie.getFont(fontInfo("Case Face", c.bold, c.italic));
    const std::vector<std::vector<flaPoint>> outlines = {{{0, 0}, {300, -700}, {600, 0}, {0, 0}},
                                                         {{0, -700}, {500, -700}, {500, 0}, {0, 0}, {0, -700}}, {}};
    const char codes[] = "AB ";
    for (std::size_t g = 0; g < outlines.size(); ++g) {
        glyphs.push_back(std::make_unique<flaGlyphGeometry>());
        if (!outlines[g].empty()) {
            flaSubGeometry* sub = glyphs.back()->AddChildGeometry();
            auto* path = new flaStroke;
            for (const flaPoint& p : outlines[g]) path->AddPoint(p.x * em, p.y * em);
            sub->AddStroke(path, new flaStyle(flaStyle::Straight, nullptr, sub->CreateSolidColour(kBlack, 0), nullptr));
        }
        font.addCode(static_cast<unsigned short>(codes[g]), glyphs.back().get(), 0.02f * static_cast<float>(g + 2));
    }
    auto* text = new flaTextGeometry(movie.GetNewCharacterId());
    text->setText(UT_String(c.text));
    text->setFontId(font.getId());
    text->setFontSize(c.size);
    text->setColor(20, 140, 90, 255);
    text->setRecordOffset(c.offset, c.offset);
    for (std::size_t i = 0; i < c.kerning.size(); ++i) text->setKerning(static_cast<unsigned int>(i), c.kerning[i]);
    text->UpdateBBox(0, 0);
    text->UpdateBBox(0.5f, 0.1f);
    movie.AddNewCharacter(text);
    movie.GetFrame(0)->PlaceNewCharacterInFrame(flaCharacterInfo(text, 3, flaMatrix(1, 0, 0, 1, 0.1f, 0.2f), -1));

    const Json decoded = ParsedMovie(WriteMovie(movie, std::string("text_") + c.name));
    ExpectMovieMatches(movie, decoded);
    ASSERT_EQ(DecodedTexts(decoded).size(), 1u);
    EXPECT_NE(DecodedTexts(decoded)[0].find(std::string(" '") + c.text + "'"), std::string::npos);
    EXPECT_EQ(DecodedGlyphEdges(decoded).size(), 7u);  // three edges of the A, four of the B
}

INSTANTIATE_TEST_SUITE_P(Cases, SwfCheckText, testing::ValuesIn(kTextCases),
                         [](const testing::TestParamInfo<TextCase>& i) { return std::string(i.param.name); });

// ---- sounds ---------------------------------------------------------------------

struct SoundCase {
    unsigned rate;
    unsigned short bits;
    unsigned short channels;
};

void PrintTo(const SoundCase& c, std::ostream* os) {
    *os << c.rate << " Hz, " << c.bits << " bits, " << c.channels << " channel(s)";
}

class SwfCheckSound : public testing::TestWithParam<SoundCase> {};

TEST_P(SwfCheckSound, DefinitionAndStartsDecodeAsHeld) {
    SKIP_WITHOUT_SWFCHECK();
    const SoundCase& c = GetParam();
    flaMovie movie(100, 100);
    movie.CreateFrames(3);
    const unsigned count = 300, bytes = count * c.bits / 8 * c.channels;
    auto* sound = new flaSound;
    sound->SetCompressFormat(flaSound::NotCompressed);
    sound->SetSampleRate(c.rate);
    sound->SetSampleSize(c.bits);
    sound->SetChannels(c.channels);
    sound->SetSampleCount(count);
    auto* data = new unsigned char[bytes];
    for (unsigned i = 0; i < bytes; ++i) data[i] = static_cast<unsigned char>(i * 7);
    sound->SetSamples(data, bytes);
    const int id = movie.AddSound(sound);

    flaSoundInfo plain;
    plain.SetSoundId(id);
    movie.GetFrame(0)->PlaceSoundInFrame(plain);
    flaSoundInfo full;
    full.SetSoundId(id);
    full.SetSyncFlag(flaSoundInfo::SyncNoMultiple);
    full.SetInPoint(10);
    full.SetOutPoint(250);
    full.SetLoopCount(3);
    flaSoundInfo::EnvelopePoint points[8];
    for (unsigned i = 0; i < 8; ++i) {
        points[i].position = i * 40;
        points[i].leftLevel = static_cast<unsigned short>(4096 * i);
        points[i].rightLevel = static_cast<unsigned short>(32768 - 4096 * i);
    }
    full.SetEnvelope(points, points + 8);
    movie.GetFrame(1)->PlaceSoundInFrame(full);
    flaSoundInfo stop;
    stop.SetSoundId(id);
    stop.SetSyncFlag(flaSoundInfo::SyncStop);
    movie.GetFrame(2)->PlaceSoundInFrame(stop);

    const Json decoded = ParsedMovie(WriteMovie(movie, "sound_" + std::to_string(c.rate) + "_" +
                                                           std::to_string(c.bits) + "_" + std::to_string(c.channels)));
    ExpectMovieMatches(movie, decoded);
    EXPECT_EQ(DecodedSoundStarts(decoded).size(), 3u);
}

INSTANTIATE_TEST_SUITE_P(Formats, SwfCheckSound,
                         testing::Values(SoundCase{5512, 8, 1}, SoundCase{11025, 16, 2}, SoundCase{22050, 16, 1},
                                         SoundCase{44100, 8, 2}),
                         [](const testing::TestParamInfo<SoundCase>& i) {
                             return "rate" + std::to_string(i.param.rate) + "_bits" + std::to_string(i.param.bits) +
                                    "_channels" + std::to_string(i.param.channels);
                         });

}  // namespace
}  // namespace flio_test
