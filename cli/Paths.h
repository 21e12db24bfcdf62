// Files by the names that a user gives, in UTF-8.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>

namespace quillon {

std::filesystem::path PathOf(const std::string& name);
std::string NameOf(const std::filesystem::path& path);

// Where this program keeps what its user has chosen; need not exist. Throws std::runtime_error
// where the environment names no such place.
std::filesystem::path ConfigurationFolder();

// Null where it cannot be opened; errno tells why.
std::FILE* OpenToRead(const std::string& name);
// The same; a file that is there keeps what it holds.
std::FILE* OpenToAppend(const std::string& name);

}  // namespace quillon
