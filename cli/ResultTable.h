// The results of a comparison as people read them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
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
    std::u16string entry;
    bool view = false;
    std::string condition;  // of the rows that were compared; empty for all
    std::optional<std::int32_t> errorNumber;
    int errorSide = 0;  // the database that it came from: 1 or 2; 0: not known, or neither alone
};

struct Totals {
    std::size_t tables = 0;  // that both databases have
    std::size_t ofKind[4] = {};
    std::size_t onlyCounted = 0;
    std::size_t columnsNotCompared = 0;
    std::size_t oneSided = 0;
    std::string loosened;  // as DirectChoices::Loosened

    std::size_t Of(Verdict::Kind kind) const { return ofKind[static_cast<int>(kind)]; }
};

Totals TotalsOf(const std::vector<ResultLine>& lines, std::size_t oneSided,
                const std::string& loosened = {});
// What the results ask for (Verdict.h).
int ExitCodeOf(const Totals& totals);
// "3 tables: 1 identical, 2 different; left out: 1 column; compared without regard to case".
std::string LastLine(const Totals& totals);

// The lines that are listed, in their order.
std::vector<const ResultLine*> Listed(const std::vector<ResultLine>& lines,
                                      const TableListing& listing);
// "12 more tables are not listed (--limit)"; empty where none is left out for that.
std::string MoreText(const std::vector<ResultLine>& lines, const TableListing& listing);

// What may be said of each table that was compared by a server, in the order of its list.
std::vector<ResultLine> Judge(const Comparison& comparison,
                              const QuillonLib::TableDifferences& results);
// Tells what a failure across servers may come from, where there is one.
void NoteFailuresAcrossServers(Console& console, const Comparison& comparison,
                               const std::vector<ResultLine>& lines);

// A line for each table, in their order; then, for each that needs them, how its columns differ and
// what was not compared and why; the errors; and a last line that says it all. `totals`: of all
// tables, those that are not listed among them. Returns the exit code that the results ask for
// (Verdict.h).
int PrintResults(Console& console, const std::vector<ResultLine>& lines, const Totals& totals,
                 const TableListing& listing);

// The same of the results of a comparison, in the order of its list.
int PrintResults(Console& console, const Comparison& comparison,
                 const QuillonLib::TableDifferences& results);

// The error of a table that failed: several lines, in which a line end of the table's own name is
// none.
std::string ErrorText(const QuillonLib::TableDifference& result);

}  // namespace quillon
