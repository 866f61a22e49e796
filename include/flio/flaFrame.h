// Frames and their display lists. A flaFrame holds the complete state of every
// depth as the frame shows it (not a list of changes); when a movie is written each
// frame is compared with the frame before it and only the differences go out:
// new placements, moves, replacements and removals, then the background colour,
// the frame's actions and ShowFrame. flaCharacterInfo is one display-list entry.
#pragma once

#include <algorithm>

#include <climits>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "flio/flaColorXForm.h"
#include "flio/flaFilter.h"
#include "flio/flaMatrix.h"
#include "flio/flaRecords.h"
#include "flio/flaSound.h"

class flaDump;
class flaCharacter;
class flaAction;
class flaCharacterMatrices;

// What a placement read from a file carries beyond the fields the model edits,
// kept by a faithful import (flaMovie::SetFaithfulImport) so that a writer whose
// fileDetails option is on places the instance as the file did. Shared by every
// copy of the placement (each frame that shows it); treat it as read-only once a
// placement holds it, and give a placement a new one to change it.
struct flaPlacementDetails : UT_ShareBase {
    bool hasName = false;  // the instance name (scripts find the instance by it)
    std::string name;
    bool hasRatio = false;  // a morph shape's blend, or a video's frame
    unsigned short ratio = 0;
    bool hasClassName = false;
    std::string className;
    bool hasVisible = false;  // PlaceObject3 visibility: 0 hides the instance
    unsigned char visible = 1;
    bool hasCacheAsBitmap = false;
    unsigned char cacheAsBitmap = 0;
    bool hasBackground = false;  // the opaque background of a cached bitmap
    FLIO::flaRGBA background{0, 0, 0, 0};
    std::vector<unsigned char> clipActions;  // the CLIPACTIONS record as read; empty when none

    bool operator==(const flaPlacementDetails& o) const;
    bool operator!=(const flaPlacementDetails& o) const { return !(*this == o); }
};

// One placed instance: a character at a depth with its matrix, colour transform,
// clip depth, blend mode and filters. The character is not owned.
class flaCharacterInfo {
public:
    // Start index meaning "write no sprite start actions for this placement".
    static const int NoStartAction = INT_MIN + 2;  // 0x80000002

    flaCharacterInfo() = default;
    flaCharacterInfo(flaCharacter* c, int depth_) : character(c), depth(depth_) {}
    flaCharacterInfo(flaCharacter* c, int depth_, const flaMatrix& m, int startIndex_)
        : character(c), matrix(m), startIndex(startIndex_), depth(depth_) {}

    flaCharacter* GetCharacter() const { return character; }
    void SetCharacter(flaCharacter* c) { character = c; }
    int GetDepth() const { return depth; }
    void SetDepth(int d) { depth = d; }

    const flaMatrix& GetMatrix() const { return matrix; }
    flaMatrix& GetMatrix() { return matrix; }
    void SetMatrix(const flaMatrix& m) { matrix = m; }
    const flaColorXForm& GetColorXForm() const { return colorXForm; }
    void SetColorXForm(const flaColorXForm& cx) { colorXForm = cx; }
    // True when the transform has a multiply or an add part.
    bool HasColorXForm() const { return colorXForm.GetIsMult() || colorXForm.GetIsAdd(); }

    int GetStartIndex() const { return startIndex; }
    void SetStartIndex(int index) { startIndex = index; }

    bool IsAClip() const { return clipDepth != 0; }
    int GetClipDepth() const { return clipDepth; }
    void SetClipDepth(int d) { clipDepth = d; }

    const std::string& GetText() const { return text; }
    void SetText(const std::string& t) { text = t; }

    int FrameIndex() const { return frameIndex; }
    void SetFrameIndex(int index) { frameIndex = index; }
    void IncrementFrameIndex() { ++frameIndex; }

    bool HasBlendMode() const { return hasBlendMode; }
    FLIO::eBlendMode BlendMode() const { return blendMode; }
    void SetBlendMode(FLIO::eBlendMode mode) {
        blendMode = mode;
        hasBlendMode = true;
    }
    void ClearBlendMode() { hasBlendMode = false; }

    bool HasFilterList() const { return hasFilterList; }
    const flaFilterList& FilterList() const { return filters; }
    // Stores a copy of the list; the filters themselves are shared.
    void SetFilterList(const flaFilterList& list) {
        filters = list;
        hasFilterList = true;
    }
    void ClearFilterList() {
        filters.clear();
        hasFilterList = false;
    }

