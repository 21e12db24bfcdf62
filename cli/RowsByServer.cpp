#include <deque>
#include <memory>
#include <stdexcept>

#include "cli/AbandonOnInterrupt.h"
#include "cli/CommandOptions.h"
#include "cli/ResultTable.h"
#include "cli/Roads.h"
#include "cli/RowDisplay.h"
#include "cli/RowOutput.h"

namespace quillon {

namespace {

using namespace QuillonLib;

int FlagOf(RowKind kind) {
    switch (kind) {
        case RowKind::Identical:
            return cpoShowIdentical;
        case RowKind::Different:
            return cpoShowDifferent;
        case RowKind::OnlyIn1:
            return cpoShowMissing;
        case RowKind::OnlyIn2:
            break;
    }
    return cpoShowAdditional;
}

std::vector<RowColumn> ColumnsOfRows(const Recordset& rows) {
    std::vector<RowColumn> columns;
    for (std::size_t i = 0; i < rows.FieldCount(); ++i)
        columns.push_back({rows.Info(i).name, rows.Info(i).typeName});
    return columns;
}

// The columns of what has been handed to an output; they outlive it.
using KeptColumns = std::deque<std::vector<RowColumn>>;

void ShowRows(RowOutput& output, KeptColumns& kept, RowKind kind, Recordset* rows) {
    if (rows == nullptr) return;
    const std::vector<RowColumn>& columns = kept.emplace_back(ColumnsOfRows(*rows));
    for (; !rows->EndOfSet(); rows->MoveNext()) {
        SideRow side{&columns, {}};
        for (std::size_t i = 0; i < rows->FieldCount(); ++i)
            side.values.push_back(rows->Fields(i).Value());
        FoundRow row{kind, {}, {}, {}};
        (kind == RowKind::OnlyIn2 ? row.in2 : row.in1) = std::move(side);
        output.Row(row);
    }
}

// The fields are the columns that both have, each from database 1 and then from 2.
void ShowDifferent(RowOutput& output, KeptColumns& kept, const TableDifference& result,
                   Recordset* rows) {
    if (rows == nullptr) return;
    std::vector<RowColumn>& columns1 = kept.emplace_back();
    std::vector<RowColumn>& columns2 = kept.emplace_back();
    std::size_t field = 0;
    for (const auto& column : *result.Columns()) {
        columns1.push_back({column->Name(), rows->Info(field++).typeName});
        columns2.push_back({column->Name(), rows->Info(field++).typeName});
    }
    for (; !rows->EndOfSet(); rows->MoveNext()) {
        FoundRow row{RowKind::Different, SideRow{&columns1, {}}, SideRow{&columns2, {}}, {}};
        for (std::size_t i = 0; i + 1 < rows->FieldCount(); i += 2) {
            row.in1->values.push_back(rows->Fields(i).Value());
            row.in2->values.push_back(rows->Fields(i + 1).Value());
            row.changed.push_back(!(row.in1->values.back() == row.in2->values.back()));
        }
        output.Row(row);
    }
}

// The columns that both databases have, compared or not.
std::vector<ComparedColumn> CommonColumns(const Comparison& comparison,
                                          const TableDifference& result) {
    const auto facts = comparison.facts.find(result.Name());
    std::vector<ComparedColumn> columns;
    for (const auto& column : *result.Columns()) {
        ComparedColumn& common = columns.emplace_back();
        common.name = common.name2 = column->Name();
        common.key = column->PrimaryKey();
        if (facts == comparison.facts.end()) continue;
        const ColumnFacts* in1 = facts->second.in1.FindColumn(column->Name());
        const ColumnFacts* in2 = facts->second.in2.FindColumn(column->Name());
        if (in1 != nullptr) common.type1 = TypeText(*in1);
        if (in2 != nullptr) common.type2 = TypeText(*in2);
    }
    return columns;
}

}  // namespace

int ShowRowsByServer(const RowsOptions& options, Console& console) {
    RowsHead head;
    options.pager.Apply(console);
    ComparisonRequest request = options.comparison.Request(console);
    const std::u16string entry = ToTableEntry(options.table);
    request.tables = {TablePattern::Exactly(entry)};
    if (!options.index.empty())
        request.indexes = {ParseTableChoice(options.index, "--index", options.table)};
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

    int flags = options.limit > 0 ? cpoLimitRecordsReturned : 0;
    for (const RowKind kind : options.Kinds())
        flags |= FlagOf(kind);
    Utils utils;
    std::shared_ptr<Recordset> equal, different, right, left;
    std::u16string toTwo, toOne;
    const auto& [obDB1, obDB2, obDB3] = comparison->databases;
    {
        const AbandonOnInterrupt silent;
        utils.GetRecordsets(obDB1, obDB2, obDB3, result, equal, different, right, left, toTwo,
                            toOne, static_cast<enShowOptions>(flags), options.limit);
    }
    head.table = result->Name();
    head.byServer = true;
    head.databases = comparison->databases;
    head.limit = options.limit;
    head.columns = CommonColumns(*comparison, *result);
    RowsEnd end;
    const auto add = [&](RowKind kind, const Recordset* rows, std::int64_t counted) {
        if (rows == nullptr) return;
        head.kinds.push_back(kind);
        end.shown.at(static_cast<std::size_t>(kind)) =
            static_cast<std::int64_t>(rows->RecordCount());
        if (verdict.rowsMatched) end.counted.at(static_cast<std::size_t>(kind)) = counted;
    };
    add(RowKind::Identical, equal.get(), verdict.identical);
    add(RowKind::Different, different.get(), result->RecordsDiffering());
    add(RowKind::OnlyIn1, right.get(), verdict.onlyIn1);
    add(RowKind::OnlyIn2, left.get(), verdict.onlyIn2);
    end.verdict = verdict;
    end.exitCode = options.comparison.Accepted(ExitCodeOf(verdict));
    KeptColumns kept;
    const auto output = RowsAs(options.format.Format(), console, options.layout);
    output->Begin(head);
    ShowRows(*output, kept, RowKind::Identical, equal.get());
    ShowDifferent(*output, kept, *result, different.get());
    ShowRows(*output, kept, RowKind::OnlyIn1, right.get());
    ShowRows(*output, kept, RowKind::OnlyIn2, left.get());
    output->End(end);
    NoteVerdict(console, verdict);
    return end.exitCode;
}

}  // namespace quillon
