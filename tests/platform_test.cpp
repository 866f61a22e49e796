// Host base library: UTF-16 strings and intrusive reference counts. The umbrella
// header comes first: it stands on its own and reaches every class family.
#include "flio/flio.h"

#include <gtest/gtest.h>

static_assert(sizeof(flaSprite) && sizeof(flaTextGeometry) && sizeof(flaBitsJpeg3) && sizeof(FLIO::flaFilter) &&
                  sizeof(flaSoundInfo) && sizeof(flaQKData) && sizeof(flaAction) && sizeof(flaCharacterMatrices) &&
                  sizeof(fontInfo) && sizeof(flaRewrite) && sizeof(PL_FileSpec),
              "every class family is complete through flio/flio.h");

TEST(UT_String, ConvertsUtf8BothWaysAndFallsBackToLatin1) {
    const struct { const char* utf8; std::u16string units; } cases[] = {
        {"", u""}, {"caf\xC3\xA9", u"caf\u00E9"}, {"\xE2\x82\xAC", u"\u20AC"},
        {"\xF0\x9F\x98\x80", u"\xD83D\xDE00"},  // outside the BMP: a surrogate pair
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UT_String(c.utf8).units(), c.units) << c.utf8;
        EXPECT_EQ(UT_String(c.units).utf8(), c.utf8) << c.utf8;
    }
    EXPECT_EQ(UT_String("caf\xE9").units(), u"caf\u00E9");  // invalid UTF-8 is read as Latin-1
    EXPECT_EQ(UT_String(std::u16string(1, u'\xD800')).utf8(), "\xEF\xBF\xBD");  // lone surrogate
    EXPECT_LT(UT_String("B"), UT_String("a"));  // ordered by code units
}

namespace {
struct Counted : UT_ShareBase {
    explicit Counted(int* deaths_) : deaths(deaths_) {}
    ~Counted() override { ++*deaths; }
    int* deaths;
};
}  // namespace

TEST(UT_SharedPtr, DeletesAtTheLastRelease) {
    int deaths = 0;
    {
        UT_SharedPtr<Counted> a(new Counted(&deaths));
        UT_SharedPtr<UT_ShareBase> b = a;
        b.reset();
        UT_SharedPtr<Counted> moved = std::move(a);
        EXPECT_FALSE(a);
        EXPECT_EQ(moved->RefCount(), 1);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);
}
