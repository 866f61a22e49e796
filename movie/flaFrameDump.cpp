// Writing a frame: the difference between a frame's display list and the previous
// frame's, as PlaceObject2/PlaceObject3 and RemoveObject2 tags, then the background
// colour, the sprite start actions and ShowFrame.
#include <charconv>
#include <string>

#include "flio/flaAction.h"
#include "flio/flaCharacter.h"
#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "io/flaFormat.h"
#include "records/flaRecordBits.h"

namespace {

namespace Place = flaFormat::Place;
namespace Place3 = flaFormat::Place3;

bool StartsSprite(const flaCharacterInfo& e) {
    return e.GetStartIndex() != flaCharacterInfo::NoStartAction && e.GetCharacter()->IsSprite();
}

// The previous frame's blend modes and filter lists, summarised (on first need) so
// that an entry is compared with all of them in constant time: when every entry
// agrees, `common` is one of them; when they disagree among themselves, every entry
// of the new frame necessarily differs from at least one of them.
class BlendFilterSummary {
public:
    explicit BlendFilterSummary(const flaFrame::DisplayList& list) : list(list) {}
    bool DiffersFromAny(const flaCharacterInfo& e) {
        if (!made) Make();
        return !uniform || (common && !e.SameBlendAndFilters(*common));
    }

private:
    void Make() {
        made = true;
        for (const auto& entry : list) {
            if (!common) {
                common = &entry.second;
            } else if (!entry.second.SameBlendAndFilters(*common)) {
                uniform = false;
                return;
            }
        }
    }
    const flaFrame::DisplayList& list;
    bool made = false;
    bool uniform = true;
    const flaCharacterInfo* common = nullptr;
};

// The classic PlaceObject2 (no filters, blend mode or file details) for a stream
// without a size observer, stored in one go: the bytes the general path of
// DumpMatrixCharacterInFrame writes for it, without a call per field.
FLIO_FLATTEN void WriteClassicPlacement(flaDump& dump, const flaCharacterInfo& info, bool move,
                                        bool forceColorTransform) {
    const flaCharacter* character = info.GetCharacter();
    const bool writeCx = forceColorTransform || info.HasColorXForm();
    const bool clip = info.GetClipDepth() != 0;
    const bool named = character->IsSprite();  // a sprite is named after its depth
    char name[16];
    const std::size_t nameLength = named ? static_cast<std::size_t>(
                                               std::to_chars(name, name + sizeof name, info.GetDepth()).ptr - name)
                                         : 0;
    name[nameLength] = '\0';
    const unsigned flags = (move ? Place::Move : Place::HasCharacter) | Place::HasMatrix |
                           (clip ? Place::HasClipDepth : 0u) | (writeCx ? Place::HasColorXForm : 0u) |
                           (named ? Place::HasName : 0u);
    flaTagWriter tag(dump, flaFormat::PlaceObject2, 80);
    tag.U8(flags);
    tag.U16(static_cast<unsigned short>(info.GetDepth()));
    if (!move) tag.U16(static_cast<unsigned short>(character->GetId()));
    flaRecordBits::Matrix(tag, info.GetMatrix(), dump.GetFrameSizeX(), dump.GetWriteOptions().exactTwips);
    tag.Pad();
    if (writeCx) flaRecordBits::ColorXForm(tag, info.GetColorXForm());
    if (named) tag.Text(name, nameLength + 1);
    if (clip) tag.U16(static_cast<unsigned short>(info.GetClipDepth()));
    tag.Finish();
}

}  // namespace

