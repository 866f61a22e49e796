#include "flio/PL_File.h"

#include <sys/stat.h>

bool PL_FileSpec::IsFile() const {
    if (!IsValid()) return false;
    struct stat st {};
    return ::stat(path_.utf8().c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

std::FILE* PL_FileSpec::get_fs(const char* mode) const {
    if (!IsValid()) return nullptr;
    return std::fopen(path_.utf8().c_str(), mode);
}
