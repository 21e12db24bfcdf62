// Foreign keys are checked when their statement has ended. The triggers note the keys that were
// written or taken away; here each is looked up, and cascades run.
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/translation/Translator.h"

namespace sandbox::engine {
namespace {

std::string KeyCondition(const TableMeta& table, const ForeignKeyMeta& key, bool child) {
    std::string out;
    for (const auto& [childId, parentId] : key.columns) {
        out +=
            (out.empty() ? "" : " AND ") + table.FindById(child ? childId : parentId)->Sql() + "=?";
    }
    return out;
}

bool RowExists(Store& store, Catalog& catalog, const TableMeta& table, const ForeignKeyMeta& key,
               bool child, const std::vector<Value>& values) {
    Statement& s = store.Cached("SELECT 1 FROM " + catalog.Prefix() + table.storage + " WHERE " +
                                KeyCondition(table, key, child) + " LIMIT 1");
    for (std::size_t i = 0; i < values.size(); ++i)
        s.Bind(static_cast<int>(i) + 1, values[i]);
    const bool found = s.Step();
    s.Reset();
    return found;
}

[[noreturn]] void ThrowConflict(Context& context, Catalog& catalog, const ForeignKeyMeta& key,
                                std::u16string_view kind, const TableMeta& table, int columnId) {
    std::u16string text = Format(
        u"The %1 statement conflicted with the %2 constraint \"%3\". The conflict occurred in "
        u"database "
        u"\"%4\", table \"%5\"",
        {context.verb, kind, key.name, catalog.File()->name, table.FullName()});
    if (key.columns.size() == 1) text += u", column '" + table.FindById(columnId)->name + u"'";
    throw SqlError(547, text + u".", 16, 0);
}

const ForeignKeyMeta* FindKey(const std::vector<ForeignKeyMeta>& keys, int id) {
    for (const ForeignKeyMeta& f : keys) {
        if (f.id == id) return &f;
    }
    return nullptr;
}

}  // namespace

void Executor::CheckPendingKeys() {
    // Cascades add to the list while it is worked on.
    for (std::size_t i = 0; i < context_.pendingKeys.size(); ++i) {
        const PendingKey pending = context_.pendingKeys[i];
        Catalog& catalog = context_.Open(pending.database);
        const auto object = catalog.FindById(pending.constraint);
        if (!object) continue;
        const TablePtr child = catalog.Table(object->parentId);
        const ForeignKeyMeta* key =
            child ? FindKey(child->foreignKeys, pending.constraint) : nullptr;
        if (key == nullptr) continue;
        if (pending.parentGone) {
            CheckParent(catalog, *key, pending);
        } else {
            CheckChild(catalog, *key, pending);
        }
    }
    context_.pendingKeys.clear();
}

void Executor::CheckChild(Catalog& catalog, const ForeignKeyMeta& key, const PendingKey& pending) {
    const TablePtr parent = catalog.Table(key.parentId);
    if (RowExists(context_.store, catalog, *parent, key, false, pending.key)) return;
    // The child's row may be gone again by now.
    const TablePtr child = catalog.Table(key.childId);
    if (!RowExists(context_.store, catalog, *child, key, true, pending.key)) return;
    const bool self = key.childId == key.parentId;
    ThrowConflict(context_, catalog, key, self ? u"FOREIGN KEY SAME TABLE" : u"FOREIGN KEY",
                  *parent, key.columns.front().second);
}

void Executor::CheckParent(Catalog& catalog, const ForeignKeyMeta& key, const PendingKey& pending) {
    const TablePtr parent = catalog.Table(key.parentId);
    const TablePtr child = catalog.Table(key.childId);
    if (RowExists(context_.store, catalog, *parent, key, false, pending.key)) return;
    if (!RowExists(context_.store, catalog, *child, key, true, pending.key)) return;
    const int action = pending.updated ? key.onUpdate : key.onDelete;
    const std::string storage = catalog.Prefix() + child->storage;
    const std::string where = " WHERE " + KeyCondition(*child, key, true);
    if (action == 0 || (context_.reshufflingKeys && !pending.updated)) {
        const bool self = key.childId == key.parentId;
        ThrowConflict(context_, catalog, key, self ? u"SAME TABLE REFERENCE" : u"REFERENCE", *child,
                      key.columns.front().first);
    }
    std::string sql = "DELETE FROM " + storage + where;
    std::size_t first = 0;
    if (pending.updated || action != 1) {
        std::string sets;
        Translator translator(context_);
        translator.inlineLiterals = true;
        for (const auto& [childId, parentId] : key.columns) {
            const ColumnMeta& column = *child->FindById(childId);
            sets += (sets.empty() ? "" : ",") + column.Sql() + "=" +
                    (action == 1   ? "?"
                     : action == 2 ? "NULL"
                                   : DefaultSql(translator, column));
        }
        sql = "UPDATE " + storage + " SET " + sets + where;
        if (action == 1) first = pending.newKey.size();
    }
    Statement s = context_.store.Prepare(sql);
    for (std::size_t i = 0; i < first; ++i)
        s.Bind(static_cast<int>(i) + 1, pending.newKey[i]);
    for (std::size_t i = 0; i < pending.key.size(); ++i) {
        s.Bind(static_cast<int>(first + i) + 1, pending.key[i]);
    }
    s.Run();
}

}  // namespace sandbox::engine
