#include "cli/ResultTable.h"

#include <utility>
#include <vector>

#include "cli/Printable.h"

namespace quillon {

using QuillonLib::TableDifference;
using QuillonLib::TableDifferences;
using QuillonLib::ToUtf8;

namespace {

struct JudgedTable {
    const TableDifference* result;
    Verdict verdict;
};

struct Totals {
    std::size_t tables = 0;
    std::size_t ofKind[4] = {};
    std::size_t onlyCounted = 0;
    std::size_t columnsNotCompared = 0;
    std::size_t oneSided = 0;

    std::size_t Of(Verdict::Kind kind) const { return ofKind[static_cast<int>(kind)]; }
    void Add(const Verdict& verdict) {
        ++tables;
        ++ofKind[static_cast<int>(verdict.kind)];
        if (verdict.kind == Verdict::Kind::Failed) return;
        if (!verdict.hasKey) ++onlyCounted;
        columnsNotCompared += verdict.columnsNotCompared;
    }
};

Colour ColourOf(Verdict::Kind kind) {
    switch (kind) {
        case Verdict::Kind::Identical:
            return Colour::Green;
        case Verdict::Kind::Different:
            return Colour::Yellow;
        case Verdict::Kind::NotWhole:
            return Colour::Dim;
        case Verdict::Kind::Failed:
            break;
    }
    return Colour::Red;
}

TextTable::Cell Number(std::int64_t number, bool known) {
    return {known ? std::to_string(number) : "-"};
}

std::string Plural(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void PrintTable(Console& console, const std::vector<JudgedTable>& tables) {
    using Align = TextTable::Align;
    TextTable table({Align::Left, Align::Right, Align::Right, Align::Right, Align::Right,
                     Align::Right, Align::Right, Align::Left});
    table.AddRow({{"Table"},
                  {"Rows in 1"},
                  {"Rows in 2"},
                  {"Identical"},
                  {"Differing"},
                  {"Only in 1"},
                  {"Only in 2"},
                  {"Verdict"}});
    for (const auto& [result, verdict] : tables) {
        const bool counted = verdict.kind != Verdict::Kind::Failed;
        const bool matched = verdict.rowsMatched;
        table.AddRow({{ToUtf8(result->Name()) + (result->IsView() ? " (view)" : "")},
                      Number(result->RecordsIn1(), counted),
                      Number(result->RecordsIn2(), counted),
                      Number(verdict.identical, matched),
                      Number(result->RecordsDiffering(), verdict.hasKey),
                      Number(verdict.onlyIn1, matched),
                      Number(verdict.onlyIn2, matched),
                      {verdict.text, ColourOf(verdict.kind)}});
    }
    table.PrintTo(console);
    console.Print();
}

void PrintDetails(Console& console, const JudgedTable& table) {
    const Verdict& verdict = table.verdict;
    if (verdict.drift.empty() && verdict.notCompared.empty()) return;
    console.Print(ToUtf8(table.result->Name()));
    for (const std::string& line : verdict.drift)
        console.Print("  " + line);
    for (const std::string& line : verdict.notCompared)
        console.Print("  not compared: " + line);
    console.Print();
}

void PrintError(Console& console, const TableDifference& result) {
    if (result.Error().empty()) return;
    console.Print(console.Coloured(Colour::Red, ErrorText(result)));
    console.Print();
}

std::string LastLine(const Totals& totals) {
    std::string line = Plural(totals.tables, "table") + ": " +
                       std::to_string(totals.Of(Verdict::Kind::Identical)) + " identical, " +
                       std::to_string(totals.Of(Verdict::Kind::Different)) + " different";
    const auto add = [&](std::size_t count, const char* what) {
        if (count > 0) line += ", " + std::to_string(count) + what;
    };
    add(totals.Of(Verdict::Kind::NotWhole), " not compared whole");
    add(totals.Of(Verdict::Kind::Failed), " not compared");
    add(totals.oneSided, " in one database only");
    std::string left;
    if (totals.onlyCounted > 0) left += "the rows of " + Plural(totals.onlyCounted, "table");
    if (totals.columnsNotCompared > 0) {
        left += (left.empty() ? "" : ", ") + Plural(totals.columnsNotCompared, "column");
    }
    return left.empty() ? line : line + "; left out: " + left;
}

int ExitCodeOf(const Totals& totals) {
    if (totals.Of(Verdict::Kind::Failed) > 0) return ExitCode::Failed;
    if (totals.Of(Verdict::Kind::Different) + totals.oneSided > 0) return ExitCode::Different;
    return totals.Of(Verdict::Kind::NotWhole) > 0 ? ExitCode::NotWhole : ExitCode::Identical;
}

}  // namespace

std::string ErrorText(const TableDifference& result) {
    std::string text = ToUtf8(result.Error());
    const std::string name = ToUtf8(result.Name());
    const std::string shown = Printable(name);
    if (shown == name) return text;
    for (std::size_t at = text.find(name); at != std::string::npos;
         at = text.find(name, at + shown.size())) {
        text.replace(at, name.size(), shown);
    }
    return text;
}

int PrintResults(Console& console, const Comparison& comparison, const TableDifferences& results) {
    std::vector<JudgedTable> tables;
    Totals totals;
    totals.oneSided = comparison.onlyIn1.size() + comparison.onlyIn2.size();
    for (const std::u16string& entry : comparison.tables) {
        const auto result = results.Item(entry);
        tables.push_back({result.get(), Judge(comparison, *result)});
        totals.Add(tables.back().verdict);
    }
    PrintTable(console, tables);
    for (const JudgedTable& table : tables)
        PrintDetails(console, table);
    for (const JudgedTable& table : tables)
        PrintError(console, *table.result);
    console.Print(console.Coloured(Colour::Bold, LastLine(totals)));
    if (totals.Of(Verdict::Kind::Failed) > 0 && comparison.NeedsLinkedServers()) {
        console.Note(
            "quillon: these databases are on different servers, so the linked servers KARNOBE_1 "
            "and KARNOBE_2 are defined on " +
            ToUtf8(comparison.databases.obDB3->Server()) +
            " for the queries across both. That needs the rights ALTER ANY LINKED SERVER and ALTER "
            "ANY LOGIN there, and a server that reaches the other by its name.");
    }
    return ExitCodeOf(totals);
}

}  // namespace quillon
