// The functions of T-SQL: their arguments, their result types, the SQLite call that answers.
#include <algorithm>
#include <unordered_map>

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/translation/Translator.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

const SqlType kInt = Plain(TypeId::Int);
const SqlType kSysname = NVarCharType(128);

using Args = std::vector<Bound>;

struct Call {
    Translator& t;
    const Expr& expr;
    Args& args;

    std::string Text(std::size_t i) const { return t.AsText(args[i]); }
    std::string As(std::size_t i, const SqlType& type) const { return t.Converted(args[i], type); }
    // Whether the texts are searched under a collation that tell case apart: "0" or "1".
    std::string Exact(std::initializer_list<std::size_t> texts) const {
        std::vector<Bound> values;
        for (const std::size_t i : texts)
            values.push_back(args[i]);
        return t.ExactSearch(values);
    }
    std::string Pack(std::size_t i) const { return std::to_string(engine::Pack(args[i].type)); }
};

using Handler = Bound (*)(Call&);

struct Entry {
    int least, most;
    Handler handler;
};

Bound Make(std::string sql, const SqlType& type, bool nullable = true) {
    Bound b;
    b.sql = std::move(sql);
    b.type = type;
    b.nullable = nullable;
    return b;
}

// The string type of a result that is as long as the argument.
SqlType StringLike(const Bound& b) {
    if (IsBinary(b.type.id)) return SqlType{TypeId::VarBinary, b.type.length, 0, 0};
    if (!IsCharacter(b.type.id)) return NVarCharType(4000);
    const int length = IsLob(b.type.id) ? -1 : b.type.length;
    return WithCollation(IsUnicode(b.type.id) ? NVarCharType(length) : VarCharType(length),
                         b.type.collation);
}

SqlType Longest(const Bound& b) {
    const SqlType t = StringLike(b);
    if (t.length < 0) return t;
    return WithCollation(t.id == TypeId::NVarChar ? NVarCharType(4000) : VarCharType(8000),
                         t.collation);
}

int DatePartNumber(const Expr& e) {
    struct Name {
        std::u16string_view name;
        int part;
    };
    static constexpr Name kNames[] = {
        {u"year", 0},    {u"yy", 0},
        {u"yyyy", 0},    {u"quarter", 1},
        {u"qq", 1},      {u"q", 1},
        {u"month", 2},   {u"mm", 2},
        {u"m", 2},       {u"dayofyear", 3},
        {u"dy", 3},      {u"y", 3},
        {u"day", 4},     {u"dd", 4},
        {u"d", 4},       {u"week", 5},
        {u"wk", 5},      {u"ww", 5},
        {u"weekday", 6}, {u"dw", 6},
        {u"w", 6},       {u"hour", 7},
        {u"hh", 7},      {u"minute", 8},
        {u"mi", 8},      {u"n", 8},
        {u"second", 9},  {u"ss", 9},
        {u"s", 9},       {u"millisecond", 10},
        {u"ms", 10},     {u"microsecond", 11},
        {u"mcs", 11},    {u"nanosecond", 12},
        {u"ns", 12},
    };
    if (e.args[0]->kind == ExprKind::Column && e.args[0]->name.size() == 1) {
        for (const Name& n : kNames) {
            if (SameName(n.name, e.args[0]->name.front())) return n.part;
        }
        throw SqlError(155,
                       Format(u"'%1' is not a recognized %2 option.",
                              {e.args[0]->name.front(), e.name.front()}),
                       15);
    }
    throw SqlError(1023, Format(u"Invalid parameter 1 specified for %1.", {e.name.front()}), 15);
}

// A date argument: strings and numbers are datetimes.
SqlType DateType(const Bound& b) {
    return IsDateTime(b.type.id) ? b.type : Plain(TypeId::DateTime);
}

Bound IsNullFunction(Call& c) {
    if (!c.args[0].typed) {
        Bound r = c.args[1];
        r.literal.reset();
        r.column = false;
        return r;
    }
    Bound r = Make("ifnull(" + c.args[0].sql + "," + c.As(1, c.args[0].type) + ")", c.args[0].type,
                   c.args[0].nullable && c.args[1].nullable);
    return r;
}

