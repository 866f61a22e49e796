// The tag handlers of the import. Definition handlers build one object, let its
// class read the rest of the tag, and hand it to the movie; placement handlers
// replay PlaceObject and RemoveObject against the import display list, which
// ShowFrame copies into the frames. The handlers serve the main timeline and,
// through flaSprite, the sprites' timelines alike.
#include <cstdio>
#include <memory>
#include <string>

#include "flio/flaBits.h"
#include "flio/flaColorXForm.h"
#include "flio/flaFilter.h"
#include "flio/flaFrame.h"
#include "flio/flaMatrix.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "flio/flaSound.h"
#include "flio/flaSprite.h"
#include "io/flaFormat.h"

namespace Place = flaFormat::Place;
namespace Place3 = flaFormat::Place3;

struct flaMovie::PlaceFields {
    int depth = 0;
    bool move = false;
    bool hasCharacter = false;
    int characterId = 0;
    bool hasMatrix = false;
    flaMatrix matrix;
    bool hasColorXForm = false;
    flaColorXForm colorXForm;
    bool hasClipDepth = false;
    int clipDepth = 0;
};

// ---- Definitions ----------------------------------------------------------

void flaMovie::ParseDefineShape(flaRead& reader, bool withAlpha, flaShape::ShapeVersion shapeVersion) {
    const int id = reader.GetWord();
    std::unique_ptr<flaGeometry> shape(new flaGeometry(id, reader, withAlpha, shapeVersion));
    characters.push_back(shape.get());
    shape.release();
}

void flaMovie::ParseDefineSprite(flaRead& reader) {
    const int id = reader.GetWord();
    std::unique_ptr<flaSprite> sprite(new flaSprite(id, this, reader));
    characters.push_back(sprite.get());
    sprite.release();
}

namespace {

// Lets a new bitmap read the rest of its tag and hands it to `add`, which takes it
// over; a bitmap whose read fails is freed.
template <typename Bits, typename Add>
void ReadBitmap(std::unique_ptr<Bits> bits, flaRead& reader, Add add) {
    bits->ReadFromFile(reader);
    add(bits.get());
    bits.release();
}

}  // namespace

void flaMovie::ParseDefineBits(flaRead& reader) {
    ReadBitmap(std::make_unique<flaBitsJpeg>(*this), reader, [this](flaBitsJpeg* b) { AddJPEG(b); });
}

void flaMovie::ParseDefineBitsJPEG2(flaRead& reader) {
    ReadBitmap(std::make_unique<flaBitsJpeg2>(), reader, [this](flaBitsJpeg2* b) { AddJPEG(b); });
}

void flaMovie::ParseDefineBitsJPEG3(flaRead& reader) {
    ReadBitmap(std::make_unique<flaBitsJpeg3>(), reader, [this](flaBitsJpeg3* b) { AddJPEG(b); });
}

void flaMovie::ParseDefineBitsLossless(flaRead& reader) {
    ReadBitmap(std::make_unique<flaBitsLossless>(), reader, [this](flaBitsLossless* b) { AddBitsLossless(b); });
}

void flaMovie::ParseDefineBitsLossless2(flaRead& reader) {
    ReadBitmap(std::make_unique<flaBitsLossless2>(), reader, [this](flaBitsLossless2* b) { AddBitsLossless2(b); });
}

void flaMovie::ParseDefineSound(flaRead& reader) {
    std::unique_ptr<flaSound> sound(new flaSound());
    sound->ReadSoundFromFile(reader);
    sounds.push_back(sound.get());
    sound.release();
}

// ---- Sound on the timeline ----------------------------------------------------

void flaMovie::ParseSoundStreamHead(flaRead& reader) {
    std::unique_ptr<flaSound> sound(new flaSound());
    sound->ReadSoundStreamFromFile(false, reader);
    sound->SetSoundID(-1);
    delete importedStreamedSound;
    importedStreamedSound = sound.release();
}

void flaMovie::ParseSoundStreamHead2(flaRead& reader) {
    std::unique_ptr<flaSound> sound(new flaSound());
    sound->ReadSoundStreamFromFile(true, reader);
    sound->SetSoundID(-1);
    delete importedStreamedSound;
    importedStreamedSound = sound.release();
}

