// What the test scripts work on: two servers with the same databases, and an empty folder.
#pragma once

#include <filesystem>
#include <string>

#include "sandbox/Sandbox.h"

namespace scripthost {

// Scripts find it by the environment: QUILLON_TEST_SERVER and QUILLON_TEST_OTHER are the addresses
// of the servers, QUILLON_TEST_FOLDER the folder.
class TestGround {
  public:
    // `script`: a file of SQL, in UTF-8, that is run on each server first.
    explicit TestGround(const std::filesystem::path& script);
    TestGround(const TestGround&) = delete;
    TestGround& operator=(const TestGround&) = delete;
    ~TestGround();

  private:
    void AddServer(const char16_t* name, const std::u16string& sql, const wchar_t* variable);

    sandbox::Sandbox box_;
    std::filesystem::path folder_;
};

// The text of a UTF-8 file. Throws std::runtime_error where it cannot be read.
std::wstring ReadFile(const std::filesystem::path& path);

}  // namespace scripthost
