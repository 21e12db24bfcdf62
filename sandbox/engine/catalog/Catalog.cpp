#include "sandbox/engine/catalog/Catalog.h"

#include <atomic>

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
namespace {

std::uint64_t NextGeneration() {
    static std::atomic<std::uint64_t> next{0};
    return ++next;
}

}  // namespace

const ColumnMeta* TableMeta::Find(std::u16string_view column) const {
    for (const ColumnMeta& c : columns) {
        if (SameName(c.name, column)) return &c;
    }
    return nullptr;
}

const ColumnMeta* TableMeta::FindById(int column) const {
    for (const ColumnMeta& c : columns) {
        if (c.id == column) return &c;
    }
    return nullptr;
}

const ColumnMeta* TableMeta::Identity() const {
    for (const ColumnMeta& c : columns) {
        if (c.identity) return &c;
    }
    return nullptr;
}

bool Catalog::IsThere() {
    Statement s =
        store_.Prepare("SELECT count(*) FROM " + Prefix() + "sqlite_master WHERE name='m_depend'");
    return s.Step() && s.Integer(0) != 0;
}

bool Catalog::Refresh() {
    Statement& s = store_.Cached("SELECT version FROM " + Prefix() + "m_meta");
    s.Step();
    const std::int64_t now = s.Integer(0);
    s.Reset();
    if (now == version_) return false;
    Forget();
    version_ = now;
    return true;
}

void Catalog::Changed() {
    store_.Cached("UPDATE " + Prefix() + "m_meta SET version=version+1").Run();
    Forget();
    Refresh();
}

void Catalog::Forget() {
    version_ = -1;
    generation_ = NextGeneration();
    byName_.clear();
    byId_.clear();
    tables_.clear();
    procedures_.clear();
    schemas_.clear();
}

std::optional<int> Catalog::SchemaId(std::u16string_view name) {
    const std::u16string key = FoldName(name);
    const auto found = schemas_.find(key);
    if (found != schemas_.end()) return found->second;
    Statement& s = store_.Cached("SELECT id FROM " + Prefix() + "m_schema WHERE name=?");
    s.Bind(1, Value::Text(key));
    std::optional<int> id;
    if (s.Step()) id = static_cast<int>(s.Integer(0));
    s.Reset();
    schemas_[key] = id;
    return id;
}

std::u16string Catalog::SchemaName(int id) {
    Statement& s = store_.Cached("SELECT name FROM " + Prefix() + "m_schema WHERE id=?");
    s.Bind(1, Value::Int(id));
    std::u16string name;
    if (s.Step()) name = s.Text(0);
    s.Reset();
    return name;
}

namespace {

constexpr const char* kObjectColumns =
    "id,schema_id,parent_id,name,type,shipped,disabled,not_trusted,on_delete,on_update,bound";

ObjectMeta ReadObject(const Statement& s) {
    ObjectMeta o;
    o.id = static_cast<int>(s.Integer(0));
    o.schemaId = static_cast<int>(s.Integer(1));
    o.parentId = static_cast<int>(s.Integer(2));
    o.name = s.Text(3);
    o.type = s.Text(4);
    o.shipped = s.Integer(5) != 0;
    o.disabled = s.Integer(6) != 0;
    o.notTrusted = s.Integer(7) != 0;
    o.onDelete = static_cast<int>(s.Integer(8));
    o.onUpdate = static_cast<int>(s.Integer(9));
    o.schemaBound = s.Integer(10) != 0;
    return o;
}

}  // namespace

std::optional<ObjectMeta> Catalog::Find(std::u16string_view schema, std::u16string_view name) {
    std::u16string key = FoldName(schema);
    key += u'\x1F';
    key += FoldName(name);
    const auto found = byName_.find(key);
    if (found != byName_.end()) return found->second;
    std::optional<ObjectMeta> object;
    if (const auto id = SchemaId(schema.empty() ? kDefaultSchema : schema)) {
        Statement& s = store_.Cached(std::string("SELECT ") + kObjectColumns + " FROM " + Prefix() +
                                     "m_object WHERE name=? AND schema_id=?");
        s.BindAll(name, *id);
        if (s.Step()) object = ReadObject(s);
        s.Reset();
    }
    byName_[key] = object;
    return object;
}

