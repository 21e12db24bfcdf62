#include <CLI/CLI.hpp>
#include <memory>
#include <stdexcept>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"
#include "cli/Printable.h"
#include "cli/ResultTable.h"
#include "cli/ShownValue.h"

namespace quillon {

namespace {

using namespace QuillonLib;

struct RowsOptions {
    ComparisonOptions comparison;
    std::string table;
    std::string index;
    bool identical = false;
    bool different = false;
    bool here = false;
    bool there = false;
    int limit = 0;
};

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

// "Different: 2 of 250"; "Different: 2 or more" where a limit was reached and nobody counted.
void PrintTitle(Console& console, const std::string& title, const Recordset& rows,
                std::int64_t total, int limit) {
    const auto shown = static_cast<std::int64_t>(rows.RecordCount());
    std::string line = Printable(title) + ": " + std::to_string(shown);
    if (limit > 0 && shown == limit) {
        if (total < 0) {
            line += " or more";
        } else if (total > shown) {
            line += " of " + std::to_string(total);
        }
    }
    console.Print(console.Coloured(Colour::Bold, line));
}

void PrintRows(Console& console, const std::string& title, Recordset* rows, std::int64_t total,
               int limit) {
    if (rows == nullptr) return;
    PrintTitle(console, title, *rows, total, limit);
    if (rows->RecordCount() == 0) return;
    std::vector<TextTable::Cell> heading;
    for (std::size_t i = 0; i < rows->FieldCount(); ++i)
        heading.push_back({ToUtf8(rows->Info(i).name)});
    TextTable table(std::vector<TextTable::Align>(heading.size(), TextTable::Align::Left));
    table.AddRow(heading);
    for (; !rows->EndOfSet(); rows->MoveNext()) {
        std::vector<TextTable::Cell> cells;
        for (std::size_t i = 0; i < rows->FieldCount(); ++i) {
            const Value value = rows->Fields(i).Value();
            cells.push_back({Shown(value), value.IsNull() ? Colour::Dim : Colour::None});
        }
        table.AddRow(std::move(cells));
    }
    table.PrintTo(console);
    console.Print();
}

// Two lines for each row, one for each database; a cell that differs is marked with "*" and colour.
void PrintDifferent(Console& console, const TableDifference& result, Recordset* rows,
                    std::int64_t total, int limit) {
    if (rows == nullptr) return;
    PrintTitle(console, "Different", *rows, total, limit);
    if (rows->RecordCount() == 0) return;
    std::vector<TextTable::Cell> heading{{""}};
    for (const auto& column : *result.Columns())
        heading.push_back({ToUtf8(column->Name())});
    TextTable table(std::vector<TextTable::Align>(heading.size(), TextTable::Align::Left));
    table.AddRow(heading);
    for (; !rows->EndOfSet(); rows->MoveNext()) {
        std::vector<TextTable::Cell> cells[2] = {{{"1"}}, {{"2"}}};
        for (std::size_t i = 0; i + 1 < rows->FieldCount(); i += 2) {
            const Value values[2] = {rows->Fields(i).Value(), rows->Fields(i + 1).Value()};
            const bool changed = !(values[0] == values[1]);
            for (int side = 0; side < 2; ++side) {
                cells[side].push_back({(changed ? "*" : "") + Shown(values[side]),
                                       changed ? Colour::Yellow : Colour::None});
            }
        }
        table.AddRow(std::move(cells[0]));
        table.AddRow(std::move(cells[1]));
    }
    table.PrintTo(console);
    console.Print();
}

// What the rows that are shown do not tell.
void NoteVerdict(Console& console, const Verdict& verdict) {
    for (const std::string& line : verdict.drift)
        console.Note("quillon: " + Printable(line));
    for (const std::string& line : verdict.notCompared)
        console.Note("quillon: not compared: " + Printable(line));
}

int ShowRows(const RowsOptions& options, Console& console) {
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

    const bool all = !options.identical && !options.different && !options.here && !options.there;
    int flags = options.limit > 0 ? cpoLimitRecordsReturned : 0;
    if (options.identical) flags |= cpoShowIdentical;
    if (options.different || all) flags |= cpoShowDifferent;
    if (options.here || all) flags |= cpoShowMissing;
    if (options.there || all) flags |= cpoShowAdditional;
    Utils utils;
    std::shared_ptr<Recordset> equal, different, right, left;
    std::u16string toTwo, toOne;
    const auto& [obDB1, obDB2, obDB3] = comparison->databases;
    utils.GetRecordsets(obDB1, obDB2, obDB3, result, equal, different, right, left, toTwo, toOne,
                        static_cast<enShowOptions>(flags), options.limit);
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

}  // namespace

void AddRowsCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("rows", "Show the rows behind one table's result");
    command->footer(
        std::string(
            "A differing row is shown as two lines, one for each database; * in front of a value "
            "marks\n"
            "a cell that differs. NULL is the database's NULL, 0x... is binary, and text stands as "
            "it\n"
            "is. Text that could be taken for one of these or for something else ('NULL', '*x', "
            "'0x00',\n"
            "'', blanks at its ends or several in a row) stands in quotes, and so does text with\n"
            "characters that a terminal does not show. In quotes, and only there, \\n \\r \\t "
            "\\xNN\n"
            "\\uNNNN \\UNNNNNNNN are such characters, and a quote and a backslash are doubled.\n") +
        ExitCodesOfComparisons +
        "\nExample:\n  quillon rows dbo.customer db1/sales db2/sales --user reader --limit 20");
    auto options = std::make_shared<RowsOptions>();
    command->add_option("table", options->table, "Table, as name or owner.name")->required();
    options->comparison.AddDatabasesTo(*command);
    options->comparison.AddAcceptTo(*command);
    command->add_option("--index", options->index, "Unique index whose columns are the key");
    command->add_flag("--identical", options->identical, "Show identical rows");
    command->add_flag("--different", options->different, "Show differing rows");
    command->add_flag("--here", options->here, "Show rows only in the first database");
    command->add_flag("--there", options->there, "Show rows only in the second database");
    command->add_option("--limit", options->limit, "Show at most so many of each kind")
        ->check(CLI::PositiveNumber);
    command->callback(
        [options, &program] { program.exitCode = ShowRows(*options, program.console); });
}

}  // namespace quillon
