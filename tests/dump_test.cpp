#include <gtest/gtest.h>

#include "flio/flaDump.h"
#include "test_util.h"

using flio_test::Flushed;
using flio_test::Hex;
using flio_test::ToHex;

TEST(flaDump, AlignsBitsBeforeWholeBytes) {
    flaDump d(550, nullptr);
    d.Bit(true);
    d.Bit(true);
    d.Bit(true);
    d.DataU8(static_cast<unsigned char>(0xAB));
    EXPECT_EQ(ToHex(Flushed(d)), "E0 AB");
}
