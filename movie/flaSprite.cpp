// flaSprite: reading the nested tags of a DefineSprite into the sprite's own
// timeline, and writing the sprite back as a DefineSprite tag.
#include "flio/flaSprite.h"

#include <cstdint>
#include <vector>

#include "flio/flaCharacterMatrices.h"
#include "flio/flaDump.h"
#include "flio/flaFrame.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"

flaSprite::flaSprite(int id_, flaMovie* parent_) : flaCharacter(id_), flaMovie(-1, -1), parent(parent_) {
    // The movie base registered the sprite as the current movie; a sprite is only
    // a part of its parent, which stays the current movie.
    pCurrentMovie = parent;
    if (parent) {
        importBudget = parent->importBudget;
        faithfulImport = parent->faithfulImport;
    }
}

flaSprite::flaSprite(int id_, flaMovie* parent_, flaRead& reader) : flaSprite(id_, parent_) { ParseTags(reader); }

flaSprite::~flaSprite() = default;

flaCharacter* flaSprite::GetCharacter(int id_) const { return parent ? parent->GetCharacter(id_) : nullptr; }

flaSound* flaSprite::GetSound(int id_) const { return parent ? parent->GetSound(id_) : nullptr; }

flaUnsupported* flaSprite::GetUnsupported() { return parent ? parent->GetUnsupported() : flaMovie::GetUnsupported(); }

void flaSprite::SetTransformation(const flaMatrix& m) {
    for (auto& frame : frames) frame->TransformAllPlaceObjects(m);
}

void flaSprite::ParseTags(flaRead& reader) {
    // Nested tags may not reach past the DefineSprite tag.
    flaRead::ContainerScope scope(reader);
    declaredFrameCount = reader.GetWord();
    CreateImportFrames(declaredFrameCount);
    // Only the timeline tags count inside a sprite; definitions (a sprite inside a
    // sprite included) and the rest are passed over.
    reader.WalkTags([this, &reader](unsigned short code) { DispatchTimelineTag(reader, code); });
    // A sprite that declares no frame and shows none still shows what it places:
    // a faithful import gives it that one frame.
    if (faithfulImport && frames.empty() && !importDisplayList.empty()) {
        CreateImportFrames(1);
        ParseShowFrame();
    }
}

void flaSprite::DumpCharacterInFile(flaDump& dump) const { DumpSpriteInFile(dump); }

void flaSprite::DumpSpriteInFile(flaDump& dump) const {
    // Everything the sprite uses is defined before the DefineSprite tag.
    for (const auto& frame : frames) {
        for (unsigned int i = 0; i < frame->GetSoundCount(); ++i)
            if (flaSound* sound = GetSound(frame->GetSound(i)->GetSoundId())) sound->DumpSoundInFile(dump);
        frame->DumpAllCharactersInFile(dump);
    }

    dump.SetCostCode(costCode);
    const flaDump::TagStart tag = dump.BeginTag(flaFormat::DefineSprite);
    dump.DataU16(static_cast<unsigned short>(id));
    dump.DataU16(static_cast<unsigned short>(frames.size()));
    DumpStreamHead(dump);
    // The sounds were defined above: the timeline writes only their starts.
    DumpTimeline(dump, false);
    dump.TagHeader(flaFormat::End, 0);
    dump.EndTag(tag);
    dump.SetCostCode(0);
}
