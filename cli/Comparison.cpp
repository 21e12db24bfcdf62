#include "cli/Comparison.h"

#include <CLI/Error.hpp>
#include <algorithm>
#include <stdexcept>
#include <utility>

#include "catalog/Login.h"
#include "cli/AbandonOnInterrupt.h"
#include "cli/Interrupt.h"
#include "cli/Printable.h"
#include "cli/TableChoices.h"
#include "cli/TableDependencies.h"
#include "compare/LinkedServers.h"
#include "data/Connection.h"

namespace quillon {

namespace {

using namespace QuillonLib;

void ChooseIndexes(Comparison& comparison, const std::vector<TableChoice>& choices) {
    for (const auto& [table, name] : choices) {
        if (comparison.IsOneSided(table)) continue;
        const ObjectFacts& facts =
            FactsFor(comparison.facts, comparison.tables, table, "--index").in1;
        const IndexFacts& index =
            RequireUniqueIndex(facts, table, name, *comparison.databases.obDB1);
        if (comparison.indexes.ItemExists(table)) ThrowTwoChoices("--index", table);
        comparison.indexes.Add(index.Name, table);
    }
}

// The server refuses a query that compares values of these types, and with it the whole table. The
// library compares every column that it is not told to leave out.
bool IsRefusedByServer(const ColumnFacts& column) {
    return column.DataType == u"xml" || column.DataType == u"geography" ||
           column.DataType == u"geometry";
}

// Of these types the library leaves columns out itself, but looks at database 1 alone.
bool IsRefusedIn2(const ColumnFacts& column) {
    return IsRefusedByServer(column) || column.DataType == u"text" || column.DataType == u"ntext" ||
           column.DataType == u"image";
}

void ChooseColumns(Comparison& comparison, const std::vector<ColumnsChoice>& choices) {
    for (const auto& [table, columns] : choices) {
        if (comparison.IsOneSided(table)) continue;
        const TableFacts& facts = FactsFor(comparison.facts, comparison.tables, table, "--columns");
        auto chosen = std::make_shared<ColumnChoice>();
        for (const std::u16string& name : RequireColumns(facts, table, columns, Letters::Exactly)) {
            if (IsRefusedByServer(*facts.in1.FindColumn(name)) ||
                IsRefusedIn2(*facts.in2.FindColumn(name))) {
                throw CLI::ValidationError("--columns: the server cannot compare the values of [" +
                                           ToUtf8(name) + "] in " + ToUtf8(table));
            }
            chosen->Add(name, name);
        }
        if (comparison.columns.ItemExists(table)) ThrowTwoChoices("--columns", table);
        comparison.columns.Add(std::move(chosen), table);
    }
}

void LeaveOutRefusedColumns(Comparison& comparison) {
    for (const auto& [table, facts] : comparison.facts) {
        if (comparison.columns.ItemExists(table)) continue;
        auto rest = std::make_shared<ColumnChoice>();
        bool anyRefused = false;
        for (const ColumnFacts& column : facts.in1.Columns) {
            const ColumnFacts* other = facts.in2.FindColumn(column.Name);
            if (IsRefusedByServer(column) || (other != nullptr && IsRefusedIn2(*other))) {
                anyRefused = true;
            } else if (!rest->ItemExists(column.Name)) {
                rest->Add(column.Name, column.Name);
            }
        }
        if (anyRefused) comparison.columns.Add(std::move(rest), table);
    }
}

// Primary keys whose names the server made up are named differently in every database, and the
// library takes primary keys of different names for different keys. Where they have the same
// columns in the same order they are the same.
void ChooseUnnamedKeys(Comparison& comparison, Console& console) {
    std::string chosen;
    for (const std::u16string& table : comparison.tables) {
        const auto found = comparison.facts.find(table);
        if (found == comparison.facts.end() || comparison.indexes.ItemExists(table)) continue;
        const IndexFacts* key1 = found->second.in1.PrimaryKey();
        const IndexFacts* key2 = found->second.in2.PrimaryKey();
        const bool sameKey = !found->second.IsView() && key1 != nullptr && key2 != nullptr &&
                             key1->Name != key2->Name && key1->Columns == key2->Columns;
        if (!sameKey) continue;
        comparison.indexes.Add(key1->Name, table);
        chosen += " " + Printable(table);
    }
    if (chosen.empty()) return;
    console.Hint(
        "quillon: primary keys of other names but the same columns are taken for the same key:" +
        chosen);
}

std::u16string ServerNameOf(const Database& database) {
    Recordset rows;
    rows.Open(u"SELECT @@SERVERNAME", OpenConnection(database));
    const Value name = rows.Fields(std::size_t{0}).Value();
    return name.Kind() == ValueKind::String ? name.Get<std::u16string>() : std::u16string();
}

// Two names of one server lead through a linked server to where a plain name would do.
void NoteTwoNamesOfOneServer(const Comparison& comparison, Console& console) {
    const auto& [obDB1, obDB2, obDB3] = comparison.databases;
    if (IsOnServerOf(*obDB2, *obDB1)) return;
    std::u16string name1;
    try {
        name1 = ServerNameOf(*obDB1);
        if (name1.empty() || ServerNameOf(*obDB2) != name1) return;
    } catch (const Error&) {
        return;  // a hint is not worth a failure
    }
    console.Hint("quillon: " + ToUtf8(obDB1->Server()) + " and " + ToUtf8(obDB2->Server()) +
                 " both call themselves " + ToUtf8(name1) +
                 ". If they are one server, write its name the same way twice: then no linked "
                 "server is needed.");
}

}  // namespace

bool Comparison::NeedsLinkedServers() const {
    const auto& [obDB1, obDB2, obDB3] = databases;
    return !IsOnServerOf(*obDB1, *obDB3) || !IsOnServerOf(*obDB2, *obDB3);
}

std::vector<std::u16string> Comparison::KeyColumns(const TableDifference& result) const {
    std::vector<std::u16string> names;
    for (const auto& column : *result.Columns()) {
        if (column->PrimaryKey()) names.push_back(column->Name());
    }
    return names;
}

std::unique_ptr<Comparison> Prepare(ComparisonRequest request, Console& console) {
    const AbandonOnInterrupt silent;
    DatabaseOptions::RequireLinkable(request.databases);
    auto comparison = std::make_unique<Comparison>();
    comparison->databases = request.databases;
    comparison->dropLinkedServers = request.dropLinkedServers;
    comparison->listing = request.listing;
    const auto& [obDB1, obDB2, obDB3] = comparison->databases;
    static_cast<TableLists&>(*comparison) =
        SelectTables(request.databases, request.tables, request.excluded, console);
    comparison->facts = ReadFacts(*obDB1, *obDB2, TextArray(comparison->tables));
    TakePicks(comparison->tables, request);
    comparison->choosesColumns = !request.columns.empty();
    ChooseIndexes(*comparison, request.indexes);
    ChooseColumns(*comparison, request.columns);
    LeaveOutRefusedColumns(*comparison);
    ChooseUnnamedKeys(*comparison, console);
    NoteTwoNamesOfOneServer(*comparison, console);
    return comparison;
}

std::shared_ptr<EventSink> ProgressSink(Console& console) {
    auto sink = std::make_shared<EventSink>();
    sink->Status = [&console](const std::u16string& sMessage, std::int16_t iPercent,
                              bool& bCancel) {
        console.Progress(iPercent, ToUtf8(sMessage));
        if (Interrupted()) bCancel = true;
    };
    return sink;
}

std::shared_ptr<TableDifferences> Run(const Comparison& comparison, Console& console) {
    const AbandonOnInterrupt silent;
    const auto& [obDB1, obDB2, obDB3] = comparison.databases;
    // Children first: so every level of tables is a pass of its own when a script is ordered, and
    // no parent is deleted from before its children.
    TextArray tables;
    for (const auto& group : GroupByDependency(*obDB1, comparison.tables)) {
        tables.Items.insert(tables.Items.end(), group.begin(), group.end());
    }
    Utils utils;
    utils.EventSink(ProgressSink(console));
    utils.SuppressCompareProcessErrors(true);
    auto results =
        utils.CompareContents(obDB1, obDB2, obDB3, tables, comparison.indexes, comparison.columns);
    console.ClearProgress();
    StopIfInterrupted();
    return results;
}

LinkedServerCleanup::LinkedServerCleanup(const Comparison& comparison, Console& console)
    : comparison_(comparison), console_(console) {
    if (comparison.dropLinkedServers && comparison.NeedsLinkedServers()) toDo_.emplace();
}

LinkedServerCleanup::~LinkedServerCleanup() {
    const auto& [obDB1, obDB2, obDB3] = comparison_.databases;
    if (!toDo_) return;
    try {
        const auto connection = OpenConnection(*obDB3);
        for (const auto& database : {obDB1, obDB2}) {
            if (IsOnServerOf(*database, *obDB3) || database->LinkedServer().empty()) continue;
            const std::u16string name = u"'" + database->LinkedServer() + u"'";
            connection->Execute(u"IF EXISTS (SELECT * FROM master..sysservers WHERE srvname=" +
                                name + u") EXEC sp_dropserver " + name + u", 'droplogins'");
        }
    } catch (const Error& failure) {
        console_.Note("quillon: the linked servers on " + ToUtf8(obDB3->Server()) +
                      " could not be removed: " + failure.what());
    }
}

}  // namespace quillon