void flaMovie::ParseSoundStreamBlock(flaRead& reader) {
    flaFrame* frame = GetFrame(importFrameIndex);
    if (!frame || !importedStreamedSound) return;
    frame->PlaceStreamedSoundInFrame(importedStreamedSound->ReadSoundStreamBlockFromFile(reader));
}

void flaMovie::ReadSoundStartFromFile(flaRead& reader) {
    flaSoundInfo info;
    info.Read(reader);
    // Stop records are dropped; starts of unknown sounds too.
    if (info.IsSyncStop() || !GetSound(info.GetSoundId())) return;
    const auto wanted = static_cast<unsigned long long>(importFrameIndex) + 1;
    if (GetFrameCount() < wanted) CreateImportFrames(wanted - GetFrameCount());
    PlaceSoundInFrame(info, static_cast<unsigned long long>(importFrameIndex));
}

void flaMovie::ParseSetBackgroundColor(flaRead& reader) {
    const FLIO::flaRGBA c = reader.GetColor(false);
    if (flaFrame* frame = GetFrame(importFrameIndex)) frame->SetBackGroundColor(c.r, c.g, c.b, 255);
}

// ---- Placements -------------------------------------------------------------

std::list<flaMovie::ImportEntry>::iterator flaMovie::FindImportEntry(int depth) {
    for (auto it = importDisplayList.begin(); it != importDisplayList.end(); ++it)
        if (it->info.GetDepth() == depth) return it;
    return importDisplayList.end();
}

void flaMovie::ParsePlaceObject(flaRead& reader) {
    const int id = reader.GetWord();
    const int depth = reader.GetWord();
    flaCharacter* character = GetCharacter(id);
    if (!character) return;
    ImportEntry entry;
    entry.info = flaCharacterInfo(character, depth);
    flaMatrix matrix;
    matrix.ReadFromFile(reader);
    entry.info.SetMatrix(matrix);
    if (reader.DataSize() > 0) {
        flaColorXForm cx;
        cx.ReadFromFile(reader, false);
        entry.info.SetColorXForm(cx);
    }
    importDisplayList.push_back(entry);
}

void flaMovie::ReadPlaceFields(flaRead& reader, unsigned char flags, PlaceFields& f) {
    f.move = (flags & Place::Move) != 0;
    if (flags & Place::HasCharacter) {
        f.hasCharacter = true;
        f.characterId = reader.GetWord();
    }
    if (flags & Place::HasMatrix) {
        f.hasMatrix = true;
        f.matrix.ReadFromFile(reader);
    }
    if (flags & Place::HasColorXForm) {
        f.hasColorXForm = true;
        f.colorXForm.ReadFromFile(reader, true);
    }
    if (flags & Place::HasRatio) reader.GetWord();  // not kept
    if (flags & Place::HasName) reader.GetString();  // not kept
    if (flags & Place::HasClipDepth) {
        f.hasClipDepth = true;
        f.clipDepth = reader.GetWord();
    }
    // Clip actions are skipped with the rest of the tag.
}

void flaMovie::ApplyPlacement(const PlaceFields& f) {
    flaCharacter* character = nullptr;
    if (f.hasCharacter) {
        character = GetCharacter(f.characterId);
        if (!character) return;  // unknown id: the tag is dropped
        if (!f.move) {
            ImportEntry entry;
            entry.info = flaCharacterInfo(character, f.depth);
            if (f.hasMatrix) entry.info.SetMatrix(f.matrix);
            if (f.hasColorXForm) entry.info.SetColorXForm(f.colorXForm);
            if (f.hasClipDepth) entry.info.SetClipDepth(f.clipDepth);
            importDisplayList.push_back(entry);
            return;
        }
    }
    const auto it = FindImportEntry(f.depth);
    if (it == importDisplayList.end()) return;
    if (character) it->info.SetCharacter(character);
    if (f.hasMatrix) it->info.SetMatrix(f.matrix);
    if (f.hasColorXForm) it->info.SetColorXForm(f.colorXForm);
    if (f.hasClipDepth) it->info.SetClipDepth(f.clipDepth);
}

