#include "cli/TableChoices.h"

#include <CLI/Error.hpp>
#include <algorithm>

#include "cli/Names.h"

namespace quillon {

namespace {

using namespace QuillonLib;

std::vector<std::u16string> UniqueIndexNames(const ObjectFacts& table) {
    std::vector<std::u16string> names;
    for (const IndexFacts& index : table.Indexes) {
        if (index.Type != 0) names.push_back(index.Name);
    }
    return names;
}

bool HasColumn(const ObjectFacts& table, const std::u16string& name, Letters letters) {
    return std::any_of(table.Columns.begin(), table.Columns.end(), [&](const auto& column) {
        return letters == Letters::Exactly ? column.Name == name
                                           : EqualIgnoringCase(column.Name, name);
    });
}

std::vector<std::u16string> CommonColumns(const TableFacts& facts, Letters letters) {
    std::vector<std::u16string> names;
    for (const ColumnFacts& column : facts.in1.Columns) {
        if (HasColumn(facts.in2, column.Name, letters)) names.push_back(column.Name);
    }
    return names;
}

template <typename Choice>
bool IsNamed(const std::vector<Choice>& choices, const std::u16string& table) {
    return std::any_of(choices.begin(), choices.end(), [&](const Choice& choice) {
        return EqualIgnoringCase(choice.table, table);
    });
}

}  // namespace

void TakePicks(const std::vector<std::u16string>& tables, ComparisonRequest& request,
               const std::function<bool(const std::u16string& table)>& hasKey) {
    if (!request.picks) return;
    const TemplateContents& picks = *request.picks;
    for (const std::u16string& table : tables) {
        const bool keyed = IsNamed(request.indexes, table) || (hasKey && hasKey(table));
        if (!keyed && picks.indexes->ItemExists(table)) {
            request.indexes.push_back({table, picks.indexes->Item(table)});
        }
        if (!IsNamed(request.columns, table) && picks.columns->ItemExists(table)) {
            const auto list = picks.columns->Item(table);
            request.columns.push_back({table, {list->begin(), list->end()}});
        }
    }
}

void ThrowNotCompared(const std::vector<std::u16string>& tables, const std::u16string& table,
                      const char* option) {
    std::string text =
        std::string(option) + ": " + ToUtf8(table) + " is not among the tables that are compared:";
    for (const std::u16string& entry : tables)
        text += " " + ToUtf8(entry);
    throw CLI::ValidationError(text);
}

void ThrowTwoChoices(const char* option, const std::u16string& table) {
    throw CLI::ValidationError(std::string(option) + ": " + ToUtf8(table) + " has two choices");
}

const TableFacts& FactsFor(const FactsByTable& facts, const std::vector<std::u16string>& tables,
                           const std::u16string& table, const char* option) {
    const auto found = facts.find(table);
    if (found == facts.end()) ThrowNotCompared(tables, table, option);
    return found->second;
}

const IndexFacts& RequireUniqueIndex(const ObjectFacts& facts, const std::u16string& table,
                                     const std::u16string& name, const Database& database) {
    const IndexFacts* index = facts.FindIndex(name);
    if (index != nullptr && index->Type != 0) return *index;
    const std::vector<std::u16string> names = UniqueIndexNames(facts);
    throw CLI::ValidationError(
        "--index: " + ToUtf8(table) + " in " + ToUtf8(database.Description()) +
        (index == nullptr
             ? " has no index [" + ToUtf8(name) + "] (disabled and filtered ones not counted)"
             : " has no unique index [" + ToUtf8(name) + "]") +
        (names.empty() ? "; it has no unique index" : "; its unique indexes: " + ListOf(names)));
}

std::vector<std::u16string> RequireColumns(const TableFacts& facts, const std::u16string& table,
                                           const std::vector<std::u16string>& names,
                                           Letters letters) {
    const std::vector<std::u16string> common = CommonColumns(facts, letters);
    std::vector<std::u16string> columns;
    for (const std::u16string& name : names) {
        const auto found = std::find_if(
            common.begin(), common.end(),
            [&](const std::u16string& column) { return EqualIgnoringCase(column, name); });
        if (found == common.end()) {
            throw CLI::ValidationError("--columns: " + ToUtf8(table) + " has no column [" +
                                       ToUtf8(name) +
                                       "] in both databases; it has: " + ListOf(common));
        }
        if (std::find(columns.begin(), columns.end(), *found) == columns.end())
            columns.push_back(*found);
    }
    return columns;
}

}  // namespace quillon
