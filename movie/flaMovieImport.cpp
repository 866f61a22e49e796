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

namespace {

// The smallest file that can hold a header and an End tag.
const std::int32_t kMinFileLength = 21;

}  // namespace

bool flaMovie::ReadMovieFromFile(const PL_FileSpec& file, Progress* progress) {
    if (!file.IsValid() || !file.IsFile()) return false;
    std::ifstream in(file.GetFilePath().utf8(), std::ios::in | std::ios::binary);
    if (!in.good()) return false;
    try {
        flaRead reader(in);
        return ReadMovie(reader, progress);
    } catch (const flaRead::dekompressError&) {
        std::fprintf(stderr, "Compressed SWF could not be decompressed\n");
    } catch (...) {
        std::fprintf(stderr, "Some error while importing SWF\n");
    }
    return false;
}

bool flaMovie::ReadMovieFromBuffer(const unsigned char* data, int size, Progress* progress) {
    flaRead reader(size, data);
    return ReadMovie(reader, progress);
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
    unsigned char header[8];
    reader.GetHeader(header);
    reader.SetVersion(header[3]);
    const auto fileLength = static_cast<std::int32_t>(
        static_cast<std::uint32_t>(header[4]) | (static_cast<std::uint32_t>(header[5]) << 8) |
        (static_cast<std::uint32_t>(header[6]) << 16) | (static_cast<std::uint32_t>(header[7]) << 24));
    if (fileLength < kMinFileLength) {
        std::printf("ERROR: file size is too short\n");
        return false;
    }

    SRECT stage;
    reader.GetRect(&stage);
    // 8.8 fixed rate: only the integer part counts; SetFrameRate ignores 0 and
    // anything above 100.
    SetFrameRate(reader.GetWord() >> 8);
    const unsigned short frameCount = reader.GetWord();

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

    // Let every sprite placed on the main timeline play its frames to the end once.
    if (spriteEndFrame > static_cast<std::uint32_t>(importFrameIndex)) {
        const std::uint32_t extra = spriteEndFrame - static_cast<std::uint32_t>(importFrameIndex);
        CreateImportFrames(extra);
        for (std::uint32_t i = 0; i < extra; ++i) ParseShowFrame();
    }

    PreProsessStaticCharacters();
    return true;
}

void flaMovie::ParseTags(flaRead& reader, Progress* progress) {
    // A file without an End tag stops at the end of its data.
    while (reader.ContainerBytesLeft() >= 2) {
        if (progress) {
            float fraction = reader.Progress();
            if (fraction > 1.0f) fraction = 1.0f;
            if (!progress->Update(fraction)) break;
        }
        const unsigned short code = reader.GetTag();
        const unsigned long end = reader.GetTagEnd();
        DispatchTag(reader, code);
        reader.Seek(end);
        if (code == 0) break;
    }
}

// Tags that act on a timeline: the same for the movie and for its sprites' nested
// tags. False for any other tag.
bool flaMovie::DispatchTimelineTag(flaRead& reader, unsigned short code) {
    switch (code) {
        case 1:
            ParseShowFrame();
            return true;
        case 4:
            ParsePlaceObject(reader);
            return true;
        case 5:
            ParseRemoveObject(reader);
            return true;
        case 12:  // DoAction: a sprite reports it in its parent's list
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::Action);
            return true;
        case 15:
            ReadSoundStartFromFile(reader);
            return true;
        case 18:
            ParseSoundStreamHead(reader);
            return true;
        case 19:
            ParseSoundStreamBlock(reader);
            return true;
        case 26:
            ParsePlaceObject2(reader);
            return true;
        case 28:
            ParseRemoveObject2(reader);
            return true;
        case 45:
            ParseSoundStreamHead2(reader);
            return true;
        case 70:
            ParsePlaceObject3(reader);
            return true;
        default:
            return false;
    }
}

void flaMovie::DispatchTag(flaRead& reader, unsigned short code) {
    if (DispatchTimelineTag(reader, code)) return;
    switch (code) {
        case 2:
            ParseDefineShape(reader, false, flaShape::DefineShape);
            break;
        case 22:
            ParseDefineShape(reader, false, flaShape::DefineShape2);
            break;
        case 32:
            ParseDefineShape(reader, true, flaShape::DefineShape3);
            break;
        case 83:
            ParseDefineShape(reader, true, flaShape::DefineShape4);
            break;
        case 6:
            ParseDefineBits(reader);
            break;
        case 7:   // DefineButton
        case 17:  // DefineButtonSound
        case 23:  // DefineButtonCxform
        case 34:  // DefineButton2
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::Button);
            break;
        case 8:
            ParseJPEGTables(reader);
            break;
        case 9:
            ParseSetBackgroundColor(reader);
            break;
        case 10:  // DefineFont
            ParseDefineFont(reader);
            break;
        case 11:  // DefineText
            ParseDefineText(reader);
            break;
        case 13:  // DefineFontInfo
            ParseDefineFontInfo(reader);
            break;
        case 48:  // DefineFont2
            ParseDefineFont2(reader);
            break;
        case 62:  // DefineFontInfo2
            ParseDefineFontInfo2(reader);
            break;
        case 14:
            ParseDefineSound(reader);
            break;
        case 20:
            ParseDefineBitsLossless(reader);
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::LosslessBitmap);
            break;
        case 21:
            ParseDefineBitsJPEG2(reader);
            break;
        case 33:  // DefineText2
        case 37:  // DefineEditText
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::TextOrEditText);
            break;
        case 35:
            ParseDefineBitsJPEG3(reader);
            break;
        case 36:
            ParseDefineBitsLossless2(reader);
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::LosslessBitmap);
            break;
        case 39:
            ParseDefineSprite(reader);
            break;
        case 46:  // DefineMorphShape
            GetUnsupported()->AddUnsupportedElement(flaUnsupported::MorphShape);
            break;
        case 731:
            ParsePaletteData(reader);
            break;
        default:  // End, and everything else (84 to 730 and above 731 included) is skipped
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
