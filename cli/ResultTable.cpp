#include "cli/ResultTable.h"

namespace quillon {

using QuillonLib::TableDifference;
using QuillonLib::ToUtf8;

namespace {

// Every row of the union is identical in both (once), differs (once for each side), or is on one
// side only.
std::int64_t IdenticalRows(const TableDifference& result) {
    return std::int64_t{result.RecordsIn1()} + result.RecordsIn2() - result.RecordsInUnion();
}

Colour ColourOf(Verdict::Kind kind) {
    switch (kind) {
        case Verdict::Kind::Identical:
            return Colour::Green;
        case Verdict::Kind::Different:
            return Colour::Yellow;
        case Verdict::Kind::OnlyCounted:
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

}  // namespace

Verdict Judge(const TableDifference& result) {
    if (!result.Error().empty()) return {Verdict::Kind::Failed, 0, 0, "not compared"};
    if (!result.HasPrimaryKey()) {
        return {Verdict::Kind::OnlyCounted, 0, 0, "no common key: rows only counted"};
    }
    const std::int64_t matched = IdenticalRows(result) + result.RecordsDiffering();
    Verdict verdict{Verdict::Kind::Identical, result.RecordsIn1() - matched,
                    result.RecordsIn2() - matched, "identical"};
    if (!result.Identical()) {
        verdict.kind = Verdict::Kind::Different;
        verdict.text = "different";
    }
    if (result.HasDodgyColumns()) verdict.text += " (some columns cannot be compared)";
    return verdict;
}

int PrintResults(Console& console, const QuillonLib::TableDifferences& results) {
    using Align = TextTable::Align;
    TextTable table({Align::Left, Align::Right, Align::Right, Align::Right, Align::Right,
                     Align::Right, Align::Right, Align::Left});
    table.AddRow({{"Table"},
                  {"Rows in 1"},
                  {"Rows in 2"},
                  {"Union"},
                  {"Differing"},
                  {"Only in 1"},
                  {"Only in 2"},
                  {"Verdict"}});
    std::size_t counts[4] = {};
    for (const auto& result : results) {
        const Verdict verdict = Judge(*result);
        ++counts[static_cast<int>(verdict.kind)];
        const bool counted = verdict.kind != Verdict::Kind::Failed;
        const bool compared = counted && verdict.kind != Verdict::Kind::OnlyCounted;
        const std::string name = ToUtf8(result->Name()) + (result->IsView() ? " (view)" : "");
        table.AddRow({{name},
                      Number(result->RecordsIn1(), counted),
                      Number(result->RecordsIn2(), counted),
                      Number(result->RecordsInUnion(), compared),
                      Number(result->RecordsDiffering(), compared),
                      Number(verdict.onlyIn1, compared),
                      Number(verdict.onlyIn2, compared),
                      {verdict.text, ColourOf(verdict.kind)}});
    }
    table.PrintTo(console);

    console.Print();
    for (const auto& result : results) {
        if (result->Error().empty()) continue;
        std::string error = ToUtf8(result->Error());
        std::erase(error, '\r');
        console.Print(console.Coloured(Colour::Red, error));
        console.Print();
    }
    const auto [identical, different, onlyCounted, failed] = counts;
    std::string last = Plural(identical + different + onlyCounted + failed, "table") + ": " +
                       std::to_string(identical) + " identical, " + std::to_string(different) +
                       " different";
    if (onlyCounted > 0) last += ", " + std::to_string(onlyCounted) + " only counted";
    if (failed > 0) last += ", " + std::to_string(failed) + " not compared";
    console.Print(console.Coloured(Colour::Bold, last));
    if (failed > 0) return 2;
    return different > 0 ? 1 : 0;
}

}  // namespace quillon