void flaMovie::ParsePlaceObject2(flaRead& reader) {
    const unsigned char flags = reader.GetByte();
    PlaceFields fields;
    fields.depth = reader.GetWord();
    ReadPlaceFields(reader, flags, fields);
    ApplyPlacement(fields);
}

void flaMovie::ParsePlaceObject3(flaRead& reader) {
    const unsigned char flags1 = reader.GetByte();
    const unsigned char flags2 = reader.GetByte();
    PlaceFields fields;
    fields.depth = reader.GetWord();
    // Writers disagree on whether "has image" with "has character" brings a class
    // name; a tag whose fields do not fit this layout runs out of data and is
    // dropped, like a placement of an unknown character, instead of failing the movie.
    try {
        if ((flags2 & Place3::HasClassName) || ((flags2 & Place3::HasImage) && (flags1 & Place::HasCharacter)))
            reader.GetString();  // class name
        ReadPlaceFields(reader, flags1, fields);
    } catch (const flaRead::readError&) {
        return;
    }

    // Filters, blend mode, bitmap caching, visibility and background are read past:
    // the model takes none of them from a file, so a tag that ends early in them
    // still places its character.
    try {
        bool rest = true;
        if (flags2 & Place3::HasFilterList) {
            const unsigned int count = reader.GetByte();
            for (unsigned int i = 0; i < count && rest; ++i) {
                const auto type = static_cast<FLIO::flaFilter::FilterType>(reader.GetByte());
                UT_SharedPtr<FLIO::flaFilter> filter = FLIO::flaFilter::CreateFilter(type);
                // An unknown filter has no known length: the rest of the tag is skipped.
                if (!filter) rest = false;
                else filter->ReadFromFile(reader);
            }
        }
        if (rest) {
            if (flags2 & Place3::HasBlendMode) reader.SkipBytes(1);
            if (flags2 & Place3::HasCacheAsBitmap) reader.SkipBytes(1);
            // The visibility flag is taken to bring both the visibility byte and
            // the background colour: the layout of the format's original reader.
            if (flags2 & Place3::HasVisible) {
                reader.SkipBytes(1);
                reader.GetColor(true);
            }
        }
    } catch (const flaRead::readError&) {
    }
    if (flags1 & Place::HasClipActions) std::printf("Clips Actions found\n");
    ApplyPlacement(fields);
}

void flaMovie::ParseRemoveObject(flaRead& reader) {
    const int id = reader.GetWord();
    const int depth = reader.GetWord();
    if (!GetCharacter(id)) return;
    const auto it = FindImportEntry(depth);
    if (it != importDisplayList.end()) importDisplayList.erase(it);
}

void flaMovie::ParseRemoveObject2(flaRead& reader) {
    const auto it = FindImportEntry(reader.GetWord());
    if (it != importDisplayList.end()) importDisplayList.erase(it);
}

void flaMovie::ParseShowFrame() {
    flaFrame* frame = GetFrame(importFrameIndex);
    if (!frame || importDisplayList.empty()) {
        ++importFrameIndex;
        return;
    }
    if (importBudget->placements + importDisplayList.size() > MaxImportedPlacements)
        throw flaRead::readError("the movie's frames would hold more than " +
                                 std::to_string(MaxImportedPlacements) + " placements in all");
    importBudget->placements += importDisplayList.size();
    for (ImportEntry& entry : importDisplayList) {
        const auto* sprite = dynamic_cast<const flaSprite*>(entry.info.GetCharacter());
        if (sprite && sprite->GetFrameCount() >= 2 && entry.framesShown == 0) {
            const unsigned long long end = static_cast<unsigned long long>(importFrameIndex) + sprite->GetFrameCount();
            if (end > spriteEndFrame) spriteEndFrame = static_cast<std::uint32_t>(end);
        }
        frame->PlaceNewCharacterInFrame(entry.info);
        ++entry.framesShown;
    }
    ++importFrameIndex;
}
