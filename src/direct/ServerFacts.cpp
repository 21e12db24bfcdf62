#include "direct/ServerFacts.h"

#include <string>
#include <string_view>

#include "catalog/CatalogReader.h"
#include "catalog/Identifiers.h"
#include "data/Connection.h"
#include "data/Recordset.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t FirstVersionWithSystemViews = 9;

// Owner, name and count of objects; the list of their ids stands between the parts.
struct CountsQuery {
    std::u16string_view begin;
    std::u16string_view end;
};
constexpr CountsQuery Partitions{
    u"SELECT s.name, o.name, SUM(p.rows) FROM sys.partitions p"
    u" INNER JOIN sys.objects o ON o.object_id = p.object_id"
    u" INNER JOIN sys.schemas s ON s.schema_id = o.schema_id"
    u" WHERE p.index_id IN (0, 1) AND p.object_id IN (",
    u") GROUP BY s.name, o.name"};
constexpr CountsQuery SystemIndexes{
    u"SELECT u.name, o.name, CAST(i.rows AS bigint) FROM sysindexes i"
    u" INNER JOIN sysobjects o ON o.id = i.id"
    u" INNER JOIN sysusers u ON u.uid = o.uid"
    u" WHERE i.indid IN (0, 1) AND i.id IN (",
    u")"};

// 0 for a NULL, and without a row.
std::int64_t ReadNumber(const std::shared_ptr<Connection>& connection, std::u16string_view sql) {
    Recordset rows;
    rows.Open(sql, connection);
    if (rows.EndOfSet()) return 0;
    const Value value = rows.Fields(std::size_t{0}).Value();
    return value.IsNull() ? 0 : ToInt64(value);
}

}  // namespace

std::int32_t ServerVersion(const std::shared_ptr<Connection>& connection) {
    return static_cast<std::int32_t>(
        ReadNumber(connection, u"SELECT @@MICROSOFTVERSION / 16777216"));
}

bool AllowsSnapshot(const std::shared_ptr<Connection>& connection, std::int32_t version) {
    return version >= FirstVersionWithSystemViews &&
           ReadNumber(connection,
                      u"SELECT CAST(snapshot_isolation_state AS int) FROM sys.databases"
                      u" WHERE name = DB_NAME()") == 1;
}

std::vector<std::optional<std::uint64_t>> CountedRows(const std::shared_ptr<Connection>& connection,
                                                      std::int32_t version,
                                                      std::span<const ObjectFacts> objects) {
    std::vector<std::optional<std::uint64_t>> counts(objects.size());
    if (objects.empty()) return counts;
    const CountsQuery& query = version >= FirstVersionWithSystemViews ? Partitions : SystemIndexes;
    std::vector<ObjectName> names;
    for (const ObjectFacts& object : objects)
        names.push_back(object.Object);
    try {
        Recordset rows;
        rows.Open(std::u16string(query.begin).append(ObjectIdList(names)).append(query.end),
                  connection);
        for (; !rows.EndOfSet(); rows.MoveNext()) {
            const ObjectFacts* const object =
                FindObject(objects, {rows.Fields(std::size_t{0}).Value().Get<std::u16string>(),
                                     rows.Fields(1).Value().Get<std::u16string>()});
            const Value count = rows.Fields(2).Value();
            if (object == nullptr || count.IsNull() || ToInt64(count) < 0) continue;
            counts[static_cast<std::size_t>(object - objects.data())] =
                static_cast<std::uint64_t>(ToInt64(count));
        }
    } catch (const Error&) {
        if (!connection->IsOpen()) throw;
        // they only serve to show how far the reading has come
    }
    return counts;
}

}  // namespace QuillonLib
