#include <array>
#include <memory>
#include <stdexcept>

#include "cli/CatalogSurvey.h"
#include "cli/CommandOptions.h"
#include "cli/DirectResults.h"
#include "cli/DirectRun.h"
#include "cli/Roads.h"
#include "cli/RowDisplay.h"
#include "cli/RowOutput.h"
#include "direct/ReadableCell.h"

namespace quillon {

namespace {

using namespace QuillonLib;

RowKind KindOf(DirectChange change) {
    switch (change) {
        case DirectChange::Differs:
            return RowKind::Different;
        case DirectChange::OnlyIn1:
            return RowKind::OnlyIn1;
        case DirectChange::OnlyIn2:
            return RowKind::OnlyIn2;
        case DirectChange::Same:
            break;
    }
    return RowKind::Identical;
}

// Hands the rows that are shown to an output, and no others.
class RowHandler {
  public:
    RowHandler(RowOutput& output, RowsHead head)
        : output_(output), head_(std::move(head)), selection_(head_.kinds, head_.limit) {}

    // True: there is room for no more, and the rows behind this one are not read.
    bool Take(const DirectDifference& found) {
        Begin(found.shape);
        differs_ = differs_ || found.change != DirectChange::Same;
        const RowKind kind = KindOf(found.change);
        if (!selection_.Take(kind)) return false;
        FoundRow row{kind, {}, {}, found.changed};
        if (found.row1 != nullptr) row.in1 = Readable(found, 1, *found.row1);
        if (found.row2 != nullptr) row.in2 = Readable(found, 2, *found.row2);
        output_.Row(row);
        return enough_ = selection_.IsFull();
    }
    bool Enough() const { return enough_; }
    bool AnyDiffers() const { return differs_; }

    void End(const DirectTableResult& result, const Verdict& verdict, int exitCode) {
        Begin(result.shape);
        RowsEnd end;
        end.shown = selection_.Shown();
        end.verdict = verdict;
        end.whole = !enough_;
        end.exitCode = exitCode;
        if (!enough_) {
            const auto count = [&](RowKind kind, std::uint64_t rows) {
                end.counted.at(static_cast<std::size_t>(kind)) = static_cast<std::int64_t>(rows);
            };
            count(RowKind::Identical, result.identical);
            count(RowKind::Different, result.differing);
            count(RowKind::OnlyIn1, result.onlyIn1);
            count(RowKind::OnlyIn2, result.onlyIn2);
        }
        output_.End(end);
    }

  private:
    // Which columns there are is known with the first row, or without one at the end.
    void Begin(const DirectShape& shape) {
        if (begun_) return;
        begun_ = true;
        head_.columns = ColumnsOf(shape);
        for (const DirectColumn& column : shape.columns) {
            columns_[0].push_back({column.side1.Name, column.side1.DataType});
            columns_[1].push_back({column.side2.Name, column.side2.DataType});
        }
        output_.Begin(head_);
    }

    SideRow Readable(const DirectDifference& found, int side, const DirectRow& row) const {
        SideRow readable{&columns_.at(static_cast<std::size_t>(side - 1)), {}};
        readable.values.reserve(row.size());
        for (std::size_t i = 0; i < row.size(); ++i) {
            const DirectColumn& column = found.shape.columns[i];
            readable.values.push_back(
                ReadableCell(side == 1 ? column.side1 : column.side2, row[i]));
        }
        return readable;
    }

    RowOutput& output_;
    RowsHead head_;
    RowSelection selection_;
    std::array<std::vector<RowColumn>, 2> columns_;  // by side
    bool begun_ = false;
    bool enough_ = false;
    bool differs_ = false;
};

}  // namespace

int ShowRowsDirect(const RowsOptions& options, Console& console) {
    RowsHead head;
    options.pager.Apply(console);
    ComparisonRequest request = options.comparison.Request(console);
    request.tables = {TablePattern::Exactly(ToTableEntry(options.table))};
    if (!options.index.empty())
        request.indexes = {ParseTableChoice(options.index, "--index", options.table)};
    request.resultTellsEquality = options.format.Format() != OutputFormat::Csv;
    DirectRun run = PrepareDirect(request, options.comparison.Direct(), console);
    if (run.tables.empty()) return ExitCode::Different;  // only one database has it
    run.options.sameRows = options.identical;
    head.table = run.tables.front();
    head.databases = run.databases;
    head.loosened = run.loosened;
    head.kinds = options.Kinds();
    head.limit = options.limit;
    const auto output = RowsAs(options.format.Format(), console, options.layout);
    RowHandler rows(*output, std::move(head));
    const auto results =
        Run(run, console, [&](const DirectDifference& found) { return rows.Take(found); });
    const ResultLine line = Judge(run, results).front();
    if (!rows.Enough() && !line.error.empty()) throw std::runtime_error(line.error);
    const Verdict verdict =
        rows.Enough() ? VerdictOfPart(run, 0, results.front(), rows.AnyDiffers()) : line.verdict;
    const int exitCode = options.comparison.Accepted(ExitCodeOf(verdict));
    rows.End(results.front(), verdict, exitCode);
    if (rows.Enough())
        console.Hint("quillon: the limit was reached: the rows behind those were not read");
    NoteVerdict(console, verdict);
    return exitCode;
}

}  // namespace quillon
