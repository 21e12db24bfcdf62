// The results of a comparison as people read them.
#pragma once

#include "cli/Comparison.h"
#include "cli/Console.h"
#include "cli/Verdict.h"

namespace quillon {

// A line for each table in the order of the comparison's list; then, for each table that needs
// them, how its columns differ and what was not compared and why; the errors; and a last line that
// says it all. Returns the exit code that the results ask for (Verdict.h).
int PrintResults(Console& console, const Comparison& comparison,
                 const QuillonLib::TableDifferences& results);

// The error of a table that failed: several lines, in which a line end of the table's own name is
// none.
std::string ErrorText(const QuillonLib::TableDifference& result);

}  // namespace quillon
