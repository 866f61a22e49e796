// Action records and the DoAction tag around them.
#include <gtest/gtest.h>

#include <memory>

#include "flio/flaAction.h"
#include "flio/flaDump.h"
#include "test_util.h"

using flio_test::Flushed;
using flio_test::ToHex;

TEST(flaActionRecord, WritesEachActionKind) {
    const struct { flaActionRecord* record; const char* bytes; } cases[] = {
        {new flaActionSetTarget(), "8B 01 00 00"},
        {new flaActionSetTarget("12"), "8B 03 00 31 32 00"},
        {new flaActionStopSounds(), "09"},
        {new flaActionPlay(), "06"},
        {new flaActionGotoFrame(5), "81 02 00 05 00"},
        {new flaActionGotoFrame(-1), "81 02 00 FF FF"},  // the low 16 bits of the index
    };
    for (const auto& c : cases) {
        std::unique_ptr<flaActionRecord> owned(c.record);
        flaDump dump(550, nullptr);
        c.record->DumpActionRecordInFile(dump);
        EXPECT_EQ(ToHex(Flushed(dump)), c.bytes);
    }
}

TEST(flaAction, DoActionTagHoldsRecordsAndTwoClosingBytes) {
    flaAction actions;
    flaDump dump(550, nullptr);
    dump.DataU8(static_cast<unsigned char>(0xEE));  // the tag need not start at 0
    actions.DumpDoActionTag(dump);                  // an empty list writes nothing
    actions.AddActionRecord(new flaActionSetTarget());
    actions.AddActionRecord(new flaActionStopSounds());
    actions.AddActionRecord(nullptr);  // ignored
    actions.DumpDoActionTag(dump);
    // Long-form header 0x033F, length 7 = 4 + 1 + the two closing bytes.
    EXPECT_EQ(ToHex(Flushed(dump)), "EE 3F 03 07 00 00 00 8B 01 00 00 09 00 00");
}
