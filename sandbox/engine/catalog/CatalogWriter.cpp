#include "sandbox/engine/catalog/CatalogWriter.h"

#include <cstdio>

#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

Statement& CatalogWriter::Cached(const char* sql) {
    std::string text;
    for (const char* p = sql; *p != '\0'; ++p) {
        if (*p == '@') {
            text += catalog_.Prefix();
        } else {
            text += *p;
        }
    }
    return context_.store.Cached(text);
}

void CatalogWriter::CheckName(const std::u16string& name, int schemaId) {
    if (catalog_.Find(catalog_.SchemaName(schemaId), name)) {
        throw SqlError(
            2714, Format(u"There is already an object named '%1' in the database.", {name}), 16, 6);
    }
}

void CatalogWriter::AddSchema(std::u16string_view name) {
    Cached("INSERT INTO @m_schema(id,name,principal) SELECT max(max(id),4)+1, ?, 1 FROM @m_schema")
        .BindAll(name)
        .Run();
    catalog_.Changed();
    context_.BumpGeneration();
}

void CatalogWriter::AddUser(std::u16string_view name, std::u16string_view login) {
    if (!login.empty()) Cached("INSERT INTO @m_user VALUES(?,?)").BindAll(name, login).Run();
    AddSchema(name);
}

void CatalogWriter::AddObject(const NewObject& o) {
    const Value text = o.text.empty() ? Value::Null() : Value::Text(o.text);
    Cached(
        "INSERT INTO @m_object(id,schema_id,name,type,parent_id,created,text,storage,disabled,"
        "not_trusted,ref_id,on_delete,on_update,column_id,index_id,bound,auto_named)"
        " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)")
        .BindAll(o.id, o.schemaId, o.name, o.type, o.parentId, NowAsDateTime(false), text,
                 Widen(o.storage), o.disabled, o.notTrusted, o.referencedId, o.onDelete, o.onUpdate,
                 o.columnId, o.indexId, o.bound, o.autoNamed)
        .Run();
    AddHeap(o.id);
}

void CatalogWriter::AddHeap(int object) {
    Cached(
        "INSERT INTO @m_index SELECT id,0,NULL,0,0,0,0,NULL,0 FROM @m_object WHERE id=? AND "
        "type='U'")
        .BindAll(object)
        .Run();
}

namespace {

Value CollationName(const SqlType& type) {
    return IsCharacter(type.id) ? Value::Text(FactsOf(type.collation).name) : Value::Null();
}

}  // namespace

void CatalogWriter::AddColumn(int table, const ColumnMeta& c) {
    const TypeFacts& facts = Facts(c.type.id);
    const Value text = c.text.empty() ? Value::Null() : Value::Text(c.text);
    Cached(
        "INSERT INTO "
        "@m_column(object_id,id,name,packed,xtype,user_type,max_length,prec,scale,collation,"
        "nullable,"
        "identity,seed,increment,computed,persisted,rowguid,text,default_id,generated)"
        " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)")
        .BindAll(table, c.id, c.name, Pack(c.type), facts.systemType,
                 c.userType != 0 ? c.userType : facts.userType, MaxLength(c.type),
                 PrecisionOf(c.type), ScaleOf(c.type), CollationName(c.type), c.nullable,
                 c.identity, c.seed, c.increment, c.computed, c.persisted, c.rowGuid, text,
                 c.defaultId, c.generated)
        .Run();
}

void CatalogWriter::AddIndex(int table, const IndexMeta& x) {
    if (x.clustered) {
        Cached("DELETE FROM @m_index WHERE object_id=? AND id=0").BindAll(table).Run();
    }
    const Value filter = x.filter.empty() ? Value::Null() : Value::Text(x.filter);
    Cached("INSERT INTO @m_index VALUES(?,?,?,?,?,?,?,?,?)")
        .BindAll(table, x.id, x.name, x.clustered, x.unique, x.primaryKey, x.uniqueConstraint,
                 filter, x.ignoreDuplicates)
        .Run();
    Statement& s = Cached("INSERT INTO @m_index_column VALUES(?,?,?,?,?,?)");
    int ordinal = 0;
    for (const IndexColumn& k : x.columns) {
        s.BindAll(table, x.id, ++ordinal, k.columnId, k.descending, k.included).Run();
    }
}

void CatalogWriter::AddForeignKeyColumns(int constraint, int table, int referenced,
                                         const std::vector<std::pair<int, int>>& columns) {
    Statement& s = Cached("INSERT INTO @m_fk_column VALUES(?,?,?,?,?,?)");
    int ordinal = 0;
    for (const auto& [child, parent] : columns) {
        s.BindAll(constraint, ++ordinal, table, child, referenced, parent).Run();
    }
}

void CatalogWriter::AddDependency(int id, int on) {
    Cached("INSERT OR IGNORE INTO @m_depend VALUES(?,?)").BindAll(id, on).Run();
}

void CatalogWriter::LinkHistory(int table, int history) {
    Cached("UPDATE @m_object SET history_id=? WHERE id=?").BindAll(history, table).Run();
    Cached("UPDATE @m_object SET history_of=? WHERE id=?").BindAll(table, history).Run();
}

void CatalogWriter::RemoveObject(int id) {
    for (const char* sql :
         {"DELETE FROM @m_fk_column WHERE constraint_id=?1 OR parent_id=?1",
          "DELETE FROM @m_column WHERE object_id=?", "DELETE FROM @m_index WHERE object_id=?",
          "DELETE FROM @m_index_column WHERE object_id=?",
          "DELETE FROM @m_depend WHERE id=?1 OR depid=?1",
          "UPDATE @m_column SET default_id=0 WHERE default_id=?",
          "DELETE FROM @m_object WHERE id=?1 OR parent_id=?1"}) {
        Cached(sql).BindAll(id).Run();
    }
}

void CatalogWriter::RemoveColumns(int table) {
    Cached("DELETE FROM @m_column WHERE object_id=?").BindAll(table).Run();
}

void CatalogWriter::RemoveIndex(int table, int index) {
    Cached("DELETE FROM @m_index WHERE object_id=? AND id=?").BindAll(table, index).Run();
    Cached("DELETE FROM @m_index_column WHERE object_id=? AND index_id=?")
        .BindAll(table, index)
        .Run();
    Cached("DELETE FROM @m_object WHERE parent_id=? AND type IN ('PK','UQ') AND index_id=?")
        .BindAll(table, index)
        .Run();
    if (index == kClusteredIndex) AddHeap(table);
}

std::u16string CatalogWriter::AutoName(std::u16string_view prefix, std::u16string_view table,
                                       int id) {
    char digits[16];
    static_cast<void>(std::snprintf(digits, sizeof digits, "%08X", static_cast<unsigned>(id)));
    return std::u16string(prefix) + u"__" + std::u16string(table.substr(0, 9)) + u"__" +
           Widen(digits);
}

}  // namespace sandbox::engine
