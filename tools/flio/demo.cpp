// flio demo: builds a movie through the public API, as a host would, and writes it.
#include <cstdio>

#include "commands.h"

namespace flio_cli {

int RunDemo(const Args& args) {
    (void)args;
    std::fprintf(stderr, "flio demo: not built yet\n");
    return 1;
}

}  // namespace flio_cli
