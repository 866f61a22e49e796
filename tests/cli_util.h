// Running the flio tool from tests.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace flio_test {

struct RunResult {
    int status = -1;  // exit status, or -1 when the process did not exit normally
    std::string out;  // standard output
};

// Runs a shell command; standard error is discarded unless the command redirects it.
inline RunResult RunCommand(const std::string& command) {
    RunResult r;
    FILE* p = popen((command + " 2>/dev/null").c_str(), "r");
    if (!p) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
    const int raw = pclose(p);
    if (WIFEXITED(raw)) r.status = WEXITSTATUS(raw);
    return r;
}

}  // namespace flio_test
