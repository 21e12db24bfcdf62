// Where the library's own file lies.
#pragma once

#include <filesystem>

namespace QuillonLib {

// The folder of the shared library, or of the program that the static library is part of. Throws
// Error 53 ("file not found") when the system does not tell.
std::filesystem::path LibraryFolder();

}  // namespace QuillonLib