void flaFrame::DumpFrameInFile(flaDump& dump, const flaFrame* previous, bool writeBackground) const {
    flaAction actions;
    dump.SetCostCode(costCode);

    const DisplayList empty;
    const DisplayList& before = previous ? previous->displayList : empty;
    BlendFilterSummary summary(before);
    // The classic writer places an instance anew when its colour transform changes,
    // and compares blend modes and filters with the whole previous frame; with
    // colorTransformMoves a placement is compared with the one before it at its
    // depth only, and replaced only when it is another instance.
    const bool moves = dump.GetWriteOptions().colorTransformMoves;

    // Both lists are sorted by depth: walk them together.
    auto p = before.begin();
    for (const auto& entry : displayList) {
        const int depth = entry.first;
        const flaCharacterInfo& e = entry.second;
        if (!e.GetCharacter()->IsAlreadyDumped()) {  // the definition, before its first placement
            e.GetCharacter()->DumpInFile(dump);
            dump.SetCostCode(costCode);
        }

        while (p != before.end() && p->first < depth) ++p;
        const flaCharacterInfo* old = (p != before.end() && p->first == depth) ? &p->second : nullptr;

        // (The same character object has the same id: its id is looked at only when
        // the objects differ.)
        if (old && ((old->GetCharacter() != e.GetCharacter() &&
                     old->GetCharacter()->GetId() != e.GetCharacter()->GetId()) ||
                    old->GetClipDepth() != e.GetClipDepth() ||
                    (moves ? old->GetInstance() != e.GetInstance() : old->GetColorXForm() != e.GetColorXForm()))) {
            RemoveOneCharacter(dump, depth);
            old = nullptr;
        }
        if (!old) {
            DumpMatrixCharacterInFrame(dump, &e, false, false);
            if (StartsSprite(e)) BuiltAndDumpDoAction(&actions, e.GetStartIndex(), std::to_string(depth));
            continue;
        }
        if (moves) {
            // A move carries a changed colour transform even when the new one is
            // empty, so that the old one does not stay.
            const bool cxChanged = e.GetColorXForm() != old->GetColorXForm();
            if (cxChanged || !e.SameLook(*old) || e.GetMatrix() != old->GetMatrix())
                DumpMatrixCharacterInFrame(dump, &e, true, cxChanged);
        } else if (summary.DiffersFromAny(e) || e.GetMatrix() != old->GetMatrix()) {
            // Same character, clip depth and colour transform: a move when the blend
            // mode or filters differ from any entry of the previous frame, or when the
            // matrix changed. (The colour transform is equal here, so it is never forced.)
            DumpMatrixCharacterInFrame(dump, &e, true, false);
        }
        SetSpriteFrame(&e, old, &actions);
    }

    // Depths of the previous frame that are gone, in ascending order.
    auto c = displayList.begin();
    for (const auto& entry : before) {
        while (c != displayList.end() && c->first < entry.first) ++c;
        if (c == displayList.end() || c->first != entry.first) RemoveOneCharacter(dump, entry.first);
    }

    if (writeBackground && (!previous || background != previous->background)) DumpBGColourInFile(dump);
    actions.DumpDoActionTag(dump);
    dump.TagHeader(flaFormat::ShowFrame, 0);
    dump.SetCostCode(0);
}

void flaFrame::DumpAllCharactersInFile(flaDump& dump) const {
    for (const auto& entry : displayList) entry.second.GetCharacter()->DumpInFile(dump);
}

