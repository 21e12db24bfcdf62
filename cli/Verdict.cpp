#include "cli/Verdict.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// Why the values of a common column were not compared.
ColumnLeftOut ColumnLeftOutOf(const ColumnObject& column, const ColumnFacts* in2) {
    const auto because = [&](const char* why, std::string reason) {
        return ColumnLeftOut{column.Name(), why, std::move(reason)};
    };
    if (column.Computed()) return because("computed", "it is computed");
    if (column.DataType() == u"timestamp")
        return because("row-version", "a row version differs by nature");
    for (const char16_t* type : {u"text", u"ntext", u"image", u"xml", u"geography", u"geometry"}) {
        if (column.DataType() == type || (in2 != nullptr && in2->DataType == type)) {
            return because("not-comparable",
                           "the server does not compare values of type " + ToUtf8(type));
        }
    }
    return because("not-chosen", "it is not among the columns chosen");
}

// What the catalogs say of how the columns differ.
void TellDrift(const ColumnDrift& drift, Verdict& verdict) {
    verdict.drift = drift.lines;
    verdict.differences = drift.differences;
    for (const std::u16string& name : drift.onlyIn1)
        verdict.leftOut.push_back({name, "only-in-1", ""});
    for (const std::u16string& name : drift.onlyIn2)
        verdict.leftOut.push_back({name, "only-in-2", ""});
}

void JudgeColumns(const Comparison& comparison, const TableDifference& result, Verdict& verdict) {
    const auto facts = comparison.facts.find(result.Name());
    for (const auto& column : *result.Columns()) {
        const TableFacts* table = facts == comparison.facts.end() ? nullptr : &facts->second;
        const ColumnFacts* in1 = table == nullptr ? nullptr : table->in1.FindColumn(column->Name());
        const ColumnFacts* in2 = table == nullptr ? nullptr : table->in2.FindColumn(column->Name());
        const bool left = column->CannotCompare() && !column->PrimaryKey();
        if (!left) {
            verdict.columns->push_back(
                {column->Name(), column->Name(), in1 == nullptr ? "" : TypeText(*in1),
                 in2 == nullptr ? "" : TypeText(*in2), column->PrimaryKey(), std::nullopt});
        }
        if (left) {
            verdict.leftOut.push_back(ColumnLeftOutOf(*column, in2));
        } else if (in1 != nullptr && in2 != nullptr && !ComparedWithoutLoss(*in1, *in2)) {
            verdict.leftOut.push_back(
                {column->Name(), "converted",
                 "the server converts one of its types to the other first, which can make values "
                 "equal that are not"});
        } else {
            continue;
        }
        verdict.notCompared.push_back("column [" + ToUtf8(column->Name()) +
                                      "]: " + verdict.leftOut.back().reason);
    }
    if (facts == comparison.facts.end()) return;
    const ColumnDrift drift = CompareColumns(facts->second);
    TellDrift(drift, verdict);
    if (drift.onlyIn1.empty() && drift.onlyIn2.empty()) return;
    verdict.kind = Verdict::Kind::Different;
    verdict.text = "columns differ";
}

// The rows of the union are those that are identical (once), those that differ (once for each
// side), and those of one side.
void JudgeRows(const Comparison& comparison, const TableDifference& result, Verdict& verdict) {
    verdict.hasKey = true;
    const auto facts = comparison.facts.find(result.Name());
    const std::vector<std::u16string> key = comparison.KeyColumns(result);
    verdict.rowsMatched = facts != comparison.facts.end() &&
                          HasUniqueIndexWithin(facts->second.in1, key) &&
                          HasUniqueIndexWithin(facts->second.in2, key);
    verdict.identical =
        std::int64_t{result.RecordsIn1()} + result.RecordsIn2() - result.RecordsInUnion();
    const std::int64_t matched = verdict.identical + result.RecordsDiffering();
    verdict.onlyIn1 = result.RecordsIn1() - matched;
    verdict.onlyIn2 = result.RecordsIn2() - matched;
    if (!result.Identical()) {
        verdict.kind = Verdict::Kind::Different;
        verdict.text = "different";
    } else if (!verdict.rowsMatched) {
        // The counts agree, but a row may stand twice in one table and another once in the other.
        verdict.notCompared.emplace_back(
            "how often its rows occur: no index promises both databases that its key is unique");
    }
}

void JudgeCounts(const TableDifference& result, Verdict& verdict) {
    verdict.notCompared.emplace_back(
        "its rows, which were only counted: the databases share no key");
    if (result.RecordsIn1() == result.RecordsIn2()) return;
    verdict.kind = Verdict::Kind::Different;
    verdict.text = "row counts differ";
}

}  // namespace

Verdict Judge(const Comparison& comparison, const TableDifference& result) {
    Verdict verdict;
    if (!result.Error().empty()) {
        verdict.text = "not compared";
        const auto facts = comparison.facts.find(result.Name());
        if (facts != comparison.facts.end()) TellDrift(CompareColumns(facts->second), verdict);
        return verdict;
    }
    verdict.kind = Verdict::Kind::Identical;
    verdict.text = "identical";
    verdict.columns.emplace();
    verdict.key.emplace();
    if (result.HasPrimaryKey()) verdict.key = comparison.KeyColumns(result);
    JudgeColumns(comparison, result, verdict);
    if (result.HasPrimaryKey()) {
        JudgeRows(comparison, result, verdict);
    } else {
        JudgeCounts(result, verdict);
    }
    if (verdict.kind == Verdict::Kind::Identical && !verdict.notCompared.empty()) {
        verdict.kind = Verdict::Kind::NotWhole;
        verdict.text = "no difference found";
    }
    return verdict;
}

const char* NameOf(Verdict::Kind kind) {
    switch (kind) {
        case Verdict::Kind::Identical:
            return "identical";
        case Verdict::Kind::NotWhole:
            return "not-whole";
        case Verdict::Kind::Different:
            return "different";
        case Verdict::Kind::Failed:
            break;
    }
    return "failed";
}

int ExitCodeOf(const Verdict& verdict) {
    switch (verdict.kind) {
        case Verdict::Kind::Identical:
            return ExitCode::Identical;
        case Verdict::Kind::NotWhole:
            return ExitCode::NotWhole;
        case Verdict::Kind::Different:
            return ExitCode::Different;
        case Verdict::Kind::Failed:
            break;
    }
    return ExitCode::Failed;
}

}  // namespace quillon
