#include "flio/flaAction.h"

#include "flio/flaDump.h"

flaActionRecord::~flaActionRecord() = default;

void flaActionRecord::DumpExtraActionInfoInFile(flaDump&) const {}

void flaActionRecord::DumpActionRecordInFile(flaDump& dump) const {
    const int start = dump.GetCurrentPosition();
    const bool hasLength = actionCode >= 0x80;
    dump.DataU8(actionCode);
    if (hasLength) dump.DataU16(static_cast<unsigned short>(0));
    DumpExtraActionInfoInFile(dump);
    if (hasLength) {
        const auto length = static_cast<unsigned short>(dump.GetCurrentPosition() - start - 3);
        dump.FixData(start + 1, reinterpret_cast<const char*>(&length), 16, 16, false);
    }
}

void flaActionGotoFrame::DumpExtraActionInfoInFile(flaDump& dump) const {
    dump.DataU16(static_cast<unsigned short>(frameIndex));
}

void flaActionSetTarget::DumpExtraActionInfoInFile(flaDump& dump) const { dump.StringPrint(targetName); }

flaAction::~flaAction() {
    for (flaActionRecord* r : records) delete r;
}

void flaAction::AddActionRecord(flaActionRecord* record) {
    if (record) records.push_back(record);
}

void flaAction::DumpDoActionTag(flaDump& dump) const {
    if (records.empty()) return;
    const int start = dump.GetCurrentPosition();
    dump.DataU16(static_cast<unsigned short>((12 << 6) | 63));
    dump.DataU32(0UL);
    for (const flaActionRecord* r : records) r->DumpActionRecordInFile(dump);
    // ActionEnd, then the second byte of the closing 16-bit field.
    dump.DataU8(static_cast<unsigned char>(0));
    dump.DataU8(static_cast<unsigned char>(0));
    const auto length = static_cast<unsigned int>(dump.GetCurrentPosition() - start - 6);
    dump.FixData(start + 2, reinterpret_cast<const char*>(&length), 32, 32, false);
}
