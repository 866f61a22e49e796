// The frame model: display list, sound starts, stream block and background colour.
// The writer of a frame lives in flaFrameDump.cpp.
#include "flio/flaFrame.h"

#include "flio/flaCharacter.h"
#include "flio/flaDump.h"

bool flaCharacterInfo::SameBlendAndFilters(const flaCharacterInfo& o) const {
    if (hasBlendMode != o.hasBlendMode) return false;
    if (hasBlendMode && blendMode != o.blendMode) return false;
    if (hasFilterList != o.hasFilterList) return false;
    // The lists are compared by filter identity (shared pointers), not by value.
    return filters == o.filters;
}

bool flaPlacementDetails::operator==(const flaPlacementDetails& o) const {
    return hasName == o.hasName && name == o.name && hasRatio == o.hasRatio && ratio == o.ratio &&
           hasClassName == o.hasClassName && className == o.className && hasVisible == o.hasVisible &&
           visible == o.visible && hasCacheAsBitmap == o.hasCacheAsBitmap && cacheAsBitmap == o.cacheAsBitmap &&
           hasBackground == o.hasBackground && background == o.background && clipActions == o.clipActions;
}

bool flaCharacterInfo::SameLook(const flaCharacterInfo& o) const {
    if (hasBlendMode != o.hasBlendMode || (hasBlendMode && blendMode != o.blendMode)) return false;
    if (hasFilterList != o.hasFilterList || filters.size() != o.filters.size()) return false;
    for (std::size_t i = 0; i < filters.size(); ++i) {
        const FLIO::flaFilter* a = filters[i].get();
        const FLIO::flaFilter* b = o.filters[i].get();
        if (a != b && (!a || !a->IsEqual(b))) return false;
    }
    if (details.get() == o.details.get()) return true;
    static const flaPlacementDetails none;
    return *(details ? details.get() : &none) == *(o.details ? o.details.get() : &none);
}

void flaCharacterInfo::DumpfilterListInFile(flaDump& dump) const {
    // The count is one byte: at most 255 filters are written, null entries skipped,
    // so that the count always matches the records that follow.
    unsigned int count = 0;
    for (const auto& f : filters)
        if (f && count < 255) ++count;
    dump.DataU8(static_cast<unsigned char>(count));
    unsigned int written = 0;
    for (const auto& f : filters) {
        if (!f) continue;
        if (written++ == count) break;
        f->DumpInFile(dump);
    }
}

flaFrame::flaFrame(int frameSizeX_, double ratio_) : frameSizeX(frameSizeX_), ratio(ratio_) {}

flaFrame::~flaFrame() = default;

void flaFrame::PlaceNewCharacterInFrame(const flaCharacterInfo& info) {
    if (!info.GetCharacter()) return;
    displayList.set(info.GetDepth(), info);
}

bool flaFrame::RemoveCharacterAtDepth(int depth) { return displayList.erase(depth) != 0; }

bool flaFrame::ReplaceMatrixInFrame(const flaMatrix& m, int depth) {
    auto it = displayList.find(depth);
    if (it == displayList.end()) return false;
    it->second.SetMatrix(m);
    return true;
}

bool flaFrame::PlaceColorXFormAtDepth(const flaColorXForm* cx, int depth) {
    auto it = displayList.find(depth);
    if (!cx || it == displayList.end()) return false;
    it->second.SetColorXForm(*cx);
    return true;
}

flaCharacterInfo* flaFrame::GetCharacterByDepth(int depth) {
    auto it = displayList.find(depth);
    return it == displayList.end() ? nullptr : &it->second;
}

const flaCharacterInfo* flaFrame::GetCharacterByDepth(int depth) const {
    auto it = displayList.find(depth);
    return it == displayList.end() ? nullptr : &it->second;
}

const flaCharacterInfo* flaFrame::GetCharacterById(int id) const {
    for (const auto& entry : displayList)
        if (entry.second.GetCharacter()->GetId() == id) return &entry.second;
    return nullptr;
}

const flaMatrix* flaFrame::GetMatrixByDepth(int depth) const {
    const flaCharacterInfo* info = GetCharacterByDepth(depth);
    return info ? &info->GetMatrix() : nullptr;
}

const flaColorXForm* flaFrame::GetColorXFormByDepth(int depth) const {
    const flaCharacterInfo* info = GetCharacterByDepth(depth);
    return info ? &info->GetColorXForm() : nullptr;
}

int flaFrame::GetMinDepth() const { return displayList.empty() ? 0 : displayList.begin()->first; }

int flaFrame::GetMaxDepth() const { return displayList.empty() ? 0 : displayList.rbegin()->first; }

void flaFrame::TransformAllPlaceObjects(const flaMatrix& m) {
    for (auto& entry : displayList) {
        flaMatrix result;
        result.Multiply(entry.second.GetMatrix(), m);
        entry.second.SetMatrix(result);
    }
}

void flaFrame::GetAllSoundEvent(std::vector<const flaSoundInfo*>& out) const {
    for (const flaSoundInfo& s : sounds) out.push_back(&s);
}

void flaFrame::PlaceStreamedSoundInFrame(const flaBuffer* block) {
    if (block != streamBlock.get()) streamBlock.reset(block);
}

void flaFrame::SetBackGroundColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a) {
    background = FLIO::flaRGBA(r, g, b, a);
    backgroundValid = true;
}

bool flaCharacterInfoIterator::ContainsColorXForm() const {
    for (auto i = it; i != end; ++i)
        if (i->second.HasColorXForm()) return true;
    return false;
}
