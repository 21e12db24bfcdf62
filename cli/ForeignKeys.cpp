#include "cli/ForeignKeys.h"

#include <algorithm>

namespace quillon {

using namespace QuillonLib;

std::vector<ForeignKey> ReadForeignKeys(const std::shared_ptr<Connection>& connection) {
    Recordset rows;
    rows.Open(
        u"SELECT k.name, u.name, o.name, u1.name, o1.name, "
        u"OBJECTPROPERTY(k.id, 'CnstIsDisabled'), "
        u"'[' + REPLACE(k.name, ']', ']]') + ']', "
        u"'[' + REPLACE(u.name, ']', ']]') + '].[' + REPLACE(o.name, ']', ']]') + ']' "
        u"FROM sysreferences r INNER JOIN sysobjects k ON k.id = r.constid "
        u"INNER JOIN sysobjects o ON o.id = r.fkeyid INNER JOIN sysusers u ON u.uid = o.uid "
        u"INNER JOIN sysobjects o1 ON o1.id = r.rkeyid INNER JOIN sysusers u1 ON u1.uid = o1.uid "
        u"ORDER BY k.id",
        connection);
    std::vector<ForeignKey> keys;
    for (; !rows.EndOfSet(); rows.MoveNext()) {
        const auto text = [&](std::size_t field) {
            return rows.Fields(field).Value().Get<std::u16string>();
        };
        keys.push_back({text(0), MakeTableEntry(text(1), text(2)), MakeTableEntry(text(3), text(4)),
                        ToInt64(rows.Fields(5).Value()) == 0, text(6), text(7)});
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

std::vector<std::u16string> SwitchedOff(const std::vector<ForeignKey>& keys) {
    std::vector<std::u16string> statements;
    for (const ForeignKey& key : keys) {
        statements.push_back(u"ALTER TABLE " + key.quotedTable + u" NOCHECK CONSTRAINT " +
                             key.quotedName);
    }
    return statements;
}

std::vector<std::u16string> SwitchedOn(const std::vector<ForeignKey>& keys) {
    std::vector<std::u16string> statements;
    for (const ForeignKey& key : keys) {
        statements.push_back(u"ALTER TABLE " + key.quotedTable + u" WITH CHECK CHECK CONSTRAINT " +
                             key.quotedName);
    }
    return statements;
}

}  // namespace quillon
