#include "catalog/ForeignKeyFacts.h"

#include "data/Recordset.h"

namespace QuillonLib {

std::vector<ForeignKeyFacts> ReadForeignKeyFacts(const std::shared_ptr<Connection>& connection) {
    Recordset rows;
    rows.Open(
        u"SELECT k.object_id, k.name, s1.name, o1.name, s2.name, o2.name,"
        u" CAST(k.is_disabled AS int), c1.name, c2.name, CAST(k.is_not_trusted AS int),"
        u" CAST(k.delete_referential_action AS int), CAST(k.update_referential_action AS int)"
        u" FROM sys.foreign_keys k"
        u" INNER JOIN sys.objects o1 ON o1.object_id = k.parent_object_id"
        u" INNER JOIN sys.schemas s1 ON s1.schema_id = o1.schema_id"
        u" INNER JOIN sys.objects o2 ON o2.object_id = k.referenced_object_id"
        u" INNER JOIN sys.schemas s2 ON s2.schema_id = o2.schema_id"
        u" INNER JOIN sys.foreign_key_columns f ON f.constraint_object_id = k.object_id"
        u" INNER JOIN sys.columns c1 ON c1.object_id = f.parent_object_id"
        u" AND c1.column_id = f.parent_column_id"
        u" INNER JOIN sys.columns c2 ON c2.object_id = f.referenced_object_id"
        u" AND c2.column_id = f.referenced_column_id"
        u" ORDER BY k.object_id, f.constraint_column_id",
        connection);
    std::vector<ForeignKeyFacts> keys;
    std::int64_t last = 0;
    for (; !rows.EndOfSet(); rows.MoveNext()) {
        const auto text = [&](std::size_t field) {
            return rows.Fields(field).Value().Get<std::u16string>();
        };
        const std::int64_t id = ToInt64(rows.Fields(std::size_t{0}).Value());
        if (keys.empty() || id != last) {
            const auto flag = [&](std::size_t field) {
                return ToInt64(rows.Fields(field).Value()) != 0;
            };
            keys.push_back({text(1),
                            {text(2), text(3)},
                            {text(4), text(5)},
                            !flag(6),
                            !flag(9),
                            flag(10),
                            flag(11),
                            {}});
        }
        last = id;
        keys.back().Columns.emplace_back(text(7), text(8));
    }
    return keys;
}

}  // namespace QuillonLib
