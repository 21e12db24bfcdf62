#include "catalog/DependencyLoader.h"

#include <string_view>
#include <unordered_map>
#include <vector>

#include "catalog/CatalogBuilder.h"
#include "catalog/Database.h"
#include "catalog/Login.h"
#include "core/Error.h"
#include "core/Text.h"
#include "data/Connection.h"
#include "data/Recordset.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view ForeignKeyQuery =
    u"SELECT '[' + u.name + '].[' + o.name + ']' AS Name, 'T' AS Type, "
    u"'[' + u1.name + '].[' + o1.name + ']' AS DepName, 'T' AS DepType \r\n"
    u"FROM sysreferences r \r\n"
    u"INNER JOIN sysobjects o ON r.fkeyid = o.id \r\n"
    u"INNER JOIN sysusers u ON o.uid = u.uid \r\n"
    u"INNER JOIN sysobjects o1 ON r.rkeyid = o1.id \r\n"
    u"INNER JOIN sysusers u1 ON o1.uid = u1.uid";

// The first test of DepType looks at o.id, not o1.id, and the fourth line runs into the fifth:
// nothing reads the type columns, and servers have always been sent this text.
constexpr std::u16string_view ObjectDependencyQuery =
    u"SELECT DISTINCT '[' + u.name + '].[' + o.name + ']' AS Name, \r\n"
    u"Type = CASE WHEN objectproperty (o.id, 'IsUserTable')=1 THEN 1 \r\n"
    u"WHEN objectproperty (o.id, 'IsView')=1 THEN 2 \r\n"
    u"ELSE 0 END, '[' + u1.name + '].[' + o1.name + ']' AS DepName, \r\n"
    u"DepType = CASE WHEN objectproperty (o.id, 'IsUserTable')=1 THEN 1 \r\n"
    u"WHEN objectproperty (o1.id, 'IsView')=1 THEN 2 \r\n"
    u"ELSE 0 END \r\n"
    u"FROM sysdepends d \r\n"
    u"INNER JOIN sysobjects o ON d.id=o.id \r\n"
    u"INNER JOIN sysusers u ON o.uid=u.uid \r\n"
    u"INNER JOIN sysobjects o1 ON d.depid=o1.id \r\n"
    u"INNER JOIN sysusers u1 ON o1.uid=u1.uid \r\n"
    u"WHERE (OBJECTPROPERTY (o.id, 'IsUserTable')=1 \r\n"
    u"OR OBJECTPROPERTY (o.id, 'IsView')=1) \r\n"
    u"AND (OBJECTPROPERTY (o1.id, 'IsUserTable')=1 \r\n"
    u"OR OBJECTPROPERTY (o1.id, 'IsView')=1) \r\n"
    u"AND OBJECTPROPERTY (o.id, 'IsMSShipped')=0 AND OBJECTPROPERTY (o1.id, 'IsMSShipped')=0";

// The rows of one query, and where each name stands in them, so that a catalog of many tables is
// not searched from end to end for each. It stands on its first row, as a row set just opened.
class DependencyRows {
  public:
    explicit DependencyRows(std::vector<DependencyRow> rows) : rows_(std::move(rows)) {
        for (const DependencyRow& row : rows_) {
            if (!row.Name.IsNull()) byName_[row.Name.Get<std::u16string>()].push_back(&row);
            if (!row.DepName.IsNull())
                byDepName_[row.DepName.Get<std::u16string>()].push_back(&row);
        }
    }

    using Filtered = std::vector<const DependencyRow*>;
    bool BeginningOfSet() const { return rows_.empty(); }
    bool EndOfSet() const { return rows_.empty(); }
    const Filtered& WhereName(const std::u16string& entry) const { return At(byName_, entry); }
    const Filtered& WhereDepName(const std::u16string& entry) const {
        return At(byDepName_, entry);
    }

  private:
    using Index = std::unordered_map<std::u16string, Filtered>;

    static const Filtered& At(const Index& index, const std::u16string& entry) {
        static const Filtered none;
        const auto found = index.find(entry);
        return found == index.end() ? none : found->second;
    }

    std::vector<DependencyRow> rows_;
    Index byName_;
    Index byDepName_;
};

void AddOnce(Dependencies& dependencies, const std::u16string& name) {
    if (!dependencies.ItemExists(name)) CatalogBuilder::AddDependency(dependencies, name);
}

// Reading a NULL name is an error; a table that refers to itself does not depend on itself.
void ResolveDependencies(const TableObject& obTable, const DependencyRows& rows) {
    if (rows.BeginningOfSet() && !rows.EndOfSet()) return;
    const std::u16string entry = obTable.Description();
    for (const DependencyRow* row : rows.WhereName(entry)) {
        const auto& depName = row->DepName.Get<std::u16string>();
        if (depName != entry) AddOnce(*obTable.ParentDependencies(), depName);
    }
    for (const DependencyRow* row : rows.WhereDepName(entry)) {
        const auto& name = row->Name.Get<std::u16string>();
        if (name != entry) AddOnce(*obTable.ChildDependencies(), name);
    }
}

void ResolveAll(const DependencyQuery& query, const TableObjects& tables,
                std::u16string& pendingError) {
    const DependencyRows foreignKeys(query(ForeignKeyQuery));
    const DependencyRows objects(query(ObjectDependencyQuery));
    for (const auto& table : tables) {
        pendingError = u"\r\nError getting dependency information for " + table->Name() + u"\r\n";
        if (!table->IsView()) ResolveDependencies(*table, foreignKeys);
        ResolveDependencies(*table, objects);
    }
}

std::vector<DependencyRow> ReadRows(std::u16string_view sql,
                                    const std::shared_ptr<Connection>& connection) {
    Recordset rows;
    rows.Open(sql, connection);
    const std::size_t name = rows.FieldIndex(u"Name");
    const std::size_t depName = rows.FieldIndex(u"DepName");
    std::vector<DependencyRow> result;
    result.reserve(rows.RecordCount());
    for (; !rows.EndOfSet(); rows.MoveNext()) {
        result.push_back({rows.Fields(name).Value(), rows.Fields(depName).Value()});
    }
    return result;
}

}  // namespace

void LoadDependencies(const DependencyQuery& query, TableObjects& tables) {
    std::u16string pendingError;
    try {
        ResolveAll(query, tables, pendingError);
    } catch (const Error& error) {
        throw Error(error.Number(),
                    std::u16string(u"Error getting dependency information.")
                        .append(pendingError)
                        .append(CrLf)
                        .append(error.Description()),
                    error.Source());
    }
}

void LoadDependencies(const Database& database, TableObjects& tables) {
    std::shared_ptr<Connection> connection;
    LoadDependencies(
        [&](std::u16string_view sql) {
            if (connection == nullptr) connection = OpenConnection(database);
            return ReadRows(sql, connection);
        },
        tables);
}

}  // namespace QuillonLib
