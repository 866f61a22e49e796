// PL_FileSpec: the host base library's name of a file on disk (its path).
#pragma once

#include <cstdio>

#include "flio/UT_String.h"

class PL_FileSpec {
public:
    PL_FileSpec() = default;
    explicit PL_FileSpec(const UT_String& path) : path_(path) {}
    explicit PL_FileSpec(const char* utf8Path) : path_(utf8Path) {}

    // Valid when it names a path at all.
    bool IsValid() const { return !path_.empty(); }
    // True when the path names an existing regular file.
    bool IsFile() const;
    const UT_String& GetFilePath() const { return path_; }
    // Opens the file with fopen's mode string; null on failure. The caller closes it.
    std::FILE* get_fs(const char* mode) const;

private:
    UT_String path_;
};
