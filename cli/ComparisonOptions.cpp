#include "cli/ComparisonOptions.h"

#include <stdexcept>
#include <utility>

namespace quillon {

using QuillonLib::FromUtf8;
using QuillonLib::MakeTableEntry;
using QuillonLib::ToUtf8;

namespace {

// "T=x": a choice for one table.
std::pair<std::string, std::string> SplitChoice(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
        throw CLI::ValidationError("'" + text + "' is not TABLE=NAME");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::shared_ptr<QuillonLib::ColumnChoice> ColumnsOf(const std::string& list) {
    auto choice = std::make_shared<QuillonLib::ColumnChoice>();
    for (const std::string& name : CLI::detail::split(list, ',')) {
        choice->Add(FromUtf8(name), FromUtf8(name));
    }
    return choice;
}

// What a template holds, beside the descriptions of its databases. A name that is stored as the
// last one would be current without being bound once the file is open, so it is loaded first of
// all.
void TakePicks(QuillonLib::ComparisonTemplates& store, Comparison& comparison) {
    using namespace QuillonLib;
    comparison.tables = std::get<TextArray>(store.Items(tmpTable));
    const auto indexes = std::get<std::shared_ptr<NameList>>(store.Items(tmpIndex));
    const auto columns = std::get<std::shared_ptr<ColumnLists>>(store.Items(tmpColumn));
    for (const std::u16string& table : comparison.tables.Items) {
        if (indexes->ItemExists(table)) comparison.indexes.Add(indexes->Item(table), table);
        if (columns->ItemExists(table)) comparison.columns.Add(columns->Item(table), table);
    }
}

// Says that tables are left out; true when there are any.
bool NoteLeftOut(const QuillonLib::TextArray& tables, const QuillonLib::Database& database,
                 Console& console) {
    if (tables.Items.empty()) return false;
    std::string line = "quillon: only in " + ToUtf8(database.Description()) + ", and left out:";
    for (const auto& table : tables.Items)
        line += " " + ToUtf8(table);
    console.Note(line);
    return true;
}

void TakeCommonTables(Comparison& comparison, Console& console) {
    const auto& databases = comparison.databases;
    TableLists lists = ListTables(databases);
    const bool in1 = NoteLeftOut(lists.onlyIn1, *databases.obDB1, console);
    const bool in2 = NoteLeftOut(lists.onlyIn2, *databases.obDB2, console);
    comparison.tablesLeftOut = in1 || in2;
    // Nothing compared must not pass for nothing different.
    if (lists.common.Items.empty()) {
        throw std::runtime_error(ToUtf8(databases.obDB1->Description()) + " and " +
                                 ToUtf8(databases.obDB2->Description()) +
                                 " have no table in common");
    }
    comparison.tables = std::move(lists.common);
}

}  // namespace

std::u16string ToTableEntry(const std::string& text) {
    if (text.starts_with('[')) return FromUtf8(text);
    const std::size_t point = text.find('.');
    if (point == std::string::npos) return MakeTableEntry(u"dbo", FromUtf8(text));
    return MakeTableEntry(FromUtf8(text.substr(0, point)), FromUtf8(text.substr(point + 1)));
}

void ComparisonOptions::AddTo(CLI::App& command) {
    databases_.AddTo(command);
    command
        .add_option("--table,-t", tables_,
                    "Table or indexed view to compare, as name or owner.name; may be given again "
                    "(default: all that both databases have)")
        ->allow_extra_args(false)
        ->type_name("TABLE");
    command.add_option("--index", indexes_, "Unique index whose columns are a table's key")
        ->allow_extra_args(false)
        ->type_name("TABLE=INDEX");
    command
        .add_option("--columns", columns_, "Columns of a table that are compared (default: all)")
        ->allow_extra_args(false)
        ->type_name("TABLE=A,B,...");
}

void ComparisonOptions::AddTemplateTo(CLI::App& command) {
    command.add_option("--template", template_,
                       "Template whose databases (as SERVER/DATABASE) and picks are compared");
    command.add_option("--templates", templates_,
                       "Template file (default: Templates.xml beside the program)");
}

std::unique_ptr<Comparison> ComparisonOptions::Make(Console& console) const {
    auto comparison = std::make_unique<Comparison>();
    DatabaseOptions databases = databases_;
    if (!template_.empty()) {
        QuillonLib::ComparisonTemplates store;
        store.Load(FromUtf8(templates_));
        store.LoadTemplate(FromUtf8(template_));
        if (!store.Templates()->ItemExists(FromUtf8(template_)) || store.Database1().empty()) {
            throw CLI::ValidationError("The template '" + template_ + "' names no databases");
        }
        databases.Take(ToUtf8(store.Database1()), ToUtf8(store.Database2()),
                       ToUtf8(store.Database3()));
        TakePicks(store, *comparison);
    }
    comparison->databases = databases.Make(console);
    for (const std::string& text : indexes_) {
        const auto [table, index] = SplitChoice(text);
        comparison->indexes.Add(FromUtf8(index), ToTableEntry(table));
    }
    for (const std::string& text : columns_) {
        const auto [table, list] = SplitChoice(text);
        comparison->columns.Add(ColumnsOf(list), ToTableEntry(table));
    }
    if (tables_.empty() && comparison->tables.Items.empty()) {
        TakeCommonTables(*comparison, console);
    } else if (!tables_.empty()) {
        comparison->tables = {};
        for (const std::string& table : tables_) {
            comparison->tables.Items.push_back(ToTableEntry(table));
        }
    }
    return comparison;
}

TableLists ListTables(const DatabaseOptions::Databases& databases) {
    TableLists lists;
    const auto tables1 = databases.obDB1->Tables();
    const auto tables2 = databases.obDB2->Tables();
    for (const auto& table : *tables1) {
        const bool inBoth = tables2->ItemExists(table->Description());
        (inBoth ? lists.common : lists.onlyIn1).Items.push_back(table->Description());
    }
    for (const auto& table : *tables2) {
        if (!tables1->ItemExists(table->Description())) {
            lists.onlyIn2.Items.push_back(table->Description());
        }
    }
    return lists;
}

std::shared_ptr<QuillonLib::EventSink> ProgressSink(Console& console) {
    auto sink = std::make_shared<QuillonLib::EventSink>();
    sink->Status = [&console](const std::u16string& sMessage, std::int16_t iPercent, bool&) {
        console.Progress(iPercent, ToUtf8(sMessage));
    };
    return sink;
}

std::shared_ptr<QuillonLib::TableDifferences> Run(const Comparison& comparison, Console& console) {
    QuillonLib::Utils utils;
    utils.EventSink(ProgressSink(console));
    utils.SuppressCompareProcessErrors(true);
    const auto& [obDB1, obDB2, obDB3] = comparison.databases;
    auto results = utils.CompareContents(obDB1, obDB2, obDB3, comparison.tables, comparison.indexes,
                                         comparison.columns);
    console.ClearProgress();
    return results;
}

}  // namespace quillon