Bound Coalesce(Call& c) {
    Bound r = c.t.Unify(c.args);
    r.nullable = true;
    r.sql = "coalesce(";
    for (std::size_t i = 0; i < c.args.size(); ++i) {
        if (i > 0) r.sql += ",";
        r.sql += c.As(i, r.type);
        if (!c.args[i].nullable && c.args[i].typed) r.nullable = false;
    }
    r.sql += ")";
    return r;
}

Bound NullIf(Call& c) {
    std::vector<Bound> both = c.args;
    const SqlType common = c.t.Unify(both, u"equal to operation").type;
    const char* collation = CollationOf(common);
    std::string x = c.As(0, common);
    if (collation != nullptr) x = "(" + x + " COLLATE " + collation + ")";
    return Make(
        "CASE WHEN " + x + "=" + c.As(1, common) + " THEN NULL ELSE " + c.args[0].sql + " END",
        c.args[0].type);
}

Bound Len(Call& c) {
    const bool big = c.args[0].type.length < 0;
    const std::string x = IsBinary(c.args[0].type.id) ? c.args[0].sql : c.Text(0);
    return Make("ms_len(" + x + ")", Plain(big ? TypeId::BigInt : TypeId::Int));
}

Bound DataLength(Call& c) {
    const bool big = c.args[0].type.length < 0;
    return Make("ms_datalength(" + c.args[0].sql + "," + c.Pack(0) + ")",
                Plain(big ? TypeId::BigInt : TypeId::Int));
}

Bound Substring(Call& c) {
    const bool binary = IsBinary(c.args[0].type.id);
    SqlType type = StringLike(c.args[0]);
    if (type.length > 0 && c.args[2].literal && c.args[2].literal->i > 0) {
        type.length = static_cast<int>(std::min<std::int64_t>(type.length, c.args[2].literal->i));
    }
    return Make("ms_substring(" + (binary ? c.args[0].sql : c.Text(0)) + "," + c.As(1, kInt) + "," +
                    c.As(2, Plain(TypeId::BigInt)) + ")",
                type);
}

Bound Left(Call& c) {
    return Make("ms_substring(" + c.Text(0) + ",1," + c.As(1, kInt) + ")", StringLike(c.args[0]));
}

Bound Right(Call& c) {
    return Make("ms_right(" + c.Text(0) + "," + c.As(1, kInt) + ")", StringLike(c.args[0]));
}

Bound Upper(Call& c) {
    return Make("ms_upper(" + c.Text(0) + ")", StringLike(c.args[0]));
}
Bound Lower(Call& c) {
    return Make("ms_lower(" + c.Text(0) + ")", StringLike(c.args[0]));
}
Bound LTrim(Call& c) {
    return Make("ms_trim(1," + c.Text(0) + ")", StringLike(c.args[0]));
}
Bound RTrim(Call& c) {
    return Make("ms_trim(2," + c.Text(0) + ")", StringLike(c.args[0]));
}
Bound Reverse(Call& c) {
    return Make("ms_reverse(" + c.Text(0) + ")", StringLike(c.args[0]));
}

Bound Replace(Call& c) {
    return Make(
        "ms_replace(" + c.Text(0) + "," + c.Text(1) + "," + c.Text(2) + "," + c.Exact({0, 1}) + ")",
        Longest(c.args[0]));
}

Bound Replicate(Call& c) {
    const SqlType type = Longest(c.args[0]);
    return Make("ms_replicate(" + c.Text(0) + "," + c.As(1, Plain(TypeId::BigInt)) + "," +
                    std::to_string(type.length) + ")",
                type);
}

Bound Space(Call& c) {
    Bound blank = c.t.Literal(Value::Text(u" "), VarCharType(1));
    return Make("ms_replicate(" + blank.sql + "," + c.As(0, kInt) + ",8000)", VarCharType(8000));
}

Bound CharIndex(Call& c) {
    const std::string from = c.args.size() > 2 ? c.As(2, kInt) : "1";
    return Make(
        "ms_charindex(" + c.Text(0) + "," + c.Text(1) + "," + from + "," + c.Exact({0, 1}) + ")",
        kInt);
}

