// The list of comparisons that `quillon batch` runs.
//
//     [sales]
//     database1 = sales
//     database2 = sales-copy
//     exclude = dbo.log*
//     ignore = changed_at
//
// A setting is an option of `quillon compare` without its dashes: what that says of the option goes
// for the setting. One that the option takes several times may stand on several lines; a flag is
// "yes" or "no".
#pragma once

#include <string>
#include <vector>

#include "cli/ComparisonOptions.h"

namespace quillon {

struct BatchSetup {
    std::string name;
    std::string description;
    ComparisonOptions options;
};

// `config`: the file of connections; empty: the user's own. Throws std::runtime_error that names
// the file, the line and what is wrong: everything that can be known without a server.
std::vector<BatchSetup> ReadBatchFile(const std::string& file, const std::string& config);
// `name` is that of the file in errors.
std::vector<BatchSetup> ParseBatchFile(const std::string& text, const std::string& name,
                                       const std::string& config);

// Every COUNT-th of a list, from the PART-th on: the slices 1/N to N/N have no element in common,
// and all of them together are the list.
struct BatchSlice {
    std::size_t part = 1;   // 1 to count
    std::size_t count = 1;  // 1 to 1,000,000

    bool Whole() const { return count == 1; }
    bool Has(std::size_t position) const { return position % count == part - 1; }
};
// "3/10". Throws std::runtime_error.
BatchSlice ParseBatchSlice(const std::string& text);

}  // namespace quillon
