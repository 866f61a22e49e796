// Host base library: UTF-16 strings, file specifications, intrusive reference counts.
#include <gtest/gtest.h>

#include <cstdio>

#include "test_util.h"
#include "flio/PL_File.h"
#include "flio/UT_SharedPtr.h"
#include "flio/UT_String.h"

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

TEST(PL_FileSpec, ValidityAndFiles) {
    EXPECT_FALSE(PL_FileSpec().IsValid());
    const std::string path = flio_test::RunDir() + "flio_filespec_test.bin";
    const PL_FileSpec file(path.c_str());
    std::FILE* f = file.get_fs("wb");
    ASSERT_NE(f, nullptr);
    std::fclose(f);
    EXPECT_TRUE(file.IsFile());
    std::remove(path.c_str());
    EXPECT_FALSE(file.IsFile());
    EXPECT_EQ(PL_FileSpec("/no/such/dir/x").get_fs("rb"), nullptr);
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
