// A call of the program, inside the test's own process.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/Commands.h"

namespace quillon {

struct Outcome {
    int exitCode = 0;
    std::string out;
    std::string err;
};

inline Outcome CallProgram(const std::vector<std::string>& arguments) {
    std::vector<const char*> argv{"quillon"};
    for (const auto& argument : arguments)
        argv.push_back(argument.c_str());
    Outcome outcome;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    outcome.exitCode = RunProgram(static_cast<int>(argv.size()), argv.data());
    outcome.out = testing::internal::GetCapturedStdout();
    outcome.err = testing::internal::GetCapturedStderr();
    return outcome;
}

}  // namespace quillon