std::optional<ObjectMeta> Catalog::FindById(int id) {
    const auto found = byId_.find(id);
    if (found != byId_.end()) return found->second;
    Statement& s = store_.Cached(std::string("SELECT ") + kObjectColumns + " FROM " + Prefix() +
                                 "m_object WHERE id=?");
    s.Bind(1, Value::Int(id));
    std::optional<ObjectMeta> object;
    if (s.Step()) object = ReadObject(s);
    s.Reset();
    byId_[id] = object;
    return object;
}

TablePtr Catalog::Table(int id) {
    const auto found = tables_.find(id);
    if (found != tables_.end()) return found->second;
    Statement& s =
        store_.Cached("SELECT schema_id,name,type,text,storage,bound,history_id,history_of FROM " +
                      Prefix() + "m_object WHERE id=? AND type IN ('U','V')");
    s.Bind(1, Value::Int(id));
    if (!s.Step()) {
        s.Reset();
        return nullptr;
    }
    auto table = std::make_shared<TableMeta>();
    table->id = id;
    table->schemaId = static_cast<int>(s.Integer(0));
    table->name = s.Text(1);
    table->type = s.Text(2).front();
    table->text = s.Text(3);
    table->storage = Narrow(s.Text(4));
    table->schemaBound = s.Integer(5) != 0;
    table->historyId = static_cast<int>(s.Integer(6));
    table->historyOf = static_cast<int>(s.Integer(7));
    s.Reset();
    table->schema = SchemaName(table->schemaId);
    LoadColumns(*table);
    LoadIndexes(*table);
    LoadConstraints(*table);
    tables_[id] = table;
    return table;
}

void Catalog::LoadColumns(TableMeta& table) {
    Statement& s = store_.Cached(
        "SELECT "
        "c.id,c.name,c.packed,c.user_type,c.nullable,c.identity,c.seed,c.increment,c.computed,"
        "c.persisted,c.rowguid,c.text,c.default_id,d.text,c.generated FROM " +
        Prefix() + "m_column c LEFT JOIN " + Prefix() +
        "m_object d ON d.id=c.default_id WHERE c.object_id=? ORDER BY c.id");
    s.Bind(1, Value::Int(table.id));
    while (s.Step()) {
        ColumnMeta c;
        c.id = static_cast<int>(s.Integer(0));
        c.name = s.Text(1);
        c.type = Unpack(s.Integer(2));
        c.userType = static_cast<int>(s.Integer(3));
        c.nullable = s.Integer(4) != 0;
        c.identity = s.Integer(5) != 0;
        c.seed = s.Integer(6);
        c.increment = s.Integer(7);
        c.computed = s.Integer(8) != 0;
        c.persisted = s.Integer(9) != 0;
        c.rowGuid = s.Integer(10) != 0;
        c.text = s.Text(11);
        c.defaultId = static_cast<int>(s.Integer(12));
        c.defaultText = s.Text(13);
        c.generated = static_cast<int>(s.Integer(14));
        table.columns.push_back(std::move(c));
    }
    s.Reset();
}

void Catalog::LoadIndexes(TableMeta& table) {
    Statement& s =
        store_.Cached("SELECT id,name,clustered,is_unique,pk,uc,filter,ignore_dup FROM " +
                      Prefix() + "m_index WHERE object_id=? AND id>0 ORDER BY id");
    s.Bind(1, Value::Int(table.id));
    while (s.Step()) {
        IndexMeta x;
        x.id = static_cast<int>(s.Integer(0));
        x.name = s.Text(1);
        x.clustered = s.Integer(2) != 0;
        x.unique = s.Integer(3) != 0;
        x.primaryKey = s.Integer(4) != 0;
        x.uniqueConstraint = s.Integer(5) != 0;
        x.filter = s.Text(6);
        x.ignoreDuplicates = s.Integer(7) != 0;
        table.indexes.push_back(std::move(x));
    }
    s.Reset();
    Statement& k = store_.Cached("SELECT index_id,column_id,descending,included FROM " + Prefix() +
                                 "m_index_column WHERE object_id=? ORDER BY index_id,ordinal");
    k.Bind(1, Value::Int(table.id));
    while (k.Step()) {
        for (IndexMeta& x : table.indexes) {
            if (x.id != k.Integer(0)) continue;
            x.columns.push_back(
                {static_cast<int>(k.Integer(1)), k.Integer(2) != 0, k.Integer(3) != 0});
        }
    }
    k.Reset();
}

