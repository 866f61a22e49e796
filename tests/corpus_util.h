// The third-party SWF files of the shared corpus, for tests.
#pragma once

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "flio/flaRead.h"

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

// Walks a tag list (a file's, or a sprite's) and hands every DefineShape,
// DefineShape2, DefineShape3 and DefineShape4 tag to visit, the reader standing at
// the tag's body.
inline void WalkShapeTags(flaRead& in, const std::function<void(int code, flaRead&)>& visit) {
    while (in.ContainerBytesLeft() >= 2) {
        const unsigned short code = in.GetTag();
        if (code == 0) break;
        const unsigned long end = in.GetTagEnd();
        if (code == 2 || code == 22 || code == 32 || code == 83) {
            visit(code, in);
        } else if (code == 39 && in.DataSize() >= 4) {
            in.GetWord();  // sprite id
            in.GetWord();  // frame count
            flaRead::ContainerScope scope(in);
            WalkShapeTags(in, visit);
        }
        in.Seek(end);
    }
}

}  // namespace flio_test
