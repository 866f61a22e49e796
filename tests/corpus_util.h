// The third-party SWF files of the shared corpus, for tests.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

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

}  // namespace flio_test
