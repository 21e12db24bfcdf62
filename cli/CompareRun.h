// Comparing two whole databases, for the commands that do.
#pragma once

#include <cstdint>
#include <string>

#include "cli/CompareResults.h"
#include "cli/ComparisonOptions.h"
#include "cli/Console.h"

namespace quillon {

struct ReportChoice {
    std::string file;            // empty: none
    std::uint64_t limit = 1000;  // rows of a table that it shows; 0: all
    // The call that writes scripts of the same comparison, but for --to and -o; empty: the report
    // holds no scripts.
    std::string scriptCommand = {};
};

// Compares on the road that the options say, and writes the report that is asked for; where a
// server compares, it holds no rows. Throws what Prepare, or PrepareDirect, throws, the library's
// Error, and Interruption.
CompareResults CompareWhole(const ComparisonOptions& options, const ComparisonRequest& request,
                            const ReportChoice& report, Console& console);

}  // namespace quillon
