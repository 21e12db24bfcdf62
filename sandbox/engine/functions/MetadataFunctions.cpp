// OBJECT_ID, OBJECTPROPERTY and the like, and the session's own facts.

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

using Text = std::u16string_view;

// "[db].[owner].[name]" to its parts; false when it is no name.
bool ParseName(Text text, ObjectName& out) {
    std::vector<std::u16string> parts(1);
    try {
        Lexer lexer(text);
        for (Token t = lexer.Next(); t.kind != TokenKind::End; t = lexer.Next()) {
            if (t.kind == TokenKind::Symbol && t.text == u".") {
                parts.emplace_back();
            } else if (t.kind == TokenKind::Name) {
                parts.back() = Unquote(t);
            } else {
                parts.back() += t.text;
            }
        }
    } catch (const SqlError&) {
        return false;
    }
    if (parts.size() > 3 || parts.back().empty()) return false;
    out.name = parts.back();
    if (parts.size() > 1) out.schema = parts[parts.size() - 2];
    if (parts.size() > 2) out.database = parts[0];
    return true;
}

std::optional<Resolved> FindObject(Context& context, Text text) {
    ObjectName name;
    if (!ParseName(text, name)) return std::nullopt;
    DatabasePtr file = context.current;
    if (!name.database.empty()) {
        file = context.server.Find(name.database);
        if (!file) return std::nullopt;
    }
    Catalog& catalog = context.Open(file);
    Resolved r{&catalog, catalog.Find(name.schema, name.name)};
    if (!r.object && (name.schema.empty() || SameName(name.schema, u"dbo"))) {
        r.object = catalog.Find(u"sys", name.name);
    }
    if (!r.object || !MaySee(context, catalog, *r.object)) return std::nullopt;
    return r;
}

void ObjectId(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const auto found = FindObject(context, ReadText(a[0]));
    if (!found) return sqlite3_result_null(c);
    if (!IsNull(a[1]) && !SameName(ReadText(a[1]), found->object->type))
        return sqlite3_result_null(c);
    sqlite3_result_int64(c, found->object->id);
}

Catalog* DatabaseArgument(Context& context, sqlite3_value* id) {
    if (IsNull(id)) return &context.Current();
    const DatabasePtr file = context.server.FindById(static_cast<int>(Int(id)));
    return file ? &context.Open(file) : nullptr;
}

void ObjectNameOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    Catalog* catalog = DatabaseArgument(context, a[1]);
    const auto object = catalog ? catalog->FindById(static_cast<int>(Int(a[0]))) : std::nullopt;
    if (!object) return sqlite3_result_null(c);
    ReturnText(c, object->name);
}

void ObjectSchemaName(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    Catalog* catalog = DatabaseArgument(context, a[1]);
    const auto object = catalog ? catalog->FindById(static_cast<int>(Int(a[0]))) : std::nullopt;
    if (!object) return sqlite3_result_null(c);
    ReturnText(c, catalog->SchemaName(object->schemaId));
}

