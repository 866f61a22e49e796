// The third-party SWF files of the shared corpus, for tests.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "io/flaFormat.h"

namespace flio_test {

// Every .swf file below the corpus folder, sorted; empty when the folder is absent.
inline std::vector<std::string> CorpusFiles() {
    std::vector<std::string> files;
    std::error_code ec;
    for (const auto& e : std::filesystem::recursive_directory_iterator(FLIO_CORPUS_DIR, ec))
        if (e.is_regular_file() && e.path().extension() == ".swf") files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

// A reader over a corpus file, standing at its first tag; null for the files that
// are not read here (LZMA-compressed, or malformed before their first tag).
inline std::unique_ptr<flaRead> OpenCorpusFile(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (stream.peek() != 'F' && stream.peek() != 'C') return nullptr;
    try {
        auto in = std::make_unique<flaRead>(stream);
        in->GetFileHeader();
        in->GetMovieHeader();
        return in;
    } catch (const std::exception&) {
        return nullptr;
    }
}

// Walks a tag list (a file's, or a sprite's) and hands every DefineShape to
// DefineShape4 tag to visit with its version and whether its colours have alpha,
// the reader standing at the tag's body.
using ShapeVisit = std::function<void(flaShape::ShapeVersion, bool withAlpha, flaRead&)>;
inline void WalkShapeTags(flaRead& in, const ShapeVisit& visit) {
    const unsigned short shapes[] = {flaFormat::DefineShape, flaFormat::DefineShape2, flaFormat::DefineShape3,
                                     flaFormat::DefineShape4};
    in.WalkTags([&](unsigned short code) {
        const int v = static_cast<int>(std::find(std::begin(shapes), std::end(shapes), code) - std::begin(shapes));
        if (v < 4) return visit(static_cast<flaShape::ShapeVersion>(v), v >= flaShape::DefineShape3, in);
        if (code != flaFormat::DefineSprite || in.DataSize() < 4) return;
        in.GetWord();  // sprite id
        in.GetWord();  // frame count
        flaRead::ContainerScope scope(in);
        WalkShapeTags(in, visit);
    });
}

}  // namespace flio_test
