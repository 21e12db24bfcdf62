// The functions of T-SQL: their arguments, their result types, the SQLite call that answers.
// Here those of values and numbers, and the look for any of them.
#include <algorithm>

#include "sandbox/engine/translation/FunctionCall.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

Bound IsNullFunction(FunctionCall& c) {
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

Bound Coalesce(FunctionCall& c) {
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

Bound NullIf(FunctionCall& c) {
    std::vector<Bound> both = c.args;
    const SqlType common = c.t.Unify(both, u"equal to operation").type;
    const char* collation = CollationOf(common);
    std::string x = c.As(0, common);
    if (collation != nullptr) x = "(" + x + " COLLATE " + collation + ")";
    return Make(
        "CASE WHEN " + x + "=" + c.As(1, common) + " THEN NULL ELSE " + c.args[0].sql + " END",
        c.args[0].type);
}

template <int What>
Bound Rounding(FunctionCall& c) {
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
    if (IsInteger(x.type.id) && x.type.id < TypeId::Int) x.type = kIntType;
    const std::string length = What == 0 ? c.As(1, kIntType) : "0";
    const std::string cut = What == 0 && c.args.size() > 2 ? c.As(2, kIntType) : "0";
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
Bound Mathematics(FunctionCall& c) {
    const SqlType f = Plain(TypeId::Float);
    Bound r = Make("ms_math(" + std::to_string(What) + "," + (c.args.empty() ? "0" : c.As(0, f)) +
                       "," + (c.args.size() > 1 ? c.As(1, f) : "0") + ")",
                   f);
    if (What == 1 && !IsApproximate(c.args[0].type.id) &&
        c.args[0].typed) {  // POWER keeps the type
        const SqlType type = IsInteger(c.args[0].type.id) && c.args[0].type.id < TypeId::Int
                                 ? kIntType
                                 : c.args[0].type;
        if (IsNumber(type.id)) {
            r.sql = c.t.Converted(r, type);
            r.type = type;
        }
    }
    return r;
}

Bound NewId(FunctionCall&) {
    return Make("ms_newid()", Plain(TypeId::UniqueIdentifier), false);
}

Bound Rand(FunctionCall&) {
    return Make("ms_rand()", Plain(TypeId::Float), false);
}

const FunctionTable& GeneralFunctionTable() {
    static const FunctionTable kTable = {
        {u"ISNULL", {2, 2, IsNullFunction}}, {u"COALESCE", {2, 99, Coalesce}},
        {u"NULLIF", {2, 2, NullIf}},         {u"ROUND", {2, 3, Rounding<0>}},
        {u"FLOOR", {1, 1, Rounding<1>}},     {u"CEILING", {1, 1, Rounding<2>}},
        {u"ABS", {1, 1, Rounding<3>}},       {u"SIGN", {1, 1, Rounding<4>}},
        {u"SQRT", {1, 1, Mathematics<0>}},   {u"POWER", {2, 2, Mathematics<1>}},
        {u"EXP", {1, 1, Mathematics<2>}},    {u"LOG", {1, 1, Mathematics<3>}},
        {u"LOG10", {1, 1, Mathematics<4>}},  {u"SIN", {1, 1, Mathematics<5>}},
        {u"COS", {1, 1, Mathematics<6>}},    {u"PI", {0, 0, Mathematics<7>}},
        {u"NEWID", {0, 0, NewId}},           {u"RAND", {0, 1, Rand}},
    };
    return kTable;
}

const TranslatedFunction* Find(const std::u16string& name) {
    for (const FunctionTable* table : {&GeneralFunctionTable(), &TextFunctionTable(),
                                       &DateFunctionTable(), &MetadataFunctionTable()}) {
        const auto found = table->find(name);
        if (found != table->end()) return &found->second;
    }
    return nullptr;
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
    const TranslatedFunction* const function = Find(FoldName(expr.name.front()));
    if (function == nullptr) return std::nullopt;
    const TranslatedFunction& entry = *function;
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
    FunctionCall call{translator, expr, args};
    return entry.handler(call);
}

}  // namespace sandbox::engine
