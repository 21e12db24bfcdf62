#include "direct/ScriptTargets.h"

#include <algorithm>
#include <array>
#include <utility>

#include "catalog/CatalogReader.h"
#include "catalog/Database.h"
#include "catalog/UniqueIndexFacts.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "data/Recordset.h"
#include "direct/ServerFacts.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t FirstVersionWithScripts = 9;

// The code page of the database that the connection is to; 0 where the server does not say.
std::int32_t ReadDatabasePage(const std::shared_ptr<Connection>& connection) {
    Recordset rows;
    rows.Open(
        u"SELECT CAST(COLLATIONPROPERTY(CAST(DATABASEPROPERTYEX(DB_NAME(), 'Collation')"
        u" AS nvarchar(128)), 'CodePage') AS int)",
        connection);
    const Value page = rows.Fields(std::size_t{0}).Value();
    return page.IsNull() ? 0 : static_cast<std::int32_t>(ToInt64(page));
}

std::u16string WhyText(DirectLeftOut why) {
    if (why == DirectLeftOut::View) return u"a view";
    if (why == DirectLeftOut::History) return u"the history of another table";
    return u"rows without a key, some of whose columns are not compared and would lose their"
           u" values";
}

// A script of some of them would leave the sides apart, and not say so.
void RequireAll(const DirectTableResult& result, std::uint64_t given, const std::u16string& entry) {
    const std::uint64_t counted = result.differing + result.onlyIn1 + result.onlyIn2;
    if (given == counted) return;
    throw Error(ErrorNumber::InvalidArgument,
                u"Table " + entry + u" has " + ToText(static_cast<std::int64_t>(counted)) +
                    u" differences, and " + ToText(static_cast<std::int64_t>(given)) +
                    u" were handed over.");
}

std::u16string RowsText(std::uint64_t rows, std::u16string_view what) {
    return ToText(static_cast<std::int64_t>(rows)) + u" " + std::u16string(what);
}

// Whether the table has columns that are not compared, and that only a caller can write. What
// the other side has in their place says nothing: it may be a computed column there.
bool HoldsMore(const ObjectFacts& facts, const DirectShape& shape) {
    const auto written = [](const ColumnFacts& column) {
        return !column.Computed && !column.Generated && !column.ColumnSet &&
               column.DataType != u"timestamp";
    };
    return std::any_of(facts.Columns.begin(), facts.Columns.end(), [&](const ColumnFacts& column) {
        return written(column) &&
               std::any_of(shape.omitted.begin(), shape.omitted.end(),
                           [&](const DirectOmitted& omitted) {
                               return EqualIgnoringCase(omitted.name, column.Name);
                           });
    });
}

DirectLeftOut WhyLeftOut(const ScriptTarget& target, const ObjectFacts& facts) {
    if (facts.IsView) return DirectLeftOut::View;
    if (facts.IsHistory) return DirectLeftOut::History;
    const bool goes = target.shape.key.empty() && target.deletes > 0;
    return goes && HoldsMore(facts, target.shape) ? DirectLeftOut::LosesColumns : DirectLeftOut::No;
}

// Whether a unique index looks at the column: rows may have to swap its values.
bool IsSeen(const std::vector<UniqueIndexFacts>& indexes, const std::u16string& column) {
    return std::any_of(indexes.begin(), indexes.end(), [&](const UniqueIndexFacts& index) {
        return !index.Known || std::any_of(index.Columns.begin(), index.Columns.end(),
                                           [&](const std::u16string& name) {
                                               return EqualIgnoringCase(name, column);
                                           });
    });
}

}  // namespace

ScriptTargets::ScriptTargets(const Database& database, const DirectScriptOptions& options,
                             std::shared_ptr<Connection> connection)
    : database_(database),
      options_(options),
      connection_(std::move(connection)),
      version_(ServerVersion(connection_)) {
    if (version_ < FirstVersionWithScripts) {
        throw Error(ErrorNumber::Comparison,
                    u"Scripts of statements need SQL Server 2005 or later.");
    }
    page_ = ReadDatabasePage(connection_);
}

