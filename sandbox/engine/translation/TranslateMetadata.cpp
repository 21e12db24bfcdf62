// The functions of the catalog, and what a session knows of itself.
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/translation/FunctionCall.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

constexpr char kObjectId[] = "ms_object_id";
constexpr char kObjectName[] = "ms_object_name";
constexpr char kObjectSchema[] = "ms_object_schema";
constexpr char kObjProp[] = "ms_objprop";
constexpr char kServerProp[] = "ms_serverprop";
constexpr char kCollationProp[] = "ms_collationprop";
constexpr char kColProp[] = "ms_colprop";
constexpr char kIndexProp[] = "ms_indexprop";
constexpr char kIndexCol[] = "ms_index_col";
constexpr char kIndexKeyProp[] = "ms_indexkeyprop";
constexpr char kTypeName[] = "ms_type_name";
constexpr char kTypeId[] = "ms_type_id";
constexpr char kSchemaName[] = "ms_schema_name";
constexpr char kSchemaId[] = "ms_schema_id";
constexpr char kColName[] = "ms_col_name";
constexpr char kColLength[] = "ms_col_length";

Bound DbProperty(FunctionCall& c) {  // DATABASEPROPERTY: 0 and 1 as int
    return Make("CAST(ms_dbprop(" + c.Text(0) + "," + c.Text(1) + ") AS INTEGER)", kIntType);
}

Bound CollationProperty(FunctionCall& c) {
    if (c.t.GetContext().server.major < 8) {
        throw SqlError(
            195, Format(u"'%1' is not a recognized function name.", {c.expr.name.front()}), 15);
    }
    return Plainly<kCollationProp, TypeId::SqlVariant, N, N>(c);
}

Bound DbPropertyEx(FunctionCall& c) {
    return Make("ms_dbprop(" + c.Text(0) + "," + c.Text(1) + ")", kSysnameType);
}

Bound DbId(FunctionCall& c) {
    const SqlType small = Plain(TypeId::SmallInt);
    if (c.args.empty()) return c.t.Literal(Value::Int(c.t.GetContext().current->id), small);
    return Make("ms_db_id(" + c.Text(0) + ")", small);
}

Bound DbName(FunctionCall& c) {
    if (c.args.empty())
        return c.t.Literal(Value::Text(c.t.GetContext().current->name), kSysnameType);
    return Make("ms_db_name(" + c.As(0, kIntType) + ")", kSysnameType);
}

Bound SchemaNameOf(FunctionCall& c) {
    if (c.args.empty()) return c.t.Literal(Value::Text(u"dbo"), kSysnameType);
    return Plainly<kSchemaName, N, I>(c);
}

Bound SchemaIdOf(FunctionCall& c) {
    if (c.args.empty()) return c.t.Literal(Value::Int(1), kIntType);
    return Plainly<kSchemaId, I, N>(c);
}

Bound UserName(FunctionCall& c) {
    if (c.args.empty()) {
        Context& context = c.t.GetContext();
        return c.t.Literal(Value::Text(UserIn(context, context.Current())), kSysnameType);
    }
    return Plainly<kSchemaName, N, I>(c);
}

Bound UserId(FunctionCall& c) {
    if (c.args.empty()) return c.t.Literal(Value::Int(1), kIntType);
    return Plainly<kSchemaId, I, N>(c);
}

Bound LoginName(FunctionCall& c) {
    return c.t.Literal(Value::Text(c.t.GetContext().user), kSysnameType);
}
Bound HostName(FunctionCall& c) {
    return c.t.Literal(Value::Text(c.t.GetContext().hostName), kSysnameType);
}
Bound AppName(FunctionCall& c) {
    return c.t.Literal(Value::Text(c.t.GetContext().application), kSysnameType);
}

SqlType IdentityType() {
    SqlType t = DecimalType(38, 0);
    t.id = TypeId::Numeric;
    return t;
}

Bound ScopeIdentity(FunctionCall&) {
    return Make("ms_identity(1)", IdentityType());
}
template <int What>
Bound IdentityInfo(FunctionCall& c) {
    return Make("ms_ident_info(" + std::to_string(What) + "," + c.Text(0) + ")", IdentityType());
}

Bound RowCountBig(FunctionCall&) {
    return Make("ms_rowcount()", Plain(TypeId::BigInt), false);
}
Bound XactState(FunctionCall&) {
    return Make("min(ms_trancount(),1)", Plain(TypeId::SmallInt), false);
}

Bound ContextInfo(FunctionCall&) {
    return Make("ms_context_info()", SqlType{TypeId::VarBinary, 128, 0, 0});
}

template <int What>
Bound Caught(FunctionCall&) {
    const SqlType type = What == 0 ? NVarCharType(4000) : What == 5 ? kSysnameType : kIntType;
    return Make("ms_caught(" + std::to_string(What) + ")", type);
}

Bound VariantProperty(FunctionCall& c) {
    const SqlType variant = Plain(TypeId::SqlVariant);
    return Make("ms_variantprop(" + c.As(0, variant) + "," + c.Text(1) + ")", kSysnameType);
}

