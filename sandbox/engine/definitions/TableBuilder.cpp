#include "sandbox/engine/definitions/TableBuilder.h"

#include <algorithm>

#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/translation/Translator.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
TablePtr TableBuilder::Reload(int table) {
    catalog_.Changed();
    context_.BumpGeneration();
    return catalog_.Table(table);
}

CollationId TableBuilder::CollationOfColumn(const ColumnDef& def, const SqlType& type) const {
    if (def.collation.empty()) {
        if (!IsCharacter(type.id)) return kServerCollation;
        return def.collationId.value_or(catalog_.File()->collation);
    }
    const CollationId id = NamedCollation(context_, def.collation);
    if (!IsCharacter(type.id)) {
        throw SqlError(
            447, Format(u"Expression type %1 is invalid for COLLATE clause.", {TypeName(type.id)}));
    }
    if (IsLob(type.id) && (FactsOf(id).utf8 || FactsOf(id).supplementary)) {
        throw SqlError(
            4189, Format(u"Cannot convert to text/ntext or collate to '%1' because these legacy "
                         u"LOB types do not support UTF-8 or UTF-16 encodings. Use types "
                         u"varchar(max), nvarchar(max) or a collation which does not have the "
                         u"_SC or _UTF8 flags.",
                         {FactsOf(id).name}));
    }
    if (FactsOf(id).codePage == 0 && !IsUnicode(type.id)) {
        throw SqlError(459, Format(u"Collation '%1' is supported on Unicode data types only and "
                                   u"cannot be applied to char, varchar or text data types.",
                                   {FactsOf(id).name}));
    }
    return id;
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
    c.type.collation = CollationOfColumn(def, c.type);
    bool keyColumn = false;
    for (const ConstraintDef& k : def.constraints) {
        keyColumn = keyColumn || k.kind == ConstraintDef::Kind::PrimaryKey;
    }
    // sysname, rowversion, identity and key columns are NOT NULL unless told.
    const bool notNull =
        def.identity || keyColumn || c.userType == 256 || c.type.id == TypeId::Timestamp;
    c.nullable = def.nullable ? *def.nullable : !notNull;
    c.rowGuid = def.rowGuid;
    c.generated = def.generated;
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

// A period has two columns of datetime2 that are not NULL; came with SQL Server 2016.
void TableBuilder::CheckPeriod(const CreateTableStmt& stmt, const TableMeta& table) const {
    const auto generated = [](const ColumnMeta& c) { return c.generated != 0; };
    const auto count = std::count_if(table.columns.begin(), table.columns.end(), generated);
    if (count == 0 && stmt.period.empty() && !stmt.versioned) return;
    if (context_.server.major < 13) ThrowSyntax(count > 0 ? u"GENERATED" : u"PERIOD");
    bool right = count == 2 && stmt.period.size() == 2;
    for (std::size_t i = 0; right && i < stmt.period.size(); ++i) {
        const ColumnMeta* c = table.Find(stmt.period[i]);
        right = c != nullptr && c->generated == static_cast<int>(i) + 1 && !c->nullable &&
                c->type.id == TypeId::DateTime2;
    }
    if (!right) ThrowSyntax(u"PERIOD");
}

// The table in the catalog, and an empty one behind it.
void TableBuilder::Store(const TableMeta& table) {
    NewObject object;
    object.id = table.id;
    object.schemaId = table.schemaId;
    object.name = table.name;
    object.type = u"U";
    object.storage = table.storage;
    writer_.AddObject(object);
    for (const ColumnMeta& c : table.columns)
        writer_.AddColumn(table.id, c);
    context_.store.Execute(TableSql(context_, catalog_, table));
}

// The table that gets the old rows: the columns without their rules.
void TableBuilder::CreateHistory(const CreateTableStmt& stmt, const TableMeta& table) {
    const bool keyed = std::any_of(table.indexes.begin(), table.indexes.end(),
                                   [](const IndexMeta& x) { return x.primaryKey; });
    if (!keyed) {
        throw SqlError(13553, Format(u"System versioned temporal table '%1' must have primary key "
                                     u"defined.",
                                     {catalog_.File()->name + u"." + table.FullName()}));
    }
    TableMeta history;
    history.id = catalog_.File()->NextObjectId();
    history.schemaId =
        stmt.history.schema.empty() ? table.schemaId : *catalog_.SchemaId(stmt.history.schema);
    history.name = stmt.history.name.empty() ? u"MSSQL_TemporalHistoryFor_" + ToText(table.id)
                                             : stmt.history.name;
    writer_.CheckName(history.name, history.schemaId);
    history.storage = "o" + std::to_string(history.id);
    for (ColumnMeta c : table.columns) {
        if (c.type.id == TypeId::Timestamp) ThrowSyntax(u"SYSTEM_VERSIONING");
        c.identity = c.computed = c.persisted = c.rowGuid = false;
        c.text.clear();
        c.defaultId = c.generated = 0;
        history.columns.push_back(std::move(c));
    }
    Store(history);
    writer_.LinkHistory(table.id, history.id);
    Reload(history.id);
}

void TableBuilder::Create(const CreateTableStmt& stmt, int schemaId, const std::u16string& name) {
    writer_.CheckName(name, schemaId);
    TableMeta table;
    table.id = catalog_.File()->NextObjectId();
    table.schemaId = schemaId;
    table.schema = catalog_.SchemaName(schemaId);
    table.name = name;
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
    CheckPeriod(stmt, table);
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
    Store(table);
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
    if (stmt.versioned) CreateHistory(stmt, *catalog_.Table(table.id));
    RebuildTriggers(context_, catalog_, table.id);
}

void TableBuilder::Drop(const TableMeta& table) {
    if (table.historyId != 0 || table.historyOf != 0) {
        throw SqlError(13552,
                       Format(u"Drop table operation failed on table '%1' because it is not a "
                              u"supported operation on system-versioned temporal tables.",
                              {catalog_.File()->name + u"." + table.FullName()}));
    }
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

}  // namespace sandbox::engine