const ObjectName& ScriptTargets::NameOf(const DirectShape& shape) const {
    return options_.target == 1 ? shape.table : shape.table2;
}

ColumnFacts& ScriptTargets::FactsOf(DirectColumn& column) const {
    return options_.target == 1 ? column.side1 : column.side2;
}

void ScriptTargets::Take(std::size_t index, const DirectTableResult& result, std::uint64_t given) {
    const ObjectName& name = NameOf(result.shape);
    const std::u16string entry = MakeTableEntry(name.Owner, name.Name);
    if (!result.complete) {
        const std::u16string why = result.error ? result.error->Description() : u"it was cancelled";
        comments.push_back(u"Left out, not compared to its end: " + entry + u": " + why);
        return;
    }
    RequireAll(result, given, entry);
    ScriptTarget target;
    target.table = index;
    target.inserts = options_.target == 1 ? result.onlyIn2 : result.onlyIn1;
    target.deletes = options_.target == 1 ? result.onlyIn1 : result.onlyIn2;
    target.updates = result.differing;
    if (!options_.inserts) target.inserts = 0;
    if (!options_.updates) target.updates = 0;
    if (!options_.deletes) target.deletes = 0;
    if (target.inserts + target.updates + target.deletes == 0) return;
    target.shape = result.shape;
    auto& line =
        told.emplace_back(DirectScriptTable{index, target.deletes, target.updates, target.inserts});
    ReadTarget(target, result, line);
    if (line.LeftOut()) {
        comments.push_back(u"Left out, " + WhyText(line.leftOut) + u": " + entry);
        return;
    }
    comments.push_back(entry + u": " + RowsText(target.deletes, u"deleted") + u", " +
                       RowsText(target.updates, u"updated") + u", " +
                       RowsText(target.inserts, u"inserted"));
    for (const DirectOmitted& omitted : result.shape.omitted)
        comments.push_back(u"    without column " + omitted.name);
    targets.push_back(std::move(target));
}

// Only as far as it sees that the table is left out.
void ScriptTargets::ReadTarget(ScriptTarget& target, const DirectTableResult& result,
                               DirectScriptTable& line) {
    CatalogReader reader(connection_);
    reader.UseDatabase(database_.DatabaseName());
    const ObjectName& name = NameOf(target.shape);
    const auto objects = reader.Objects(std::array{name});
    const ObjectFacts* const facts = FindObject(objects, name);
    if (facts == nullptr) ThrowObjectNotFound(name, database_.DatabaseName());
    line.leftOut = WhyLeftOut(target, *facts);
    if (line.LeftOut()) return;
    const auto unique = ReadUniqueIndexFacts(connection_, version_, name);
    target.dropsDuplicates =
        std::any_of(unique.begin(), unique.end(),
                    [](const UniqueIndexFacts& index) { return index.IgnoresDuplicates; });
    WrittenTable& written = target.written;
    written.name = name;
    written.inserts = target.inserts > 0;
    written.deletes = target.deletes > 0;
    for (const ColumnFacts& column : facts->Columns) {
        if (column.Computed) written.computed.push_back(column.Name);
    }
    for (const std::size_t column : target.shape.key)
        written.key.push_back(FactsOf(target.shape.columns[column]).Name);
    for (std::size_t i = 0; i < target.shape.columns.size(); ++i) {
        DirectColumn& column = target.shape.columns[i];
        ColumnFacts& own = FactsOf(column);
        own.DatabaseCodePage = page_;
        const bool seen = IsSeen(unique, own.Name);
        written.columns.push_back(own.Name);
        written.changed.push_back(target.updates > 0 && result.changedCells[i] > 0);
        if (seen && written.changed.back()) target.unique.push_back(i);
        // without a key a row is found by all of its values only: none can change in between
        const bool found = !target.shape.key.empty();
        written.mayBeNull.push_back(found && own.AllowNulls && !seen && !column.key);
        if (written.changed.back() && own.Identity) {
            throw Error(ErrorNumber::Comparison, u"Table " + MakeTableEntry(name.Owner, name.Name) +
                                                     u": identity column " + own.Name +
                                                     u" differs, and cannot be updated.");
        }
    }
}

}  // namespace QuillonLib
