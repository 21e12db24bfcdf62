#include "cli/DirectResults.h"

#include <algorithm>

#include "cli/Printable.h"
#include "core/Text.h"

namespace quillon {

namespace {

using namespace QuillonLib;

std::string Bracketed(const std::u16string& name) {
    return "[" + ToUtf8(name) + "]";
}

ColumnLeftOut ColumnLeftOutOf(const DirectOmitted& column) {
    switch (column.why) {
        case DirectOmission::OnlyIn1:
            return {column.name, "only-in-1", ""};
        case DirectOmission::OnlyIn2:
            return {column.name, "only-in-2", ""};
        case DirectOmission::Computed:
            return {column.name, "computed", "it is computed"};
        case DirectOmission::Generated:
            return {column.name, "generated", "the server writes it itself"};
        case DirectOmission::ColumnSet:
            return {column.name, "column-set",
                    "it shows sparse columns, which are compared themselves"};
        case DirectOmission::RowVersion:
            return {column.name, "row-version", "a row version differs by nature"};
        case DirectOmission::NotChosen:
            return {column.name, "not-chosen", "it is not among the columns chosen"};
        case DirectOmission::Ignored:
            return {column.name, "ignored", "it is ignored, as asked for"};
        case DirectOmission::NotComparable:
            break;
    }
    return {column.name, "not-comparable", ToUtf8(column.reason)};
}

bool IsOneSided(const DirectOmitted& column) {
    return column.why == DirectOmission::OnlyIn1 || column.why == DirectOmission::OnlyIn2;
}

void TellOmitted(const DirectTableResult& result, Verdict& verdict) {
    for (const DirectOmitted& column : result.shape.omitted) {
        verdict.leftOut.push_back(ColumnLeftOutOf(column));
        if (IsOneSided(column)) continue;
        verdict.notCompared.push_back("column " + Bracketed(column.name) + ": " +
                                      verdict.leftOut.back().reason);
    }
    verdict.drift = OneSidedColumns(result);
    if (verdict.drift.empty() || verdict.kind != Verdict::Kind::Identical) return;
    verdict.kind = Verdict::Kind::Different;
    verdict.text = "columns differ";
}

// Whoever ignores a column should know where that cannot be.
void TellIgnoredKeys(const DirectTableResult& result, const DirectOptions& options,
                     Verdict& verdict) {
    for (const std::size_t column : result.shape.key) {
        const std::u16string& name = result.shape.columns[column].side1.Name;
        const bool ignored =
            std::any_of(options.ignoredColumns.begin(), options.ignoredColumns.end(),
                        [&](const auto& each) { return EqualIgnoringCase(each, name); });
        if (!ignored) continue;
        verdict.drift.push_back("column " + Bracketed(name) +
                                ": not ignored, for rows are matched by it");
    }
}

// What a side declares; it may declare nothing: no identity, no primary key.
std::string Declared(const std::u16string& side) {
    return side.empty() ? "none" : ToUtf8(side);
}

const char* NameOf(DirectDriftKind kind) {
    switch (kind) {
        case DirectDriftKind::Type:
            return "type";
        case DirectDriftKind::Nullability:
            return "nullability";
        case DirectDriftKind::Collation:
            return "collation";
        case DirectDriftKind::Identity:
            return "identity";
        case DirectDriftKind::PrimaryKey:
            break;
    }
    return "primary key";
}

void TellDrift(const DirectTableResult& result, Verdict& verdict) {
    for (const DirectDrift& drift : result.shape.drift) {
        verdict.differences.push_back(
            {NameOf(drift.kind), drift.column, ToUtf8(drift.side1), ToUtf8(drift.side2)});
        verdict.drift.push_back((drift.kind == DirectDriftKind::PrimaryKey
                                     ? std::string("primary key: ")
                                     : "column " + Bracketed(drift.column) + ": ") +
                                Declared(drift.side1) + " in 1, " + Declared(drift.side2) +
                                " in 2");
    }
    if (result.shape.key.empty() && !result.shape.columns.empty())
        verdict.drift.emplace_back("no key: whole rows are compared, in any order");
}

void TellChangedCells(const DirectTableResult& result, Verdict& verdict) {
    std::string line;
    for (std::size_t i = 0; i < result.changedCells.size(); ++i) {
        if (result.changedCells[i] == 0) continue;
        line += (line.empty() ? "changed cells: " : ", ") +
                Bracketed(result.shape.columns[i].side1.Name) + " " +
                std::to_string(result.changedCells[i]);
    }
    if (!line.empty()) verdict.drift.push_back(line);
}

// Which columns were compared, by what key, and how often they differ. Rows that no key matches
// are of one side or the other, so that no cell counts as changed.
void TellColumns(const DirectTableResult& result, Verdict& verdict) {
    const DirectShape& shape = result.shape;
    const bool counted = result.complete && !shape.key.empty();
    verdict.columns = ColumnsOf(shape);
    for (std::size_t i = 0; counted && i < result.changedCells.size(); ++i)
        (*verdict.columns)[i].changedCells = static_cast<std::int64_t>(result.changedCells[i]);
    verdict.key.emplace();
    for (const std::size_t column : shape.key)
        verdict.key->push_back(shape.columns[column].side1.Name);
}

bool IsRefusedSnapshot(DirectReading reading, bool asked) {
    return asked && reading == DirectReading::Committed;
}

std::string FailureOf(const DirectTableResult& result, const std::string& table,
                      const DirectRun& run) {
    std::string text = "Error comparing " + Printable(table) + "\n";
    if (!result.error) return text + "It was not read to its end.";
    if (result.failedSide != 0) {
        text += "In database " + std::to_string(result.failedSide) + " (" +
                Printable(ToUtf8(run.Target(result.failedSide).Description())) + "): ";
    }
    return text + ToUtf8(result.error->Description());
}

// All but the numbers of rows.
void TellTable(const DirectRun& run, std::size_t table, const DirectTableResult& result,
               Verdict& verdict) {
    TellOmitted(result, verdict);
    TellDrift(result, verdict);
    TellIgnoredKeys(result, run.options, verdict);
    if (result.complete) TellChangedCells(result, verdict);
    const std::string condition = ToUtf8(run.choices[table].where);
    if (!condition.empty()) verdict.notCompared.push_back("rows that do not meet " + condition);
    if (IsRefusedSnapshot(result.reading1, run.options.snapshot))
        verdict.drift.emplace_back("1 allows no snapshot: read under READ COMMITTED");
    if (IsRefusedSnapshot(result.reading2, run.options.snapshot))
        verdict.drift.emplace_back("2 allows no snapshot: read under READ COMMITTED");
}

void CallNotWhole(Verdict& verdict) {
    verdict.kind = Verdict::Kind::NotWhole;
    verdict.text = "no difference found";
}

}  // namespace

std::vector<ComparedColumn> ColumnsOf(const DirectShape& shape) {
    std::vector<ComparedColumn> columns;
    for (const DirectColumn& column : shape.columns) {
        columns.push_back({column.side1.Name, column.side2.Name, TypeText(column.side1),
                           TypeText(column.side2), column.key, std::nullopt});
    }
    return columns;
}

std::vector<std::string> OneSidedColumns(const DirectTableResult& result) {
    std::vector<std::string> lines;
    for (const DirectOmitted& column : result.shape.omitted) {
        if (!IsOneSided(column)) continue;
        lines.push_back("column " + Bracketed(column.name) +
                        (column.why == DirectOmission::OnlyIn1 ? " only in 1" : " only in 2"));
    }
    return lines;
}

ResultLine LineOf(const DirectRun& run, std::size_t table, const DirectTableResult& result) {
    ResultLine line;
    line.entry = run.tables[table];
    line.table = ToUtf8(line.entry);
    line.view = result.shape.view;
    line.condition = ToUtf8(run.choices[table].where);
    line.name = line.table + (line.view ? " (view)" : "");
    Verdict& verdict = line.verdict;
    // A table whose plan could not be made has no shape.
    if (!result.shape.columns.empty()) TellColumns(result, verdict);
    if (!result.complete) {
        verdict.text = "not compared";
        line.error = FailureOf(result, line.table, run);
        line.errorSide = result.failedSide;
        if (result.error) line.errorNumber = result.error->Number();
        TellDrift(result, verdict);
        return line;
    }
    line.rows1 = static_cast<std::int64_t>(result.rows1);
    line.rows2 = static_cast<std::int64_t>(result.rows2);
    line.differing = static_cast<std::int64_t>(result.differing);
    verdict.hasKey = verdict.rowsMatched = true;
    verdict.identical = static_cast<std::int64_t>(result.identical);
    verdict.onlyIn1 = static_cast<std::int64_t>(result.onlyIn1);
    verdict.onlyIn2 = static_cast<std::int64_t>(result.onlyIn2);
    verdict.kind = result.Same() ? Verdict::Kind::Identical : Verdict::Kind::Different;
    verdict.text = result.Same() ? "identical" : "different";
    TellTable(run, table, result, verdict);
    if (verdict.kind == Verdict::Kind::Identical && !verdict.notCompared.empty())
        CallNotWhole(verdict);
    return line;
}

Verdict VerdictOfPart(const DirectRun& run, std::size_t table, const DirectTableResult& result,
                      bool differs) {
    Verdict verdict;
    verdict.kind = differs ? Verdict::Kind::Different : Verdict::Kind::Identical;
    verdict.text = "different";
    TellTable(run, table, result, verdict);
    // Nobody has seen the rest.
    if (verdict.kind == Verdict::Kind::Identical) CallNotWhole(verdict);
    return verdict;
}

}  // namespace quillon
