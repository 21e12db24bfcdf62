// What the catalog of a new database holds.

#include "sandbox/engine/catalog/Catalog.h"
#include "sandbox/engine/values/Types.h"
#include "sandbox/text/Collations.h"

namespace sandbox::engine {

namespace {

constexpr const char* kTables[] = {
    "CREATE TABLE @.m_meta(version INTEGER)",
    "INSERT INTO @.m_meta VALUES(1)",
    "CREATE TABLE @.m_schema(id INTEGER PRIMARY KEY, name TEXT COLLATE ms, principal INTEGER)",
    "CREATE TABLE @.m_object(id INTEGER PRIMARY KEY, schema_id INTEGER, name TEXT COLLATE ms,"
    " type TEXT COLLATE ms, parent_id INTEGER DEFAULT 0, created INTEGER, shipped INTEGER DEFAULT "
    "0,"
    " text TEXT COLLATE ms, storage TEXT, disabled INTEGER DEFAULT 0, not_trusted INTEGER DEFAULT "
    "0,"
    " ref_id INTEGER, on_delete INTEGER DEFAULT 0, on_update INTEGER DEFAULT 0,"
    " column_id INTEGER DEFAULT 0, index_id INTEGER, bound INTEGER DEFAULT 0,"
    " auto_named INTEGER DEFAULT 0, history_id INTEGER DEFAULT 0, history_of INTEGER DEFAULT 0)",
    "CREATE INDEX @.x_object_name ON m_object(name, schema_id)",
    "CREATE INDEX @.x_object_parent ON m_object(parent_id)",
    "CREATE INDEX @.x_object_ref ON m_object(ref_id)",
    "CREATE TABLE @.m_column(object_id INTEGER, id INTEGER, name TEXT COLLATE ms, packed INTEGER,"
    " xtype INTEGER, user_type INTEGER, max_length INTEGER, prec INTEGER, scale INTEGER,"
    " collation TEXT COLLATE ms, nullable INTEGER, identity INTEGER, seed INTEGER, increment "
    "INTEGER, computed INTEGER,"
    " persisted INTEGER, rowguid INTEGER, text TEXT COLLATE ms, default_id INTEGER DEFAULT 0,"
    " generated INTEGER DEFAULT 0,"
    " PRIMARY KEY(object_id, id)) WITHOUT ROWID",
    "CREATE TABLE @.m_type(user_type INTEGER PRIMARY KEY, name TEXT COLLATE ms, xtype INTEGER,"
    " legacy_type INTEGER, max_length INTEGER, prec INTEGER, scale INTEGER, nullable INTEGER,"
    " collation TEXT COLLATE ms, legacy_user INTEGER)",
    // Row 0 of a table is its heap; a clustered index (1) takes its place.
    "CREATE TABLE @.m_index(object_id INTEGER, id INTEGER, name TEXT COLLATE ms, clustered INTEGER,"
    " is_unique INTEGER, pk INTEGER, uc INTEGER, filter TEXT COLLATE ms, ignore_dup INTEGER,"
    " PRIMARY KEY(object_id, id)) WITHOUT ROWID",
    "CREATE TABLE @.m_index_column(object_id INTEGER, index_id INTEGER, ordinal INTEGER,"
    " column_id INTEGER, descending INTEGER, included INTEGER,"
    " PRIMARY KEY(object_id, index_id, ordinal)) WITHOUT ROWID",
    "CREATE TABLE @.m_fk_column(constraint_id INTEGER, ordinal INTEGER, parent_id INTEGER,"
    " parent_column_id INTEGER, ref_id INTEGER, ref_column_id INTEGER,"
    " PRIMARY KEY(constraint_id, ordinal)) WITHOUT ROWID",
    "CREATE TABLE @.m_user(name TEXT COLLATE ms, login TEXT COLLATE ms)",
    // class: 0 the database, 1 the object of that id, 3 the schema.
    ("CREATE TABLE @.m_permission(grantee TEXT COLLATE ms, class INTEGER, id INTEGER, action TEXT,"
     " denied INTEGER)"),
    "CREATE TABLE @.m_depend(id INTEGER, depid INTEGER, PRIMARY KEY(id, depid)) WITHOUT ROWID",
    "CREATE INDEX @.x_depend ON m_depend(depid)",
};

struct SystemObject {
    int id;
    const char16_t* name;
    const char16_t* type;
};

// Shipped objects that a listing of user objects has to leave out.
constexpr SystemObject kSystemObjects[] = {
    {1, u"sysobjects", u"S"},           {2, u"sysindexes", u"S"},
    {3, u"syscolumns", u"S"},           {4, u"systypes", u"S"},
    {6, u"syscomments", u"S"},          {8, u"sysfiles1", u"S"},
    {9, u"syspermissions", u"S"},       {10, u"sysusers", u"S"},
    {12, u"sysdepends", u"S"},          {14, u"sysreferences", u"S"},
    {19, u"sysfulltextcatalogs", u"S"}, {20, u"sysindexkeys", u"S"},
    {21, u"sysforeignkeys", u"S"},      {22, u"sysmembers", u"S"},
    {23, u"sysprotects", u"S"},         {95, u"sysfilegroups", u"S"},
    {96, u"sysproperties", u"S"},       {98, u"sysfiles", u"S"},
};

std::string For(const char* sql, const std::string& alias) {
    std::string out;
    for (const char* p = sql; *p != '\0'; ++p) {
        if (*p == '@') {
            out += alias;
        } else {
            out += *p;
        }
    }
    return out;
}

// The types that a server of the version has.
void AddTypes(Statement insert, int version, CollationId database) {
    const auto add = [&](std::u16string_view name, int system, int user, int legacy,
                         const SqlType& type, bool nullable, int legacyUser) {
        const int length = type.length == 1 ? 8000 : MaxLength(type);
        const Value collation =
            IsCharacter(type.id) ? Value::Text(FactsOf(database).name) : Value::Null();
        insert
            .BindAll(user, name, system, legacy, length, PrecisionOf(type), ScaleOf(type), nullable,
                     collation, legacyUser)
            .Run();
    };
    for (int i = 0; i <= static_cast<int>(TypeId::SqlVariant); ++i) {
        const TypeFacts& f = Facts(static_cast<TypeId>(i));
        const bool late = f.id == TypeId::Date || f.id == TypeId::Time ||
                          f.id == TypeId::DateTime2 || f.id == TypeId::DateTimeOffset;
        if (late && version < 10) continue;
        if (f.id == TypeId::Xml && version < 9) continue;
        SqlType type = *TypeByName(f.name);
        if (IsDecimal(type.id)) type = SqlType{type.id, 0, 38, 38};
        add(f.name, f.systemType, f.userType, f.legacyType, type, f.id != TypeId::Timestamp,
            f.userType);
    }
    add(u"sysname", 231, 256, 39, NVarCharType(128), false, 18);
}

}  // namespace

void Catalog::Create(bool inTransaction) {
    const std::string alias = file_->Alias();
    if (!inTransaction) store_.Execute("BEGIN");
    for (const char* sql : kTables)
        store_.Execute(For(sql, alias));
    Statement schema = store_.Prepare(For("INSERT INTO @.m_schema VALUES(?,?,?)", alias));
    const auto add = [&](int id, std::u16string_view name, int principal) {
        schema.BindAll(id, name, principal).Run();
    };
    add(1, u"dbo", 1);
    add(2, u"guest", 2);
    if (file_->server->major >= 9) {
        add(3, u"INFORMATION_SCHEMA", 3);
        add(4, u"sys", 4);
    } else {
        add(3, u"INFORMATION_SCHEMA", 3);
        add(4, u"system_function_schema", 4);
    }
    Statement object = store_.Prepare(
        For("INSERT INTO @.m_object(id,schema_id,name,type,created,shipped) VALUES(?,?,?,?,?,1)",
            alias));
    const int owner = file_->server->major >= 9 ? 4 : 1;
    for (const SystemObject& o : kSystemObjects) {
        object
            .BindAll(o.id, owner, std::u16string_view(o.name), std::u16string_view(o.type),
                     file_->created)
            .Run();
    }
    AddTypes(store_.Prepare(For("INSERT INTO @.m_type VALUES(?,?,?,?,?,?,?,?,?,?)", alias)),
             file_->server->major, file_->collation);
    if (file_->server->major < 9) {
        // A table that tools leave behind: of type U, yet shipped.
        object
            .BindAll(1993058136, 1, std::u16string_view(u"dtproperties"), std::u16string_view(u"U"),
                     file_->created)
            .Run();
        store_.Execute(
            For("UPDATE @.m_object SET storage='o_dtproperties' WHERE id=1993058136", alias));
        store_.Execute(For("CREATE TABLE @.o_dtproperties(c1,c2 COLLATE ms)", alias));
        store_.Execute(
            For("INSERT INTO @.m_index VALUES(1993058136,0,NULL,0,0,0,0,NULL,0)", alias));
        Statement column = store_.Prepare(
            For("INSERT INTO @.m_column(object_id,id,name,packed,xtype,user_type,max_length,prec,"
                "collation,scale,nullable,identity,seed,increment,computed,persisted,rowguid)"
                " VALUES(1993058136,?,?,?,?,?,?,?,?,0,0,0,1,1,0,0,0)",
                alias));
        const SqlType types[] = {Plain(TypeId::Int),
                                 WithCollation(VarCharType(64), file_->collation)};
        const char16_t* names[] = {u"id", u"property"};
        for (int i = 0; i < 2; ++i) {
            const TypeFacts& facts = Facts(types[i].id);
            column
                .BindAll(i + 1, std::u16string_view(names[i]), Pack(types[i]), facts.systemType,
                         facts.userType, MaxLength(types[i]), PrecisionOf(types[i]),
                         i == 0 ? Value::Null() : Value::Text(FactsOf(file_->collation).name))
                .Run();
        }
    }
    if (!inTransaction) store_.Execute("COMMIT");
}

}  // namespace sandbox::engine
