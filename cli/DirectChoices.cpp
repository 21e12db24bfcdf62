#include "cli/DirectChoices.h"

#include <CLI/App.hpp>
#include <algorithm>

#include "cli/CatalogSurvey.h"
#include "cli/Names.h"
#include "cli/ParsedOption.h"
#include "cli/Roads.h"
#include "cli/TableChoices.h"

namespace quillon {

namespace {

using namespace QuillonLib;

constexpr const char* ConditionForm = "TABLE=CONDITION";

// The table that a choice names.
DirectTable& Chosen(const std::vector<std::u16string>& entries, std::vector<DirectTable>& tables,
                    const std::u16string& table, const char* option) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (EqualIgnoringCase(entries[i], table)) return tables[i];
    }
    ThrowNotCompared(entries, table, option);
}

// The tables that choices name, each once, as those lists have them.
template <typename Choice>
void AddNamed(const std::vector<Choice>& choices, const TableLists& lists, TextArray& tables) {
    for (const Choice& choice : choices) {
        for (const std::u16string& entry : lists.tables) {
            const bool there =
                std::find(tables.Items.begin(), tables.Items.end(), entry) != tables.Items.end();
            if (!there && EqualIgnoringCase(entry, choice.table)) tables.Items.push_back(entry);
        }
    }
}

// Those of the request, held against both catalogs. An index of database 1 stands for its columns.
void TakeIndexesAndColumns(const TableLists& lists, const ComparisonRequest& request,
                           std::vector<DirectTable>& tables) {
    TextArray named;
    AddNamed(request.indexes, lists, named);
    AddNamed(request.columns, lists, named);
    FactsByTable facts;
    if (!named.Items.empty())
        facts = ReadFacts(*request.databases.obDB1, *request.databases.obDB2, named);
    for (const TableChoice& choice : request.indexes) {
        if (lists.IsOneSided(choice.table)) continue;
        const ObjectFacts& in1 = FactsFor(facts, lists.tables, choice.table, "--index").in1;
        DirectTable& table = Chosen(lists.tables, tables, choice.table, "--index");
        if (!table.keyColumns.empty()) ThrowTwoChoices("--index", choice.table);
        table.keyColumns =
            RequireUniqueIndex(in1, choice.table, choice.name, *request.databases.obDB1).Columns;
    }
    for (const ColumnsChoice& choice : request.columns) {
        if (lists.IsOneSided(choice.table)) continue;
        const TableFacts& both = FactsFor(facts, lists.tables, choice.table, "--columns");
        DirectTable& table = Chosen(lists.tables, tables, choice.table, "--columns");
        if (!table.comparedColumns.empty()) ThrowTwoChoices("--columns", choice.table);
        table.comparedColumns =
            RequireColumns(both, choice.table, choice.columns, Letters::AnyCase);
    }
}

}  // namespace

void DirectChoices::AddTo(CLI::App& command) {
    const auto mine = [](CLI::Option* option) { option->group(DirectGroup); };
    mine(command
             .add_option("--key", keys_,
                         "Columns by which the rows of a table are matched (default: the primary "
                         "key, else a unique index of both; without one whole rows are compared)")
             ->allow_extra_args(false)
             ->type_name("TABLE=A,B,..."));
    mine(command
             .add_option("--where", conditions_,
                         "Condition in SQL: only rows that meet it are compared")
             ->allow_extra_args(false)
             ->type_name(ConditionForm));
    mine(command.add_option("--ignore", ignored_, "Column that is not compared, in any table")
             ->allow_extra_args(false)
             ->type_name("COLUMN"));
    mine(command.add_flag("--ignore-case", ignoreCase_, "Upper and lower case count as the same"));
    mine(command.add_flag("--ignore-trailing-blanks", ignoreTrailingBlanks_,
                          "Blanks at the end of texts do not count"));
    mine(AddNumber(command, "--float-digits", floatDigits_,
                   "real and float are compared to so many digits, 1 to 17 (default: every bit)", 1,
                   17));
    mine(command.add_flag("--snapshot", snapshot_,
                          "Read each table as it was at one moment, where the database allows it"));
    mine(AddNumber(command, "--jobs", jobs_,
                   "Tables that are read side by side, with two connections each, 1 to 64 "
                   "(default: 2)",
                   1, 64));
}

std::vector<DirectTable> DirectChoices::Tables(const TableLists& lists,
                                               ComparisonRequest& request) const {
    const std::vector<std::u16string>& entries = lists.tables;
    std::vector<DirectTable> tables;
    tables.reserve(entries.size());
    for (const std::u16string& entry : entries)
        tables.push_back({NameOfEntry(entry), {}, {}, {}, {}});
    for (const std::string& text : keys_) {
        const ColumnsChoice choice = ParseColumnsChoice(text, "--key", table_);
        if (lists.IsOneSided(choice.table)) continue;
        DirectTable& table = Chosen(entries, tables, choice.table, "--key");
        if (!table.keyColumns.empty()) ThrowTwoChoices("--key", choice.table);
        table.keyColumns = choice.columns;
    }
    for (const std::string& text : conditions_) {
        const TableText condition = ParseTableText(text, "--where", ConditionForm);
        if (lists.IsOneSided(condition.table)) continue;
        DirectTable& table = Chosen(entries, tables, condition.table, "--where");
        if (!table.where.empty()) ThrowTwoChoices("--where", condition.table);
        table.where = FromUtf8(condition.text);
    }
    TakePicks(entries, request, [&](const std::u16string& table) {
        return !Chosen(entries, tables, table, "--key").keyColumns.empty();
    });
    TakeIndexesAndColumns(lists, request, tables);
    return tables;
}

DirectOptions DirectChoices::Options() const {
    DirectOptions options;
    options.equality = {ignoreCase_, ignoreTrailingBlanks_, floatDigits_};
    for (const std::string& column : ignored_)
        options.ignoredColumns.push_back(FromUtf8(column));
    options.snapshot = snapshot_;
    options.jobs = jobs_;
    return options;
}

std::string DirectChoices::Loosened() const {
    std::string text;
    const auto add = [&](const std::string& what) { text += (text.empty() ? "" : ", ") + what; };
    if (ignoreCase_) add("without regard to case");
    if (ignoreTrailingBlanks_) add("without blanks at the end");
    if (floatDigits_ > 0)
        add("with real and float rounded to " + std::to_string(floatDigits_) + " digits");
    return text;
}

// A mistyped name would leave a column in that somebody wants left out, or be believed to have
// left it out.
void DirectChoices::RequireIgnored(const DatabaseOptions::Databases& databases,
                                   const std::vector<std::u16string>& entries) const {
    if (ignored_.empty()) return;
    const FactsByTable facts = ReadFacts(*databases.obDB1, *databases.obDB2, TextArray(entries));
    for (const std::string& name : ignored_) {
        const auto isThere = [&](const ObjectFacts& table) {
            return std::any_of(table.Columns.begin(), table.Columns.end(), [&](const auto& column) {
                return EqualIgnoringCase(column.Name, FromUtf8(name));
            });
        };
        const bool any = std::any_of(facts.begin(), facts.end(), [&](const auto& table) {
            return isThere(table.second.in1) || isThere(table.second.in2);
        });
        if (any) continue;
        throw CLI::ValidationError("--ignore: no table that is compared has a column [" + name +
                                   "]");
    }
}

}  // namespace quillon