std::vector<ForeignKeyMeta> Catalog::LoadForeignKeys(const char* column, int id) {
    std::vector<ForeignKeyMeta> keys;
    Statement& s = store_.Cached(
        "SELECT id,name,parent_id,ref_id,on_delete,on_update,disabled,not_trusted FROM " +
        Prefix() + "m_object WHERE " + column + "=? AND type='F' ORDER BY id");
    s.Bind(1, Value::Int(id));
    while (s.Step()) {
        ForeignKeyMeta f;
        f.id = static_cast<int>(s.Integer(0));
        f.name = s.Text(1);
        f.childId = static_cast<int>(s.Integer(2));
        f.parentId = static_cast<int>(s.Integer(3));
        f.onDelete = static_cast<int>(s.Integer(4));
        f.onUpdate = static_cast<int>(s.Integer(5));
        f.disabled = s.Integer(6) != 0;
        f.notTrusted = s.Integer(7) != 0;
        keys.push_back(std::move(f));
    }
    s.Reset();
    Statement& k = store_.Cached("SELECT parent_column_id,ref_column_id FROM " + Prefix() +
                                 "m_fk_column WHERE constraint_id=? ORDER BY ordinal");
    for (ForeignKeyMeta& f : keys) {
        k.Reset();
        k.Bind(1, Value::Int(f.id));
        while (k.Step()) {
            f.columns.emplace_back(static_cast<int>(k.Integer(0)), static_cast<int>(k.Integer(1)));
        }
        k.Reset();
    }
    return keys;
}

void Catalog::LoadConstraints(TableMeta& table) {
    table.foreignKeys = LoadForeignKeys("parent_id", table.id);
    table.references = LoadForeignKeys("ref_id", table.id);
    Statement& s = store_.Cached("SELECT id,name,text,column_id,disabled,not_trusted FROM " +
                                 Prefix() + "m_object WHERE parent_id=? AND type='C' ORDER BY id");
    s.Bind(1, Value::Int(table.id));
    while (s.Step()) {
        CheckMeta c;
        c.id = static_cast<int>(s.Integer(0));
        c.name = s.Text(1);
        c.text = s.Text(2);
        c.columnId = static_cast<int>(s.Integer(3));
        c.disabled = s.Integer(4) != 0;
        c.notTrusted = s.Integer(5) != 0;
        table.checks.push_back(std::move(c));
    }
    s.Reset();
}

ProcedurePtr Catalog::Procedure(int id) {
    const auto found = procedures_.find(id);
    if (found != procedures_.end()) return found->second;
    Statement& s = store_.Cached("SELECT schema_id,name,text FROM " + Prefix() +
                                 "m_object WHERE id=? AND type='P'");
    s.Bind(1, Value::Int(id));
    ProcedurePtr result;
    if (s.Step()) {
        auto p = std::make_shared<ProcedureMeta>();
        p->id = id;
        const int schema = static_cast<int>(s.Integer(0));
        p->name = s.Text(1);
        p->text = s.Text(2);
        s.Reset();
        p->schema = SchemaName(schema);
        std::vector<StmtPtr> parsed = Parser(p->text).ParseBatch();
        p->definition.reset(static_cast<CreateProcedureStmt*>(parsed.front().release()));
        result = p;
    }
    s.Reset();
    procedures_[id] = result;
    return result;
}

std::vector<int> Catalog::Dependents(int id) {
    Statement& s = store_.Cached("SELECT id FROM " + Prefix() + "m_depend WHERE depid=?");
    s.Bind(1, Value::Int(id));
    std::vector<int> ids;
    while (s.Step())
        ids.push_back(static_cast<int>(s.Integer(0)));
    s.Reset();
    return ids;
}

std::u16string_view TypeDescription(std::u16string_view type) {
    if (type == u"U") return u"USER_TABLE";
    if (type == u"V") return u"VIEW";
    if (type == u"P") return u"SQL_STORED_PROCEDURE";
    if (type == u"PK") return u"PRIMARY_KEY_CONSTRAINT";
    if (type == u"UQ") return u"UNIQUE_CONSTRAINT";
    if (type == u"F") return u"FOREIGN_KEY_CONSTRAINT";
    if (type == u"C") return u"CHECK_CONSTRAINT";
    if (type == u"D") return u"DEFAULT_CONSTRAINT";
    return u"SYSTEM_TABLE";
}

}  // namespace sandbox::engine