Bound PatIndex(Call& c) {
    return Make("ms_patindex(" + c.Text(0) + "," + c.Text(1) + "," + c.Exact({0, 1}) + ")", kInt);
}

Bound Str(Call& c) {
    const std::string length = c.args.size() > 1 ? c.As(1, kInt) : "10";
    const std::string decimals = c.args.size() > 2 ? c.As(2, kInt) : "0";
    return Make("ms_str(" + c.As(0, Plain(TypeId::Float)) + "," + length + "," + decimals + ")",
                VarCharType(8000));
}

Bound Stuff(Call& c) {
    return Make(
        "ms_stuff(" + c.Text(0) + "," + c.As(1, kInt) + "," + c.As(2, kInt) + "," + c.Text(3) + ")",
        Longest(c.args[0]));
}

Bound QuoteName(Call& c) {
    Bound bracket = c.t.Literal(Value::Text(u"["), VarCharType(1));
    return Make(
        "ms_quotename(" + c.Text(0) + "," + (c.args.size() > 1 ? c.Text(1) : bracket.sql) + ")",
        NVarCharType(258));
}

template <int What>
Bound Rounding(Call& c) {
    Bound x = c.args[0];
    if (IsCharacter(x.type.id)) {
        x.sql = c.As(0, Plain(TypeId::Float));
        x.type = Plain(TypeId::Float);
    }
    if (!IsNumber(x.type.id) && x.typed) {
        throw SqlError(8116,
                       Format(u"Argument data type %1 is invalid for argument 1 of %2 function.",
                              {TypeName(x.type.id), c.expr.name.front()}));
    }
    // The small integers grow to int.
    if (IsInteger(x.type.id) && x.type.id < TypeId::Int) x.type = kInt;
    const std::string length = What == 0 ? c.As(1, kInt) : "0";
    const std::string cut = What == 0 && c.args.size() > 2 ? c.As(2, kInt) : "0";
    Bound r = Make("ms_round(" + std::to_string(What) + "," + x.sql + "," +
                       std::to_string(engine::Pack(x.type)) + "," + length + "," + cut + ")",
                   x.type, x.nullable);
    if ((What == 1 || What == 2) && IsDecimal(x.type.id)) {
        Bound wide = r;
        r.type = DecimalType(x.type.precision, 0);
        r.sql = c.t.Converted(wide, r.type);
    }
    return r;
}

template <int What>
Bound Mathematics(Call& c) {
    const SqlType f = Plain(TypeId::Float);
    Bound r = Make("ms_math(" + std::to_string(What) + "," + (c.args.empty() ? "0" : c.As(0, f)) +
                       "," + (c.args.size() > 1 ? c.As(1, f) : "0") + ")",
                   f);
    if (What == 1 && !IsApproximate(c.args[0].type.id) &&
        c.args[0].typed) {  // POWER keeps the type
        const SqlType type =
            IsInteger(c.args[0].type.id) && c.args[0].type.id < TypeId::Int ? kInt : c.args[0].type;
        if (IsNumber(type.id)) {
            r.sql = c.t.Converted(r, type);
            r.type = type;
        }
    }
    return r;
}

Bound GetDate(Call&) {
    return Make("ms_now(0)", Plain(TypeId::DateTime), false);
}
Bound GetUtcDate(Call&) {
    return Make("ms_now(1)", Plain(TypeId::DateTime), false);
}

Bound SysDateTime(Call& c) {
    return Make(c.t.Converted(Make("ms_now(0)", Plain(TypeId::DateTime), false),
                              SqlType{TypeId::DateTime2, 0, 0, 7}),
                SqlType{TypeId::DateTime2, 0, 0, 7}, false);
}

Bound DateAdd(Call& c) {
    const int part = DatePartNumber(c.expr);
    const SqlType type = DateType(c.args[2]);
    return Make("ms_dateadd(" + std::to_string(part) + "," + c.As(1, Plain(TypeId::BigInt)) + "," +
                    c.As(2, type) + "," + std::to_string(engine::Pack(type)) + ")",
                type);
}

