// Host base library: UTF-16 strings, file specifications, intrusive reference counts.
#include <gtest/gtest.h>

#include <cstdio>

#include "flio/PL_FileSpec.h"
#include "flio/UT_SharedPtr.h"
#include "flio/UT_String.h"

TEST(UT_String, ConvertsUtf8BothWays) {
    const struct { const char* utf8; std::u16string units; } cases[] = {
        {"", u""},
        {"Arial", u"Arial"},
        {"caf\xC3\xA9", u"caf\u00E9"},
        {"\xE2\x82\xAC", u"\u20AC"},
        {"\xF0\x9F\x98\x80", u"\xD83D\xDE00"},  // outside the BMP: a surrogate pair
    };
    for (const auto& c : cases) {
        const UT_String s(c.utf8);
        EXPECT_EQ(s.units(), c.units) << c.utf8;
        EXPECT_EQ(s.utf8(), c.utf8) << c.utf8;
        EXPECT_EQ(s.length(), c.units.size());
    }
}

TEST(UT_String, NarrowTextIsLatin1) {
    EXPECT_EQ(UT_A2W("caf\xE9").units(), u"caf\u00E9");
    EXPECT_EQ(UT_String("caf\xE9").units(), u"caf\u00E9");  // invalid UTF-8 falls back to Latin-1
    EXPECT_EQ(UT_String(std::u16string(1, u'\xD800')).utf8(), "\xEF\xBF\xBD");  // lone surrogate
}

TEST(UT_String, OrdersByCodeUnits) {
    EXPECT_LT(UT_String("Arial"), UT_String("Arial Black"));
    EXPECT_LT(UT_String("B"), UT_String("a"));
    EXPECT_EQ(UT_String("x").compare(UT_String("x")), 0);
    EXPECT_EQ(UT_String("ab")[1], u'b');
}

TEST(PL_FileSpec, ValidityAndFiles) {
    EXPECT_FALSE(PL_FileSpec().IsValid());
    EXPECT_FALSE(PL_FileSpec().IsFile());
    const std::string dir = testing::TempDir();
    EXPECT_TRUE(PL_FileSpec(dir.c_str()).IsValid());
    EXPECT_FALSE(PL_FileSpec(dir.c_str()).IsFile());
    const std::string path = dir + "flio_filespec_test.bin";
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
        EXPECT_EQ(a->RefCount(), 1);
        {
            UT_SharedPtr<Counted> b = a;
            UT_SharedPtr<UT_ShareBase> c = b;
            EXPECT_EQ(a->RefCount(), 3);
            b.reset();
            EXPECT_EQ(a->RefCount(), 2);
        }
        UT_SharedPtr<Counted> moved = std::move(a);
        EXPECT_FALSE(a);
        EXPECT_EQ(moved->RefCount(), 1);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);
}
