// A client that sends each batch, and goes on whatever comes back.
#pragma once

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "core/Text.h"
#include "tests/support/TemporaryFolder.h"

namespace QuillonLib {

// What tsql prints of a script in database "w".
inline std::string RunInTsql(const std::u16string& script, int port) {
    const std::filesystem::path folder = test::MakeTemporaryFolder();
    const std::filesystem::path file = folder / "script.sql";
    std::ofstream(file, std::ios::binary) << ToUtf8(script) << "\nexit\n";
    const std::string command = "LC_ALL=C.UTF-8 tsql -H 127.0.0.1 -p " + std::to_string(port) +
                                " -U sa -P sandbox -D w < '" + file.string() + "' 2>&1";
    std::string output;
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::array<char, 4096> piece{};
    while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), pipe))
        output.append(piece.data(), size);
    pclose(pipe);
    std::filesystem::remove_all(folder);
    return output;
}

}  // namespace QuillonLib