std::optional<int> TypeProperty(Text property, const ObjectMeta& o) {
    struct Entry {
        Text property, type;
    };
    static constexpr Entry kEntries[] = {
        {u"IsUserTable", u"U"},
        {u"IsView", u"V"},
        {u"IsProcedure", u"P"},
        {u"IsPrimaryKey", u"PK"},
        {u"IsForeignKey", u"F"},
        {u"IsUniqueCnst", u"UQ"},
        {u"IsCheckCnst", u"C"},
        {u"IsDefaultCnst", u"D"},
        {u"IsSystemTable", u"S"},
        {u"IsTrigger", u"TR"},
        {u"IsScalarFunction", u"FN"},
        {u"IsInlineFunction", u"IF"},
        {u"IsTableFunction", u"TF"},
        {u"IsExtendedProc", u"X"},
        {u"IsRule", u"R"},
    };
    for (const Entry& e : kEntries) {
        if (SameName(property, e.property)) return o.type == e.type ? 1 : 0;
    }
    if (SameName(property, u"IsTable")) return o.type == u"U" || o.type == u"S" ? 1 : 0;
    if (SameName(property, u"IsConstraint")) {
        return o.type == u"PK" || o.type == u"UQ" || o.type == u"F" || o.type == u"C" ||
                       o.type == u"D"
                   ? 1
                   : 0;
    }
    if (SameName(property, u"IsMSShipped")) return o.shipped ? 1 : 0;
    if (SameName(property, u"OwnerId") || SameName(property, u"SchemaId")) return o.schemaId;
    if (SameName(property, u"CnstIsDisabled")) return o.disabled ? 1 : 0;
    if (SameName(property, u"CnstIsNotTrusted")) return o.notTrusted ? 1 : 0;
    if (SameName(property, u"CnstIsDeleteCascade")) return o.onDelete == 1 ? 1 : 0;
    if (SameName(property, u"CnstIsUpdateCascade")) return o.onUpdate == 1 ? 1 : 0;
    if (SameName(property, u"IsSchemaBound")) return o.schemaBound ? 1 : 0;
    if (SameName(property, u"IsEncrypted") || SameName(property, u"IsReplProc") ||
        SameName(property, u"IsSystemVerified")) {
        return 0;
    }
    if (SameName(property, u"ExecIsQuotedIdentOn") || SameName(property, u"ExecIsAnsiNullsOn") ||
        SameName(property, u"IsAnsiNullsOn") || SameName(property, u"IsQuotedIdentOn")) {
        return 1;
    }
    return std::nullopt;
}

std::optional<int> TableProperty(Text property, const TableMeta& t) {
    const auto any = [&](auto test) {
        for (const IndexMeta& x : t.indexes) {
            if (test(x)) return 1;
        }
        return 0;
    };
    if (SameName(property, u"TableHasIdentity")) return t.Identity() ? 1 : 0;
    if (SameName(property, u"TableHasPrimaryKey")) {
        return any([](const IndexMeta& x) { return x.primaryKey; });
    }
    if (SameName(property, u"TableHasUniqueCnst")) {
        return any([](const IndexMeta& x) { return x.uniqueConstraint; });
    }
    if (SameName(property, u"TableHasClustIndex")) {
        return any([](const IndexMeta& x) { return x.clustered; });
    }
    if (SameName(property, u"TableHasIndex") || SameName(property, u"IsIndexed")) {
        return t.indexes.empty() ? 0 : 1;
    }
    if (SameName(property, u"TableHasForeignKey")) return t.foreignKeys.empty() ? 0 : 1;
    if (SameName(property, u"TableHasForeignRef")) return t.references.empty() ? 0 : 1;
    if (SameName(property, u"TableHasCheckCnst")) return t.checks.empty() ? 0 : 1;
    const auto columns = [&](auto test) {
        for (const ColumnMeta& c : t.columns) {
            if (test(c)) return 1;
        }
        return 0;
    };
    if (SameName(property, u"TableHasTimestamp")) {
        return columns([](const ColumnMeta& c) { return c.type.id == TypeId::Timestamp; });
    }
    if (SameName(property, u"TableHasTextImage")) {
        return columns([](const ColumnMeta& c) { return IsLob(c.type.id); });
    }
    if (SameName(property, u"TableHasRowGuidCol")) {
        return columns([](const ColumnMeta& c) { return c.rowGuid; });
    }
    if (SameName(property, u"TableHasDefaultCnst")) {
        return columns([](const ColumnMeta& c) { return c.defaultId != 0; });
    }
    if (SameName(property, u"IsIndexable")) return 1;
    return std::nullopt;
}

