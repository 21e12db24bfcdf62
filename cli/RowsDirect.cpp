#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>

#include "cli/CommandOptions.h"
#include "cli/DirectRun.h"
#include "cli/Roads.h"
#include "cli/RowDisplay.h"
#include "direct/ReadableCell.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// Gathers the rows that are shown, and no others.
class RowGatherer {
  public:
    RowGatherer(const RowsOptions& options, const DirectRun& run) : limit_(options.limit) {
        const bool all = options.NoKind();
        const auto want = [&](DirectChange change, bool wanted, std::string title) {
            List& list = lists_.at(static_cast<std::size_t>(change));
            list.wanted = wanted;
            list.rows.title = std::move(title);
        };
        want(DirectChange::Same, options.identical, "Identical");
        want(DirectChange::Differs, options.different || all, "Different");
        want(DirectChange::OnlyIn1, options.here || all,
             "Only in " + ToUtf8(run.databases.obDB1->Description()));
        want(DirectChange::OnlyIn2, options.there || all,
             "Only in " + ToUtf8(run.databases.obDB2->Description()));
    }

    // True: there is room for no more, and the rows behind this one are not read.
    bool Take(const DirectDifference& found) {
        differs_ = differs_ || found.change != DirectChange::Same;
        List& list = ListOf(found.change);
        if (!list.wanted || IsFull(list)) return false;
        ++list.rows.shown;
        if (found.change == DirectChange::Differs) {
            AddPair(list.rows.lines, found);
        } else if (found.change == DirectChange::OnlyIn1) {
            AddRow(list.rows.lines, found.shape, 1, *found.row1);
        } else {
            AddRow(list.rows.lines, found.shape, 2, *found.row2);
        }
        return enough_ = AllAreFull();
    }
    bool Enough() const { return enough_; }
    bool AnyDiffers() const { return differs_; }

    void Print(Console& console, const DirectTableResult& result) {
        SetTotal(DirectChange::Same, result.identical);
        SetTotal(DirectChange::Differs, result.differing);
        SetTotal(DirectChange::OnlyIn1, result.onlyIn1);
        SetTotal(DirectChange::OnlyIn2, result.onlyIn2);
        for (const DirectChange change : {DirectChange::Same, DirectChange::Differs,
                                          DirectChange::OnlyIn1, DirectChange::OnlyIn2}) {
            List& list = ListOf(change);
            if (!list.wanted) continue;
            if (change == DirectChange::Differs) list.rows.columns.emplace_back();
            for (const DirectColumn& column : result.shape.columns) {
                const bool of2 = change == DirectChange::OnlyIn2;
                list.rows.columns.push_back(ToUtf8((of2 ? column.side2 : column.side1).Name));
            }
            PrintRowList(console, list.rows, limit_);
        }
    }

  private:
    struct List {
        bool wanted = false;
        RowList rows;
    };

    List& ListOf(DirectChange change) { return lists_.at(static_cast<std::size_t>(change)); }
    bool IsFull(const List& list) const { return limit_ > 0 && list.rows.shown >= limit_; }
    bool AllAreFull() const {
        return std::all_of(lists_.begin(), lists_.end(),
                           [this](const List& list) { return !list.wanted || IsFull(list); });
    }
    void SetTotal(DirectChange change, std::uint64_t total) {
        ListOf(change).rows.total = enough_ ? -1 : static_cast<std::int64_t>(total);
    }

    static Value Cell(const DirectColumn& column, int side, const Value& value) {
        return ReadableCell(side == 1 ? column.side1 : column.side2, value);
    }
    static void AddRow(std::vector<RowCells>& lines, const DirectShape& shape, int side,
                       const DirectRow& row) {
        RowCells& line = lines.emplace_back();
        for (std::size_t i = 0; i < row.size(); ++i)
            line.push_back(ShownCell(Cell(shape.columns[i], side, row[i])));
    }
    static void AddPair(std::vector<RowCells>& lines, const DirectDifference& found) {
        for (const int side : {1, 2}) {
            const DirectRow& row = side == 1 ? *found.row1 : *found.row2;
            RowCells& line = lines.emplace_back();
            line.push_back({std::to_string(side)});
            for (std::size_t i = 0; i < row.size(); ++i) {
                line.push_back(
                    ShownCell(Cell(found.shape.columns[i], side, row[i]), found.changed[i]));
            }
        }
    }

    int limit_;
    bool enough_ = false;
    bool differs_ = false;
    std::array<List, 4> lists_;  // by DirectChange
};

}  // namespace

int ShowRowsDirect(const RowsOptions& options, Console& console) {
    ComparisonRequest request = options.comparison.Request(console);
    request.tables = {TablePattern::Exactly(ToTableEntry(options.table))};
    DirectRun run = PrepareDirect(request, options.comparison.Direct(), console);
    if (run.tables.empty()) return ExitCode::Different;  // only one database has it
    run.options.sameRows = options.identical;
    RowGatherer rows(options, run);
    const auto results =
        Run(run, console, [&](const DirectDifference& found) { return rows.Take(found); });
    const ResultLine line = Judge(run, results).front();
    if (!rows.Enough() && !line.error.empty()) throw std::runtime_error(line.error);
    rows.Print(console, results.front());
    if (!rows.Enough()) {
        NoteVerdict(console, line.verdict);
        return options.comparison.Accepted(ExitCodeOf(line.verdict));
    }
    console.Note("quillon: the limit was reached: the rows behind those were not read");
    return options.comparison.Accepted(rows.AnyDiffers() ? ExitCode::Different
                                                         : ExitCode::NotWhole);
}

}  // namespace quillon
