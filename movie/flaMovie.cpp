// The movie model: stage settings, frames and the dictionary with its id counter.
// The writer lives in flaMovieDump.cpp.
#include "flio/flaMovie.h"

#include <algorithm>
#include <cstring>

#include "flio/flaCharacterMatrices.h"
#include "flio/flaColorXForm.h"
#include "flio/flaFrame.h"
#include "flio/flaMatrix.h"
#include "flio/flaRead.h"
#include "flio/flaGeometry.h"

const flaMovie* flaMovie::pCurrentMovie = nullptr;

flaMovie::Progress::~Progress() = default;

flaMovie::flaMovie(int width, int height) : characterMatrices(new flaCharacterMatrices()) {
    if (width >= 1 && height >= 1) {
        frameSizeX = width;
        frameSizeY = height;
        frameSizeGiven = true;
    }
    ratio = static_cast<double>(frameSizeX) / static_cast<double>(frameSizeY);
    pCurrentMovie = this;
}

flaMovie::~flaMovie() {
    frames.clear();
    for (flaSound* s : sounds) delete s;
    for (flaCharacter* c : characters) delete c;
    for (flaBitsLossless* b : bitsLossless) delete b;
    for (flaBitsLossless2* b : bitsLossless2) delete b;
    delete[] jpegTables;
    delete importedStreamedSound;
    if (pCurrentMovie == this) pCurrentMovie = nullptr;
}

flaCharacter* flaMovie::GetCharacter(int id) const {
    if (id < 0) return nullptr;
    for (flaCharacter* c : characters)
        if (c && c->GetId() == id) return c;
    return nullptr;
}

flaSound* flaMovie::GetSound(int id) const {
    if (id < 0) return nullptr;
    for (flaSound* s : sounds)
        if (s->GetSoundID() == id) return s;
    return nullptr;
}

flaUnsupported* flaMovie::GetUnsupported() { return &unsupported; }

void flaMovie::AddToUnsupportedList(flaUnsupported::UnsupportedElement element) {
    GetUnsupported()->AddUnsupportedElement(element);
}

int flaMovie::AddNewCharacter(flaCharacter* character) {
    characters.push_back(character);
    return character ? character->GetId() : -1;
}

int flaMovie::AddSound(flaSound* sound) {
    if (!sound) return -1;
    if (SoundAlreadyInsert(sound)) return sound->GetSoundID();
    if (sound->GetSoundID() == -1) sound->SetSoundID(GetNewCharacterId());
    sounds.push_back(sound);
    return sound->GetSoundID();
}

bool flaMovie::SoundAlreadyInsert(const flaSound* sound) const {
    return std::find(sounds.begin(), sounds.end(), sound) != sounds.end();
}

int flaMovie::AddBitsLossless(flaBitsLossless* bits) {
    if (!bits) return -1;
    if (bits->id == 0xFFFFFFFFu) bits->id = nextCharacterId++;
    bitsLossless.push_back(bits);
    return static_cast<int>(bits->id);
}

int flaMovie::AddBitsLossless2(flaBitsLossless2* bits) {
    if (!bits) return -1;
    if (bits->id == 0xFFFFFFFFu) bits->id = nextCharacterId++;
    bitsLossless2.push_back(bits);
    return static_cast<int>(bits->id);
}

void flaMovie::AddJPEG(flaBitsJpegBase* jpeg) {
    if (!jpeg) return;
    if (jpeg->id == 0xFFFFFFFFu) jpeg->id = nextCharacterId++;
    jpegs.push_back(jpeg);
}

flaFrame* flaMovie::GetFrame(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= frames.size()) return nullptr;
    return frames[static_cast<std::size_t>(index)].get();
}

// Unlike the frame accessor this one was once allowed to look one past the last
// frame; there is nothing there to return, so that index gives null as well.
const flaFrame* flaMovie::GetFrame(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= frames.size()) return nullptr;
    return frames[static_cast<std::size_t>(index)].get();
}

void flaMovie::CreateFrames(int n) {
    for (int i = 0; i < n; ++i) frames.push_back(std::make_unique<flaFrame>(frameSizeX, ratio));
}

void flaMovie::CreateFrameUpTo(unsigned long long n) {
    while (frames.size() < n) frames.push_back(std::make_unique<flaFrame>(frameSizeX, ratio));
}

bool flaMovie::PlaceSoundInFrame(const flaSoundInfo& info, unsigned long long frameIndex) {
    CreateFrameUpTo(frameIndex + 1);
    flaFrame* frame = frames[static_cast<std::size_t>(frameIndex)].get();
    if (!frame) return false;
    frame->PlaceSoundInFrame(info);
    return true;
}

void flaMovie::SetFrameRate(int rate) {
    if (rate >= 1 && rate <= 100) frameRate = rate;
}

void flaMovie::SetFrameSize(int width, int height) {
    if (width < 1 || height < 1) return;
    frameSizeX = width;
    frameSizeY = height;
    ratio = static_cast<double>(width) / static_cast<double>(height);
}

bool flaMovie::SetVersion(int v) {
    if (v <= version) return false;
    version = v;
    return true;
}

flaPalette* flaMovie::GetPaletteInformation() {
    return exportPalette ? paletteData.GetPaletteInformation() : nullptr;
}

void flaMovie::JPEGCopyTable(unsigned char* out) const {
    if (jpegTablesLength < 3 || !jpegTables || !out) return;
    std::memcpy(out, jpegTables, jpegTablesLength - 2);
}

void flaMovie::ParseJPEGTables(flaRead& reader) {
    const int left = reader.DataSize();
    const std::uint32_t length = left > 0 ? static_cast<std::uint32_t>(left) : 0;
    if (length) {
        std::unique_ptr<unsigned char[]> block(new unsigned char[length]);
        reader.ReadRestOfTagData(block.get());
        delete[] jpegTables;
        jpegTables = block.release();
    }
    jpegTablesLength = length;
}

void flaMovie::ForceBackgroundColour(int frameIndex) {
    if (frameIndex <= 0 || static_cast<std::size_t>(frameIndex) >= frames.size()) return;
    flaFrame* frame = frames[static_cast<std::size_t>(frameIndex)].get();
    const flaFrame* first = frames[0].get();
    if (!frame || frame->GetBackGroundColor() == first->GetBackGroundColor()) return;
    if (!backgroundShape) {
        backgroundShape = new flaGeometryBackground(GetNewCharacterId());
        characters.push_back(backgroundShape);
    }
    const FLIO::flaRGBA& c = frame->GetBackGroundColor();
    flaMatrix identity;
    // Start index -1; the shape is an ordinary placement, not a clip.
    flaCharacterInfo info(backgroundShape, 1, identity, -1);
    info.SetColorXForm(flaColorXForm(1, 1, 1, 1, c.r, c.g, c.b, c.a));
    frame->PlaceNewCharacterInFrame(info);
}
