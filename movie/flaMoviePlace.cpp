// The placement handlers of the import: PlaceObject, PlaceObject2 and PlaceObject3,
// RemoveObject and RemoveObject2 are replayed against the import display list,
// which ShowFrame copies into the frames. A faithful import also keeps what the
// classic import reads past: blend modes, filters, names, ratios, visibility,
// caching, class names and clip actions, and numbers every instance it places.
#include <cstdio>
#include <string>
#include <vector>

#include "flio/flaColorXForm.h"
#include "flio/flaFilter.h"
#include "flio/flaFrame.h"
#include "flio/flaMatrix.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
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
    // Kept by a faithful import only.
    bool hasBlendMode = false;
    unsigned char blendMode = 0;
    bool hasFilters = false;
    flaFilterList filters;
    flaPlacementDetails details;
};

namespace {

// The details of a placement as a shared record: every faithful placement holds
// one, so that the writer knows it came from a file (and names it only if the file
// did).
UT_SharedPtr<const flaPlacementDetails> Share(const flaPlacementDetails& d) {
    return UT_SharedPtr<const flaPlacementDetails>(new flaPlacementDetails(d));
}

}  // namespace

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
    if (faithfulImport) {
        entry.info.SetInstance(++importInstances);
        entry.info.SetDetails(Share(flaPlacementDetails()));
    }
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
    // The ratio and the name are kept by a faithful import only.
    const bool keep = reader.IsFaithful();
    if (flags & Place::HasRatio) {
        f.details.hasRatio = keep;
        f.details.ratio = reader.GetWord();
    }
    if (flags & Place::HasName) {
        const char* name = reader.GetString();
        f.details.hasName = keep;
        if (keep) f.details.name = name;
    }
    if (flags & Place::HasClipDepth) {
        f.hasClipDepth = true;
        f.clipDepth = reader.GetWord();
    }
    // Clip actions end the tag; only a faithful import keeps them (ReadClipActions).
}

void flaMovie::ReadClipActions(flaRead& reader, unsigned char flags, PlaceFields& f) {
    if (!(flags & Place::HasClipActions) || !reader.IsFaithful() || reader.DataSize() <= 0) return;
    f.details.clipActions.resize(static_cast<std::size_t>(reader.DataSize()));
    reader.ReadRestOfTagData(f.details.clipActions.data());
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
            if (faithfulImport) ApplyDetails(f, entry.info, false);
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
    if (faithfulImport) ApplyDetails(f, it->info, true);
}

void flaMovie::ApplyDetails(const PlaceFields& f, flaCharacterInfo& info, bool move) {
    if (f.hasBlendMode) info.SetBlendMode(static_cast<FLIO::eBlendMode>(f.blendMode));
    if (f.hasFilters) info.SetFilterList(f.filters);
    if (!move) {
        info.SetInstance(++importInstances);
        info.SetDetails(Share(f.details));
        return;
    }
    // A move changes what it carries and keeps the rest; names, class names and
    // clip actions belong to the placement that created the instance.
    const flaPlacementDetails& d = f.details;
    if (!d.hasRatio && !d.hasVisible && !d.hasCacheAsBitmap && !d.hasBackground) return;
    flaPlacementDetails changed = info.GetDetails() ? *info.GetDetails() : flaPlacementDetails();
    if (d.hasRatio) {
        changed.hasRatio = true;
        changed.ratio = d.ratio;
    }
    if (d.hasVisible) {
        changed.hasVisible = true;
        changed.visible = d.visible;
    }
    if (d.hasCacheAsBitmap) {
        changed.hasCacheAsBitmap = true;
        changed.cacheAsBitmap = d.cacheAsBitmap;
    }
    if (d.hasBackground) {
        changed.hasBackground = true;
        changed.background = d.background;
    }
    info.SetDetails(Share(changed));
}

void flaMovie::ParsePlaceObject2(flaRead& reader) {
    const unsigned char flags = reader.GetByte();
    PlaceFields fields;
    fields.depth = reader.GetWord();
    ReadPlaceFields(reader, flags, fields);
    ReadClipActions(reader, flags, fields);
    ApplyPlacement(fields);
}

void flaMovie::ParsePlaceObject3(flaRead& reader) {
    if (reader.IsFaithful()) return ParsePlaceObject3Faithful(reader);
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

// The layout of the format: the class name, the PlaceObject2 fields, then the
// filters, the blend mode, bitmap caching, visibility, the background colour and
// the clip actions, each when its flag is set. A tag whose fields run out is
// applied with what was read before its end (or dropped when even the fields that
// PlaceObject2 has are cut), as the classic import does.
void flaMovie::ParsePlaceObject3Faithful(flaRead& reader) {
    const unsigned char flags1 = reader.GetByte();
    const unsigned char flags2 = reader.GetByte();
    const int depth = reader.GetWord();
    // Writers disagree on whether "has image" with "has character" brings a class
    // name: when the fields do not fit with one, they are read again without.
    const unsigned long start = reader.GetPosition();
    const bool certain = (flags2 & Place3::HasClassName) != 0;
    const bool maybe = (flags2 & Place3::HasImage) && (flags1 & Place::HasCharacter);
    PlaceFields fields;
    for (const bool className : {certain || maybe, false}) {
        try {
            reader.Seek(start);
            fields = PlaceFields();
            fields.depth = depth;
            if (className) {
                fields.details.className = reader.GetString();
                fields.details.hasClassName = true;
            }
            ReadPlaceFields(reader, flags1, fields);
            break;
        } catch (const flaRead::readError&) {
            if (certain || !maybe || !className) return;  // no other way to read it
        }
    }
    try {
        if (flags2 & Place3::HasFilterList) {
            flaFilterList filters;
            const unsigned int count = reader.GetByte();
            for (unsigned int i = 0; i < count; ++i) {
                const auto type = static_cast<FLIO::flaFilter::FilterType>(reader.GetByte());
                UT_SharedPtr<FLIO::flaFilter> filter = FLIO::flaFilter::CreateFilter(type);
                // An unknown filter has no known length: nothing after it can be read.
                if (!filter) throw flaRead::readError("unknown filter type " + std::to_string(static_cast<int>(type)));
                filter->ReadFromFile(reader);
                filters.push_back(filter);
            }
            fields.filters = filters;
            fields.hasFilters = true;
        }
        if (flags2 & Place3::HasBlendMode) {
            fields.blendMode = reader.GetByte();
            fields.hasBlendMode = true;
        }
        if (flags2 & Place3::HasCacheAsBitmap) {
            fields.details.cacheAsBitmap = reader.GetByte();
            fields.details.hasCacheAsBitmap = true;
        }
        if (flags2 & Place3::HasVisible) {
            fields.details.visible = reader.GetByte();
            fields.details.hasVisible = true;
        }
        if (flags2 & Place3::HasOpaqueBackground) {
            fields.details.background = reader.GetColor(true);
            fields.details.hasBackground = true;
        }
        ReadClipActions(reader, flags1, fields);
    } catch (const flaRead::readError&) {
    }
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
