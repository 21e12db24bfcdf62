// The rows behind a table's result, on their way to standard output.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuillonLib.h"
#include "cli/CompareResults.h"
#include "cli/Console.h"

namespace quillon {

enum class RowKind : std::uint8_t { Identical, Different, OnlyIn1, OnlyIn2 };
// "identical", "different", "only-in-1", "only-in-2".
const char* NameOf(RowKind kind);

// What stands before the rows.
struct RowsHead {
    std::u16string table;
    bool byServer = false;
    DatabaseOptions::Databases databases;
    std::string loosened;
    Stopwatch watch;
    std::vector<RowKind> kinds;  // that are asked for
    int limit = 0;               // of each; 0: none
    // The columns that both databases have; rows can hold others, too.
    std::vector<ComparedColumn> columns;
};

struct RowColumn {
    std::u16string name;
    std::u16string type;  // the server's name of it
};

// A row of one side.
struct SideRow {
    const std::vector<RowColumn>* columns = nullptr;  // outlives the output
    std::vector<QuillonLib::Value> values;            // by column
};

// One row, or both of a differing one, whose columns are in one order then.
struct FoundRow {
    RowKind kind = RowKind::Identical;
    std::optional<SideRow> in1;
    std::optional<SideRow> in2;
    std::vector<bool> changed;  // by column; of Different only
};

// What stands behind them.
struct RowsEnd {
    // By kind: rows that were shown, and rows that there are, where somebody has counted them.
    std::array<std::int64_t, 4> shown{};
    std::array<std::optional<std::int64_t>, 4> counted;
    Verdict verdict;    // of the table; where it was not read to its end, of what is known of it
    bool whole = true;  // it was
    int exitCode = 0;
};

class RowOutput {
  public:
    virtual ~RowOutput() = default;
    // In this order. A command that fails in the midst of it calls no End.
    virtual void Begin(const RowsHead& head) = 0;
    virtual void Row(const FoundRow& row) = 0;
    virtual void End(const RowsEnd& end) = 0;
};

// Lines of JSON as they come: a head, the rows, an end; without the last one the others are not
// all.
std::unique_ptr<RowOutput> JsonRows(Console& console);
// CSV of the head's columns, as the rows come.
std::unique_ptr<RowOutput> CsvRows(Console& console);
// How rows are laid out for people.
struct RowLayout {
    // A line for each column; absent: where a table would be wider than the terminal.
    std::optional<bool> vertical;
    bool full = false;  // then: all columns of rows that differ, and no value cut
};

// A list for each kind, at the end; in Markdown or for the terminal.
std::unique_ptr<RowOutput> ListedRows(Console& console, bool markdown, const RowLayout& layout);

// `layout` is for OutputFormat::Table alone.
std::unique_ptr<RowOutput> RowsAs(OutputFormat format, Console& console, const RowLayout& layout);

// Which rows are shown: those of the kinds that are asked for, no more of each than the limit says.
class RowSelection {
  public:
    RowSelection(std::vector<RowKind> kinds, int limit) : kinds_(std::move(kinds)), limit_(limit) {}

    // Whether a row is shown; it counts as such then.
    bool Take(RowKind kind);
    // Nothing more is.
    bool IsFull() const;
    const std::array<std::int64_t, 4>& Shown() const { return shown_; }

  private:
    std::vector<RowKind> kinds_;
    int limit_;
    std::array<std::int64_t, 4> shown_{};
};

}  // namespace quillon
