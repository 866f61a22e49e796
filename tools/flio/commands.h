// The subcommands of the flio tool. Each returns the process exit status.
#pragma once

#include <string>
#include <vector>

namespace flio_cli {

using Args = std::vector<std::string>;

int RunInfo(const Args& args);
// flio info --model: the file imported into a movie, and what the model holds.
int RunInfoModel(const std::string& path, bool json);
int RunDemo(const Args& args);
int RunRoundtrip(const Args& args);

// True when args hold -h or --help.
bool WantsHelp(const Args& args);

}  // namespace flio_cli
