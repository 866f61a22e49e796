// Frame actions. The library writes a small, fixed set of SWF actions: those that
// start a nested sprite at a given frame (SetTarget, GotoFrame, Play) and the
// stop-sounds action. flaAction is an ordered, owning list of action records that
// writes itself as one DoAction tag. Actions are write-only.
#pragma once

#include <string>
#include <vector>

class flaDump;

class flaActionRecord {
public:
    flaActionRecord() = default;
    flaActionRecord(const flaActionRecord&) = default;
    flaActionRecord& operator=(const flaActionRecord&) = default;
    virtual ~flaActionRecord();

    unsigned char GetActionCode() const { return actionCode; }

    // One ACTIONRECORD: the code byte, and for codes 0x80 and above the 16-bit
    // payload length followed by the payload.
    void DumpActionRecordInFile(flaDump& dump) const;

protected:
    explicit flaActionRecord(unsigned char code) : actionCode(code) {}
    // The action's payload; nothing for actions without one.
    virtual void DumpExtraActionInfoInFile(flaDump& dump) const;

    unsigned char actionCode = 0;
};

class flaActionGotoFrame : public flaActionRecord {
public:
    flaActionGotoFrame() : flaActionRecord(0x81) {}
    explicit flaActionGotoFrame(int frame) : flaActionRecord(0x81), frameIndex(frame) {}
    int GetFrameIndex() const { return frameIndex; }
    void SetFrameIndex(int frame) { frameIndex = frame; }

protected:
    // The frame index as an unsigned 16-bit value.
    void DumpExtraActionInfoInFile(flaDump& dump) const override;

private:
    int frameIndex = 0;
};

class flaActionPlay : public flaActionRecord {
public:
    flaActionPlay() : flaActionRecord(0x06) {}
};

class flaActionStopSounds : public flaActionRecord {
public:
    flaActionStopSounds() : flaActionRecord(0x09) {}
};

class flaActionSetTarget : public flaActionRecord {
public:
    flaActionSetTarget() : flaActionRecord(0x8B) {}
    explicit flaActionSetTarget(std::string name) : flaActionRecord(0x8B), targetName(std::move(name)) {}
    void SetTargetName(std::string name) { targetName = std::move(name); }
    const std::string& GetTargetName() const { return targetName; }

protected:
    // The target name, NUL-terminated (an empty name is the main timeline).
    void DumpExtraActionInfoInFile(flaDump& dump) const override;

private:
    std::string targetName;
};

// A named vector of action records; owns nothing.
class flaActionRecordList : public std::vector<flaActionRecord*> {};

// An ordered list of action records that it owns, written as one DoAction tag.
class flaAction {
public:
    flaAction() = default;
    flaAction(const flaAction&) = delete;
    flaAction& operator=(const flaAction&) = delete;
    ~flaAction();

    // Appends a record; the list takes ownership (null is ignored).
    void AddActionRecord(flaActionRecord* record);
    bool IsEmpty() const { return records.empty(); }
    std::size_t GetRecordCount() const { return records.size(); }
    const flaActionRecord* GetRecord(std::size_t index) const {
        return index < records.size() ? records[index] : nullptr;
    }

    // The DoAction tag holding every record and the closing ActionEnd; nothing at
    // all when the list is empty.
    void DumpDoActionTag(flaDump& dump) const;

private:
    flaActionRecordList records;
};
