#include "data/RowMemory.h"

#include <algorithm>
#include <utility>

#include "core/HugePages.h"

namespace QuillonLib {

namespace {

constexpr std::size_t Alignment = 16;
constexpr std::size_t SmallRowset = std::size_t{1} << 20;
// Big enough for the allocator to take it from, and give it back to, the system by itself.
constexpr std::size_t LargestChunk = std::size_t{34} << 20;

}  // namespace

std::shared_ptr<std::uint8_t[]> RowMemory::Take(std::size_t bytes) {
    bytes = (bytes + Alignment - 1) / Alignment * Alignment;
    const std::size_t before = std::exchange(taken_, taken_ + bytes);
    if (before + bytes <= SmallRowset) return std::make_shared_for_overwrite<std::uint8_t[]>(bytes);
    if (bytes > size_ - used_) {
        size_ = std::max(bytes, std::min(before, LargestChunk));
        used_ = 0;
        chunk_ = std::make_shared_for_overwrite<std::uint8_t[]>(size_);
        PreferHugePages(chunk_.get(), size_);
    }
    return {chunk_, chunk_.get() + std::exchange(used_, used_ + bytes)};
}

}  // namespace QuillonLib
