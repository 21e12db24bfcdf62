// Programs of everyday use that a benchmark runs for scale.
#pragma once

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "BenchSupport.h"

namespace bench {

// Runs a command and waits; absent, with a line that says so, where it fails.
inline std::optional<Measured> MeasureCommand(const char* name, const std::string& command) {
    int status = 0;
    const double before = CpuSeconds(RUSAGE_CHILDREN);
    Measured time = Measure([&] { status = std::system(command.c_str()); });
    time.cpu = CpuSeconds(RUSAGE_CHILDREN) - before;
    if (status == 0) return time;
    std::printf("%-22s ended with status %d: skipped\n", name, status);
    return std::nullopt;
}

inline bool IsInstalled(const char* program) {
    if (std::system(("command -v " + std::string(program) + " > /dev/null 2>&1").c_str()) == 0)
        return true;
    std::printf("%-22s is not installed: skipped\n", program);
    return false;
}

}  // namespace bench
