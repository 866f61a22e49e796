// Memory hints to the operating system.
#pragma once

#include <cstddef>

// Asks the system to back the pages of a large block with huge pages where it can
// (Linux's transparent huge pages), so that filling fresh memory costs one page
// fault per 2 MB instead of one per 4 KB. A hint only: nothing changes where the
// system has no such pages or says no.
void PL_AdviseHugePages(void* block, std::size_t bytes);
