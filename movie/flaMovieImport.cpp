// Importing a movie: the file or buffer, the header, the tag loop with its
// dispatch table, and the closing passes. The tag handlers live in
// flaMovieParse.cpp.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

#include "flio/PL_File.h"
#include "flio/flaCharacterMatrices.h"
#include "flio/flaFrame.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"

namespace {

// The smallest file that can hold a header and an End tag.
const std::int32_t kMinFileLength = 21;

}  // namespace

namespace {

// Runs an import as a file import runs: every exception ends in a line on standard
// error and false.
template <typename Import>
bool Catching(Import&& import) {
    try {
        return import();
    } catch (const flaRead::dekompressError&) {
        std::fprintf(stderr, "Compressed SWF could not be decompressed\n");
    } catch (...) {
        std::fprintf(stderr, "Some error while importing SWF\n");
    }
    return false;
}

}  // namespace

bool flaMovie::ReadMovieFromFile(const PL_FileSpec& file, Progress* progress) {
    if (!file.IsValid() || !file.IsFile()) return false;
    std::ifstream in(file.GetFilePath().utf8(), std::ios::in | std::ios::binary);
    if (!in.good()) return false;
    return Catching([&] {
        flaRead reader(in);
        return ReadMovie(reader, progress);
    });
}

bool flaMovie::ReadMovieFromBuffer(const unsigned char* data, int size, Progress* progress) {
    flaRead reader(size, data);
    return ReadMovie(reader, progress);
}

bool flaMovie::ReadMovieFromMemory(const unsigned char* data, std::size_t size, Progress* progress) {
    return Catching([&] {
        flaRead reader(data, size, flaRead::InPlace{});
        return ReadMovie(reader, progress);
    });
}

bool flaMovie::ReadMovie(flaRead& reader, Progress* progress) {
    const unsigned char* raw = reader.GetBuffer();
    const unsigned long available = reader.GetSize();
    if (available < 3 || raw[0] != 'F' || raw[1] != 'W' || raw[2] != 'S') {
        std::printf("ERROR: Illegal Header - not a Shockwave Flash File\n");
        return false;
    }
    if (available < 8) {
        std::printf("ERROR: file size is too short\n");
        return false;
    }
    const flaRead::FileHeader file = reader.GetFileHeader();
    reader.SetVersion(file.version);
    reader.SetFaithful(faithfulImport);
    if (static_cast<std::int32_t>(file.fileLength) < kMinFileLength) {
        std::printf("ERROR: file size is too short\n");
        return false;
    }

    const flaRead::MovieHeader header = reader.GetMovieHeader();
    const SRECT& stage = header.stage;
    // 8.8 fixed rate: only the integer part counts; SetFrameRate ignores 0 and
    // anything above 100.
    SetFrameRate(header.frameRate >> 8);
    const unsigned short frameCount = header.frameCount;
    if (faithfulImport) {
        SetFileVersion(file.version);
        SetFrameRateWord(header.frameRate);
    }

    if (!frameSizeGiven) {
        const std::int64_t w = std::int64_t(stage.xmax) - stage.xmin;
        const std::int64_t h = std::int64_t(stage.ymax) - stage.ymin;
        SetFrameSize(static_cast<int>(w / 20), static_cast<int>(h / 20));
        // A flat stage keeps the ratio it had rather than dividing by zero.
        if (h != 0) ratio = static_cast<double>(w) / static_cast<double>(h);
    }
    CreateImportFrames(frameCount);
    reader.SetScreenSizeX(static_cast<float>(frameSizeX));

    ParseTags(reader, progress);

    // Let every sprite placed on the main timeline play its frames to the end once
    // (a faithful import keeps the timeline's own length, so that it loops as in
    // the file).
    if (!faithfulImport && spriteEndFrame > static_cast<std::uint32_t>(importFrameIndex)) {
        const std::uint32_t extra = spriteEndFrame - static_cast<std::uint32_t>(importFrameIndex);
        CreateImportFrames(extra);
        for (std::uint32_t i = 0; i < extra; ++i) ParseShowFrame();
    }

    PreProsessStaticCharacters();
    return true;
}

void flaMovie::ParseTags(flaRead& reader, Progress* progress) {
    // A file without an End tag stops at the end of its data.
    reader.WalkTags([this, &reader](unsigned short code) { DispatchTag(reader, code); },
                    [&reader, progress] {
                        if (!progress) return true;
                        float fraction = reader.Progress();
                        if (fraction > 1.0f) fraction = 1.0f;
                        return progress->Update(fraction);
                    });
}

