// The catalog views of SQL Server 2005 and later, and INFORMATION_SCHEMA.
#include "sandbox/engine/catalog/ViewDefinitions.h"

namespace sandbox::engine {
namespace {

using namespace viewtype;

std::vector<std::vector<Value>> Databases(Context& context) {
    std::vector<std::vector<Value>> rows;
    for (const DatabasePtr& d : context.server.Databases()) {
        rows.push_back(
            {Value::Text(d->name), Value::Int(d->id), Value::Null(), Value::Int(d->created),
             Value::Int(d->compatibility), Value::Text(FactsOf(d->collation).name), Value::Int(0),
             Value::Text(u"MULTI_USER"), Value::Int(0), Value::Int(0), Value::Text(u"ONLINE"),
             Value::Int(d->allowsSnapshot ? 1 : 0), Value::Text(d->allowsSnapshot ? u"ON" : u"OFF"),
             Value::Int(0), Value::Int(3), Value::Text(u"SIMPLE")});
    }
    return rows;
}

std::vector<std::vector<Value>> Servers(Context& context) {
    std::vector<std::vector<Value>> rows;
    rows.push_back({Value::Int(0), Value::Text(context.server.settings.name),
                    Value::Text(u"SQL Server"), Value::Text(u"SQLNCLI"),
                    Value::Text(context.server.settings.name), Value::Null(), Value::Null(),
                    Value::Int(0), Value::Int(1)});
    for (const LinkedServer& l : context.server.Links()) {
        rows.push_back({Value::Int(l.id), Value::Text(l.name), Value::Text(l.product),
                        Value::Text(l.provider), Value::Text(l.dataSource), Value::Null(),
                        l.catalog.empty() ? Value::Null() : Value::Text(l.catalog), Value::Int(1),
                        Value::Int(l.dataAccess ? 1 : 0)});
    }
    return rows;
}

constexpr const char* kTemporalType =
    "CASE WHEN o.history_id>0 THEN 2 WHEN o.history_of>0 THEN 1 ELSE 0 END";

constexpr const char* kShippedObjects = "FROM @m_object o";

// The columns that sys.objects and the views over it share.
std::vector<ViewColumn> ObjectColumns(const std::vector<ViewColumn>& more) {
    std::vector<ViewColumn> columns = {
        {"name", N, "o.name"},
        {"object_id", I, "o.id"},
        {"principal_id", I, "NULL"},
        {"schema_id", I, "o.schema_id"},
        {"parent_object_id", I, "o.parent_id"},
        {"type", C2, "substr(o.type||' ',1,2)"},
        {"type_desc", N60,
         "CASE o.type WHEN 'U' THEN 'USER_TABLE' WHEN 'V' THEN 'VIEW' WHEN 'P' THEN"
         " 'SQL_STORED_PROCEDURE' WHEN 'PK' THEN 'PRIMARY_KEY_CONSTRAINT' WHEN 'UQ' THEN"
         " 'UNIQUE_CONSTRAINT' WHEN 'F' THEN 'FOREIGN_KEY_CONSTRAINT' WHEN 'C' THEN "
         "'CHECK_CONSTRAINT'"
         " WHEN 'D' THEN 'DEFAULT_CONSTRAINT' ELSE 'SYSTEM_TABLE' END"},
        {"create_date", D, "o.created"},
        {"modify_date", D, "o.created"},
        {"is_ms_shipped", B, "o.shipped"},
        {"is_published", B, "0"},
        {"is_schema_published", B, "0"}};
    for (const ViewColumn& c : more)
        columns.push_back(c);
    return columns;
}

std::vector<ViewColumn> ColumnColumns(const std::vector<ViewColumn>& more) {
    std::vector<ViewColumn> columns = {
        {"object_id", I, "c.object_id"},
        {"name", N, "c.name"},
        {"column_id", I, "c.id"},
        {"system_type_id", T, "c.xtype"},
        {"user_type_id", I, "c.user_type"},
        {"max_length", S, "c.max_length"},
        {"precision", T, "c.prec"},
        {"scale", T, "c.scale"},
        {"collation_name", N, "c.collation"},
        {"is_nullable", B, "c.nullable"},
        {"is_ansi_padded", B, "c.xtype IN (175,167,239,231,173,165)"},
        {"is_rowguidcol", B, "c.rowguid"},
        {"is_identity", B, "c.identity"},
        {"is_computed", B, "c.computed"},
        {"is_filestream", B, "0"},
        {"is_replicated", B, "0"},
        {"is_xml_document", B, "0"},
        {"default_object_id", I, "c.default_id"},
        {"rule_object_id", I, "0"},
        {"is_sparse", B, "0", 10},
        {"is_column_set", B, "0", 10},
        {"generated_always_type", T, "c.generated", 13},
        {"generated_always_type_desc", N60,
         "CASE c.generated WHEN 1 THEN 'AS_ROW_START' WHEN 2 THEN 'AS_ROW_END' ELSE"
         " 'NOT_APPLICABLE' END",
         13},
        {"is_hidden", B, "0", 13}};
    for (const ViewColumn& c : more)
        columns.push_back(c);
    return columns;
}

constexpr const char* kIndexRows = "FROM @m_index i";

const std::vector<ViewColumn>& KeyConstraintColumns() {
    static const std::vector<ViewColumn> kColumns = ObjectColumns(
        {{"unique_index_id", I, "o.index_id"}, {"is_system_named", B, "o.auto_named"}});
    return kColumns;
}

}  // namespace

const std::vector<ViewDefinition>& SysViews() {
    static const std::vector<ViewDefinition> kViews = {
        {"objects", ViewHome::Sys, kShippedObjects, ObjectColumns({})},
        {"all_objects", ViewHome::Sys, kShippedObjects, ObjectColumns({})},
        {"tables", ViewHome::Sys, "FROM @m_object o WHERE o.type='U'",
         ObjectColumns({{"max_column_id_used", I, "0"},
                        {"uses_ansi_nulls", B, "1"},
                        {"is_replicated", B, "0"},
                        {"lob_data_space_id", I, "0"},
                        {"temporal_type", T, kTemporalType, 13},
                        {"temporal_type_desc", N60,
                         "CASE WHEN o.history_id>0 THEN 'SYSTEM_VERSIONED_TEMPORAL_TABLE' WHEN"
                         " o.history_of>0 THEN 'HISTORY_TABLE' ELSE 'NON_TEMPORAL_TABLE' END",
                         13},
                        {"history_table_id", I, "nullif(o.history_id,0)", 13}})},
        {"views", ViewHome::Sys, "FROM @m_object o WHERE o.type='V'",
         ObjectColumns({{"is_replicated", B, "0"}, {"with_check_option", B, "0"}})},
        {"procedures", ViewHome::Sys, "FROM @m_object o WHERE o.type='P'",
         ObjectColumns({{"is_auto_executed", B, "0"}})},
        {"key_constraints", ViewHome::Sys, "FROM @m_object o WHERE o.type IN ('PK','UQ')",
         KeyConstraintColumns()},
        {"check_constraints", ViewHome::Sys, "FROM @m_object o WHERE o.type='C'",
         ObjectColumns({{"is_disabled", B, "o.disabled"},
                        {"is_not_trusted", B, "o.not_trusted"},
                        {"parent_column_id", I, "o.column_id"},
                        {"definition", M, "o.text"},
                        {"is_system_named", B, "o.auto_named"}})},
        {"default_constraints", ViewHome::Sys, "FROM @m_object o WHERE o.type='D'",
         ObjectColumns({{"parent_column_id", I, "o.column_id"},
                        {"definition", M, "o.text"},
                        {"is_system_named", B, "o.auto_named"}})},
        {"foreign_keys", ViewHome::Sys, "FROM @m_object o WHERE o.type='F'",
         ObjectColumns(
             {{"referenced_object_id", I, "o.ref_id"},
              {"key_index_id", I, "o.index_id"},
              {"is_disabled", B, "o.disabled"},
              {"is_not_for_replication", B, "0"},
              {"is_not_trusted", B, "o.not_trusted"},
              {"delete_referential_action", T, "o.on_delete"},
              {"delete_referential_action_desc", N60,
               "CASE o.on_delete WHEN 1 THEN 'CASCADE' WHEN 2 THEN 'SET_NULL' WHEN 3 THEN "
               "'SET_DEFAULT' ELSE "
               "'NO_ACTION' END"},
              {"update_referential_action", T, "o.on_update"},
              {"update_referential_action_desc", N60,
               "CASE o.on_update WHEN 1 THEN 'CASCADE' WHEN 2 THEN 'SET_NULL' WHEN 3 THEN "
               "'SET_DEFAULT' ELSE "
               "'NO_ACTION' END"},
              {"is_system_named", B, "o.auto_named"}})},
        {"foreign_key_columns",
         ViewHome::Sys,
         "FROM @m_fk_column f",
         {{"constraint_object_id", I, "f.constraint_id"},
          {"constraint_column_id", I, "f.ordinal"},
          {"parent_object_id", I, "f.parent_id"},
          {"parent_column_id", I, "f.parent_column_id"},
          {"referenced_object_id", I, "f.ref_id"},
          {"referenced_column_id", I, "f.ref_column_id"}}},
        {"columns", ViewHome::Sys, "FROM @m_column c", ColumnColumns({})},
        {"all_columns", ViewHome::Sys, "FROM @m_column c", ColumnColumns({})},
        {"computed_columns", ViewHome::Sys, "FROM @m_column c WHERE c.computed=1",
         ColumnColumns({{"definition", M, "c.text"}, {"is_persisted", B, "c.persisted"}})},
        {"identity_columns", ViewHome::Sys, "FROM @m_column c WHERE c.identity=1",
         ColumnColumns({{"seed_value", L, "c.seed"}, {"increment_value", L, "c.increment"}})},
        {"indexes",
         ViewHome::Sys,
         kIndexRows,
         {{"object_id", I, "i.object_id"},
          {"name", N, "i.name"},
          {"index_id", I, "i.id"},
          {"type", T, "CASE WHEN i.id=0 THEN 0 WHEN i.clustered THEN 1 ELSE 2 END"},
          {"type_desc", N60,
           "CASE WHEN i.id=0 THEN 'HEAP' WHEN i.clustered THEN 'CLUSTERED' ELSE 'NONCLUSTERED' "
           "END"},
          {"is_unique", B, "i.is_unique"},
          {"data_space_id", I, "1"},
          {"ignore_dup_key", B, "i.ignore_dup"},
          {"is_primary_key", B, "i.pk"},
          {"is_unique_constraint", B, "i.uc"},
          {"fill_factor", T, "0"},
          {"is_padded", B, "0"},
          {"is_disabled", B, "0"},
          {"is_hypothetical", B, "0"},
          {"allow_row_locks", B, "1"},
          {"allow_page_locks", B, "1"},
          {"has_filter", B, "i.filter IS NOT NULL", 10},
          {"filter_definition", M, "i.filter", 10}}},
        {"index_columns",
         ViewHome::Sys,
         "FROM @m_index_column k",
         {{"object_id", I, "k.object_id"},
          {"index_id", I, "k.index_id"},
          {"index_column_id", I, "k.ordinal"},
          {"column_id", I, "k.column_id"},
          {"key_ordinal", T, "CASE WHEN k.included THEN 0 ELSE k.ordinal END"},
          {"partition_ordinal", T, "0"},
          {"is_descending_key", B, "k.descending"},
          {"is_included_column", B, "k.included"}}},
        {"schemas",
         ViewHome::Sys,
         "FROM @m_schema s",
         {{"name", N, "s.name"}, {"schema_id", I, "s.id"}, {"principal_id", I, "s.principal"}}},
        {"database_principals",
         ViewHome::Sys,
         "FROM @m_schema s",
         {{"name", N, "s.name"},
          {"principal_id", I, "s.id"},
          {"type", SqlType{TypeId::Char, 1, 0, 0}, "'S'"},
          {"type_desc", N60, "'SQL_USER'"},
          {"default_schema_name", N, "s.name"}}},
        {"sql_modules",
         ViewHome::Sys,
         "FROM @m_object o WHERE o.type IN ('V','P')",
         {{"object_id", I, "o.id"},
          {"definition", M, "o.text"},
          {"uses_ansi_nulls", B, "1"},
          {"uses_quoted_identifier", B, "1"},
          {"is_schema_bound", B, "o.bound"}}},
        {"sql_expression_dependencies",
         ViewHome::Sys,
         "FROM @m_depend d JOIN @m_object r ON r.id=d.depid JOIN @m_schema s ON s.id=r.schema_id",
         {{"referencing_id", I, "d.id"},
          {"referencing_minor_id", I, "0"},
          {"referenced_server_name", N, "NULL"},
          {"referenced_database_name", N, "NULL"},
          {"referenced_schema_name", N, "s.name"},
          {"referenced_entity_name", N, "r.name"},
          {"referenced_id", I, "d.depid"},
          {"referenced_minor_id", I, "0"},
          {"is_schema_bound_reference", B, "0"}}},
        {"sql_dependencies",
         ViewHome::Sys,
         "FROM @m_depend d",
         {{"class", T, "0"},
          {"object_id", I, "d.id"},
          {"column_id", I, "0"},
          {"referenced_major_id", I, "d.depid"},
          {"referenced_minor_id", I, "0"},
          {"is_selected", B, "1"}}},
        {"partitions",
         ViewHome::Sys,
         kIndexRows,
         {{"partition_id", L, "i.object_id*256+i.id"},
          {"object_id", I, "i.object_id"},
          {"index_id", I, "i.id"},
          {"partition_number", I, "1"},
          {"rows", L, "ms_rows(#,i.object_id)"}}},
        {"databases",
         ViewHome::Sys,
         "",
         {{"name", N, ""},
          {"database_id", I, ""},
          {"source_database_id", I, ""},
          {"create_date", D, ""},
          {"compatibility_level", T, ""},
          {"collation_name", N, ""},
          {"user_access", T, ""},
          {"user_access_desc", N60, ""},
          {"is_read_only", B, ""},
          {"state", T, ""},
          {"state_desc", N60, ""},
          {"snapshot_isolation_state", T, ""},
          {"snapshot_isolation_state_desc", N60, ""},
          {"is_read_committed_snapshot_on", B, ""},
          {"recovery_model", T, ""},
          {"recovery_model_desc", N60, ""}},
         Databases},
        {"servers",
         ViewHome::Sys,
         "",
         {{"server_id", I, ""},
          {"name", N, ""},
          {"product", N, ""},
          {"provider", N, ""},
          {"data_source", NVarCharType(4000), ""},
          {"location", NVarCharType(4000), ""},
          {"catalog", N, ""},
          {"is_linked", B, ""},
          {"is_data_access_enabled", B, ""}},
         Servers},
        {"types",
         ViewHome::Sys,
         "FROM @m_type t",
         {{"name", N, "t.name"},
          {"system_type_id", T, "t.xtype"},
          {"user_type_id", I, "t.user_type"},
          {"schema_id", I, "4"},
          {"max_length", S, "t.max_length"},
          {"precision", T, "t.prec"},
          {"scale", T, "t.scale"},
          {"collation_name", N, "t.collation"},
          {"is_nullable", B, "t.nullable"},
          {"is_user_defined", B, "0"},
          {"is_assembly_type", B, "0"}}},
        {"TABLES",
         ViewHome::Information,
         "FROM @m_object o JOIN @m_schema s ON s.id=o.schema_id WHERE o.type IN ('U','V') AND "
         "o.shipped=0",
         {{"TABLE_CATALOG", N, "ms_file_name(#)"},
          {"TABLE_SCHEMA", N, "s.name"},
          {"TABLE_NAME", N, "o.name"},
          {"TABLE_TYPE", VarCharType(10),
           "CASE o.type WHEN 'U' THEN 'BASE TABLE' ELSE 'VIEW' END"}}},
        {"COLUMNS",
         ViewHome::Information,
         "FROM @m_column c JOIN @m_object o ON o.id=c.object_id JOIN @m_schema s ON "
         "s.id=o.schema_id"
         " WHERE o.type IN ('U','V') AND o.shipped=0",
         {{"TABLE_CATALOG", N, "ms_file_name(#)"},
          {"TABLE_SCHEMA", N, "s.name"},
          {"TABLE_NAME", N, "o.name"},
          {"COLUMN_NAME", N, "c.name"},
          {"ORDINAL_POSITION", I, "c.id"},
          {"COLUMN_DEFAULT", NVarCharType(4000),
           "(SELECT d.text FROM @m_object d WHERE d.id=c.default_id)"},
          {"IS_NULLABLE", VarCharType(3), "CASE c.nullable WHEN 1 THEN 'YES' ELSE 'NO' END"},
          {"DATA_TYPE", N, "ms_type_name(c.xtype)"},
          {"CHARACTER_MAXIMUM_LENGTH", I,
           "CASE WHEN c.xtype IN (239,231) AND c.max_length>0 THEN c.max_length/2 WHEN c.xtype IN"
           " (175,167,173,165,239,231) THEN c.max_length WHEN c.xtype IN (35,34) THEN 2147483647 "
           "WHEN"
           " c.xtype=99 THEN 1073741823 END"},
          {"NUMERIC_PRECISION", T,
           "CASE WHEN c.xtype IN (48,52,56,127,106,108,60,122,62,59) THEN c.prec END"},
          {"NUMERIC_SCALE", I,
           "CASE WHEN c.xtype IN (48,52,56,127,106,108,60,122) THEN c.scale END"},
          {"DATETIME_PRECISION", S, "CASE WHEN c.xtype IN (61,41,42,43,40,58) THEN c.scale END"}}},
    };
    return kViews;
}

}  // namespace sandbox::engine
