#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "flio/flaAction.h"
#include "flio/flaDump.h"
#include "test_util.h"

using flio_test::Flushed;
using flio_test::ToHex;

namespace {

struct RecordCase {
    const char* name;
    std::function<flaActionRecord*()> make;
    const char* bytes;
};

TEST(flaActionRecord, WritesEachActionKind) {
    const RecordCase cases[] = {
        {"SetTarget empty", [] { return new flaActionSetTarget(); }, "8B 01 00 00"},
        {"SetTarget name", [] { return new flaActionSetTarget("12"); }, "8B 03 00 31 32 00"},
        {"StopSounds", [] { return new flaActionStopSounds(); }, "09"},
        {"Play", [] { return new flaActionPlay(); }, "06"},
        {"GotoFrame 5", [] { return new flaActionGotoFrame(5); }, "81 02 00 05 00"},
        {"GotoFrame 0x1234", [] { return new flaActionGotoFrame(0x1234); }, "81 02 00 34 12"},
        // A frame index outside 16 bits keeps its low 16 bits.
        {"GotoFrame -1", [] { return new flaActionGotoFrame(-1); }, "81 02 00 FF FF"},
    };
    for (const RecordCase& c : cases) {
        std::unique_ptr<flaActionRecord> record(c.make());
        flaDump dump(550, nullptr);
        record->DumpActionRecordInFile(dump);
        EXPECT_EQ(ToHex(Flushed(dump)), c.bytes) << c.name;
    }
}

TEST(flaActionRecord, SetTargetNameCanBeReplaced) {
    flaActionSetTarget target;
    std::string name = "7";
    target.SetTargetName(name);
    EXPECT_EQ(target.GetTargetName(), "7");
    EXPECT_EQ(target.GetActionCode(), 0x8B);
}

TEST(flaAction, EmptyListWritesNothing) {
    flaAction actions;
    flaDump dump(550, nullptr);
    actions.DumpDoActionTag(dump);
    EXPECT_TRUE(Flushed(dump).empty());
}

TEST(flaAction, DoActionTagHoldsRecordsAndTwoClosingBytes) {
    flaAction actions;
    actions.AddActionRecord(new flaActionSetTarget());
    actions.AddActionRecord(new flaActionStopSounds());
    actions.AddActionRecord(nullptr);  // ignored
    EXPECT_EQ(actions.GetRecordCount(), 2u);
    flaDump dump(550, nullptr);
    dump.DataU8(static_cast<unsigned char>(0xEE));  // the tag need not start at 0
    actions.DumpDoActionTag(dump);
    // Long-form header 0x033F, length 7 = 4 + 1 + the two closing bytes.
    EXPECT_EQ(ToHex(Flushed(dump)), "EE 3F 03 07 00 00 00 8B 01 00 00 09 00 00");
}

}  // namespace
