#include "flio/flaAction.h"

#include "flio/flaDump.h"
#include "io/flaFormat.h"

flaActionRecord::~flaActionRecord() = default;

void flaActionRecord::DumpExtraActionInfoInFile(flaDump&) const {}

void flaActionRecord::DumpActionRecordInFile(flaDump& dump) const {
    const int start = dump.GetCurrentPosition();
    const bool hasLength = actionCode >= flaFormat::ActionHasLength;
    dump.DataU8(actionCode);
    if (hasLength) dump.DataU16(static_cast<unsigned short>(0));  // payload length, patched below
    DumpExtraActionInfoInFile(dump);
    if (hasLength) dump.PatchU16(start + 1, static_cast<std::uint16_t>(dump.GetCurrentPosition() - start - 3));
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
    const flaDump::TagStart tag = dump.BeginTag(flaFormat::DoAction);
    for (const flaActionRecord* r : records) r->DumpActionRecordInFile(dump);
    // ActionEnd, then the second byte of the closing 16-bit field.
    dump.DataU8(static_cast<unsigned char>(0));
    dump.DataU8(static_cast<unsigned char>(0));
    dump.EndTag(tag);
}
