// Keys, indexes, CHECK and DEFAULT: how a table gets them.
#include <algorithm>

#include "sandbox/engine/definitions/TableBuilder.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

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
    index.ignoreDuplicates = def.ignoreDuplicates;
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
        if (!x.unique || !x.filter.empty() || indexId != 0) continue;
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
        if (text && c->type.collation != p->type.collation) {
            throw SqlError(1757,
                           Format(u"Column '%1.%2' is not of same collation as referencing column "
                                  u"'%3.%4' in foreign key '%5'.",
                                  {parent->name, p->name, table.name, c->name, constraint}));
        }
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
    const auto action = [](bool cascade, bool setNull, bool setDefault) {
        return cascade ? 1 : setNull ? 2 : setDefault ? 3 : 0;
    };
    object.onDelete = action(def.deleteCascade, def.deleteSetNull, def.deleteSetDefault);
    object.onUpdate = action(def.updateCascade, def.updateSetNull, def.updateSetDefault);
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

}  // namespace sandbox::engine
