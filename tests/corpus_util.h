// Finding the third-party SWF files of the shared corpus for tests.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace flio_test {

inline std::string CorpusDir() {
#ifdef FLIO_CORPUS_DIR
    return FLIO_CORPUS_DIR;
#else
    return "";
#endif
}

// Every .swf file below the corpus folder, sorted; empty when the folder is absent.
inline std::vector<std::string> CorpusFiles() {
    std::vector<std::string> files;
    std::error_code ec;
    const std::filesystem::path dir(CorpusDir());
    if (dir.empty() || !std::filesystem::is_directory(dir, ec)) return files;
    for (const auto& e : std::filesystem::recursive_directory_iterator(dir, ec))
        if (e.is_regular_file() && e.path().extension() == ".swf") files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace flio_test
