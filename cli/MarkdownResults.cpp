// The results of a comparison as Markdown.
#include "cli/CompareResults.h"
#include "cli/MarkdownText.h"

namespace quillon {

namespace {

using QuillonLib::ToUtf8;

std::string Number(std::int64_t number, bool known) {
    return known ? std::to_string(number) : "-";
}

std::string DetailsOf(const ResultLine& line) {
    const Verdict& verdict = line.verdict;
    std::string text;
    for (const std::string& drift : verdict.drift)
        text += "- " + MarkdownText(drift) + "\n";
    for (const std::string& what : verdict.notCompared)
        text += "- not compared: " + MarkdownText(what) + "\n";
    if (!line.error.empty()) text += "- " + MarkdownText(line.error) + "\n";
    return text.empty() ? text : "\n" + MarkdownText(line.table) + "\n\n" + text;
}

std::string OneSided(const std::vector<std::u16string>& tables,
                     const QuillonLib::Database& database) {
    if (tables.empty()) return {};
    std::string text = "\nOnly in " + MarkdownText(ToUtf8(database.Description())) + "\n\n";
    for (const std::u16string& table : tables)
        text += "- " + MarkdownText(ToUtf8(table)) + "\n";
    return text;
}

}  // namespace

std::string MarkdownOf(const CompareResults& results) {
    std::vector<std::vector<std::string>> rows{{"Table", "Rows in 1", "Rows in 2", "Identical",
                                                "Differing", "Only in 1", "Only in 2", "Verdict"}};
    std::string details;
    for (const ResultLine* line : results.Shown()) {
        const Verdict& verdict = line->verdict;
        const bool counted = verdict.kind != Verdict::Kind::Failed;
        const bool matched = verdict.rowsMatched;
        rows.push_back({line->name, Number(line->rows1, counted), Number(line->rows2, counted),
                        Number(verdict.identical, matched), Number(line->differing, verdict.hasKey),
                        Number(verdict.onlyIn1, matched), Number(verdict.onlyIn2, matched),
                        verdict.text});
        details += DetailsOf(*line);
    }
    const std::string more = MoreText(results.lines, results.listing);
    if (!more.empty()) details += "\n" + MarkdownText(more) + "\n";
    return "1: " + MarkdownText(ToUtf8(results.databases.obDB1->Description())) +
           "  \n2: " + MarkdownText(ToUtf8(results.databases.obDB2->Description())) + "\n\n" +
           MarkdownTable(rows, {false, true, true, true, true, true, true, false}) + details +
           OneSided(results.tables.onlyIn1, *results.databases.obDB1) +
           OneSided(results.tables.onlyIn2, *results.databases.obDB2) + "\n**" +
           MarkdownText(LastLine(results.All())) + "**\n";
}

}  // namespace quillon
