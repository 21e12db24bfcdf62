#include "core/HugePages.h"

#ifdef __linux__
#include <sys/mman.h>

#include <cstdint>
#endif

namespace QuillonLib {

void PreferHugePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes) noexcept {
#ifdef __linux__
    constexpr std::uintptr_t HugePage = std::uintptr_t{2} << 20;
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t begin = (address + HugePage - 1) / HugePage * HugePage;
    const std::uintptr_t end = (address + bytes) / HugePage * HugePage;
    if (begin >= end) return;
    madvise(static_cast<char*>(memory) + (begin - address), end - begin, MADV_HUGEPAGE);
#endif
}

}  // namespace QuillonLib
