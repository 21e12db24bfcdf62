// The results of a comparison as people read them.
#pragma once

#include <cstdint>
#include <string>

#include "QuillonLib.h"
#include "cli/Console.h"

namespace quillon {

// What is to be said of a table. Rows in 1 = identical + differing + only in 1.
struct Verdict {
    enum class Kind { Identical, Different, OnlyCounted, Failed };
    Kind kind = Kind::Failed;
    std::int64_t onlyIn1 = 0;  // known for Identical and Different
    std::int64_t onlyIn2 = 0;
    std::string text;
};
Verdict Judge(const QuillonLib::TableDifference& result);

// A line for each table, the errors, and a last line that says it all. Returns whether everything
// that could be compared is identical, 0, or not, 1, or some table failed, 2: the exit codes of
// the commands.
int PrintResults(Console& console, const QuillonLib::TableDifferences& results);

}  // namespace quillon
