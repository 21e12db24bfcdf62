// Files of text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quillon {

// More than anybody writes by hand.
inline constexpr std::size_t LongestSettings = std::size_t{16} << 20;

// A file in UTF-8, or in UTF-16 with its mark. Throws std::runtime_error that names the file and
// what is wrong with it, more than `most` bytes among that. A signal ends the process where nobody
// writes to what is a pipe: while a file is read there must be nothing to put in order.
std::u16string ReadTextFile(const std::string& path, std::size_t most = SIZE_MAX);

}  // namespace quillon