void flaFrame::DumpMatrixCharacterInFrame(flaDump& dump, const flaCharacterInfo* info, bool move,
                                          bool forceColorTransform) const {
    // The details of an imported placement, written when the stream keeps them.
    const flaPlacementDetails* d = dump.GetWriteOptions().fileDetails ? info->GetDetails() : nullptr;
    if (!d && !info->HasFilterList() && !info->HasBlendMode() && !dump.GetSizeCallback()) {
        WriteClassicPlacement(dump, *info, move, forceColorTransform);
        return;
    }
    const flaCharacter* character = info->GetCharacter();
    const bool sprite = character->IsSprite();
    const bool writeCx = forceColorTransform || info->HasColorXForm();
    const bool clip = info->GetClipDepth() != 0;

    // The instance name: the one the file gave; a sprite otherwise takes its depth
    // (the name its start actions target), unless the file placed it without one.
    bool named = sprite && (!d || StartsSprite(*info));
    const bool fileName = d && d->hasName && !move;
    if (fileName) named = true;
    const std::string name = fileName ? d->name : named ? std::to_string(info->GetDepth()) : std::string();
    const bool ratio = d && d->hasRatio;
    const bool className = d && d->hasClassName && !move;
    const bool clipActions = d && !d->clipActions.empty() && !move;
    const bool visible = d && d->hasVisible;
    const bool cache = d && d->hasCacheAsBitmap;
    const bool background = d && d->hasBackground;
    const bool extended =
        info->HasFilterList() || info->HasBlendMode() || className || visible || cache || background;

    unsigned char flags = static_cast<unsigned char>((move ? Place::Move : Place::HasCharacter) | Place::HasMatrix);
    if (clip) flags |= Place::HasClipDepth;
    if (writeCx) flags |= Place::HasColorXForm;
    if (named) flags |= Place::HasName;
    if (ratio) flags |= Place::HasRatio;
    if (clipActions) flags |= Place::HasClipActions;

    // PlaceObject3 in the long form. PlaceObject2 in the short form whatever its
    // length, as the format's original writer did (see flaDump::EndTag); a stream
    // that keeps the file's details gives a long body the long form instead.
    const flaDump::TagStart tag = extended ? dump.BeginTag(flaFormat::PlaceObject3)
                                  : d      ? dump.BeginShortestTag(flaFormat::PlaceObject2)
                                           : dump.BeginTag(flaFormat::PlaceObject2, false);
    dump.DataU8(flags);
    if (extended) {
        unsigned char flags2 = 0;
        if (info->HasBlendMode()) flags2 |= Place3::HasBlendMode;
        if (info->HasFilterList()) flags2 |= Place3::HasFilterList;
        if (className) flags2 |= Place3::HasClassName;
        if (visible) flags2 |= Place3::HasVisible;
        if (cache) flags2 |= Place3::HasCacheAsBitmap;
        if (background) flags2 |= Place3::HasOpaqueBackground;
        dump.DataU8(flags2);
    }
    dump.DataU16(static_cast<unsigned short>(info->GetDepth()));
    if (className) dump.StringPrint(d->className);
    if (!move) dump.DataU16(static_cast<unsigned short>(character->GetId()));
    info->GetMatrix().DumpInFile(dump);
    if (writeCx) info->GetColorXForm().DumpInFile(dump);
    if (ratio) dump.DataU16(d->ratio);
    if (named) dump.StringPrint(name);
    if (clip)
        dump.DataU16(static_cast<unsigned short>(info->GetClipDepth()));
    else
        dump.PadLastByte();

    if (extended) {
        if (info->HasFilterList()) info->DumpfilterListInFile(dump);
        if (info->HasBlendMode()) dump.DataU8(static_cast<unsigned char>(info->BlendMode()));
        if (cache) dump.DataU8(d->cacheAsBitmap);
        if (visible) dump.DataU8(d->visible);
        if (background) d->background.DumpInFile(dump);
    }
    if (clipActions) dump.ChunkDump(d->clipActions.data(), static_cast<unsigned int>(d->clipActions.size()));
    dump.EndTag(tag);
}

void flaFrame::RemoveOneCharacter(flaDump& dump, int depth) const {
    if (!dump.GetSizeCallback()) {
        flaTagWriter tag(dump, flaFormat::RemoveObject2, 4);
        tag.U16(static_cast<unsigned short>(depth));
        tag.Finish();
        return;
    }
    dump.TagHeader(flaFormat::RemoveObject2, flaFormat::RemoveObject2Length);
    dump.DataU16(static_cast<unsigned short>(depth));
}

void flaFrame::DumpBGColourInFile(flaDump& dump) const {
    dump.TagHeader(flaFormat::SetBackgroundColor, flaFormat::SetBackgroundColorLength);
    dump.DataU8(background.r);
    dump.DataU8(background.g);
    dump.DataU8(background.b);
}

void flaFrame::BuiltAndDumpDoAction(flaAction* actions, int startIndex, std::string name) {
    actions->AddActionRecord(new flaActionSetTarget(std::move(name)));
    actions->AddActionRecord(new flaActionGotoFrame(startIndex));
    actions->AddActionRecord(new flaActionPlay());
}

void flaFrame::SetSpriteFrame(const flaCharacterInfo* current, const flaCharacterInfo* previous,
                              flaAction* actions) const {
    if (!StartsSprite(*current)) return;
    if (static_cast<long long>(current->GetStartIndex()) == static_cast<long long>(previous->GetStartIndex()) + 1)
        return;
    BuiltAndDumpDoAction(actions, current->GetStartIndex(), std::to_string(current->GetDepth()));
}
