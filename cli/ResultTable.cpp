#include "cli/ResultTable.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "cli/Printable.h"

namespace quillon {

using QuillonLib::TableDifference;
using QuillonLib::TableDifferences;
using QuillonLib::ToUtf8;

namespace {

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

void PrintTable(Console& console, const std::vector<const ResultLine*>& lines) {
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
    for (const ResultLine* each : lines) {
        const ResultLine& line = *each;
        const Verdict& verdict = line.verdict;
        const bool counted = verdict.kind != Verdict::Kind::Failed;
        const bool matched = verdict.rowsMatched;
        table.AddRow({{line.name},
                      Number(line.rows1, counted),
                      Number(line.rows2, counted),
                      Number(verdict.identical, matched),
                      Number(line.differing, verdict.hasKey),
                      Number(verdict.onlyIn1, matched),
                      Number(verdict.onlyIn2, matched),
                      {verdict.text, ColourOf(verdict.kind)}});
    }
    table.PrintTo(console);
    console.Print();
}

void PrintDetails(Console& console, const ResultLine& line) {
    const Verdict& verdict = line.verdict;
    if (verdict.drift.empty() && verdict.notCompared.empty()) return;
    console.Print(line.table);
    for (const std::string& drift : verdict.drift)
        console.Print("  " + drift);
    for (const std::string& what : verdict.notCompared)
        console.Print("  not compared: " + what);
    console.Print();
}

void PrintError(Console& console, const ResultLine& line) {
    if (line.error.empty()) return;
    console.Print(console.Coloured(Colour::Red, line.error));
    console.Print();
}

std::vector<const ResultLine*> Candidates(const std::vector<ResultLine>& lines,
                                          const TableListing& listing) {
    std::vector<const ResultLine*> listed;
    for (const ResultLine& line : lines) {
        const bool identical = line.verdict.kind == Verdict::Kind::Identical;
        if (!listing.onlyDifferent || !identical) listed.push_back(&line);
    }
    return listed;
}

// What nobody counted stands before all numbers.
std::int64_t DifferencesOf(const ResultLine& line) {
    const Verdict& verdict = line.verdict;
    if (verdict.kind == Verdict::Kind::Failed) return std::numeric_limits<std::int64_t>::max();
    if (!verdict.rowsMatched && !verdict.hasKey) return std::abs(line.rows1 - line.rows2);
    return line.differing + verdict.onlyIn1 + verdict.onlyIn2;
}

std::int64_t RowsOf(const ResultLine& line) {
    if (line.verdict.kind == Verdict::Kind::Failed) return std::numeric_limits<std::int64_t>::max();
    return std::max(line.rows1, line.rows2);
}

// Those that are equal keep their order.
void Sort(std::vector<const ResultLine*>& lines, TableOrder order) {
    const auto by = [&](auto less) { std::stable_sort(lines.begin(), lines.end(), less); };
    switch (order) {
        case TableOrder::AsCompared:
            return;
        case TableOrder::Name:
            return by([](const ResultLine* a, const ResultLine* b) {
                return QuillonLib::FoldCase(a->entry) < QuillonLib::FoldCase(b->entry);
            });
        case TableOrder::Differences:
            return by([](const ResultLine* a, const ResultLine* b) {
                return DifferencesOf(*a) > DifferencesOf(*b);
            });
        case TableOrder::Rows:
            return by(
                [](const ResultLine* a, const ResultLine* b) { return RowsOf(*a) > RowsOf(*b); });
    }
}

}  // namespace

Totals TotalsOf(const std::vector<ResultLine>& lines, std::size_t oneSided,
                const std::string& loosened) {
    Totals totals;
    totals.oneSided = oneSided;
    totals.loosened = loosened;
    for (const ResultLine& line : lines) {
        const Verdict& verdict = line.verdict;
        ++totals.tables;
        ++totals.ofKind[static_cast<int>(verdict.kind)];
        if (verdict.kind == Verdict::Kind::Failed) continue;
        if (!verdict.hasKey) ++totals.onlyCounted;
        totals.columnsNotCompared += verdict.leftOut.size();
    }
    return totals;
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
    if (!left.empty()) line += "; left out: " + left;
    return totals.loosened.empty() ? line : line + "; compared " + totals.loosened;
}

int ExitCodeOf(const Totals& totals) {
    if (totals.Of(Verdict::Kind::Failed) > 0) return ExitCode::Failed;
    if (totals.Of(Verdict::Kind::Different) + totals.oneSided > 0) return ExitCode::Different;
    return totals.Of(Verdict::Kind::NotWhole) > 0 ? ExitCode::NotWhole : ExitCode::Identical;
}

std::vector<const ResultLine*> Listed(const std::vector<ResultLine>& lines,
                                      const TableListing& listing) {
    std::vector<const ResultLine*> listed = Candidates(lines, listing);
    Sort(listed, listing.order);
    if (listing.limit > 0 && listed.size() > listing.limit) listed.resize(listing.limit);
    return listed;
}

std::string MoreText(const std::vector<ResultLine>& lines, const TableListing& listing) {
    const std::size_t all = Candidates(lines, listing).size();
    if (listing.limit == 0 || all <= listing.limit) return {};
    const std::size_t more = all - listing.limit;
    return std::to_string(more) + (more == 1 ? " more table is" : " more tables are") +
           " not listed (--limit)";
}

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

int PrintResults(Console& console, const std::vector<ResultLine>& lines, const Totals& totals,
                 const TableListing& listing) {
    const std::vector<const ResultLine*> shown = Listed(lines, listing);
    if (!listing.onlyDifferent || !shown.empty()) PrintTable(console, shown);
    for (const ResultLine* line : shown)
        PrintDetails(console, *line);
    for (const ResultLine* line : shown)
        PrintError(console, *line);
    const std::string more = MoreText(lines, listing);
    if (!more.empty()) console.Print(more);
    console.Print(console.Coloured(Colour::Bold, LastLine(totals)));
    return ExitCodeOf(totals);
}

std::vector<ResultLine> Judge(const Comparison& comparison, const TableDifferences& results) {
    std::vector<ResultLine> lines;
    for (const std::u16string& entry : comparison.tables) {
        const auto result = results.Item(entry);
        const std::string table = ToUtf8(result->Name());
        lines.push_back({table, table + (result->IsView() ? " (view)" : ""), result->RecordsIn1(),
                         result->RecordsIn2(), result->RecordsDiffering(),
                         Judge(comparison, *result),
                         result->Error().empty() ? "" : ErrorText(*result), result->Name(),
                         result->IsView(), "", std::nullopt});
    }
    return lines;
}

void NoteFailuresAcrossServers(Console& console, const Comparison& comparison,
                               const std::vector<ResultLine>& lines) {
    const bool anyFailed = std::any_of(lines.begin(), lines.end(), [](const ResultLine& line) {
        return line.verdict.kind == Verdict::Kind::Failed;
    });
    if (!anyFailed || !comparison.NeedsLinkedServers()) return;
    console.Hint(
        "quillon: these databases are on different servers, so the linked servers KARNOBE_1 "
        "and KARNOBE_2 are defined on " +
        ToUtf8(comparison.databases.obDB3->Server()) +
        " for the queries across both. That needs the rights ALTER ANY LINKED SERVER and ALTER "
        "ANY LOGIN there, and a server that reaches the other by its name.");
}

int PrintResults(Console& console, const Comparison& comparison, const TableDifferences& results) {
    const std::vector<ResultLine> lines = Judge(comparison, results);
    const int exitCode = PrintResults(
        console, lines, TotalsOf(lines, comparison.onlyIn1.size() + comparison.onlyIn2.size()),
        comparison.listing);
    NoteFailuresAcrossServers(console, comparison, lines);
    return exitCode;
}

}  // namespace quillon