void ObjectProperty(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    Catalog& catalog = context.Current();
    const auto object = catalog.FindById(static_cast<int>(Int(a[0])));
    if (!object) return sqlite3_result_null(c);
    const Text property = ReadText(a[1]);
    std::optional<int> value = TypeProperty(property, *object);
    if (!value) {
        if (const TablePtr table = catalog.Table(object->id))
            value = TableProperty(property, *table);
    }
    if (!value) return sqlite3_result_null(c);
    sqlite3_result_int(c, *value);
}

void ServerProperty(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const Text p = ReadText(a[0]);
    const auto& settings = context.server.settings;
    if (SameName(p, u"ProductVersion")) return ReturnText(c, Widen(settings.version));
    if (SameName(p, u"ProductLevel")) return ReturnText(c, u"RTM");
    if (SameName(p, u"Edition")) return ReturnText(c, u"Developer Edition");
    if (SameName(p, u"EngineEdition")) return ReturnText(c, u"3");
    if (SameName(p, u"ServerName")) return ReturnText(c, settings.name);
    if (SameName(p, u"MachineName")) {
        return ReturnText(c, Text(settings.name).substr(0, settings.name.find(u'\\')));
    }
    if (SameName(p, u"InstanceName")) {
        const std::size_t slash = settings.name.find(u'\\');
        if (slash == std::u16string::npos) return sqlite3_result_null(c);
        return ReturnText(c, Text(settings.name).substr(slash + 1));
    }
    if (SameName(p, u"Collation")) return ReturnText(c, FactsOf(kServerCollation).name);
    if (SameName(p, u"ProductMajorVersion")) return ReturnText(c, ToText(context.server.major));
    if (SameName(p, u"IsClustered") || SameName(p, u"IsIntegratedSecurityOnly") ||
        SameName(p, u"IsFullTextInstalled") || SameName(p, u"IsSingleUser")) {
        return ReturnText(c, u"0");
    }
    sqlite3_result_null(c);
}

void DatabaseProperty(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    const DatabasePtr file = context.server.Find(ReadText(a[0]));
    if (!file) return sqlite3_result_null(c);
    const Text p = ReadText(a[1]);
    if (SameName(p, u"Collation")) return ReturnText(c, FactsOf(file->collation).name);
    if (SameName(p, u"Status")) return ReturnText(c, u"ONLINE");
    if (SameName(p, u"Recovery")) return ReturnText(c, u"SIMPLE");
    if (SameName(p, u"Updateability")) return ReturnText(c, u"READ_WRITE");
    if (SameName(p, u"UserAccess")) return ReturnText(c, u"MULTI_USER");
    if (SameName(p, u"Version")) return ReturnText(c, u"661");
    for (const Text zero :
         {Text(u"IsAutoClose"), Text(u"IsAutoShrink"), Text(u"IsInStandBy"), Text(u"IsReadOnly"),
          Text(u"IsOffline"), Text(u"IsSuspect"), Text(u"IsInLoad"), Text(u"IsInRecovery"),
          Text(u"IsNotRecovered"), Text(u"IsShutDown"), Text(u"IsDetached"),
          Text(u"IsEmergencyMode"), Text(u"IsSingleUser"), Text(u"IsDboOnly")}) {
        if (SameName(p, zero)) return ReturnText(c, u"0");
    }
    sqlite3_result_null(c);
}

void CollationProperty(Context& context, sqlite3_context* c, sqlite3_value** a) {
    CollationId id = kServerCollation;
    if (IsNull(a[0]) || IsNull(a[1]) || !FindCollation(ReadText(a[0]), context.server.major, id)) {
        return sqlite3_result_null(c);
    }
    const CollationFacts& facts = FactsOf(id);
    const Text p = ReadText(a[1]);
    const auto number = [&](std::int64_t value) {
        ReturnValue(c, WrapVariant(Value::Int(value), Plain(TypeId::Int)));
    };
    if (SameName(p, u"CodePage")) return number(facts.codePage);
    if (SameName(p, u"LCID")) return number(facts.lcid);
    if (SameName(p, u"ComparisonStyle")) return number(facts.ComparisonStyle());
    if (SameName(p, u"Version") && context.server.major >= 10) return number(facts.version);
    sqlite3_result_null(c);
}

