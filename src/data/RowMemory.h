// Memory for the packed rows of one row set.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace QuillonLib {

// A small row set takes what it needs and no more. A large one takes its blocks from chunks that
// grow with it, which the system hands out, and takes back, with less work than thousands of
// blocks. A chunk lives as long as the last block that was taken from it.
class RowMemory {
  public:
    // Not cleared; aligned for any packed cell.
    std::shared_ptr<std::uint8_t[]> Take(std::size_t bytes);

  private:
    std::shared_ptr<std::uint8_t[]> chunk_;
    std::size_t size_ = 0;   // of the chunk
    std::size_t used_ = 0;   // of the chunk
    std::size_t taken_ = 0;  // in all
};

}  // namespace QuillonLib
