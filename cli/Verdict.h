// What may be said of a table after a comparison: never more than was looked at.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuillonLib.h"
#include "cli/Comparison.h"

namespace quillon {

// A column that is not compared, or not without loss.
struct ColumnLeftOut {
    std::u16string name;
    // "only-in-1", "only-in-2", "computed", "generated", "column-set", "row-version", "ignored",
    // "not-chosen", "not-comparable", "converted"
    const char* why = "";
    std::string reason;  // a sentence; empty for a column of one side
};

struct ComparedColumn {
    std::u16string name;  // as database 1 spells it
    std::u16string name2;
    std::string type1;  // as declared; empty: not known
    std::string type2;
    bool key = false;
    std::optional<std::int64_t> changedCells;
};

struct Verdict {
    enum class Kind {
        Identical,  // every row and column was compared
        NotWhole,   // no difference was found, but not everything was compared
        Different,  // rows, row counts, or columns that only one database has
        Failed,
    };
    Kind kind = Kind::Failed;
    bool hasKey = false;       // else the rows were only counted, or not even that
    bool rowsMatched = false;  // one to one; the three numbers that follow are known
    // Rows in 1 = identical + differing + only in 1.
    std::int64_t identical = 0;
    std::int64_t onlyIn1 = 0;
    std::int64_t onlyIn2 = 0;
    std::string text;  // a few words
    // What was not compared, and why, a line for each; and how the columns differ.
    std::vector<std::string> notCompared;
    std::vector<std::string> drift;
    std::vector<ColumnLeftOut> leftOut;  // columns that both have, and those of one alone
    // The same as `drift` tells, for programs.
    std::vector<DeclaredDifference> differences;
    // Absent where it is not known how the table was to be compared.
    std::optional<std::vector<ComparedColumn>> columns;
    std::optional<std::vector<std::u16string>> key;  // in key order; empty: no key
};

// How the commands end.
namespace ExitCode {
inline constexpr int Identical = 0;  // everything asked for was compared whole, or done
inline constexpr int Different = 1;
inline constexpr int Failed = 2;
inline constexpr int NotWhole = 3;  // no difference found, but not everything could be compared
}  // namespace ExitCode

// "identical", "not-whole", "different", "failed".
const char* NameOf(Verdict::Kind kind);

Verdict Judge(const Comparison& comparison, const QuillonLib::TableDifference& result);
int ExitCodeOf(const Verdict& verdict);

}  // namespace quillon