void ColumnProperty(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const TablePtr table = context.Current().Table(static_cast<int>(Int(a[0])));
    const ColumnMeta* column = table ? table->Find(ReadText(a[1])) : nullptr;
    if (column == nullptr) return sqlite3_result_null(c);
    const Text p = ReadText(a[2]);
    const auto flag = [&](bool value) { sqlite3_result_int(c, value ? 1 : 0); };
    if (SameName(p, u"AllowsNull")) return flag(column->nullable);
    if (SameName(p, u"IsComputed")) return flag(column->computed);
    if (SameName(p, u"IsIdentity")) return flag(column->identity);
    if (SameName(p, u"IsRowGuidCol")) return flag(column->rowGuid);
    if (SameName(p, u"IsPersisted")) return flag(column->persisted);
    if (SameName(p, u"ColumnId")) return sqlite3_result_int(c, column->id);
    if (SameName(p, u"Precision")) {
        return sqlite3_result_int(
            c, IsCharacter(column->type.id) ? column->type.length : PrecisionOf(column->type));
    }
    if (SameName(p, u"Scale")) return sqlite3_result_int(c, ScaleOf(column->type));
    if (SameName(p, u"IsIdNotForRepl") || SameName(p, u"IsFulltextIndexed")) return flag(false);
    if (SameName(p, u"UsesAnsiTrim") || SameName(p, u"IsDeterministic")) return flag(true);
    sqlite3_result_null(c);
}

void IndexProperty(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const TablePtr table = context.Current().Table(static_cast<int>(Int(a[0])));
    if (!table) return sqlite3_result_null(c);
    const Text p = ReadText(a[2]);
    for (const IndexMeta& x : table->indexes) {
        if (!SameName(x.name, ReadText(a[1]))) continue;
        if (SameName(p, u"IsClustered")) return sqlite3_result_int(c, x.clustered ? 1 : 0);
        if (SameName(p, u"IsUnique")) return sqlite3_result_int(c, x.unique ? 1 : 0);
        if (SameName(p, u"IndexID")) return sqlite3_result_int(c, x.id);
        if (SameName(p, u"IsStatistics") || SameName(p, u"IsHypothetical") ||
            SameName(p, u"IsDisabled") || SameName(p, u"IsAutoStatistics") ||
            SameName(p, u"IsFulltextKey") || SameName(p, u"IsPadIndex") ||
            SameName(p, u"IndexFillFactor")) {
            return sqlite3_result_int(c, 0);
        }
    }
    sqlite3_result_null(c);
}

// INDEX_COL(table, index id, key) and INDEXKEY_PROPERTY(object id, index id, key, property).
const IndexColumn* KeyColumn(const TablePtr& table, std::int64_t index, std::int64_t key) {
    if (!table) return nullptr;
    for (const IndexMeta& x : table->indexes) {
        if (x.id != index) continue;
        std::int64_t n = 0;
        for (const IndexColumn& k : x.columns) {
            if (!k.included && ++n == key) return &k;
        }
    }
    return nullptr;
}

void IndexCol(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const auto found = FindObject(context, ReadText(a[0]));
    if (!found) return sqlite3_result_null(c);
    const TablePtr table = found->catalog->Table(found->object->id);
    const IndexColumn* key = KeyColumn(table, Int(a[1]), Int(a[2]));
    if (key == nullptr) return sqlite3_result_null(c);
    ReturnText(c, table->FindById(key->columnId)->name);
}

