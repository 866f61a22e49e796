// Every font tag of every corpus file rebuilds into a bloated font with all its
// glyphs, and every DefineText bloats into outlines that lie inside its bounds.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "corpus_util.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"

namespace {

class CorpusMovie : public flaMovie {
public:
    CorpusMovie() : flaMovie(550, 400) {}
    using flaMovie::ParseDefineFont;
    using flaMovie::ParseDefineFont2;
    using flaMovie::ParseDefineFontInfo;
    using flaMovie::ParseDefineFontInfo2;
    using flaMovie::ParseDefineText;
};

struct TextBounds {
    int id;
    SRECT bounds;
};

struct FileResult {
    std::vector<unsigned int> fontGlyphs;   // expected glyph counts, DefineFont tags in order
    std::vector<unsigned int> font2Glyphs;  // the same for DefineFont2
    std::vector<TextBounds> texts;
};

// The glyph count a DefineFont or DefineFont2 body announces, read without moving
// the reader; nullopt-like -1 when the body is too short to tell.
long AnnouncedGlyphs(flaRead& in, int code) {
    const unsigned long at = in.GetPosition();
    long count = -1;
    try {
        in.GetWord();  // font id
        if (code == 10) {
            count = in.DataSize() == 0 ? 0 : in.GetWord() / 2;
        } else {
            in.GetByte();  // flags
            in.GetByte();  // language
            in.SkipBytes(in.GetByte());
            count = in.GetWord();
        }
    } catch (const flaRead::readError&) {
    }
    in.Seek(at);
    return count;
}

// Reads the font and text tags of one file into movie. False for files that are
// not readable SWF at all (the corpus holds a few on purpose).
bool ReadFontsAndTexts(const std::string& path, CorpusMovie& movie, FileResult& result) {
    std::ifstream stream(path, std::ios::binary);
    char magic[3] = {};
    stream.read(magic, 3);
    if (magic[0] != 'F' && magic[0] != 'C') return false;
    stream.seekg(0);
    std::unique_ptr<flaRead> in;
    try {
        in = std::make_unique<flaRead>(stream);
        unsigned char header[8];
        in->GetHeader(header);
        SRECT frame;
        in->GetRect(&frame);
        in->GetWord();
        in->GetWord();
    } catch (const std::exception&) {
        return false;
    }
    in->SetScaling(1.0f);  // model units = twips
    try {
        while (in->ContainerBytesLeft() >= 2) {
            const unsigned short code = in->GetTag();
            if (code == 0) break;
            const unsigned long end = in->GetTagEnd();
            switch (code) {
                case 10: {
                    const long n = AnnouncedGlyphs(*in, code);
                    if (n >= 0) result.fontGlyphs.push_back(static_cast<unsigned int>(n));
                    movie.ParseDefineFont(*in);
                    break;
                }
                case 48: {
                    const long n = AnnouncedGlyphs(*in, code);
                    if (n >= 0) result.font2Glyphs.push_back(static_cast<unsigned int>(n));
                    movie.ParseDefineFont2(*in);
                    break;
                }
                case 13: movie.ParseDefineFontInfo(*in); break;
                case 62: movie.ParseDefineFontInfo2(*in); break;
                case 11: {
                    const unsigned long at = in->GetPosition();
                    TextBounds t{in->GetWord(), {}};
                    in->GetRect(&t.bounds);
                    in->Seek(at);
                    result.texts.push_back(t);
                    movie.ParseDefineText(*in);
                    break;
                }
                default: break;  // DefineFont3 (75) and the rest are not fonts of ours
            }
            in->Seek(end);
        }
    } catch (const flaRead::readError&) {
        // A file cut short: what was read before still counts.
    }
    return true;
}

}  // namespace

TEST(TextCorpus, FontsRebuildAndTextsBloatInsideTheirBounds) {
    const std::vector<std::string> files = flio_test::CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus";

    int fonts = 0, glyphs = 0, texts = 0, drawnTexts = 0;
    std::vector<std::string> loose;
    // Files whose texts use DefineFont or DefineFont2 faces (most corpus texts use
    // DefineFont3 faces, which are not rebuilt, and draw nothing).
    static const char* const kKnownTexts[] = {"format-tests/DefineFont-MX.swf", "DefineTextTest/test.swf",
                                              "TextSnapshotTest/test.swf"};
    int knownDrawn = 0;
    for (const std::string& file : files) {
        CorpusMovie movie;
        FileResult result;
        if (!ReadFontsAndTexts(file, movie, result)) continue;
        ASSERT_NO_THROW(movie.buildBloatedFonts()) << file;

        // Bloated fonts come DefineFont first, then DefineFont2, in file order;
        // each has every glyph its tag announces.
        const std::vector<flaFont*>& built = movie.GetFontTable().GetBloatedFonts();
        ASSERT_EQ(built.size(), result.fontGlyphs.size() + result.font2Glyphs.size()) << file;
        std::vector<unsigned int> expected = result.fontGlyphs;
        expected.insert(expected.end(), result.font2Glyphs.begin(), result.font2Glyphs.end());
        for (std::size_t i = 0; i < built.size(); ++i) {
            EXPECT_EQ(built[i]->getGlyphCnt(), expected[i]) << file << " font " << built[i]->getId();
            if (i >= result.fontGlyphs.size()) {  // a DefineFont2 carries its own codes
                EXPECT_GE(built[i]->getCodeCnt(), expected[i]) << file << " font " << built[i]->getId();
            }
            ++fonts;
            glyphs += static_cast<int>(built[i]->getGlyphCnt());
        }

        for (const TextBounds& t : result.texts) {
            auto* text = dynamic_cast<flaTextGeometry*>(movie.GetCharacter(t.id));
            ASSERT_NE(text, nullptr) << file;
            ASSERT_NO_THROW(text->BuildBloated(movie)) << file << " text " << t.id;
            ++texts;
            const flaGeometry& d = text->getDrawing();
            if (d.GetSubGeometryCount() == 0) continue;
            ++drawnTexts;
            // Anchors of every outline within the bounds, with a little slack for
            // the rounding of advances and of the bounds themselves.
            const double slack = 40.0;
            bool inside = true;
            for (std::size_t s = 0; s < d.GetSubGeometryCount(); ++s) {
                const flaSubGeometry& sub = *d.GetSubGeometry(s);
                for (std::size_t i = 0; i < sub.GetStrokeCount(); ++i) {
                    const auto& r = sub.GetStrokeRecord(i);
                    const auto& pts = r.stroke->GetPoints();
                    for (std::size_t k = 0; k < pts.size(); ++k) {
                        if (r.style->IsCurved() && k % 3 == 1) continue;  // control points
                        const flaPoint& p = pts[k];
                        if (p.x < t.bounds.xmin - slack || p.x > t.bounds.xmax + slack ||
                            p.y < t.bounds.ymin - slack || p.y > t.bounds.ymax + slack)
                            inside = false;
                    }
                }
            }
            if (!inside) loose.push_back(file + " text " + std::to_string(t.id));
            for (const char* known : kKnownTexts)
                if (file.find(known) != std::string::npos) ++knownDrawn;
        }
    }
    EXPECT_GT(fonts, 0);
    EXPECT_GT(drawnTexts, 0);
    EXPECT_EQ(knownDrawn, 5);  // one, one and three texts
    EXPECT_TRUE(loose.empty());
    for (const std::string& l : loose) std::printf("text outside its bounds: %s\n", l.c_str());
    std::printf("rebuilt %d fonts with %d glyphs; bloated %d texts, %d with outlines\n", fonts, glyphs, texts,
                drawnTexts);
}
