// ALTER TABLE.
#include <algorithm>

#include "sandbox/engine/definitions/TableBuilder.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/translation/Translator.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

void TableBuilder::ValidateForeignKey(const TableMeta& table, const ForeignKeyMeta& key) {
    const TablePtr parent = catalog_.Table(key.parentId);
    std::string notNull;
    std::string match;
    for (const auto& [child, par] : key.columns) {
        notNull += " AND a." + table.FindById(child)->Sql() + " IS NOT NULL";
        match += (match.empty() ? "" : " AND ") +
                 ("b." + parent->FindById(par)->Sql() + "=a." + table.FindById(child)->Sql());
    }
    Statement s = context_.store.Prepare("SELECT 1 FROM " + catalog_.Prefix() + table.storage +
                                         " AS a WHERE 1" + notNull +
                                         " AND NOT EXISTS(SELECT 1 FROM " + catalog_.Prefix() +
                                         parent->storage + " AS b WHERE " + match + ") LIMIT 1");
    if (!s.Step()) return;
    std::u16string text = Format(
        u"The ALTER TABLE statement conflicted with the FOREIGN KEY constraint \"%1\". The "
        u"conflict occurred in "
        u"database \"%2\", table \"%3\"",
        {key.name, catalog_.File()->name, parent->FullName()});
    if (key.columns.size() == 1) {
        text += u", column '" + parent->FindById(key.columns.front().second)->name + u"'";
    }
    throw SqlError(547, text + u".", 16, 0);
}

void TableBuilder::ValidateCheck(const TableMeta& table, const CheckMeta& check) {
    const std::string condition =
        TableExpression(context_, table, check.text, "a", true, nullptr, nullptr);
    Statement s = context_.store.Prepare("SELECT 1 FROM " + catalog_.Prefix() + table.storage +
                                         " AS a WHERE NOT (" + condition + ") LIMIT 1");
    if (!s.Step()) return;
    std::u16string text = Format(
        u"The ALTER TABLE statement conflicted with the CHECK constraint \"%1\". The conflict "
        u"occurred in "
        u"database \"%2\", table \"%3\"",
        {check.name, catalog_.File()->name, table.FullName()});
    if (check.columnId != 0) text += u", column '" + table.FindById(check.columnId)->name + u"'";
    throw SqlError(547, text + u".", 16, 0);
}

void TableBuilder::SetState(int constraint, bool disabled, bool notTrusted) {
    context_.store
        .Cached("UPDATE " + catalog_.Prefix() + "m_object SET disabled=?, not_trusted=? WHERE id=?")
        .BindAll(disabled, notTrusted, constraint)
        .Run();
}

void TableBuilder::Enable(int id, const AlterTableStmt& stmt) {
    const TablePtr table = catalog_.Table(id);
    // CHECK CONSTRAINT alone does not look at the rows that are there.
    const bool validate = stmt.enable && stmt.withCheckGiven && stmt.withCheck;
    std::vector<int> parents;
    const auto wanted = [&](const std::u16string& name) {
        if (stmt.names.empty()) return true;
        return std::any_of(stmt.names.begin(), stmt.names.end(),
                           [&](const std::u16string& n) { return SameName(n, name); });
    };
    for (const std::u16string& name : stmt.names) {
        const bool known =
            std::any_of(table->foreignKeys.begin(), table->foreignKeys.end(),
                        [&](const ForeignKeyMeta& f) { return SameName(f.name, name); }) ||
            std::any_of(table->checks.begin(), table->checks.end(),
                        [&](const CheckMeta& c) { return SameName(c.name, name); });
        if (!known) {
            throw SqlError(4917, Format(u"Constraint '%1' does not exist.", {name}));
        }
    }
    for (const ForeignKeyMeta& f : table->foreignKeys) {
        if (!wanted(f.name)) continue;
        if (validate) ValidateForeignKey(*table, f);
        SetState(f.id, !stmt.enable,
                 stmt.enable ? !validate && (f.disabled || f.notTrusted) : true);
        parents.push_back(f.parentId);
    }
    for (const CheckMeta& c : table->checks) {
        if (!wanted(c.name)) continue;
        if (validate) ValidateCheck(*table, c);
        SetState(c.id, !stmt.enable,
                 stmt.enable ? !validate && (c.disabled || c.notTrusted) : true);
    }
    Reload(id);
    RebuildTriggers(context_, catalog_, id);
    for (const int parent : parents)
        RebuildTriggers(context_, catalog_, parent);
}