Bound DateDiff(Call& c) {
    const int part = DatePartNumber(c.expr);
    const SqlType x = DateType(c.args[1]);
    const SqlType y = DateType(c.args[2]);
    return Make("ms_datediff(" + std::to_string(part) + "," + c.As(1, x) + "," + c.As(2, y) + "," +
                    std::to_string(engine::Pack(x)) + "," + std::to_string(engine::Pack(y)) + ")",
                kInt);
}

std::string PartSql(Call& c, int part, std::size_t argument, const char* function) {
    const SqlType type = DateType(c.args[argument]);
    return std::string(function) + "(" + std::to_string(part) + "," + c.As(argument, type) + "," +
           std::to_string(engine::Pack(type)) + ")";
}

Bound DatePart(Call& c) {
    return Make(PartSql(c, DatePartNumber(c.expr), 1, "ms_datepart"), kInt);
}
Bound DateName(Call& c) {
    return Make(PartSql(c, DatePartNumber(c.expr), 1, "ms_datename"), NVarCharType(30));
}
Bound Year(Call& c) {
    return Make(PartSql(c, 0, 0, "ms_datepart"), kInt);
}
Bound Month(Call& c) {
    return Make(PartSql(c, 2, 0, "ms_datepart"), kInt);
}
Bound Day(Call& c) {
    return Make(PartSql(c, 4, 0, "ms_datepart"), kInt);
}

// Functions of plain form: f(args as given types) -> type.
template <const char* Name, TypeId Result, TypeId... Parameters>
Bound Plainly(Call& c) {
    const TypeId types[] = {Parameters..., TypeId::Int};
    std::string sql = std::string(Name) + "(";
    for (std::size_t i = 0; i < sizeof...(Parameters); ++i) {
        if (i > 0) sql += ",";
        if (i >= c.args.size()) {
            sql += "NULL";
        } else if (types[i] == TypeId::NVarChar) {
            sql += c.Text(i);
        } else {
            sql += c.As(i, Plain(types[i]));
        }
    }
    const SqlType result = Result == TypeId::NVarChar ? kSysname : Plain(Result);
    return Make(sql + ")", result);
}

constexpr char kObjectId[] = "ms_object_id";
constexpr char kObjectName[] = "ms_object_name";
constexpr char kObjectSchema[] = "ms_object_schema";
constexpr char kObjProp[] = "ms_objprop";
constexpr char kServerProp[] = "ms_serverprop";
constexpr char kDbProp[] = "ms_dbprop";
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
constexpr char kChar[] = "ms_char";
constexpr char kNChar[] = "ms_nchar";
constexpr char kAscii[] = "ms_ascii";
constexpr char kUnicode[] = "ms_unicode";
constexpr char kIsNumeric[] = "ms_isnumeric";
constexpr char kIsDate[] = "ms_isdate";

constexpr TypeId N = TypeId::NVarChar;
constexpr TypeId I = TypeId::Int;

Bound DbProperty(Call& c) {  // DATABASEPROPERTY: 0 and 1 as int
    return Make("CAST(ms_dbprop(" + c.Text(0) + "," + c.Text(1) + ") AS INTEGER)", kInt);
}

Bound CollationProperty(Call& c) {
    if (c.t.GetContext().server.major < 8) {
        throw SqlError(
            195, Format(u"'%1' is not a recognized function name.", {c.expr.name.front()}), 15);
    }
    return Plainly<kCollationProp, TypeId::SqlVariant, N, N>(c);
}

Bound DbPropertyEx(Call& c) {
    return Make("ms_dbprop(" + c.Text(0) + "," + c.Text(1) + ")", kSysname);
}

Bound DbId(Call& c) {
    const SqlType small = Plain(TypeId::SmallInt);
    if (c.args.empty()) return c.t.Literal(Value::Int(c.t.GetContext().current->id), small);
    return Make("ms_db_id(" + c.Text(0) + ")", small);
}

Bound DbName(Call& c) {
    if (c.args.empty()) return c.t.Literal(Value::Text(c.t.GetContext().current->name), kSysname);
    return Make("ms_db_name(" + c.As(0, kInt) + ")", kSysname);
}

Bound SchemaNameOf(Call& c) {
    if (c.args.empty()) return c.t.Literal(Value::Text(u"dbo"), kSysname);
    return Plainly<kSchemaName, N, I>(c);
}

