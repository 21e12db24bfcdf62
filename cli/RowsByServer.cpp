#include <memory>
#include <stdexcept>

#include "cli/AbandonOnInterrupt.h"
#include "cli/CommandOptions.h"
#include "cli/ResultTable.h"
#include "cli/Roads.h"
#include "cli/RowDisplay.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// How many rows of a kind there are: all of them were fetched where there is no limit.
struct RowCounts {
    std::int64_t identical = -1;  // -1: not known
    std::int64_t different = -1;
    std::int64_t onlyIn1 = -1;
    std::int64_t onlyIn2 = -1;
};

RowCounts CountsOf(const Verdict& verdict, const TableDifference& result) {
    if (!verdict.rowsMatched) return {};
    return {verdict.identical, result.RecordsDiffering(), verdict.onlyIn1, verdict.onlyIn2};
}

void PrintRows(Console& console, const std::string& title, Recordset* rows, std::int64_t total,
               int limit) {
    if (rows == nullptr) return;
    RowList list{title, {}, {}, static_cast<std::int64_t>(rows->RecordCount()), total};
    for (std::size_t i = 0; i < rows->FieldCount(); ++i)
        list.columns.push_back(ToUtf8(rows->Info(i).name));
    for (; !rows->EndOfSet(); rows->MoveNext()) {
        RowCells& line = list.lines.emplace_back();
        for (std::size_t i = 0; i < rows->FieldCount(); ++i)
            line.push_back(ShownCell(rows->Fields(i).Value()));
    }
    PrintRowList(console, list, limit);
}

void PrintDifferent(Console& console, const TableDifference& result, Recordset* rows,
                    std::int64_t total, int limit) {
    if (rows == nullptr) return;
    RowList list{"Different", {""}, {}, static_cast<std::int64_t>(rows->RecordCount()), total};
    for (const auto& column : *result.Columns())
        list.columns.push_back(ToUtf8(column->Name()));
    for (; !rows->EndOfSet(); rows->MoveNext()) {
        RowCells cells[2] = {{{"1"}}, {{"2"}}};
        for (std::size_t i = 0; i + 1 < rows->FieldCount(); i += 2) {
            const Value values[2] = {rows->Fields(i).Value(), rows->Fields(i + 1).Value()};
            const bool changed = !(values[0] == values[1]);
            for (int side = 0; side < 2; ++side)
                cells[side].push_back(ShownCell(values[side], changed));
        }
        list.lines.push_back(std::move(cells[0]));
        list.lines.push_back(std::move(cells[1]));
    }
    PrintRowList(console, list, limit);
}

}  // namespace

int ShowRowsByServer(const RowsOptions& options, Console& console) {
    ComparisonRequest request = options.comparison.Request(console);
    const std::u16string entry = ToTableEntry(options.table);
    request.tables = {TablePattern::Exactly(entry)};
    if (!options.index.empty()) request.indexes = {{entry, FromUtf8(options.index)}};
    const auto comparison = Prepare(request, console);
    if (comparison->tables.empty()) return ExitCode::Different;  // only one database has it
    const LinkedServerCleanup cleanup(*comparison, console);
    const auto result = Run(*comparison, console)->Item(1);
    if (!result->Error().empty()) throw std::runtime_error(ErrorText(*result));
    if (!result->HasPrimaryKey()) {
        throw std::runtime_error(
            options.table + " has no key that both databases share: its rows cannot be matched");
    }
    const Verdict verdict = Judge(*comparison, *result);
    const RowCounts counts = CountsOf(verdict, *result);

    const bool all = options.NoKind();
    int flags = options.limit > 0 ? cpoLimitRecordsReturned : 0;
    if (options.identical) flags |= cpoShowIdentical;
    if (options.different || all) flags |= cpoShowDifferent;
    if (options.here || all) flags |= cpoShowMissing;
    if (options.there || all) flags |= cpoShowAdditional;
    Utils utils;
    std::shared_ptr<Recordset> equal, different, right, left;
    std::u16string toTwo, toOne;
    const auto& [obDB1, obDB2, obDB3] = comparison->databases;
    {
        const AbandonOnInterrupt silent;
        utils.GetRecordsets(obDB1, obDB2, obDB3, result, equal, different, right, left, toTwo,
                            toOne, static_cast<enShowOptions>(flags), options.limit);
    }
    const int limit = options.limit;
    PrintRows(console, "Identical", equal.get(), counts.identical, limit);
    PrintDifferent(console, *result, different.get(), counts.different, limit);
    PrintRows(console, "Only in " + ToUtf8(obDB1->Description()), right.get(), counts.onlyIn1,
              limit);
    PrintRows(console, "Only in " + ToUtf8(obDB2->Description()), left.get(), counts.onlyIn2,
              limit);
    NoteVerdict(console, verdict);
    return options.comparison.Accepted(ExitCodeOf(verdict));
}

}  // namespace quillon
