// Running the comparisons of a list, several at a time.
#pragma once

#include <cstdint>
#include <string>

#include "cli/BatchFile.h"
#include "cli/Console.h"
#include "cli/TellingOptions.h"

namespace quillon {

struct BatchOptions {
    std::string file;
    std::string config;  // the file of connections; empty: the user's own
    BatchSlice slice;
    int jobs = 4;         // pairs that are compared at once, 1 to 64
    int perServer = 2;    // comparisons at once that one server takes part in, 1 to 64
    std::string reports;  // the folder; empty: none are written
    std::uint64_t reportLimit = 1000;
    bool json = false;
    TellingOptions telling;
};

// Returns the exit code. What happens to one pair is told with it, and the others go on. Throws
// std::runtime_error for a file that makes no sense, the library's Error for a folder that cannot
// be written to, and Interruption.
int RunBatch(const BatchOptions& options, Console& console);

}  // namespace quillon
