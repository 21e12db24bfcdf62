// All that a comparison of whole databases has to say, whichever road it took.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "cli/Console.h"
#include "cli/DatabaseOptions.h"
#include "cli/OutputFormat.h"
#include "cli/ResultTable.h"
#include "cli/TableSelection.h"

namespace quillon {

// "2026-01-15T13:45:30.123Z".
std::string UtcText(std::chrono::system_clock::time_point moment);

// When a command began, and how long ago that was.
class Stopwatch {
  public:
    std::string Started() const;
    double Seconds() const;

  private:
    std::chrono::system_clock::time_point started_ = std::chrono::system_clock::now();
    std::chrono::steady_clock::time_point from_ = std::chrono::steady_clock::now();
};

struct CompareResults {
    DatabaseOptions::Databases databases;
    bool byServer = false;
    TableLists tables;
    std::vector<ResultLine> lines;  // in the order of tables.tables
    TableListing listing;
    std::string loosened;  // as DirectChoices::Loosened
    Stopwatch watch;
    int exitCode = 0;  // that the command ends with

    Totals All() const {
        return TotalsOf(lines, tables.onlyIn1.size() + tables.onlyIn2.size(), loosened);
    }
    std::vector<const ResultLine*> Shown() const { return Listed(lines, listing); }
};

// The result in the form that was asked for.
void Print(Console& console, const CompareResults& results, OutputFormat format);

// The document of docs/results.md.
std::string JsonOf(const CompareResults& results);
// A line for each table, those of one database among them.
std::string CsvOf(const CompareResults& results);
std::string MarkdownOf(const CompareResults& results);

}  // namespace quillon
