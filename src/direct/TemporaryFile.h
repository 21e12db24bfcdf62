// A file of the system's that nobody else can open and that goes with its last handle. Not
// installed.
#pragma once

#include <cstdint>
#include <cstdio>

namespace QuillonLib {

// In the folder that the environment tells (TMPDIR; TMP or TEMP on Windows), for writing and
// reading. Null where none can be made, and errno says why.
std::FILE* OpenTemporaryFile() noexcept;

// False where there is no such place, and errno says why.
bool SeekFile(std::FILE* file, std::uint64_t to) noexcept;

}  // namespace QuillonLib
