// The results of a comparison as CSV.
#include "cli/CompareResults.h"
#include "cli/CsvWriter.h"

namespace quillon {

namespace {

// Lines in one field; nothing where there is none.
void WriteLines(CsvWriter& csv, const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += (text.empty() ? "" : "\n") + line;
    if (text.empty()) {
        csv.Nothing();
    } else {
        csv.Text(text);
    }
}

void WriteNumber(CsvWriter& csv, std::int64_t number, bool known) {
    if (known) {
        csv.Number(number);
    } else {
        csv.Nothing();
    }
}

void WriteTable(CsvWriter& csv, const ResultLine& line) {
    const Verdict& verdict = line.verdict;
    const bool counted = verdict.kind != Verdict::Kind::Failed;
    csv.Text(line.entry).Text(line.view ? "1" : "0").Text(NameOf(verdict.kind));
    WriteNumber(csv, line.rows1, counted);
    WriteNumber(csv, line.rows2, counted);
    WriteNumber(csv, verdict.identical, verdict.rowsMatched);
    WriteNumber(csv, line.differing, verdict.hasKey);
    WriteNumber(csv, verdict.onlyIn1, verdict.rowsMatched);
    WriteNumber(csv, verdict.onlyIn2, verdict.rowsMatched);
    WriteLines(csv, verdict.drift);
    WriteLines(csv, verdict.notCompared);
    WriteLines(csv, line.error.empty() ? std::vector<std::string>() : std::vector{line.error});
    csv.EndLine();
}

void WriteOneSided(CsvWriter& csv, const std::vector<std::u16string>& tables, const char* verdict) {
    for (const std::u16string& table : tables) {
        csv.Text(table).Nothing().Text(verdict);
        for (int i = 0; i < 9; ++i)
            csv.Nothing();
        csv.EndLine();
    }
}

}  // namespace

std::string CsvOf(const CompareResults& results) {
    CsvWriter csv;
    for (const char* name :
         {"table", "view", "verdict", "rows_in_1", "rows_in_2", "identical", "differing",
          "only_in_1", "only_in_2", "notes", "not_compared", "error"}) {
        csv.Text(std::string_view(name));
    }
    csv.EndLine();
    for (const ResultLine* line : results.Shown())
        WriteTable(csv, *line);
    WriteOneSided(csv, results.tables.onlyIn1, "only-in-1");
    WriteOneSided(csv, results.tables.onlyIn2, "only-in-2");
    return csv.Take();
}

}  // namespace quillon
