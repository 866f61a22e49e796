// The tag handlers of the import: definitions and sound. Definition handlers build
// one object, let its class read the rest of the tag, and hand it to the movie.
// The handlers serve the main timeline and, through flaSprite, the sprites'
// timelines alike; the placement handlers live in flaMoviePlace.cpp.
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
    // Stop records are dropped (a faithful import keeps them); starts of unknown
    // sounds too.
    if ((info.IsSyncStop() && !faithfulImport) || !GetSound(info.GetSoundId())) return;
    const auto wanted = static_cast<unsigned long long>(importFrameIndex) + 1;
    if (GetFrameCount() < wanted) CreateImportFrames(wanted - GetFrameCount());
    PlaceSoundInFrame(info, static_cast<unsigned long long>(importFrameIndex));
}

void flaMovie::ParseSetBackgroundColor(flaRead& reader) {
    const FLIO::flaRGBA c = reader.GetColor(false);
    if (flaFrame* frame = GetFrame(importFrameIndex)) frame->SetBackGroundColor(c.r, c.g, c.b, 255);
}
