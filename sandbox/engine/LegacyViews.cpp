// The system tables of SQL Server 7.0 and 2000, which later versions keep as views.
#include <algorithm>

#include "sandbox/engine/CatalogViews.h"

namespace sandbox::engine {
namespace {

using namespace viewtype;

std::vector<std::vector<Value>> Databases(Context& context) {
    std::vector<std::vector<Value>> rows;
    for (const DatabasePtr& d : context.server.Databases()) {
        rows.push_back({Value::Text(d->name), Value::Int(d->id), Value::Blob(std::string(1, '\1')),
                        Value::Int(0), Value::Int(d->id <= 4 ? 24 : 16), Value::Int(1090519040),
                        Value::Int(d->created), Value::Int(0), Value::Int(0),
                        Value::Int(d->compatibility), Value::Text(u""), Value::Int(539)});
    }
    return rows;
}

std::vector<std::vector<Value>> Servers(Context& context) {
    std::vector<std::vector<Value>> rows;
    rows.push_back({Value::Int(0), Value::Int(1089), Value::Text(context.server.settings.name),
                    Value::Text(u"SQL Server"), Value::Text(u"SQLOLEDB"),
                    Value::Text(context.server.settings.name), Value::Null(), Value::Null(),
                    Value::Int(0), Value::Int(1), Value::Int(0), Value::Int(1)});
    for (const LinkedServer& l : context.server.Links()) {
        rows.push_back({Value::Int(l.id), Value::Int(l.dataAccess ? 225 : 97), Value::Text(l.name),
                        Value::Text(l.product), Value::Text(l.provider), Value::Text(l.dataSource),
                        Value::Null(), l.catalog.empty() ? Value::Null() : Value::Text(l.catalog),
                        Value::Int(1), Value::Int(0), Value::Int(0),
                        Value::Int(l.dataAccess ? 1 : 0)});
    }
    return rows;
}

std::vector<std::vector<Value>> Types(Context& context) {
    std::vector<std::vector<Value>> rows;
    for (int i = 0; i <= static_cast<int>(TypeId::SqlVariant); ++i) {
        const TypeFacts& f = Facts(static_cast<TypeId>(i));
        const bool late = f.id == TypeId::Date || f.id == TypeId::Time ||
                          f.id == TypeId::DateTime2 || f.id == TypeId::DateTimeOffset;
        if (late && context.server.major < 10) continue;
        if (f.id == TypeId::Xml && context.server.major < 9) continue;
        SqlType t = *TypeByName(f.name);
        const bool sized = t.length == 1;
        const int length = sized ? 8000 : MaxLength(t);
        rows.push_back(
            {Value::Text(std::u16string(f.name)), Value::Int(f.systemType), Value::Int(0),
             Value::Int(f.userType), Value::Int(length), Value::Int(PrecisionOf(t)),
             Value::Int(ScaleOf(t)), Value::Int(1), Value::Int(f.legacyType),
             Value::Int(context.server.major >= 9 ? 4 : 1), Value::Int(f.userType),
             IsCharacter(f.id) ? Value::Text(u"SQL_Latin1_General_CP1_CI_AS") : Value::Null(),
             Value::Int(1)});
    }
    rows.push_back({Value::Text(u"sysname"), Value::Int(231), Value::Int(1), Value::Int(256),
                    Value::Int(256), Value::Int(128), Value::Null(), Value::Int(0), Value::Int(39),
                    Value::Int(context.server.major >= 9 ? 4 : 1), Value::Int(18),
                    Value::Text(u"SQL_Latin1_General_CP1_CI_AS"), Value::Int(0)});
    return rows;
}

std::vector<std::vector<Value>> Logins(Context& context) {
    return {{Value::Text(context.server.settings.user), Value::Text(context.server.settings.user),
             Value::Blob(std::string(1, '\1')), Value::Int(1), Value::Text(u"master"),
             Value::Int(1)}};
}

std::vector<std::vector<Value>> Processes(Context& context) {
    return {{Value::Int(context.spid), Value::Int(context.current->id), Value::Text(context.user),
             Value::Text(context.hostName), Value::Text(context.application), Value::Int(0)}};
}

std::vector<std::vector<Value>> Configuration(Context&) {
    return {};
}

// status: 2 unique, 16 clustered, 0x800 primary key, 0x1000 unique constraint
constexpr const char* kIndexes =
    "FROM (SELECT object_id, id, name, is_unique*2 + clustered*16 + pk*2048 + uc*4096 AS status,"
    " clustered, (SELECT count(*) FROM @m_index_column k WHERE k.object_id=x.object_id AND"
    " k.index_id=x.id AND k.included=0) AS keys FROM @m_index x"
    " UNION ALL SELECT o.id, 0, o.name, 0, 0, 0 FROM @m_object o WHERE o.type='U' AND NOT EXISTS"
    " (SELECT 1 FROM @m_index c WHERE c.object_id=o.id AND c.clustered=1)) AS i";

}  // namespace

const std::vector<ViewDefinition>& LegacyViews() {
    static const std::vector<ViewDefinition> kViews = {
        {"sysobjects",
         ViewHome::Legacy,
         "FROM @m_object o",
         {{"name", N, "o.name"},
          {"id", I, "o.id"},
          {"xtype", C2, "substr(o.type||' ',1,2)"},
          {"uid", S, "o.schema_id"},
          {"info", S, "0"},
          {"status", I, "CASE WHEN o.shipped THEN -536870912 ELSE 1610612736 END"},
          {"base_schema_ver", I, "0"},
          {"replinfo", I, "0"},
          {"parent_obj", I, "o.parent_id"},
          {"crdate", D, "o.created"},
          {"ftcatid", S, "0"},
          {"schema_ver", I, "0"},
          {"stats_schema_ver", I, "0"},
          {"type", C2,
           "CASE WHEN o.type IN ('PK','UQ') THEN 'K ' ELSE substr(o.type||' ',1,2) END"},
          {"userstat", S, "1"},
          {"sysstat", S, "3"},
          {"indexdel", S, "0"},
          {"refdate", D, "o.created"},
          {"version", I, "0"},
          {"deltrig", I, "0"},
          {"instrig", I, "0"},
          {"updtrig", I, "0"},
          {"seltrig", I, "0"},
          {"category", I, "CASE WHEN o.shipped THEN 2 ELSE 0 END"},
          {"cache", S, "0"}}},
        {"syscolumns",
         ViewHome::Legacy,
         "FROM @m_column c",
         {{"name", N, "c.name"},
          {"id", I, "c.object_id"},
          {"xtype", T, "c.xtype"},
          {"typestat", T, "0"},
          {"xusertype", S, "c.user_type"},
          {"length", S, "c.max_length"},
          {"xprec", T, "c.prec"},
          {"xscale", T, "c.scale"},
          {"colid", S, "c.id"},
          {"xoffset", S, "0"},
          {"bitpos", T, "0"},
          {"reserved", T, "0"},
          {"colstat", S, "c.identity + c.computed*4"},
          {"cdefault", I, "c.default_id"},
          {"domain", I, "0"},
          {"number", S, "0"},
          {"colorder", S, "c.id"},
          {"offset", S, "0"},
          {"collationid", I, "0"},
          {"language", I, "0"},
          {"status", T, "c.identity*128 + c.nullable*8"},
          {"type", T, "c.xtype"},
          {"usertype", S, "c.user_type"},
          {"printfmt", NVarCharType(255), "NULL"},
          {"prec", S,
           "CASE WHEN c.prec=0 AND c.xtype IN (175,167,173,165) THEN c.max_length"
           " WHEN c.xtype IN (239,231) THEN CASE WHEN c.max_length<0 THEN -1 ELSE"
           " c.max_length/2 END WHEN c.xtype=35 THEN 2147483647 WHEN c.xtype=99 THEN"
           " 1073741823 WHEN c.xtype=34 THEN NULL ELSE c.prec END"},
          {"scale", I,
           "CASE WHEN c.xtype IN (106,108,60,122,61,41,42,43,48,52,56,127) THEN c.scale END"},
          {"iscomputed", I, "c.computed"},
          {"isoutparam", I, "0"},
          {"isnullable", I, "c.nullable"},
          {"collation", N,
           "CASE WHEN c.xtype IN (175,167,35,239,231,99) THEN"
           " 'SQL_Latin1_General_CP1_CI_AS' END"}}},
        {"sysindexes",
         ViewHome::Legacy,
         kIndexes,
         {{"id", I, "i.object_id"},
          {"status", I, "i.status"},
          {"first", SqlType{TypeId::Binary, 6, 0, 0}, "X'000000000000'"},
          {"indid", S, "i.id"},
          {"root", SqlType{TypeId::Binary, 6, 0, 0}, "X'000000000000'"},
          {"minlen", S, "0"},
          {"keycnt", S, "i.keys"},
          {"groupid", S, "1"},
          {"dpages", I, "0"},
          {"reserved", I, "0"},
          {"used", I, "0"},
          {"rowcnt", L, "0"},
          {"rowmodctr", I, "0"},
          {"xmaxlen", S, "0"},
          {"maxirow", S, "0"},
          {"OrigFillFactor", T, "0"},
          {"StatVersion", T, "0"},
          {"FirstIAM", SqlType{TypeId::Binary, 6, 0, 0}, "X'000000000000'"},
          {"impid", S, "0"},
          {"lockflags", S, "0"},
          {"pgmodctr", I, "0"},
          {"name", N, "i.name"},
          {"rows", I, "0"}}},
        {"sysindexkeys",
         ViewHome::Legacy,
         "FROM @m_index_column k WHERE k.included=0",
         {{"id", I, "k.object_id"},
          {"indid", S, "k.index_id"},
          {"colid", S, "k.column_id"},
          {"keyno", S, "k.ordinal"}}},
        {"systypes",
         ViewHome::Legacy,
         "",
         {{"name", N, ""},
          {"xtype", T, ""},
          {"status", T, ""},
          {"xusertype", S, ""},
          {"length", S, ""},
          {"xprec", T, ""},
          {"xscale", T, ""},
          {"allownulls", B, ""},
          {"type", T, ""},
          {"uid", S, ""},
          {"usertype", S, ""},
          {"collation", N, ""},
          {"variable", B, ""}},
         Types},
        {"sysusers",
         ViewHome::Legacy,
         "FROM @m_schema s",
         {{"uid", S, "s.id"},
          {"status", S, "0"},
          {"name", N, "s.name"},
          {"sid", V, "X'01'"},
          {"createdate", D, "0"},
          {"updatedate", D, "0"},
          {"altuid", S, "0"},
          {"gid", S, "0"},
          {"hasdbaccess", I, "1"},
          {"islogin", I, "1"},
          {"isntname", I, "0"},
          {"isntgroup", I, "0"},
          {"isntuser", I, "0"},
          {"issqluser", I, "1"},
          {"isaliased", I, "0"},
          {"issqlrole", I, "0"},
          {"isapprole", I, "0"}}},
        {"sysreferences",
         ViewHome::Legacy,
         "FROM @m_object o WHERE o.type='F'",
         {{"constid", I, "o.id"},
          {"fkeyid", I, "o.parent_id"},
          {"rkeyid", I, "o.ref_id"},
          {"rkeyindid", S, "o.index_id"},
          {"keycnt", S, "(SELECT count(*) FROM @m_fk_column f WHERE f.constraint_id=o.id)"},
          {"fkeydbid", S, "0"},
          {"rkeydbid", S, "0"},
          {"fkey1", S,
           "(SELECT f.parent_column_id FROM @m_fk_column f WHERE f.constraint_id=o.id AND"
           " f.ordinal=1)"},
          {"rkey1", S,
           "(SELECT f.ref_column_id FROM @m_fk_column f WHERE f.constraint_id=o.id AND"
           " f.ordinal=1)"}}},
        {"sysforeignkeys",
         ViewHome::Legacy,
         "FROM @m_fk_column f",
         {{"constid", I, "f.constraint_id"},
          {"fkeyid", I, "f.parent_id"},
          {"rkeyid", I, "f.ref_id"},
          {"fkey", S, "f.parent_column_id"},
          {"rkey", S, "f.ref_column_id"},
          {"keyno", S, "f.ordinal"}}},
        {"sysdepends",
         ViewHome::Legacy,
         "FROM @m_depend d",
         {{"id", I, "d.id"},
          {"depid", I, "d.depid"},
          {"number", S, "0"},
          {"depnumber", S, "0"},
          {"status", S, "0"},
          {"deptype", S, "0"},
          {"depdbid", S, "0"},
          {"depsiteid", S, "0"},
          {"selall", B, "0"},
          {"resultobj", B, "0"},
          {"readobj", B, "1"}}},
        {"sysconstraints",
         ViewHome::Legacy,
         "FROM @m_object o WHERE o.type IN ('PK','UQ','F','C','D')",
         {{"constid", I, "o.id"},
          {"id", I, "o.parent_id"},
          {"colid", S, "o.column_id"},
          {"spare1", T, "0"},
          {"status", I,
           "CASE o.type WHEN 'PK' THEN 1 WHEN 'UQ' THEN 2 WHEN 'F' THEN 3 WHEN 'C' THEN 4"
           " ELSE 5 END"}}},
        {"syscomments",
         ViewHome::Legacy,
         "FROM @m_object o WHERE o.text IS NOT NULL",
         {{"id", I, "o.id"},
          {"number", S, "0"},
          {"colid", S, "1"},
          {"status", S, "2"},
          {"text", NVarCharType(4000), "o.text"},
          {"encrypted", B, "0"}}},
        {"sysdatabases",
         ViewHome::LegacyMaster,
         "",
         {{"name", N, ""},
          {"dbid", S, ""},
          {"sid", V, ""},
          {"mode", S, ""},
          {"status", I, ""},
          {"status2", I, ""},
          {"crdate", D, ""},
          {"reserved", D, ""},
          {"category", I, ""},
          {"cmptlevel", T, ""},
          {"filename", NVarCharType(260), ""},
          {"version", S, ""}},
         Databases},
        {"sysservers",
         ViewHome::LegacyMaster,
         "",
         {{"srvid", S, ""},
          {"srvstatus", S, ""},
          {"srvname", N, ""},
          {"srvproduct", N, ""},
          {"providername", N, ""},
          {"datasource", NVarCharType(4000), ""},
          {"location", NVarCharType(4000), ""},
          {"catalog", N, ""},
          {"isremote", B, ""},
          {"rpc", B, ""},
          {"pub", B, ""},
          {"dataaccess", B, ""}},
         Servers},
        {"syslogins",
         ViewHome::LegacyMaster,
         "",
         {{"name", N, ""},
          {"loginname", N, ""},
          {"sid", V, ""},
          {"sysadmin", I, ""},
          {"dbname", N, ""},
          {"hasaccess", I, ""}},
         Logins},
        {"sysprocesses",
         ViewHome::LegacyMaster,
         "",
         {{"spid", S, ""},
          {"dbid", S, ""},
          {"loginame", N, ""},
          {"hostname", N, ""},
          {"program_name", N, ""},
          {"blocked", S, ""}},
         Processes},
        {"sysconfigures",
         ViewHome::LegacyMaster,
         "",
         {{"value", I, ""},
          {"config", S, ""},
          {"comment", NVarCharType(255), ""},
          {"status", S, ""}},
         Configuration},
    };
    return kViews;
}

}  // namespace sandbox::engine
