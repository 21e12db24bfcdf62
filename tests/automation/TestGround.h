// What the test scripts work on: a server with two databases, and an empty folder.
#pragma once

#include <filesystem>
#include <string>

#include "sandbox/Sandbox.h"

namespace scripthost {

// Scripts find it by the environment: QUILLON_TEST_SERVER is the server's address,
// QUILLON_TEST_FOLDER the folder.
class TestGround {
  public:
    // `script`: a file of SQL, in UTF-8, that is run on the server first.
    explicit TestGround(const std::filesystem::path& script);
    TestGround(const TestGround&) = delete;
    TestGround& operator=(const TestGround&) = delete;
    ~TestGround();

  private:
    sandbox::Sandbox box_;
    std::filesystem::path folder_;
};

// The text of a UTF-8 file. Throws std::runtime_error where it cannot be read.
std::wstring ReadFile(const std::filesystem::path& path);

}  // namespace scripthost