Bound SchemaIdOf(Call& c) {
    if (c.args.empty()) return c.t.Literal(Value::Int(1), kInt);
    return Plainly<kSchemaId, I, N>(c);
}

Bound UserName(Call& c) {
    if (c.args.empty()) {
        Context& context = c.t.GetContext();
        return c.t.Literal(Value::Text(UserIn(context, context.Current())), kSysname);
    }
    return Plainly<kSchemaName, N, I>(c);
}

Bound UserId(Call& c) {
    if (c.args.empty()) return c.t.Literal(Value::Int(1), kInt);
    return Plainly<kSchemaId, I, N>(c);
}

Bound LoginName(Call& c) {
    return c.t.Literal(Value::Text(c.t.GetContext().user), kSysname);
}
Bound HostName(Call& c) {
    return c.t.Literal(Value::Text(c.t.GetContext().hostName), kSysname);
}
Bound AppName(Call& c) {
    return c.t.Literal(Value::Text(c.t.GetContext().application), kSysname);
}
Bound NewId(Call&) {
    return Make("ms_newid()", Plain(TypeId::UniqueIdentifier), false);
}
Bound Rand(Call&) {
    return Make("ms_rand()", Plain(TypeId::Float), false);
}

SqlType IdentityType() {
    SqlType t = DecimalType(38, 0);
    t.id = TypeId::Numeric;
    return t;
}

Bound ScopeIdentity(Call&) {
    return Make("ms_identity(1)", IdentityType());
}
template <int What>
Bound IdentityInfo(Call& c) {
    return Make("ms_ident_info(" + std::to_string(What) + "," + c.Text(0) + ")", IdentityType());
}

Bound RowCountBig(Call&) {
    return Make("ms_rowcount()", Plain(TypeId::BigInt), false);
}
Bound XactState(Call&) {
    return Make("min(ms_trancount(),1)", Plain(TypeId::SmallInt), false);
}

Bound ContextInfo(Call&) {
    return Make("ms_context_info()", SqlType{TypeId::VarBinary, 128, 0, 0});
}

template <int What>
Bound Caught(Call&) {
    const SqlType type = What == 0 ? NVarCharType(4000) : What == 5 ? kSysname : kInt;
    return Make("ms_caught(" + std::to_string(What) + ")", type);
}

Bound VariantProperty(Call& c) {
    const SqlType variant = Plain(TypeId::SqlVariant);
    return Make("ms_variantprop(" + c.As(0, variant) + "," + c.Text(1) + ")", kSysname);
}

Bound HasAccess(Call& c) {
    Context& context = c.t.GetContext();
    std::string open;
    for (const DatabasePtr& database : context.server.Databases()) {
        if (UserIn(context, context.Open(database)).empty()) continue;
        open += (open.empty() ? "" : ",") + std::to_string(database->id);
    }
    const std::string id = "ms_db_id(" + c.Text(0) + ")";
    return Make("CASE WHEN " + id + " IS NULL THEN NULL ELSE " + id + " IN (" + open + ") END",
                kInt);
}

// Everybody is a member of public, and nobody but sysadmin of anything else.
Bound IsMember(Call& c) {
    const Context& context = c.t.GetContext();
    if (context.administrator) return c.t.Literal(Value::Int(1), kInt);
    return Make("CASE " + c.Text(0) + " WHEN 'public' THEN 1 ELSE 0 END", kInt);
}

