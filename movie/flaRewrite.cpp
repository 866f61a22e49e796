// Readying an imported movie for writing again (flaRewrite).
#include "flio/flaRewrite.h"

#include <vector>

#include "flio/flaFrame.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "flio/flaSound.h"
#include "flio/flaSprite.h"
#include "flio/flaText.h"

namespace {

// Every frame of a timeline, mutable.
template <typename F>
void ForEachFrame(flaMovie& timeline, F&& f) {
    for (unsigned long long i = 0; i < timeline.GetFrameCount(); ++i)
        if (flaFrame* frame = timeline.GetFrame(static_cast<int>(i))) f(*frame);
}

// The main timeline and the timelines of the sprites it places, each once, in the
// order met; with the characters those timelines place.
struct Reach {
    std::vector<flaMovie*> timelines;
    std::set<const flaCharacter*> placed;

    void Walk(flaMovie& timeline) {
        timelines.push_back(&timeline);
        // Iteratively, so that a deep chain of nested sprites needs no deep stack.
        for (std::size_t t = timelines.size() - 1; t < timelines.size(); ++t) {
            ForEachFrame(*timelines[t], [this](flaFrame& frame) {
                for (const auto& entry : frame.GetDisplayList()) {
                    flaCharacter* c = entry.second.GetCharacter();
                    if (!placed.insert(c).second || !c->IsSprite()) continue;
                    if (auto* sprite = dynamic_cast<flaSprite*>(c)) timelines.push_back(&sprite->GetTimeline());
                }
            });
        }
    }
};

bool WriterCanAnnounce(const flaSound& stream) {
    return stream.GetCompressFormat() == flaSound::ADPCM && flaSound::RateCode(stream.GetSampleRate()) == 2 &&
           stream.GetSampleSize() == 16 && stream.GetChannels() == 2 && stream.GetSampleCount() > 0;
}

}  // namespace

void flaRewrite::PrepareImport(flaMovie& movie, Mode mode) {
    movie.set_PreProsessStaticCharacters(false);
    movie.SetFaithfulImport(mode == Faithful);
}

flaDump::WriteOptions flaRewrite::WriteOptionsFor(const flaMovie& movie) {
    return movie.IsFaithfulImport() ? flaDump::WriteOptions::Faithful() : flaDump::WriteOptions();
}

std::set<const flaCharacter*> flaRewrite::PlacedCharacters(const flaMovie& movie) {
    Reach reach;
    reach.Walk(const_cast<flaMovie&>(movie));  // only read
    return std::move(reach.placed);
}

flaRewrite::Report flaRewrite::Prepare(flaMovie& movie, flaMovie::Progress* progress) {
    Report report;
    movie.buildBloatedFonts();

    // Shapes and texts, in dictionary order.
    const flaCharacterList& characters = movie.GetCharacterList();
    for (std::size_t i = 0; i < characters.size(); ++i) {
        if (progress) progress->Update(static_cast<float>(i) / static_cast<float>(characters.size()));
        flaCharacter* c = characters[i];
        if (auto* shape = dynamic_cast<flaGeometry*>(c)) {
            try {
                shape->BuildBloated();
                ++report.shapes;
            } catch (const flaRead::readError&) {
                ++report.undecodedShapes;
            }
        } else if (auto* text = dynamic_cast<flaTextGeometry*>(c)) {
            try {
                text->BuildBloated(movie);
                ++report.texts;
            } catch (const flaRead::readError&) {
                ++report.undecodedTexts;
            }
        }
    }
    if (progress) progress->Update(1.0f);

    Reach reach;
    reach.Walk(movie);
    for (const flaCharacter* c : characters)
        if (!reach.placed.count(c)) ++report.unplacedCharacters;

    std::set<int> started;
    for (flaMovie* timeline : reach.timelines) {
        ForEachFrame(*timeline, [&started](flaFrame& frame) {
            // Sprites play on their own from their first frame, as in the file: a
            // start action (GotoFrame) would pin them to the placement's start index.
            std::vector<int> spriteDepths;
            for (const auto& entry : frame.GetDisplayList())
                if (entry.second.GetCharacter()->IsSprite()) spriteDepths.push_back(entry.first);
            for (int depth : spriteDepths)
                frame.GetCharacterByDepth(depth)->SetStartIndex(flaCharacterInfo::NoStartAction);
            for (unsigned s = 0; s < frame.GetSoundCount(); ++s) started.insert(frame.GetSound(s)->GetSoundId());
        });
        if (const flaSound* stream = timeline->GetImportedStreamedSound()) {
            if (movie.IsFaithfulImport()) {
                ++report.keptStreams;  // written in its own format
            } else if (WriterCanAnnounce(*stream)) {
                timeline->ActivateStreamedSoundExport(static_cast<int>(stream->GetSampleCount()));
                ++report.keptStreams;
            } else {
                ++report.droppedStreams;
            }
        }
    }

    // A SetBackgroundColor tag sets the colour of the frame it is read in; the frames
    // after it keep that colour until the next one. The writer compares each frame's
    // colour with the one before, so every frame must carry it.
    const flaFrame* previous = nullptr;
    ForEachFrame(movie, [&previous](flaFrame& frame) {
        if (!frame.IsBackGroundColorValid() && previous && previous->IsBackGroundColorValid()) {
            const FLIO::flaRGBA& c = previous->GetBackGroundColor();
            frame.SetBackGroundColor(c.r, c.g, c.b, c.a);
        }
        previous = &frame;
    });

    flaFrame* first = movie.GetFrame(0);
    for (const flaSound* sound : movie.GetSoundList()) {
        if (started.count(sound->GetSoundID())) continue;
        if (!first) {
            ++report.lostSounds;
            continue;
        }
        flaSoundInfo stop;
        stop.SetSoundId(sound->GetSoundID());
        stop.SetSyncFlag(flaSoundInfo::SyncStop);
        first->PlaceSoundInFrame(stop);
        ++report.keptSounds;
    }
    return report;
}