void TableBuilder::Rebuild(const TableMeta& before, std::vector<ColumnMeta> columns,
                           const std::vector<std::string>& values) {
    TableMeta after = before;
    after.columns = std::move(columns);
    after.storage =
        "o" + std::to_string(before.id) + "_" + std::to_string(catalog_.File()->NextObjectId());
    DropTriggers(context_.store, catalog_, before);
    context_.store.Execute(TableSql(context_, catalog_, after));
    std::string names = "rowid";
    std::string selected = "rowid";
    for (std::size_t i = 0; i < after.columns.size(); ++i) {
        if (after.columns[i].computed) continue;
        names += "," + after.columns[i].Sql();
        selected += "," + values[i];
    }
    Statement copy = context_.store.Prepare("INSERT INTO " + catalog_.Prefix() + after.storage +
                                            "(" + names + ") SELECT " + selected + " FROM " +
                                            catalog_.Prefix() + before.storage);
    try {
        copy.Run();
    } catch (const StoreError& e) {
        if (e.code != SQLITE_CONSTRAINT_NOTNULL) throw;
        const std::string text = e.what();
        const ColumnMeta* c =
            after.FindById(LeadingNumber(std::string_view(text).substr(text.rfind(".c") + 2)));
        throw SqlError(
            515,
            Format(u"Cannot insert the value NULL into column '%1', table '%2'; column does not "
                   u"allow nulls. UPDATE fails.",
                   {c ? c->name : u"", catalog_.File()->name + u"." + before.FullName()}));
    }
    context_.store.Execute("DROP TABLE " + catalog_.Prefix() + before.storage);
    writer_.RemoveColumns(before.id);
    for (const ColumnMeta& c : after.columns)
        writer_.AddColumn(before.id, c);
    context_.store.Cached("UPDATE " + catalog_.Prefix() + "m_object SET storage=? WHERE id=?")
        .BindAll(Widen(after.storage), before.id)
        .Run();
    for (const IndexMeta& x : before.indexes)
        CreateStorageIndex(context_, catalog_, after, x);
    Reload(before.id);
    RebuildTriggers(context_, catalog_, before.id);
}

void TableBuilder::Add(int id, const AlterTableStmt& stmt) {
    TablePtr table = catalog_.Table(id);
    if (!stmt.columns.empty()) {
        std::vector<ColumnMeta> columns = table->columns;
        std::vector<std::string> values;
        values.reserve(columns.size());
        for (const ColumnMeta& c : columns)
            values.push_back(c.Sql());
        TableMeta grown = *table;
        int next = 0;
        for (const ColumnMeta& c : columns)
            next = std::max(next, c.id);
        for (const ColumnDef& def : stmt.columns) {
            ColumnMeta c = MakeColumn(def, ++next, grown);
            const ConstraintDef* fallback = nullptr;
            for (const ConstraintDef& k : def.constraints) {
                if (k.kind == ConstraintDef::Kind::Default) fallback = &k;
            }
            std::string value = "NULL";
            if (c.identity) {
                value = "ms_ident(" + std::to_string(catalog_.File()->number) + "," +
                        std::to_string(id) + "," + std::to_string(c.seed) + "," +
                        std::to_string(c.increment) + "," + std::to_string(Pack(c.type)) + ")";
            } else if (c.type.id == TypeId::Timestamp) {
                value = "ms_rowver(" + std::to_string(catalog_.File()->number) + ")";
            } else if (fallback != nullptr && !c.nullable) {
                Translator translator(context_);
                translator.inlineLiterals = true;
                Scope scope;
                const ExprPtr e = Parser(fallback->text).ParseExpressionText();
                value = translator.Stored(translator.Expression(*e, scope), c.type);
            } else if (!c.nullable && !c.computed) {
                Statement rows = context_.store.Prepare("SELECT 1 FROM " + catalog_.Prefix() +
                                                        table->storage + " LIMIT 1");
                if (rows.Step()) {
                    throw SqlError(
                        4901,
                        Format(u"ALTER TABLE only allows columns to be added that can contain "
                               u"nulls, or have a DEFAULT definition specified, or the column "
                               u"being added is an identity or timestamp column, or "
                               u"alternatively if none of the previous conditions are "
                               u"satisfied the table must be empty to allow addition of this "
                               u"column. Column '%1' cannot be added to non-empty table '%2' "
                               u"because it does not satisfy these conditions.",
                               {c.name, table->name}));
                }
            }
            grown.columns.push_back(c);
            columns.push_back(c);
            values.push_back(value);
        }
        Rebuild(*table, std::move(columns), values);
        for (const bool keys : {true, false}) {
            for (const ColumnDef& def : stmt.columns) {
                for (const ConstraintDef& k : def.constraints) {
                    if (IsKey(k) == keys) AddConstraint(id, k, &def.name, stmt.withCheck);
                }
            }
        }
    }
    for (const ConstraintDef& k : stmt.constraints)
        AddConstraint(id, k, nullptr, stmt.withCheck);
    RebuildTriggers(context_, catalog_, id);
}

