// flio: command-line tool over the flio library.
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "commands.h"

namespace {

const char* kUsage =
    "usage: flio <command> [options]\n"
    "\n"
    "commands:\n"
    "  demo OUT.swf [--compress]   write the built-in demo movie\n"
    "  info FILE.swf [--json]      print the header and the tags of an SWF file\n"
    "  info FILE.swf --model [--json]\n"
    "                              import the file and print what the movie model holds\n"
    "  roundtrip IN.swf OUT.swf [--compress]\n"
    "                              import a movie and write it again\n"
    "\n"
    "Run 'flio <command> --help' for the options of a command.\n";

}  // namespace

namespace flio_cli {

bool WantsHelp(const Args& args) {
    for (const std::string& a : args)
        if (a == "-h" || a == "--help") return true;
    return false;
}

}  // namespace flio_cli

int main(int argc, char** argv) {
    if (argc < 2 || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "--help")) {
        std::fputs(kUsage, argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    const std::string command = argv[1];
    const flio_cli::Args args(argv + 2, argv + argc);
    try {
        if (command == "info") return flio_cli::RunInfo(args);
        if (command == "demo") return flio_cli::RunDemo(args);
        if (command == "roundtrip") return flio_cli::RunRoundtrip(args);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "flio: %s\n", e.what());
        return 1;
    }
    std::fprintf(stderr, "flio: unknown command '%s'\n%s", command.c_str(), kUsage);
    return 2;
}
