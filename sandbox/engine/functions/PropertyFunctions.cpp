// OBJECTPROPERTY and its kin.
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

using Text = std::u16string_view;

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

constexpr FunctionEntry kPropertyFunctions[] = {
    {"ms_objprop", 2, Purity::Pure, ObjectProperty},
    {"ms_serverprop", 1, Purity::Pure, ServerProperty},
    {"ms_dbprop", 2, Purity::Pure, DatabaseProperty},
    {"ms_collationprop", 2, Purity::Pure, CollationProperty},
    {"ms_colprop", 3, Purity::Pure, ColumnProperty},
    {"ms_indexprop", 3, Purity::Pure, IndexProperty},
    {"ms_variantprop", 2, Purity::Pure, VariantProperty},
};

}  // namespace

void RegisterPropertyFunctions(Context& context) {
    RegisterTable(context, kPropertyFunctions, std::size(kPropertyFunctions));
}

}  // namespace sandbox::engine
