#include "sandbox/engine/TableBuilder.h"

#include <algorithm>

#include "sandbox/engine/Collation.h"
#include "sandbox/engine/Parser.h"
#include "sandbox/engine/TableStorage.h"
#include "sandbox/engine/Translator.h"
#include "sandbox/engine/Types.h"

namespace sandbox::engine {
namespace {

bool IsKey(const ConstraintDef& c) {
    return c.kind == ConstraintDef::Kind::PrimaryKey || c.kind == ConstraintDef::Kind::Unique;
}

}  // namespace

TablePtr TableBuilder::Reload(int table) {
    catalog_.Changed();
    context_.BumpGeneration();
    return catalog_.Table(table);
}

ColumnMeta TableBuilder::MakeColumn(const ColumnDef& def, int id, const TableMeta& table) {
    ColumnMeta c;
    c.id = id;
    c.name = def.name;
    for (const ColumnMeta& other : table.columns) {
        if (SameName(other.name, def.name)) {
            throw SqlError(
                2705,
                Format(u"Column names in each table must be unique. Column name '%1' in table "
                       u"'%2' is specified more than once.",
                       {def.name, table.name}));
        }
    }
    if (def.computed) {
        c.computed = true;
        c.persisted = def.persisted;
        c.text = def.computedText;
        TableExpression(context_, table, c.text, "", false, &c.type, &c.nullable);
        if (def.nullable) c.nullable = *def.nullable;
        return c;
    }
    if (!def.type.known) {
        throw SqlError(2715,
                       Format(u"Column, parameter, or variable #%1: Cannot find data type %2.",
                              {ToText(id), def.type.name}));
    }
    c.type = def.type.type;
    if (SameName(def.type.name, u"sysname")) c.userType = 256;
    const int major = context_.server.major;
    const bool late = c.type.id == TypeId::Date || c.type.id == TypeId::Time ||
                      c.type.id == TypeId::DateTime2 || c.type.id == TypeId::DateTimeOffset;
    const bool modern = c.type.id == TypeId::Xml || (c.type.length < 0);
    if ((late && major < 10) || (modern && major < 9)) {
        throw SqlError(2715, Format(u"Column or parameter #%1: Cannot find data type %2.",
                                    {ToText(id), TypeName(c.type.id)}));
    }
    bool keyColumn = false;
    for (const ConstraintDef& k : def.constraints) {
        keyColumn = keyColumn || k.kind == ConstraintDef::Kind::PrimaryKey;
    }
    // sysname, rowversion, identity and key columns are NOT NULL unless told.
    const bool notNull =
        def.identity || keyColumn || c.userType == 256 || c.type.id == TypeId::Timestamp;
    c.nullable = def.nullable ? *def.nullable : !notNull;
    c.rowGuid = def.rowGuid;
    if (def.identity) {
        const bool number = (IsInteger(c.type.id) && c.type.id != TypeId::Bit) ||
                            (IsDecimal(c.type.id) && c.type.scale == 0);
        if (!number || (def.nullable && *def.nullable)) {
            throw SqlError(
                2749,
                Format(u"Identity column '%1' must be of data type int, bigint, smallint, "
                       u"tinyint, or decimal or numeric with a scale of 0, and constrained to "
                       u"be nonnullable.",
                       {def.name}));
        }
        if (table.Identity() != nullptr) {
            throw SqlError(2744,
                           Format(u"Multiple identity columns specified for table '%1'. Only one "
                                  u"identity column per table is allowed.",
                                  {table.name}));
        }
        c.identity = true;
        c.seed = def.seed;
        c.increment = def.increment;
    }
    if (c.type.id == TypeId::Timestamp) {
        for (const ColumnMeta& other : table.columns) {
            if (other.type.id == TypeId::Timestamp) {
                throw SqlError(
                    2738, Format(u"A table can only have one timestamp column. Because table '%1' "
                                 u"already has one, the column '%2' cannot be added.",
                                 {table.name, def.name}));
            }
        }
    }
    return c;
}

void TableBuilder::Create(const CreateTableStmt& stmt, int schemaId) {
    writer_.CheckName(stmt.table.name, schemaId);
    TableMeta table;
    table.id = catalog_.File()->NextObjectId();
    table.schemaId = schemaId;
    table.schema = catalog_.SchemaName(schemaId);
    table.name = stmt.table.name;
    table.storage = "o" + std::to_string(table.id);
    // Computed columns may refer to columns behind them: plain columns come first here.
    std::vector<std::optional<ColumnMeta>> made(stmt.columns.size());
    for (const bool computed : {false, true}) {
        for (std::size_t i = 0; i < stmt.columns.size(); ++i) {
            if (stmt.columns[i].computed != computed) continue;
            made[i] = MakeColumn(stmt.columns[i], static_cast<int>(i) + 1, table);
            table.columns.push_back(*made[i]);
        }
    }
    table.columns.clear();
    for (auto& c : made)
        table.columns.push_back(std::move(*c));
    for (const ConstraintDef& c : stmt.constraints) {  // a table's key makes its columns NOT NULL
        if (c.kind != ConstraintDef::Kind::PrimaryKey) continue;
        for (const auto& [name, descending] : c.columns) {
            for (std::size_t i = 0; i < table.columns.size(); ++i) {
                if (!SameName(table.columns[i].name, name)) continue;
                if (stmt.columns[i].nullable && *stmt.columns[i].nullable) {
                    throw SqlError(
                        8111, Format(u"Cannot define PRIMARY KEY constraint on nullable column in "
                                     u"table '%1'.",
                                     {table.name}));
                }
                table.columns[i].nullable = false;
            }
        }
    }
    NewObject object;
    object.id = table.id;
    object.schemaId = schemaId;
    object.name = table.name;
    object.type = u"U";
    object.storage = table.storage;
    writer_.AddObject(object);
    for (const ColumnMeta& c : table.columns)
        writer_.AddColumn(table.id, c);
    context_.store.Execute(TableSql(context_, catalog_, table));
    Reload(table.id);
    // Keys first: a foreign key may refer to the table itself.
    for (const bool keys : {true, false}) {
        for (const ColumnDef& c : stmt.columns) {
            for (const ConstraintDef& k : c.constraints) {
                if (IsKey(k) == keys) AddConstraint(table.id, k, &c.name, true);
            }
        }
        for (const ConstraintDef& k : stmt.constraints) {
            if (IsKey(k) == keys) AddConstraint(table.id, k, nullptr, true);
        }
    }
    RebuildTriggers(context_, catalog_, table.id);
}

std::u16string TableBuilder::ConstraintName(const ConstraintDef& def, std::u16string_view prefix,
                                            const TableMeta& table, int id) {
    if (def.name.empty()) return writer_.AutoName(prefix, table.name, id);
    writer_.CheckName(def.name, table.schemaId);
    return def.name;
}

void TableBuilder::AddConstraint(int id, const ConstraintDef& def, const std::u16string* column,
                                 bool check) {
    const TablePtr table = catalog_.Table(id);
    switch (def.kind) {
        case ConstraintDef::Kind::PrimaryKey:
        case ConstraintDef::Kind::Unique:
            AddKey(*table, def);
            break;
        case ConstraintDef::Kind::ForeignKey:
            AddForeignKey(*table, def, column, check);
            break;
        case ConstraintDef::Kind::Check:
            AddCheck(*table, def, column, check);
            break;
        case ConstraintDef::Kind::Default:
            AddDefault(*table, def);
            break;
    }
    Reload(id);
}

int TableBuilder::NextIndexId(const TableMeta& table, bool clustered) {
    if (clustered) return 1;
    int id = 2;
    for (const IndexMeta& x : table.indexes)
        id = std::max(id, x.id + 1);
    return id;
}

void TableBuilder::AddIndex(const TableMeta& table, IndexMeta index) {
    for (const IndexMeta& x : table.indexes) {
        if (index.clustered && x.clustered) {
            throw SqlError(
                1902, Format(u"Cannot create more than one clustered index on table '%1'. Drop the "
                             u"existing clustered index '%2' before creating another.",
                             {table.name, x.name}));
        }
        if (SameName(x.name, index.name)) {
            throw SqlError(
                1913, Format(u"The operation failed because an index or statistics with name '%1' "
                             u"already exists on table '%2'.",
                             {index.name, table.name}));
        }
    }
    index.id = NextIndexId(table, index.clustered);
    for (const IndexColumn& k : index.columns) {
        const ColumnMeta& c = *table.FindById(k.columnId);
        if (!k.included && (IsLob(c.type.id) || c.type.length < 0)) {
            throw SqlError(
                1919,
                Format(u"Column '%1' in table '%2' is of a type that is invalid for use as a key "
                       u"column in an index.",
                       {c.name, table.name}));
        }
    }
    try {
        CreateStorageIndex(context_, catalog_, table, index);
    } catch (const StoreError& e) {
        if ((e.code & 0xFF) != SQLITE_CONSTRAINT) throw;
        throw SqlError(
            1505,
            Format(u"CREATE UNIQUE INDEX terminated because a duplicate key was found for the "
                   u"object name '%1' and the index name '%2'.",
                   {table.FullName(), index.name}));
    }
    writer_.AddIndex(table.id, index);
}

void TableBuilder::AddKey(const TableMeta& table, const ConstraintDef& def) {
    const bool primary = def.kind == ConstraintDef::Kind::PrimaryKey;
    const int id = catalog_.File()->NextObjectId();
    IndexMeta index;
    index.name = ConstraintName(def, primary ? u"PK" : u"UQ", table, id);
    index.unique = true;
    index.primaryKey = primary;
    index.uniqueConstraint = !primary;
    index.clustered = def.clustered;
    if (primary) {
        for (const IndexMeta& x : table.indexes) {
            if (x.primaryKey) {
                throw SqlError(1779, Format(u"Table '%1' already has a primary key defined on it.",
                                            {table.name}));
            }
            if (x.clustered && !def.clusteredGiven) index.clustered = false;
        }
    }
    for (const auto& [name, descending] : def.columns) {
        const ColumnMeta* c = table.Find(name);
        if (c == nullptr) {
            throw SqlError(
                1911,
                Format(u"Column name '%1' does not exist in the target table or view.", {name}));
        }
        if (primary && c->nullable) {
            throw SqlError(
                8111, Format(u"Cannot define PRIMARY KEY constraint on nullable column in table "
                             u"'%1'.",
                             {table.name}));
        }
        index.columns.push_back({c->id, descending, false});
    }
    AddIndex(table, index);
    NewObject object;
    object.id = id;
    object.schemaId = table.schemaId;
    object.name = index.name;
    object.type = primary ? u"PK" : u"UQ";
    object.parentId = table.id;
    object.indexId = NextIndexId(table, index.clustered);
    object.autoNamed = def.name.empty();
    writer_.AddObject(object);
}

void TableBuilder::AddForeignKey(const TableMeta& table, const ConstraintDef& def,
                                 const std::u16string* column, bool check) {
    ObjectName name = def.references;
    const auto found = catalog_.Find(name.schema, name.name);
    const TablePtr parent = found && found->type == u"U" ? catalog_.Table(found->id) : nullptr;
    const int id = catalog_.File()->NextObjectId();
    const std::u16string constraint = ConstraintName(def, u"FK", table, id);
    if (!parent) {
        throw SqlError(1767, Format(u"Foreign key '%1' references invalid table '%2'.",
                                    {constraint, name.Text()}));
    }
    ForeignKeyMeta key;
    key.id = id;
    key.name = constraint;
    key.childId = table.id;
    key.parentId = parent->id;
    std::vector<int> parentColumns;
    for (const std::u16string& n : def.referencedColumns) {
        const ColumnMeta* c = parent->Find(n);
        if (c == nullptr) {
            throw SqlError(
                1770, Format(u"Foreign key '%1' references invalid column '%2' in referenced table "
                             u"'%3'.",
                             {constraint, n, parent->name}));
        }
        parentColumns.push_back(c->id);
    }
    int indexId = 0;
    for (const IndexMeta& x : parent->indexes) {
        if (!x.unique || indexId != 0) continue;
        std::vector<int> keys;
        for (const IndexColumn& k : x.columns) {
            if (!k.included) keys.push_back(k.columnId);
        }
        if (parentColumns.empty() && x.primaryKey) parentColumns = keys;
        if (std::is_permutation(keys.begin(), keys.end(), parentColumns.begin(),
                                parentColumns.end())) {
            indexId = x.id;
        }
    }
    if (indexId == 0) {
        throw SqlError(
            1776,
            Format(u"There are no primary or candidate keys in the referenced table '%1' that "
                   u"match the referencing column list in the foreign key '%2'.",
                   {parent->name, constraint}),
            16, 0);
    }
    if (parentColumns.size() != def.columns.size()) {
        throw SqlError(
            8139, Format(u"Number of referencing columns in foreign key differs from number of "
                         u"referenced columns, table '%1'.",
                         {table.name}));
    }
    for (std::size_t i = 0; i < def.columns.size(); ++i) {
        const ColumnMeta* c = table.Find(def.columns[i].first);
        if (c == nullptr) {
            throw SqlError(
                1769,
                Format(u"Foreign key '%1' references invalid column '%2' in referencing table "
                       u"'%3'.",
                       {constraint, def.columns[i].first, table.name}));
        }
        const ColumnMeta* p = parent->FindById(parentColumns[i]);
        const bool text = IsCharacter(c->type.id) && IsCharacter(p->type.id);
        if (c->type.id != p->type.id && !text) {
            throw SqlError(
                1778,
                Format(u"Column '%1.%2' is not the same data type as referencing column '%3.%4' "
                       u"in foreign key '%5'.",
                       {parent->name, p->name, table.name, c->name, constraint}));
        }
        key.columns.emplace_back(c->id, p->id);
    }
    NewObject object;
    object.id = id;
    object.schemaId = table.schemaId;
    object.name = constraint;
    object.type = u"F";
    object.parentId = table.id;
    object.referencedId = parent->id;
    object.indexId = indexId;
    object.onDelete = def.deleteCascade ? 1 : def.deleteSetNull ? 2 : 0;
    object.onUpdate = def.updateCascade ? 1 : def.updateSetNull ? 2 : 0;
    object.notTrusted = !check;
    object.autoNamed = def.name.empty();
    if (column != nullptr) object.columnId = key.columns.front().first;
    writer_.AddObject(object);
    writer_.AddForeignKeyColumns(id, table.id, parent->id, key.columns);
    if (check) ValidateForeignKey(table, key);
    Reload(table.id);
    RebuildTriggers(context_, catalog_, parent->id);
}

void TableBuilder::AddCheck(const TableMeta& table, const ConstraintDef& def,
                            const std::u16string* column, bool check) {
    CheckMeta meta;
    meta.id = catalog_.File()->NextObjectId();
    meta.name = ConstraintName(def, u"CK", table, meta.id);
    meta.text = def.text;
    if (column != nullptr) meta.columnId = table.Find(*column)->id;
    if (check) ValidateCheck(table, meta);
    NewObject object;
    object.id = meta.id;
    object.schemaId = table.schemaId;
    object.name = meta.name;
    object.type = u"C";
    object.parentId = table.id;
    object.text = meta.text;
    object.columnId = meta.columnId;
    object.notTrusted = !check;
    object.autoNamed = def.name.empty();
    writer_.AddObject(object);
}

void TableBuilder::AddDefault(const TableMeta& table, const ConstraintDef& def) {
    const ColumnMeta* c = table.Find(def.forColumn);
    if (c == nullptr) ThrowInvalidColumn(def.forColumn);
    if (c->defaultId != 0) {
        throw SqlError(1781, u"Column already has a DEFAULT bound to it.");
    }
    if (c->identity || c->type.id == TypeId::Timestamp) {
        throw SqlError(
            1754, Format(u"Defaults cannot be created on columns with an IDENTITY attribute. Table "
                         u"'%1', column '%2'.",
                         {table.name, c->name}));
    }
    NewObject object;
    object.id = catalog_.File()->NextObjectId();
    object.schemaId = table.schemaId;
    object.name = ConstraintName(def, u"DF", table, object.id);
    object.type = u"D";
    object.parentId = table.id;
    object.text = def.text;
    object.columnId = c->id;
    object.autoNamed = def.name.empty();
    writer_.AddObject(object);
    context_.store
        .Cached("UPDATE " + catalog_.Prefix() +
                "m_column SET default_id=? WHERE object_id=? AND id=?")
        .BindAll(object.id, table.id, c->id)
        .Run();
}

void TableBuilder::Drop(const TableMeta& table) {
    for (const ForeignKeyMeta& f : table.references) {
        if (f.childId == table.id) continue;
        throw SqlError(
            3726, Format(u"Could not drop object '%1' because it is referenced by a FOREIGN KEY "
                         u"constraint.",
                         {table.FullName()}));
    }
    for (const int id : catalog_.Dependents(table.id)) {
        const TablePtr view = catalog_.Table(id);
        if (view && view->schemaBound) {
            throw SqlError(
                3729,
                Format(u"Cannot DROP TABLE '%1' because it is being referenced by object '%2'.",
                       {table.FullName(), view->name}));
        }
    }
    std::vector<int> parents;
    for (const ForeignKeyMeta& f : table.foreignKeys)
        parents.push_back(f.parentId);
    context_.store.Execute("DROP TABLE " + catalog_.Prefix() + table.storage);
    writer_.RemoveObject(table.id);
    Reload(table.id);
    for (const int parent : parents)
        RebuildTriggers(context_, catalog_, parent);
}

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
        const ColumnMeta* c = after.FindById(std::atoi(text.c_str() + text.rfind(".c") + 2));
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
    for (ColumnMeta& c : columns) {
        std::string value = c.Sql();
        if (c.id == old->id) {
            Bound b;
            b.sql = c.Sql();
            b.type = c.type;
            Translator translator(context_);
            value = translator.Stored(b, def.type.type);
            c.type = def.type.type;
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
