#include "cli/ForeignKeys.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "catalog/Identifiers.h"

namespace quillon {

using namespace QuillonLib;

namespace {

// Since schemas came apart from owners, the old tables name neither rightly.
constexpr std::int64_t FirstVersionWithSystemViews = 9;

constexpr std::u16string_view FromSystemViews =
    u"SELECT k.name, s.name, o.name, s1.name, o1.name, CAST(k.is_disabled AS int), "
    u"CASE WHEN k.delete_referential_action <> 0 OR k.update_referential_action <> 0 "
    u"THEN 1 ELSE 0 END "
    u"FROM sys.foreign_keys k INNER JOIN sys.objects o ON o.object_id = k.parent_object_id "
    u"INNER JOIN sys.schemas s ON s.schema_id = o.schema_id "
    u"INNER JOIN sys.objects o1 ON o1.object_id = k.referenced_object_id "
    u"INNER JOIN sys.schemas s1 ON s1.schema_id = o1.schema_id ORDER BY k.object_id";

constexpr std::u16string_view FromSystemTables =
    u"SELECT k.name, u.name, o.name, u1.name, o1.name, OBJECTPROPERTY(k.id, 'CnstIsDisabled'), "
    u"CASE WHEN OBJECTPROPERTY(k.id, 'CnstIsDeleteCascade') = 1 "
    u"OR OBJECTPROPERTY(k.id, 'CnstIsUpdateCascade') = 1 THEN 1 ELSE 0 END "
    u"FROM sysreferences r INNER JOIN sysobjects k ON k.id = r.constid "
    u"INNER JOIN sysobjects o ON o.id = r.fkeyid INNER JOIN sysusers u ON u.uid = o.uid "
    u"INNER JOIN sysobjects o1 ON o1.id = r.rkeyid INNER JOIN sysusers u1 ON u1.uid = o1.uid "
    u"ORDER BY k.id";

bool HasSystemViews(const std::shared_ptr<Connection>& connection) {
    Recordset rows;
    rows.Open(u"SELECT @@MICROSOFTVERSION / 16777216", connection);
    return ToInt64(rows.Fields(std::size_t{0}).Value()) >= FirstVersionWithSystemViews;
}

}  // namespace

std::vector<ForeignKey> ReadForeignKeys(const std::shared_ptr<Connection>& connection) {
    Recordset rows;
    rows.Open(HasSystemViews(connection) ? FromSystemViews : FromSystemTables, connection);
    std::vector<ForeignKey> keys;
    for (; !rows.EndOfSet(); rows.MoveNext()) {
        const auto text = [&](std::size_t field) {
            return rows.Fields(field).Value().Get<std::u16string>();
        };
        const auto flag = [&](std::size_t field) {
            const Value value = rows.Fields(field).Value();
            return !value.IsNull() && ToInt64(value) != 0;
        };
        keys.push_back({text(0), MakeTableEntry(text(1), text(2)), MakeTableEntry(text(3), text(4)),
                        !flag(5), flag(6), QuoteIdentifier(text(0)),
                        QuoteIdentifier(text(1)) + u"." + QuoteIdentifier(text(2))});
    }
    return keys;
}

std::vector<ForeignKey> KeysToSuspend(std::vector<ForeignKey> keys,
                                      const std::vector<std::u16string>& tables) {
    const auto isWritten = [&](const std::u16string& entry) {
        return std::any_of(tables.begin(), tables.end(), [&](const std::u16string& table) {
            return EqualIgnoringCase(table, entry);
        });
    };
    std::erase_if(keys, [&](const ForeignKey& key) {
        return !key.enabled || !(isWritten(key.table) || isWritten(key.referenced));
    });
    return keys;
}

namespace {

std::vector<std::u16string> Switched(const std::vector<ForeignKey>& keys, std::u16string_view how) {
    std::vector<std::u16string> statements(keys.size());
    std::transform(keys.begin(), keys.end(), statements.begin(), [&](const ForeignKey& key) {
        return (u"ALTER TABLE " + key.quotedTable).append(how).append(key.quotedName);
    });
    return statements;
}

}  // namespace

std::vector<std::u16string> SwitchedOff(const std::vector<ForeignKey>& keys) {
    return Switched(keys, u" NOCHECK CONSTRAINT ");
}

std::vector<std::u16string> SwitchedOn(const std::vector<ForeignKey>& keys) {
    return Switched(keys, u" WITH CHECK CHECK CONSTRAINT ");
}

}  // namespace quillon
