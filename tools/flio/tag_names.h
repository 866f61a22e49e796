// Names of the SWF tag codes, for reports.
#pragma once

#include <string>

namespace flio_cli {

// "DefineShape3" for 32; "Unknown_<code>" for codes the format does not define.
std::string TagName(unsigned code);

}  // namespace flio_cli