void IndexKeyProperty(Context& context, sqlite3_context* c, sqlite3_value** a) {
    for (int i = 0; i < 4; ++i) {
        if (IsNull(a[i])) return sqlite3_result_null(c);
    }
    const IndexColumn* key =
        KeyColumn(context.Current().Table(static_cast<int>(Int(a[0]))), Int(a[1]), Int(a[2]));
    if (key == nullptr) return sqlite3_result_null(c);
    if (SameName(ReadText(a[3]), u"ColumnId")) return sqlite3_result_int(c, key->columnId);
    if (SameName(ReadText(a[3]), u"IsDescending"))
        return sqlite3_result_int(c, key->descending ? 1 : 0);
    sqlite3_result_null(c);
}

void TypeNameOf(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    if (Int(a[0]) == 256) return ReturnText(c, u"sysname");
    for (int i = 0; i <= static_cast<int>(TypeId::SqlVariant); ++i) {
        const TypeFacts& facts = Facts(static_cast<TypeId>(i));
        if (facts.userType == Int(a[0])) return ReturnText(c, facts.name);
    }
    sqlite3_result_null(c);
}

void TypeIdOf(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    if (SameName(ReadText(a[0]), u"sysname")) return sqlite3_result_int(c, 256);
    const auto type = TypeByName(ReadText(a[0]));
    if (!type) return sqlite3_result_null(c);
    sqlite3_result_int(c, Facts(type->id).userType);
}

void SchemaNameOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    const std::u16string name =
        IsNull(a[0]) ? std::u16string() : context.Current().SchemaName(static_cast<int>(Int(a[0])));
    if (name.empty()) return sqlite3_result_null(c);
    ReturnText(c, name);
}

void SchemaIdOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    const auto id = IsNull(a[0]) ? std::nullopt : context.Current().SchemaId(ReadText(a[0]));
    if (!id) return sqlite3_result_null(c);
    sqlite3_result_int(c, *id);
}

void DbId(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const DatabasePtr file = context.server.Find(ReadText(a[0]));
    if (!file) return sqlite3_result_null(c);
    sqlite3_result_int(c, file->id);
}

void DbName(Context& context, sqlite3_context* c, sqlite3_value** a) {
    const DatabasePtr file =
        IsNull(a[0]) ? nullptr : context.server.FindById(static_cast<int>(Int(a[0])));
    if (!file) return sqlite3_result_null(c);
    ReturnText(c, file->name);
}

// The name of a database by its number in the process.
void FileName(Context& context, sqlite3_context* c, sqlite3_value** a) {
    Catalog* catalog = context.Attached(static_cast<int>(Int(a[0])));
    ReturnText(c, catalog ? catalog->File()->name : std::u16string());
}

void ColName(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    const TablePtr table = context.Current().Table(static_cast<int>(Int(a[0])));
    const ColumnMeta* column = table ? table->FindById(static_cast<int>(Int(a[1]))) : nullptr;
    if (column == nullptr) return sqlite3_result_null(c);
    ReturnText(c, column->name);
}

void ColLength(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    const auto found = FindObject(context, ReadText(a[0]));
    const TablePtr table = found ? found->catalog->Table(found->object->id) : nullptr;
    const ColumnMeta* column = table ? table->Find(ReadText(a[1])) : nullptr;
    if (column == nullptr) return sqlite3_result_null(c);
    sqlite3_result_int(c, MaxLength(column->type));
}

// what: 0 current, 1 seed, 2 increment
void Identity(Context& context, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1])) return sqlite3_result_null(c);
    const auto found = FindObject(context, ReadText(a[1]));
    const TablePtr table = found ? found->catalog->Table(found->object->id) : nullptr;
    const ColumnMeta* column = table ? table->Identity() : nullptr;
    if (column == nullptr) return sqlite3_result_null(c);
    Int128 value = Int(a[0]) == 1 ? column->seed : column->increment;
    if (Int(a[0]) == 0) {
        const auto last = found->catalog->File()->LastIdentity(table->id);
        value = last ? *last : column->seed;
    }
    ReturnValue(c, Convert(Value::Int(static_cast<std::int64_t>(value)), Plain(TypeId::BigInt),
                           DecimalType(38, 0), Purpose::Cast));
}

