#include "platform/PL_Memory.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

void PL_AdviseHugePages(void* block, std::size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (!block || pageSize <= 0) return;
    // The whole pages inside the block.
    const auto page = static_cast<std::uintptr_t>(pageSize);
    const auto begin = (reinterpret_cast<std::uintptr_t>(block) + page - 1) / page * page;
    const auto end = (reinterpret_cast<std::uintptr_t>(block) + bytes) / page * page;
    if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
    (void)block;
    (void)bytes;
#endif
}
