#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace QuillonLib::test {

// A new folder, empty, among the temporary ones. The caller removes it.
inline std::filesystem::path MakeTemporaryFolder() {
    static std::atomic<unsigned> last = 0;
    const auto start = std::chrono::system_clock::now().time_since_epoch().count();
    for (int tries = 0; tries < 100; ++tries) {
        const auto folder = std::filesystem::temp_directory_path() /
                            ("quillon-" + std::to_string(start) + "-" + std::to_string(++last));
        if (std::filesystem::create_directory(folder)) return folder;
    }
    throw std::runtime_error("no temporary folder can be made");
}

}  // namespace QuillonLib::test
