// Bytes that are too many to keep: a temporary file that goes when it is closed. Not installed.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

namespace QuillonLib {

class SpillFile {
  public:
    // Every operation throws Error FileAccess where the file cannot be made, written or read.

    // Returns where the bytes begin.
    std::uint64_t Append(std::string_view bytes);
    // Reads exactly `size` bytes.
    void Read(std::uint64_t from, char* into, std::size_t size);

  private:
    struct Close {
        void operator()(std::FILE* file) const noexcept { static_cast<void>(std::fclose(file)); }
    };
    std::unique_ptr<std::FILE, Close> file_;  // made when it is first needed
    std::uint64_t size_ = 0;
};

}  // namespace QuillonLib
