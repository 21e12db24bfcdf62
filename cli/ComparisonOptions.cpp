#include "cli/ComparisonOptions.h"

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

std::unique_ptr<Comparison> ComparisonOptions::Make(Console& console) const {
    auto comparison = std::make_unique<Comparison>();
    comparison->databases = databases_.Make(console);
    for (const std::string& text : indexes_) {
        const auto [table, index] = SplitChoice(text);
        comparison->indexes.Add(FromUtf8(index), ToTableEntry(table));
    }
    for (const std::string& text : columns_) {
        const auto [table, list] = SplitChoice(text);
        comparison->columns.Add(ColumnsOf(list), ToTableEntry(table));
    }
    if (tables_.empty()) {
        comparison->tables = CommonTables(comparison->databases);
    } else {
        for (const std::string& table : tables_) {
            comparison->tables.Items.push_back(ToTableEntry(table));
        }
    }
    return comparison;
}

QuillonLib::TextArray CommonTables(const DatabaseOptions::Databases& databases) {
    QuillonLib::TextArray common;
    const auto tables2 = databases.obDB2->Tables();
    for (const auto& table : *databases.obDB1->Tables()) {
        if (tables2->ItemExists(table->Description())) common.Items.push_back(table->Description());
    }
    return common;
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