// Tags that act on a timeline: the same for the movie and for its sprites' nested
// tags. False for any other tag.
bool flaMovie::DispatchTimelineTag(flaRead& reader, unsigned short code) {
    switch (code) {
        case flaFormat::ShowFrame:
            ParseShowFrame();
            return true;
        case flaFormat::PlaceObject:
            ParsePlaceObject(reader);
            return true;
        case flaFormat::RemoveObject:
            ParseRemoveObject(reader);
            return true;
        case flaFormat::DoAction:  // a sprite reports it in its parent's list
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::Action);
            return true;
        case flaFormat::StartSound:
            ReadSoundStartFromFile(reader);
            return true;
        case flaFormat::SoundStreamHead:
            ParseSoundStreamHead(reader);
            return true;
        case flaFormat::SoundStreamBlock:
            ParseSoundStreamBlock(reader);
            return true;
        case flaFormat::PlaceObject2:
            ParsePlaceObject2(reader);
            return true;
        case flaFormat::RemoveObject2:
            ParseRemoveObject2(reader);
            return true;
        case flaFormat::SoundStreamHead2:
            ParseSoundStreamHead2(reader);
            return true;
        case flaFormat::PlaceObject3:
            ParsePlaceObject3(reader);
            return true;
        default:
            return false;
    }
}

void flaMovie::DispatchTag(flaRead& reader, unsigned short code) {
    if (DispatchTimelineTag(reader, code)) return;
    switch (code) {
        case flaFormat::DefineShape:
            ParseDefineShape(reader, false, flaShape::DefineShape);
            break;
        case flaFormat::DefineShape2:
            ParseDefineShape(reader, false, flaShape::DefineShape2);
            break;
        case flaFormat::DefineShape3:
            ParseDefineShape(reader, true, flaShape::DefineShape3);
            break;
        case flaFormat::DefineShape4:
            ParseDefineShape(reader, true, flaShape::DefineShape4);
            break;
        case flaFormat::DefineBits:
            ParseDefineBits(reader);
            break;
        case flaFormat::DefineButton:
        case flaFormat::DefineButtonSound:
        case flaFormat::DefineButtonCxform:
        case flaFormat::DefineButton2:
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::Button);
            break;
        case flaFormat::JPEGTables:
            ParseJPEGTables(reader);
            break;
        case flaFormat::SetBackgroundColor:
            ParseSetBackgroundColor(reader);
            break;
        case flaFormat::DefineFont:
            ParseDefineFont(reader);
            break;
        case flaFormat::DefineText:
            ParseDefineText(reader);
            break;
        case flaFormat::DefineFontInfo:
            ParseDefineFontInfo(reader);
            break;
        case flaFormat::DefineFont2:
            ParseDefineFont2(reader);
            break;
        case flaFormat::DefineFontInfo2:
            ParseDefineFontInfo2(reader);
            break;
        case flaFormat::DefineSound:
            ParseDefineSound(reader);
            break;
        case flaFormat::DefineBitsLossless:
            ParseDefineBitsLossless(reader);
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::LosslessBitmap);
            break;
        case flaFormat::DefineBitsJPEG2:
            ParseDefineBitsJPEG2(reader);
            break;
        case flaFormat::DefineText2:
            // A faithful import reads it as a static text (its colours have alpha).
            if (faithfulImport)
                ParseDefineText2(reader);
            else
                GetUnsupported()->AddUnsupportedElement(flaUnsupported::TextOrEditText);
            break;
        case flaFormat::DefineFont3:
            if (faithfulImport) ParseDefineFont3(reader);
            break;
        case flaFormat::DefineEditText:
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::TextOrEditText);
            break;
        case flaFormat::DefineBitsJPEG3:
            ParseDefineBitsJPEG3(reader);
            break;
        case flaFormat::DefineBitsLossless2:
            ParseDefineBitsLossless2(reader);
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::LosslessBitmap);
            break;
        case flaFormat::DefineSprite:
            ParseDefineSprite(reader);
            break;
        case flaFormat::DefineMorphShape:
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::MorphShape);
            break;
        case flaFormat::PaletteData:
            ParsePaletteData(reader);
            break;
        default:  // End, and every other tag, is skipped
            break;
    }
}

void flaMovie::ParsePaletteData(flaRead& reader) {
    // The palette is an extra of the host application: a damaged palette tag costs
    // the palette (or what of it was read), never the movie. Read's result is false
    // even after a good block, so it is not looked at.
    try {
        paletteData.Read(reader);
    } catch (const flaRead::readError&) {
    }
}

void flaMovie::CreateImportFrames(unsigned long long n) {
    if (n > MaxImportedFrames || importBudget->frames + n > MaxImportedFrames)
        throw flaRead::readError("the movie asks for more than " + std::to_string(MaxImportedFrames) +
                                 " frames in all");
    importBudget->frames += n;
    CreateFrames(static_cast<int>(n));
}
