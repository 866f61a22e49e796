// Inputs that once crashed the importer (found by fuzz/fuzz_import.cpp): each is
// imported and its shapes decoded; a clean rejection is fine, a crash or a
// sanitizer report is not.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "flio/flaGeometry.h"
#include "flio/flaMovie.h"
#include "flio/flaRead.h"

TEST(FuzzRegression, EveryFoundInputImportsWithoutCrash) {
    const std::filesystem::path dir = std::filesystem::path(FLIO_TEST_DATA_DIR) / "fuzz";
    std::error_code ec;
    if (!std::filesystem::is_directory(dir, ec)) GTEST_SKIP() << "no fuzz inputs";
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        std::ifstream in(entry.path(), std::ios::binary);
        const std::vector<unsigned char> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        flaMovie movie;
        ::testing::internal::CaptureStdout();
        try {
            if (movie.ReadMovieFromBuffer(data.data(), static_cast<int>(data.size()), nullptr))
                for (flaCharacter* c : movie.GetCharacterList())
                    if (auto* shape = dynamic_cast<flaGeometry*>(c)) try {
                            shape->BuildBloated();
                        } catch (const flaRead::readError&) {
                        }
        } catch (const flaRead::readError&) {
        }
        ::testing::internal::GetCapturedStdout();
    }
}
