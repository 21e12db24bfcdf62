// The functions of text.
#include <algorithm>

#include "sandbox/engine/translation/FunctionCall.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
namespace {

constexpr char kChar[] = "ms_char";
constexpr char kNChar[] = "ms_nchar";
constexpr char kAscii[] = "ms_ascii";
constexpr char kUnicode[] = "ms_unicode";
constexpr char kIsNumeric[] = "ms_isnumeric";
constexpr char kIsDate[] = "ms_isdate";

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

Bound Len(FunctionCall& c) {
    const bool big = c.args[0].type.length < 0;
    const std::string x = IsBinary(c.args[0].type.id) ? c.args[0].sql : c.Text(0);
    return Make("ms_len(" + x + ")", Plain(big ? TypeId::BigInt : TypeId::Int));
}

Bound DataLength(FunctionCall& c) {
    const bool big = c.args[0].type.length < 0;
    return Make("ms_datalength(" + c.args[0].sql + "," + c.Pack(0) + ")",
                Plain(big ? TypeId::BigInt : TypeId::Int));
}

Bound Substring(FunctionCall& c) {
    const bool binary = IsBinary(c.args[0].type.id);
    SqlType type = StringLike(c.args[0]);
    if (type.length > 0 && c.args[2].literal && c.args[2].literal->i > 0) {
        type.length = static_cast<int>(std::min<std::int64_t>(type.length, c.args[2].literal->i));
    }
    return Make("ms_substring(" + (binary ? c.args[0].sql : c.Text(0)) + "," + c.As(1, kIntType) +
                    "," + c.As(2, Plain(TypeId::BigInt)) + ")",
                type);
}

Bound Left(FunctionCall& c) {
    return Make("ms_substring(" + c.Text(0) + ",1," + c.As(1, kIntType) + ")",
                StringLike(c.args[0]));
}

Bound Right(FunctionCall& c) {
    return Make("ms_right(" + c.Text(0) + "," + c.As(1, kIntType) + ")", StringLike(c.args[0]));
}

Bound Upper(FunctionCall& c) {
    return Make("ms_upper(" + c.Text(0) + ")", StringLike(c.args[0]));
}

Bound Lower(FunctionCall& c) {
    return Make("ms_lower(" + c.Text(0) + ")", StringLike(c.args[0]));
}

Bound LTrim(FunctionCall& c) {
    return Make("ms_trim(1," + c.Text(0) + ")", StringLike(c.args[0]));
}

Bound RTrim(FunctionCall& c) {
    return Make("ms_trim(2," + c.Text(0) + ")", StringLike(c.args[0]));
}

Bound Reverse(FunctionCall& c) {
    return Make("ms_reverse(" + c.Text(0) + ")", StringLike(c.args[0]));
}

Bound Replace(FunctionCall& c) {
    return Make(
        "ms_replace(" + c.Text(0) + "," + c.Text(1) + "," + c.Text(2) + "," + c.Exact({0, 1}) + ")",
        Longest(c.args[0]));
}

Bound Replicate(FunctionCall& c) {
    const SqlType type = Longest(c.args[0]);
    return Make("ms_replicate(" + c.Text(0) + "," + c.As(1, Plain(TypeId::BigInt)) + "," +
                    std::to_string(type.length) + ")",
                type);
}

Bound Space(FunctionCall& c) {
    Bound blank = c.t.Literal(Value::Text(u" "), VarCharType(1));
    return Make("ms_replicate(" + blank.sql + "," + c.As(0, kIntType) + ",8000)",
                VarCharType(8000));
}

Bound CharIndex(FunctionCall& c) {
    const std::string from = c.args.size() > 2 ? c.As(2, kIntType) : "1";
    return Make(
        "ms_charindex(" + c.Text(0) + "," + c.Text(1) + "," + from + "," + c.Exact({0, 1}) + ")",
        kIntType);
}

Bound PatIndex(FunctionCall& c) {
    return Make("ms_patindex(" + c.Text(0) + "," + c.Text(1) + "," + c.Exact({0, 1}) + ")",
                kIntType);
}

Bound Str(FunctionCall& c) {
    const std::string length = c.args.size() > 1 ? c.As(1, kIntType) : "10";
    const std::string decimals = c.args.size() > 2 ? c.As(2, kIntType) : "0";
    return Make("ms_str(" + c.As(0, Plain(TypeId::Float)) + "," + length + "," + decimals + ")",
                VarCharType(8000));
}

Bound Stuff(FunctionCall& c) {
    return Make("ms_stuff(" + c.Text(0) + "," + c.As(1, kIntType) + "," + c.As(2, kIntType) + "," +
                    c.Text(3) + ")",
                Longest(c.args[0]));
}

Bound QuoteName(FunctionCall& c) {
    Bound bracket = c.t.Literal(Value::Text(u"["), VarCharType(1));
    return Make(
        "ms_quotename(" + c.Text(0) + "," + (c.args.size() > 1 ? c.Text(1) : bracket.sql) + ")",
        NVarCharType(258));
}

}  // namespace

const FunctionTable& TextFunctionTable() {
    static const FunctionTable kTable = {
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
          [](FunctionCall& c) {
              Bound b = Plainly<kChar, I, I>(c);
              b.type = VarCharType(1);
              return b;
          }}},
        {u"NCHAR",
         {1, 1,
          [](FunctionCall& c) {
              Bound b = Plainly<kNChar, I, I>(c);
              b.type = NVarCharType(1);
              return b;
          }}},
        {u"ASCII", {1, 1, Plainly<kAscii, I, N>}},
        {u"UNICODE", {1, 1, Plainly<kUnicode, I, N>}},
        {u"ISNUMERIC", {1, 1, Plainly<kIsNumeric, I, N>}},
        {u"ISDATE", {1, 1, Plainly<kIsDate, I, N>}},
    };
    return kTable;
}

}  // namespace sandbox::engine
