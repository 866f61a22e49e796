// Every font tag of every corpus file rebuilds into a bloated font with all its
// glyphs, and every DefineText bloats into outlines that lie inside its bounds.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "corpus_util.h"
#include "flio/flaFont.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaText.h"

namespace {

struct CorpusMovie : flaMovie {
    CorpusMovie() : flaMovie(550, 400) {}
    using flaMovie::ParseDefineFont;
    using flaMovie::ParseDefineFont2;
    using flaMovie::ParseDefineFontInfo;
    using flaMovie::ParseDefineFontInfo2;
    using flaMovie::ParseDefineText;
};

// The glyph count a DefineFont (10) or DefineFont2 body announces, read without
// moving the reader; -1 when the body is too short to tell.
long AnnouncedGlyphs(flaRead& in, int code) {
    const unsigned long at = in.GetPosition();
    long count = -1;
    try {
        in.GetWord();  // font id
        if (code == 10) {
            count = in.DataSize() == 0 ? 0 : in.GetWord() / 2;
        } else {
            in.SkipBytes(2);  // flags, language
            in.SkipBytes(in.GetByte());
            count = in.GetWord();
        }
    } catch (const flaRead::readError&) {
    }
    in.Seek(at);
    return count;
}

}  // namespace

TEST(TextCorpus, FontsRebuildAndTextsBloatInsideTheirBounds) {
    const std::vector<std::string> files = flio_test::CorpusFiles();
    if (files.empty()) GTEST_SKIP() << "no corpus";
    int fonts = 0, drawnTexts = 0;
    for (const std::string& file : files) {
        std::ifstream stream(file, std::ios::binary);
        if (stream.peek() != 'F' && stream.peek() != 'C') continue;  // not readable SWF (a few on purpose)
        CorpusMovie movie;
        std::vector<unsigned int> glyphs[2];  // announced glyph counts: DefineFont, DefineFont2
        std::vector<std::pair<int, SRECT>> texts;
        std::unique_ptr<flaRead> in;
        try {
            in = std::make_unique<flaRead>(stream);
            unsigned char header[8];
            SRECT frame;
            in->GetHeader(header);
            in->GetRect(&frame);
            in->SkipBytes(4);
        } catch (const std::exception&) {
            continue;
        }
        in->SetScaling(1.0f);  // model units = twips
        try {
            for (unsigned short code; in->ContainerBytesLeft() >= 2 && (code = in->GetTag()) != 0;) {
                const unsigned long end = in->GetTagEnd();
                const long n = code == 10 || code == 48 ? AnnouncedGlyphs(*in, code) : -1;
                if (n >= 0) glyphs[code == 48].push_back(static_cast<unsigned int>(n));
                if (code == 11) {
                    const unsigned long at = in->GetPosition();
                    texts.emplace_back(in->GetWord(), SRECT());
                    in->GetRect(&texts.back().second);
                    in->Seek(at);
                }
                if (code == 10) movie.ParseDefineFont(*in);
                if (code == 48) movie.ParseDefineFont2(*in);
                if (code == 13) movie.ParseDefineFontInfo(*in);
                if (code == 62) movie.ParseDefineFontInfo2(*in);
                if (code == 11) movie.ParseDefineText(*in);
                in->Seek(end);
            }
        } catch (const flaRead::readError&) {
            // A file cut short: what was read before still counts.
        }
        ASSERT_NO_THROW(movie.buildBloatedFonts()) << file;

        // Bloated fonts come DefineFont first, then DefineFont2, in file order; each
        // has every glyph its tag announces, and a DefineFont2 its codes.
        const std::vector<flaFont*>& built = movie.GetFontTable().GetBloatedFonts();
        std::vector<unsigned int> expected = glyphs[0];
        expected.insert(expected.end(), glyphs[1].begin(), glyphs[1].end());
        ASSERT_EQ(built.size(), expected.size()) << file;
        for (std::size_t i = 0; i < built.size(); ++i, ++fonts) {
            EXPECT_EQ(built[i]->getGlyphCnt(), expected[i]) << file << " font " << built[i]->getId();
            if (i >= glyphs[0].size()) {
                EXPECT_GE(built[i]->getCodeCnt(), expected[i]) << file;
            }
        }
        // Every outline anchor within the text's bounds, with a little slack for the
        // rounding of advances and of the bounds themselves.
        for (const auto& t : texts) {
            auto* text = dynamic_cast<flaTextGeometry*>(movie.GetCharacter(t.first));
            ASSERT_NE(text, nullptr) << file;
            ASSERT_NO_THROW(text->BuildBloated(movie)) << file << " text " << t.first;
            const flaGeometry& d = text->getDrawing();
            drawnTexts += d.GetSubGeometryCount() > 0;
            const SRECT& r = t.second;
            bool inside = true;
            for (std::size_t s = 0; s < d.GetSubGeometryCount(); ++s)
                for (std::size_t i = 0; i < d.GetSubGeometry(s)->GetStrokeCount(); ++i) {
                    const auto& rec = d.GetSubGeometry(s)->GetStrokeRecord(i);
                    const auto& pts = rec.stroke->GetPoints();
                    for (std::size_t k = 0; k < pts.size(); ++k)
                        if (!(rec.style->IsCurved() && k % 3 == 1))  // control points may stray
                            inside = inside && pts[k].x >= r.xmin - 40.0 && pts[k].x <= r.xmax + 40.0 &&
                                     pts[k].y >= r.ymin - 40.0 && pts[k].y <= r.ymax + 40.0;
                }
            EXPECT_TRUE(inside) << file << " text " << t.first;
        }
    }
    EXPECT_GT(fonts, 0);
    // Most corpus texts use DefineFont3 faces, which are not rebuilt, and draw
    // nothing; five texts (in three files) use DefineFont or DefineFont2 faces.
    EXPECT_EQ(drawnTexts, 5);
}
