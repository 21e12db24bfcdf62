// The results of a comparison as people read them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/Comparison.h"
#include "cli/Console.h"
#include "cli/Verdict.h"

namespace quillon {

// What is shown of a table.
struct ResultLine {
    std::string table;
    std::string name;  // as the table stands in the list: with what it is, if it is a view
    std::int64_t rows1 = 0;
    std::int64_t rows2 = 0;
    std::int64_t differing = 0;
    Verdict verdict;
    std::string error;  // of a table that failed
};

// A line for each table, in their order; then, for each that needs them, how its columns differ and
// what was not compared and why; the errors; and a last line that says it all. `oneSided`: tables
// that only one database has. `onlyDifferent`: tables that are identical are counted alone. Returns
// the exit code that the results ask for (Verdict.h).
int PrintResults(Console& console, const std::vector<ResultLine>& lines, std::size_t oneSided,
                 bool onlyDifferent);

// The same of the results of a comparison, in the order of its list.
int PrintResults(Console& console, const Comparison& comparison,
                 const QuillonLib::TableDifferences& results);

// The error of a table that failed: several lines, in which a line end of the table's own name is
// none.
std::string ErrorText(const QuillonLib::TableDifference& result);

}  // namespace quillon
