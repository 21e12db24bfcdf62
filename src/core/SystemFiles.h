// What writing a file whole asks of the system besides FileOperations. Not installed.
#pragma once

#include <cstdint>
#include <filesystem>

namespace QuillonLib {

std::uint32_t ProcessNumber();

// A device, a pipe, a socket: taking its name would put a file in its place.
bool IsSpecial(const std::filesystem::path& path);

// The file that a path means, symbolic links followed; the path itself where that cannot be told.
std::filesystem::path BehindLinks(const std::filesystem::path& path);

}  // namespace QuillonLib