Bound HasAccess(FunctionCall& c) {
    Context& context = c.t.GetContext();
    std::string open;
    for (const DatabasePtr& database : context.server.Databases()) {
        if (UserIn(context, context.Open(database)).empty()) continue;
        open += (open.empty() ? "" : ",") + std::to_string(database->id);
    }
    const std::string id = "ms_db_id(" + c.Text(0) + ")";
    return Make("CASE WHEN " + id + " IS NULL THEN NULL ELSE " + id + " IN (" + open + ") END",
                kIntType);
}

// Everybody is a member of public, and nobody but sysadmin of anything else.
Bound IsMember(FunctionCall& c) {
    const Context& context = c.t.GetContext();
    if (context.administrator) return c.t.Literal(Value::Int(1), kIntType);
    return Make("CASE " + c.Text(0) + " WHEN 'public' THEN 1 ELSE 0 END", kIntType);
}

}  // namespace

const FunctionTable& MetadataFunctionTable() {
    static const FunctionTable kTable = {
        {u"OBJECT_ID", {1, 2, Plainly<kObjectId, I, N, N>}},
        {u"OBJECT_NAME", {1, 2, Plainly<kObjectName, N, I, I>}},
        {u"OBJECT_SCHEMA_NAME", {1, 2, Plainly<kObjectSchema, N, I, I>}},
        {u"OBJECTPROPERTY", {2, 2, Plainly<kObjProp, I, I, N>}},
        {u"SERVERPROPERTY", {1, 1, Plainly<kServerProp, N, N>}},
        {u"DATABASEPROPERTYEX", {2, 2, DbPropertyEx}},
        {u"DATABASEPROPERTY", {2, 2, DbProperty}},
        {u"COLLATIONPROPERTY", {2, 2, CollationProperty}},
        {u"COLUMNPROPERTY", {3, 3, Plainly<kColProp, I, I, N, N>}},
        {u"INDEXPROPERTY", {3, 3, Plainly<kIndexProp, I, I, N, N>}},
        {u"INDEX_COL", {3, 3, Plainly<kIndexCol, N, N, I, I>}},
        {u"INDEXKEY_PROPERTY", {4, 4, Plainly<kIndexKeyProp, I, I, I, I, N>}},
        {u"TYPE_NAME", {1, 1, Plainly<kTypeName, N, I>}},
        {u"TYPE_ID", {1, 1, Plainly<kTypeId, I, N>}},
        {u"SCHEMA_NAME", {0, 1, SchemaNameOf}},
        {u"SCHEMA_ID", {0, 1, SchemaIdOf}},
        {u"DB_ID", {0, 1, DbId}},
        {u"DB_NAME", {0, 1, DbName}},
        {u"COL_NAME", {2, 2, Plainly<kColName, N, I, I>}},
        {u"COL_LENGTH", {2, 2, Plainly<kColLength, I, N, N>}},
        {u"USER_NAME", {0, 1, UserName}},
        {u"USER_ID", {0, 1, UserId}},
        {u"USER", {0, 0, UserName}},
        {u"CURRENT_USER", {0, 0, UserName}},
        {u"SESSION_USER", {0, 0, UserName}},
        {u"SYSTEM_USER", {0, 0, LoginName}},
        {u"SUSER_SNAME", {0, 1, LoginName}},
        {u"SUSER_NAME", {0, 1, LoginName}},
        {u"ORIGINAL_LOGIN", {0, 0, LoginName}},
        {u"HOST_NAME", {0, 0, HostName}},
        {u"APP_NAME", {0, 0, AppName}},
        {u"SCOPE_IDENTITY", {0, 0, ScopeIdentity}},
        {u"IDENT_CURRENT", {1, 1, IdentityInfo<0>}},
        {u"IDENT_SEED", {1, 1, IdentityInfo<1>}},
        {u"IDENT_INCR", {1, 1, IdentityInfo<2>}},
        {u"ROWCOUNT_BIG", {0, 0, RowCountBig}},
        {u"XACT_STATE", {0, 0, XactState}},
        {u"CONTEXT_INFO", {0, 0, ContextInfo}},
        {u"ERROR_MESSAGE", {0, 0, Caught<0>}},
        {u"ERROR_NUMBER", {0, 0, Caught<1>}},
        {u"ERROR_SEVERITY", {0, 0, Caught<2>}},
        {u"ERROR_STATE", {0, 0, Caught<3>}},
        {u"ERROR_LINE", {0, 0, Caught<4>}},
        {u"ERROR_PROCEDURE", {0, 0, Caught<5>}},
        {u"SQL_VARIANT_PROPERTY", {2, 2, VariantProperty}},
        {u"HAS_DBACCESS", {1, 1, HasAccess}},
        {u"IS_SRVROLEMEMBER", {1, 2, IsMember}},
        {u"IS_MEMBER", {1, 1, IsMember}},
    };
    return kTable;
}

}  // namespace sandbox::engine
