#include "direct/ServerFacts.h"

#include <string>

#include "catalog/Identifiers.h"
#include "data/Connection.h"
#include "data/Recordset.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t FirstVersionWithSystemViews = 9;

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

std::uint64_t CountedRows(const std::shared_ptr<Connection>& connection, std::int32_t version,
                          const ObjectName& table) {
    const std::u16string id =
        u"OBJECT_ID(" +
        QuoteText(QuoteIdentifier(table.Owner) + u"." + QuoteIdentifier(table.Name)) + u")";
    const std::u16string query =
        version >= FirstVersionWithSystemViews
            ? u"SELECT SUM(p.rows) FROM sys.partitions p WHERE p.index_id IN (0, 1)"
              u" AND p.object_id = " +
                  id
            : u"SELECT CAST(i.rows AS bigint) FROM sysindexes i WHERE i.indid IN (0, 1)"
              u" AND i.id = " +
                  id;
    try {
        const std::int64_t rows = ReadNumber(connection, query);
        return rows < 0 ? 0 : static_cast<std::uint64_t>(rows);
    } catch (const Error&) {
        if (!connection->IsOpen()) throw;
        return 0;  // it only serves to show how far the reading has come
    }
}

}  // namespace QuillonLib
