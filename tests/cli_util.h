// Running the flio tool from tests.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "test_util.h"

namespace flio_test {

struct RunResult {
    int status = -1;  // exit status, or -1 when the process did not exit normally
    std::string out;  // standard output
};

inline std::string Join(const std::vector<std::string>& parts, const char* sep = ",") {
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i) out += (i ? sep : "") + parts[i];
    return out;
}
// Numbers as "1,2,3", to compare several at once.
template <class... T>
std::string Nums(T... v) {
    return Join({std::to_string(v)...});
}

// A file's bytes; empty when it cannot be read.
inline Bytes FileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Runs a shell command; standard error is discarded unless the command redirects it.
inline RunResult RunCommand(const std::string& command) {
    RunResult r;
    FILE* p = popen((command + " 2>/dev/null").c_str(), "r");
    char buf[4096];
    for (std::size_t n; p && (n = fread(buf, 1, sizeof buf, p)) > 0;) r.out.append(buf, n);
    const int raw = p ? pclose(p) : -1;
    if (raw != -1 && WIFEXITED(raw)) r.status = WEXITSTATUS(raw);
    return r;
}

}  // namespace flio_test