    // True when blend mode (presence and value) and filter list (presence, length
    // and every filter pointer) are the same in both entries.
    bool SameBlendAndFilters(const flaCharacterInfo& o) const;

    // The instance this entry shows. 0 (the default) tells nothing; a faithful
    // import numbers the instances it places, so that a character removed and
    // placed again at the same depth within one frame is a new instance, which a
    // writer with the colorTransformMoves option removes and places again (a
    // sprite then restarts, as in the file).
    unsigned int GetInstance() const { return instance; }
    void SetInstance(unsigned int serial) { instance = serial; }

    // Details a faithful import keeps (null when there are none).
    const flaPlacementDetails* GetDetails() const { return details.get(); }
    void SetDetails(const UT_SharedPtr<const flaPlacementDetails>& d) { details = d; }
    // The same blend mode, filters (compared by value) and details, for the
    // faithful writer.
    bool SameLook(const flaCharacterInfo& o) const;

    // The FILTERLIST of PlaceObject3: a count byte, then each filter's record.
    void DumpfilterListInFile(flaDump& dump) const;

private:
    flaCharacter* character = nullptr;
    flaMatrix matrix;
    flaColorXForm colorXForm;
    int startIndex = -1;
    int depth = 0;
    int clipDepth = 0;
    std::string text;
    int frameIndex = 0;
    bool hasBlendMode = false;
    FLIO::eBlendMode blendMode = FLIO::BlendNormal;
    bool hasFilterList = false;
    flaFilterList filters;
    unsigned int instance = 0;
    UT_SharedPtr<const flaPlacementDetails> details;
};

// A frame's display list: its entries by ascending depth, one per depth. Kept in
// one contiguous array, so that writing a long timeline walks memory in order.
class flaDisplayList {
public:
    typedef std::pair<int, flaCharacterInfo> value_type;
    typedef std::vector<value_type>::iterator iterator;
    typedef std::vector<value_type>::const_iterator const_iterator;
    typedef std::vector<value_type>::const_reverse_iterator const_reverse_iterator;

    iterator begin() { return entries.begin(); }
    iterator end() { return entries.end(); }
    const_iterator begin() const { return entries.begin(); }
    const_iterator end() const { return entries.end(); }
    const_reverse_iterator rbegin() const { return entries.rbegin(); }
    std::size_t size() const { return entries.size(); }
    bool empty() const { return entries.empty(); }

    iterator find(int depth) {
        const iterator it = LowerBound(depth);
        return it != entries.end() && it->first == depth ? it : entries.end();
    }
    const_iterator find(int depth) const { return const_cast<flaDisplayList*>(this)->find(depth); }
    // Stores info at depth, replacing what stood there.
    void set(int depth, const flaCharacterInfo& info) {
        if (entries.empty() || entries.back().first < depth) {  // the usual case: placed in depth order
            entries.emplace_back(depth, info);
            return;
        }
        const iterator it = LowerBound(depth);
        if (it != entries.end() && it->first == depth)
            it->second = info;
        else
            entries.emplace(it, depth, info);
    }
    std::size_t erase(int depth) {
        const iterator it = find(depth);
        if (it == entries.end()) return 0;
        entries.erase(it);
        return 1;
    }

private:
    iterator LowerBound(int depth) {
        return std::lower_bound(entries.begin(), entries.end(), depth,
                                [](const value_type& e, int d) { return e.first < d; });
    }
    std::vector<value_type> entries;
};

class flaFrame {
public:
    typedef flaDisplayList DisplayList;
    typedef std::pair<DisplayList::const_iterator, DisplayList::const_iterator> IterPair;

    flaFrame(int frameSizeX, double ratio);
    flaFrame(const flaFrame&) = delete;
    flaFrame& operator=(const flaFrame&) = delete;
    ~flaFrame();

    // Display list. Entries are kept by depth; a placement replaces what stood at
    // its depth. Entries without a character are not stored.
    void PlaceNewCharacterInFrame(const flaCharacterInfo& info);
    bool RemoveCharacterAtDepth(int depth);
    // Both return false, changing nothing, when no entry stands at the depth.
    bool ReplaceMatrixInFrame(const flaMatrix& m, int depth);
    bool PlaceColorXFormAtDepth(const flaColorXForm* cx, int depth);

