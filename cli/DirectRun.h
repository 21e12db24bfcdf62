// A direct comparison as a command runs it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/ComparisonOptions.h"
#include "cli/Console.h"
#include "cli/DatabaseOptions.h"
#include "cli/ResultTable.h"
#include "cli/TableSelection.h"
#include "direct/DirectComparison.h"
#include "direct/ReadingPace.h"

namespace quillon {

// What is compared, and how. Every table in it stands in both catalogs.
struct DirectRun : TableLists {
    DatabaseOptions::Databases databases;
    std::vector<QuillonLib::DirectTable> choices;  // by table
    QuillonLib::DirectOptions options;
    std::string loosened;  // as DirectChoices::Loosened
    TableListing listing;

    const QuillonLib::Database& Target(int side) const {
        return side == 1 ? *databases.obDB1 : *databases.obDB2;
    }
};

// Reads the catalogs and checks every name that was given against them; tells what the user should
// know of it. Throws CLI::ValidationError for a name that is not there, with those that are;
// std::runtime_error when a catalog cannot be read or there is nothing to compare.
DirectRun PrepareDirect(const ComparisonOptions& options, Console& console);
DirectRun PrepareDirect(ComparisonRequest request, const DirectChoices& choices, Console& console);

// Gets every difference; true: enough, the comparison ends.
using DifferenceHandler = std::function<bool(const QuillonLib::DirectDifference&)>;

// Compares with a progress line. Tables that fail are in the results with their error. Throws the
// library's Error when it cannot begin, and Interruption.
std::vector<QuillonLib::DirectTableResult> Run(const DirectRun& run, Console& console,
                                               const DifferenceHandler& handler = {});

// "1,234,000 rows read, 250,000 rows/s, 1:20 left", as far as it is known. `done`: "read".
std::string ProgressText(std::uint64_t rows, const char* done,
                         const QuillonLib::ReadingPace::Reading& pace);

// What may be said of each table, in their order.
std::vector<ResultLine> Judge(const DirectRun& run,
                              const std::vector<QuillonLib::DirectTableResult>& results);

// As PrintResults of lines.
int PrintResults(Console& console, const DirectRun& run,
                 const std::vector<QuillonLib::DirectTableResult>& results);

}  // namespace quillon