void TableBuilder::AlterColumn(int id, const AlterTableStmt& stmt) {
    const TablePtr table = catalog_.Table(id);
    const ColumnDef& def = stmt.columns.front();
    const ColumnMeta* old = table->Find(def.name);
    if (old == nullptr) {
        throw SqlError(
            4924, Format(u"ALTER TABLE ALTER COLUMN failed because column '%1' does not exist in "
                         u"table '%2'.",
                         {def.name, table->name}));
    }
    if (old->computed || old->type.id == TypeId::Timestamp) {
        throw SqlError(4928, Format(u"Cannot alter column '%1' because it is '%2'.",
                                    {old->name, old->computed ? u"COMPUTED" : u"timestamp"}));
    }
    std::vector<ColumnMeta> columns = table->columns;
    std::vector<std::string> values;
    values.reserve(columns.size());
    for (ColumnMeta& c : columns) {
        std::string value = c.Sql();
        if (c.id == old->id) {
            Bound b;
            b.sql = c.Sql();
            b.type = c.type;
            Translator translator(context_);
            SqlType type = def.type.type;
            type.collation = CollationOfColumn(def, type);
            value = translator.Stored(b, type);
            c.type = type;
            c.userType = 0;
            c.nullable = def.nullable.value_or(true);
        }
        values.push_back(value);
    }
    Rebuild(*table, std::move(columns), values);
}

void TableBuilder::DropColumns(int id, const AlterTableStmt& stmt) {
    const TablePtr table = catalog_.Table(id);
    std::vector<ColumnMeta> columns = table->columns;
    for (const std::u16string& name : stmt.names) {
        const ColumnMeta* c = table->Find(name);
        if (c == nullptr) {
            throw SqlError(
                4924,
                Format(u"ALTER TABLE DROP COLUMN failed because column '%1' does not exist in "
                       u"table '%2'.",
                       {name, table->name}));
        }
        const auto used = [&](std::u16string_view what, const std::u16string& by) {
            throw SqlError(
                5074, Format(u"The %1 '%2' is dependent on column '%3'.", {what, by, c->name}));
        };
        for (const IndexMeta& x : table->indexes) {
            for (const IndexColumn& k : x.columns) {
                if (k.columnId == c->id)
                    used(x.primaryKey || x.uniqueConstraint ? u"object" : u"index", x.name);
            }
        }
        for (const auto* keys : {&table->foreignKeys, &table->references}) {
            for (const ForeignKeyMeta& f : *keys) {
                for (const auto& [child, parent] : f.columns) {
                    if ((keys == &table->foreignKeys ? child : parent) == c->id)
                        used(u"object", f.name);
                }
            }
        }
        if (c->defaultId != 0) used(u"object", catalog_.FindById(c->defaultId)->name);
        // What mentions the column cannot be translated without it.
        TableMeta without = *table;
        std::erase_if(without.columns, [&](const ColumnMeta& x) { return x.id == c->id; });
        for (const CheckMeta& check : table->checks) {
            try {
                TableExpression(context_, without, check.text, "a", true, nullptr, nullptr);
            } catch (const SqlError&) {
                used(u"object", check.name);
            }
        }
        for (const ColumnMeta& other : table->columns) {
            if (!other.computed || other.id == c->id) continue;
            try {
                TableExpression(context_, without, other.text, "", false, nullptr, nullptr);
            } catch (const SqlError&) {
                used(u"column", other.name);
            }
        }
        std::erase_if(columns, [&](const ColumnMeta& x) { return x.id == c->id; });
    }
    if (columns.empty()) {
        throw SqlError(
            4923, Format(u"ALTER TABLE DROP COLUMN failed because '%1' is the only data column in "
                         u"table '%2'. A table must have at least one data column.",
                         {stmt.names.front(), table->name}));
    }
    std::vector<std::string> values;
    values.reserve(columns.size());
    for (const ColumnMeta& c : columns)
        values.push_back(c.Sql());
    Rebuild(*table, std::move(columns), values);
}

void TableBuilder::DropConstraints(int id, const AlterTableStmt& stmt) {
    for (const std::u16string& name : stmt.names) {
        const TablePtr table = catalog_.Table(id);
        const auto object = catalog_.Find(table->schema, name);
        if (!object || object->parentId != id) {
            throw SqlError(3728, Format(u"'%1' is not a constraint.", {name}));
        }
        std::vector<int> parents;
        if (object->type == u"PK" || object->type == u"UQ") {
            for (const IndexMeta& x : table->indexes) {
                if (!SameName(x.name, object->name)) continue;
                Statement& s =
                    context_.store.Cached("SELECT name FROM " + catalog_.Prefix() +
                                          "m_object WHERE ref_id=? AND type='F' AND index_id=?");
                s.BindAll(id, x.id);
                const bool referenced = s.Step();
                const std::u16string by = referenced ? s.Text(0) : u"";
                s.Reset();
                if (referenced) {
                    throw SqlError(
                        3725,
                        Format(u"The constraint '%1' is being referenced by table '%2', foreign "
                               u"key constraint '%3'.",
                               {object->name, table->name, by}));
                }
                DropStorageIndex(context_, catalog_, *table, x);
                writer_.RemoveIndex(id, x.id);
            }
        }
        for (const ForeignKeyMeta& f : table->foreignKeys) {
            if (f.id == object->id) parents.push_back(f.parentId);
        }
        writer_.RemoveObject(object->id);
        Reload(id);
        RebuildTriggers(context_, catalog_, id);
        for (const int parent : parents)
            RebuildTriggers(context_, catalog_, parent);
    }
}

}  // namespace sandbox::engine