    flaCharacterInfo* GetCharacterByDepth(int depth);
    const flaCharacterInfo* GetCharacterByDepth(int depth) const;
    // The entry of lowest depth that places the character with this id.
    const flaCharacterInfo* GetCharacterById(int id) const;
    const flaMatrix* GetMatrixByDepth(int depth) const;
    const flaColorXForm* GetColorXFormByDepth(int depth) const;
    // 0 for an empty frame.
    int GetMinDepth() const;
    int GetMaxDepth() const;
    unsigned int GetCharacterCount() const { return static_cast<unsigned int>(displayList.size()); }
    const DisplayList& GetDisplayList() const { return displayList; }
    IterPair CharacterBeginIter() const { return IterPair(displayList.begin(), displayList.end()); }
    // Every entry's matrix becomes that matrix followed by m.
    void TransformAllPlaceObjects(const flaMatrix& m);
    // Adds every entry's character and matrix to map at level, in depth order.
    void AssociateCharacterMatrices(flaCharacterMatrices& map, int level);

    // Sound starts, in placement order.
    void PlaceSoundInFrame(const flaSoundInfo& info) { sounds.push_back(info); }
    unsigned int GetSoundCount() const { return static_cast<unsigned int>(sounds.size()); }
    // Null when index is out of range.
    const flaSoundInfo* GetSound(unsigned int index) const {
        return index < sounds.size() ? &sounds[index] : nullptr;
    }
    void GetAllSoundEvent(std::vector<const flaSoundInfo*>& out) const;

    // The frame's streamed-sound block. The frame takes ownership of the buffer and
    // deletes the one it held before (a frame carries at most one block).
    void PlaceStreamedSoundInFrame(const flaBuffer* block);
    const flaBuffer* GetStreamedSound() const { return streamBlock.get(); }

    void SetBackGroundColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a);
    const FLIO::flaRGBA& GetBackGroundColor() const { return background; }
    bool IsBackGroundColorValid() const { return backgroundValid; }

    void SetCostCode(unsigned int code) { costCode = code; }
    unsigned int GetCostCode() const { return costCode; }
    int GetFrameSizeX() const { return frameSizeX; }
    double GetRatio() const { return ratio; }

    // Writes the frame as the difference from `previous` (null for the first frame
    // of a timeline), then the background colour when asked for and changed, the
    // frame's DoAction and ShowFrame.
    void DumpFrameInFile(flaDump& dump, const flaFrame* previous, bool writeBackground) const;
    // Writes the definition of every character of the display list not yet
    // written, in depth order.
    void DumpAllCharactersInFile(flaDump& dump) const;

protected:
    // PlaceObject2, or PlaceObject3 when the entry has filters or a blend mode.
    void DumpMatrixCharacterInFrame(flaDump& dump, const flaCharacterInfo* info, bool move,
                                    bool forceColorTransform) const;
    void RemoveOneCharacter(flaDump& dump, int depth) const;
    void DumpBGColourInFile(flaDump& dump) const;
    // Appends SetTarget(name), GotoFrame(startIndex), Play.
    static void BuiltAndDumpDoAction(flaAction* actions, int startIndex, std::string name);
    // The sprite start actions of an entry that stays in place, unless the sprite
    // simply advances one frame.
    void SetSpriteFrame(const flaCharacterInfo* current, const flaCharacterInfo* previous, flaAction* actions) const;

private:
    DisplayList displayList;
    std::vector<flaSoundInfo> sounds;
    std::unique_ptr<const flaBuffer> streamBlock;
    FLIO::flaRGBA background{255, 255, 255, 255};
    bool backgroundValid = false;
    unsigned int costCode = 0;
    int frameSizeX;
    double ratio;
};

// Walks a frame's display list in depth order.
class flaCharacterInfoIterator {
public:
    explicit flaCharacterInfoIterator(const flaFrame::IterPair& range) : it(range.first), end(range.second) {}

    bool AtEnd() const { return it == end; }
    const flaCharacterInfo& operator*() const { return it->second; }
    const flaCharacterInfo* operator->() const { return &it->second; }
    flaCharacterInfoIterator& operator++() {
        ++it;
        return *this;
    }
    // Whether the current entry or any later one has a colour transform.
    bool ContainsColorXForm() const;

private:
    flaFrame::DisplayList::const_iterator it;
    flaFrame::DisplayList::const_iterator end;
};