const std::unordered_map<std::u16string, Entry>& Table() {
    static const std::unordered_map<std::u16string, Entry> kTable = {
        {u"ISNULL", {2, 2, IsNullFunction}},
        {u"COALESCE", {2, 99, Coalesce}},
        {u"NULLIF", {2, 2, NullIf}},
        {u"LEN", {1, 1, Len}},
        {u"DATALENGTH", {1, 1, DataLength}},
        {u"SUBSTRING", {3, 3, Substring}},
        {u"LEFT", {2, 2, Left}},
        {u"RIGHT", {2, 2, Right}},
        {u"UPPER", {1, 1, Upper}},
        {u"LOWER", {1, 1, Lower}},
        {u"LTRIM", {1, 1, LTrim}},
        {u"RTRIM", {1, 1, RTrim}},
        {u"REVERSE", {1, 1, Reverse}},
        {u"REPLACE", {3, 3, Replace}},
        {u"REPLICATE", {2, 2, Replicate}},
        {u"SPACE", {1, 1, Space}},
        {u"CHARINDEX", {2, 3, CharIndex}},
        {u"PATINDEX", {2, 2, PatIndex}},
        {u"STR", {1, 3, Str}},
        {u"STUFF", {4, 4, Stuff}},
        {u"QUOTENAME", {1, 2, QuoteName}},
        {u"CHAR",
         {1, 1,
          [](Call& c) {
              Bound b = Plainly<kChar, I, I>(c);
              b.type = VarCharType(1);
              return b;
          }}},
        {u"NCHAR",
         {1, 1,
          [](Call& c) {
              Bound b = Plainly<kNChar, I, I>(c);
              b.type = NVarCharType(1);
              return b;
          }}},
        {u"ASCII", {1, 1, Plainly<kAscii, I, N>}},
        {u"UNICODE", {1, 1, Plainly<kUnicode, I, N>}},
        {u"ISNUMERIC", {1, 1, Plainly<kIsNumeric, I, N>}},
        {u"ISDATE", {1, 1, Plainly<kIsDate, I, N>}},
        {u"ROUND", {2, 3, Rounding<0>}},
        {u"FLOOR", {1, 1, Rounding<1>}},
        {u"CEILING", {1, 1, Rounding<2>}},
        {u"ABS", {1, 1, Rounding<3>}},
        {u"SIGN", {1, 1, Rounding<4>}},
        {u"SQRT", {1, 1, Mathematics<0>}},
        {u"POWER", {2, 2, Mathematics<1>}},
        {u"EXP", {1, 1, Mathematics<2>}},
        {u"LOG", {1, 1, Mathematics<3>}},
        {u"LOG10", {1, 1, Mathematics<4>}},
        {u"SIN", {1, 1, Mathematics<5>}},
        {u"COS", {1, 1, Mathematics<6>}},
        {u"PI", {0, 0, Mathematics<7>}},
        {u"GETDATE", {0, 0, GetDate}},
        {u"CURRENT_TIMESTAMP", {0, 0, GetDate}},
        {u"GETUTCDATE", {0, 0, GetUtcDate}},
        {u"SYSDATETIME", {0, 0, SysDateTime}},
        {u"DATEADD", {3, 3, DateAdd}},
        {u"DATEDIFF", {3, 3, DateDiff}},
        {u"DATEPART", {2, 2, DatePart}},
        {u"DATENAME", {2, 2, DateName}},
        {u"YEAR", {1, 1, Year}},
        {u"MONTH", {1, 1, Month}},
        {u"DAY", {1, 1, Day}},
        {u"NEWID", {0, 0, NewId}},
        {u"RAND", {0, 1, Rand}},
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

}  // namespace

bool IsAggregateName(std::u16string_view name) {
    static constexpr std::u16string_view kNames[] = {u"COUNT", u"COUNT_BIG", u"SUM",
                                                     u"MIN",   u"MAX",       u"AVG"};
    return std::any_of(std::begin(kNames), std::end(kNames),
                       [&](std::u16string_view n) { return SameName(n, name); });
}

std::optional<Bound> TranslateFunction(Translator& translator, const Expr& expr,
                                       std::vector<Bound>& args) {
    const auto& table = Table();
    const auto found = table.find(FoldName(expr.name.front()));
    if (found == table.end()) return std::nullopt;
    const Entry& entry = found->second;
    const auto given = static_cast<int>(args.size());
    if (given < entry.least || given > entry.most) {
        std::u16string lower = expr.name.front();
        for (char16_t& unit : lower)
            unit = LowerUnit(unit);
        const bool range = entry.least != entry.most;
        throw SqlError(range ? 189 : 174,
                       range ? Format(u"The %1 function requires %2 to %3 arguments.",
                                      {lower, ToText(entry.least), ToText(entry.most)})
                             : Format(u"The %1 function requires %2 argument(s).",
                                      {lower, ToText(entry.least)}),
                       15);
    }
    Call call{translator, expr, args};
    return entry.handler(call);
}

}  // namespace sandbox::engine
