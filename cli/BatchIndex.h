// The page over all reports of a batch.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/BatchFile.h"
#include "cli/BatchResult.h"

namespace quillon {

// Names of files for the reports of a list, in its order: letters, digits and "-" of the names, no
// two the same whatever their case, none that of an index page.
std::vector<std::string> ReportNames(const std::vector<BatchSetup>& setups);

// "index.html"; "index-3-of-10.html" for a slice.
std::string IndexName(const BatchSlice& slice);

// One HTML page, which needs nothing but a browser and runs no script. It stands in the folder of
// the reports. Whatever stands in the results, none of it is markup.
std::string IndexPage(const std::vector<BatchResult>& results, const std::string& file,
                      const BatchSlice& slice, const Stopwatch& watch);

}  // namespace quillon
