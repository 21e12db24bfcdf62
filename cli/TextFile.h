// Files of text.
#pragma once

#include <string>

namespace quillon {

// A file in UTF-8, or in UTF-16 with its mark. Throws std::runtime_error that names the file and
// what is wrong with it.
std::u16string ReadTextFile(const std::string& path);

}  // namespace quillon