// The rows that a table or an indexed view has now.
void RowsOf(Context& context, sqlite3_context* c, sqlite3_value** a) {
    Catalog* catalog = context.Attached(sqlite3_value_int(a[0]));
    const TablePtr table = catalog ? catalog->Table(sqlite3_value_int(a[1])) : nullptr;
    if (!table || table->type != u'U') return sqlite3_result_int64(c, 0);
    Statement count =
        context.store.Prepare("SELECT count(*) FROM " + catalog->Prefix() + table->storage);
    count.Step();
    sqlite3_result_int64(c, count.Integer(0));
}

// Bytes without the zeros at their end.
void Significant(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0])) return sqlite3_result_null(c);
    const auto* const bytes = static_cast<const char*>(sqlite3_value_blob(a[0]));
    int size = sqlite3_value_bytes(a[0]);
    while (size > 0 && bytes[size - 1] == '\0')
        --size;
    sqlite3_result_blob(c, size == 0 ? "" : bytes, size, SQLITE_TRANSIENT);
}

void VariantProperty(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[0]) || IsNull(a[1])) return sqlite3_result_null(c);
    SqlType type;
    UnwrapVariant(ReadText(a[0]), type);
    const Text p = ReadText(a[1]);
    if (SameName(p, u"BaseType")) return ReturnText(c, TypeName(type.id));
    if (SameName(p, u"Precision")) return ReturnText(c, ToText(PrecisionOf(type)));
    if (SameName(p, u"Scale")) return ReturnText(c, ToText(ScaleOf(type)));
    if (SameName(p, u"Collation") && IsCharacter(type.id)) {
        return ReturnText(c, FactsOf(type.collation).name);
    }
    if (SameName(p, u"MaxLength")) return ReturnText(c, ToText(MaxLength(type)));
    sqlite3_result_null(c);
}

constexpr FunctionEntry kFunctions[] = {
    {"ms_object_id", 2, Purity::Pure, ObjectId},
    {"ms_object_name", 2, Purity::Pure, ObjectNameOf},
    {"ms_object_schema", 2, Purity::Pure, ObjectSchemaName},
    {"ms_objprop", 2, Purity::Pure, ObjectProperty},
    {"ms_serverprop", 1, Purity::Pure, ServerProperty},
    {"ms_dbprop", 2, Purity::Pure, DatabaseProperty},
    {"ms_collationprop", 2, Purity::Pure, CollationProperty},
    {"ms_colprop", 3, Purity::Pure, ColumnProperty},
    {"ms_indexprop", 3, Purity::Pure, IndexProperty},
    {"ms_index_col", 3, Purity::Pure, IndexCol},
    {"ms_indexkeyprop", 4, Purity::Pure, IndexKeyProperty},
    {"ms_type_name", 1, Purity::Pure, TypeNameOf},
    {"ms_type_id", 1, Purity::Pure, TypeIdOf},
    {"ms_schema_name", 1, Purity::Pure, SchemaNameOf},
    {"ms_schema_id", 1, Purity::Pure, SchemaIdOf},
    {"ms_db_id", 1, Purity::Pure, DbId},
    {"ms_db_name", 1, Purity::Pure, DbName},
    {"ms_file_name", 1, Purity::Pure, FileName},
    {"ms_significant", 1, Purity::Pure, Significant},
    {"ms_rows", 2, Purity::Impure, RowsOf},
    {"ms_col_name", 2, Purity::Pure, ColName},
    {"ms_col_length", 2, Purity::Pure, ColLength},
    {"ms_ident_info", 2, Purity::Pure, Identity},
    {"ms_variantprop", 2, Purity::Pure, VariantProperty},
};

}  // namespace

void RegisterMetadataFunctions(Context& context) {
    RegisterTable(context, kFunctions, std::size(kFunctions));
}

}  // namespace sandbox::engine
