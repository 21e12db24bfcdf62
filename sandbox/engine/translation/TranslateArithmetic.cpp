// Operators and aggregates.
#include <algorithm>

#include "sandbox/engine/translation/Translator.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {
namespace {

SqlType ArithmeticType(const std::u16string& op, const SqlType& a, const SqlType& b) {
    const SqlType common = CommonType(a, b);
    if (!IsDecimal(common.id)) return common;
    const SqlType x = AsDecimal(a);
    const SqlType y = AsDecimal(b);
    const int p1 = x.precision;
    const int p2 = y.precision;
    const int s1 = x.scale;
    const int s2 = y.scale;
    int p = 0;
    int s = 0;
    if (op == u"*") {
        p = p1 + p2 + 1;
        s = s1 + s2;
    } else if (op == u"/") {
        s = std::max(6, s1 + p2 + 1);
        p = p1 - s1 + s2 + s;
    } else if (op == u"%") {
        s = std::max(s1, s2);
        p = std::min(p1 - s1, p2 - s2) + s;
    } else {
        s = std::max(s1, s2);
        p = std::max(p1 - s1, p2 - s2) + s + 1;
    }
    if (p > 38) {
        const int whole = p - s;
        s = op == u"*" || op == u"/" ? std::min(s, std::max(38 - whole, std::min(s, 6)))
                                     : std::max(std::min(s, 38 - whole), 0);
        p = 38;
    }
    SqlType t = DecimalType(p, s);
    t.id = common.id;
    return t;
}

}  // namespace

std::u16string OperatorName(const std::u16string& op) {
    if (op == u"=") return u"equal to";
    if (op == u"<>") return u"not equal to";
    if (op == u"<") return u"less than";
    if (op == u">") return u"greater than";
    if (op == u"<=") return u"less than or equal to";
    if (op == u">=") return u"greater than or equal to";
    if (op == u"+") return u"add";
    if (op == u"-") return u"subtract";
    if (op == u"*") return u"multiply";
    if (op == u"/") return u"divide";
    if (op == u"%") return u"modulo";
    return op;
}

Bound Translator::Unary(const Expr& e, Scope& scope) {
    Bound b = Expression(*e.args[0], scope);
    b.column = b.identity = b.computed = false;
    b.name.clear();
    if (!b.typed) return b;
    if (b.literal && e.op == u"-" && IsNumber(b.type.id) && b.type.id != TypeId::Bit) {
        Value v = *b.literal;
        if (v.kind == Value::Kind::Real) {
            v.d = -v.d;
        } else if (IsDecimal(b.type.id)) {
            v = DecimalToValue(-DecimalFromValue(v), b.type);
            // -2147483648 is an int although its digits alone are not.
            const Int128 whole = DecimalFromValue(v);
            if (b.type.scale == 0 && whole == IntegerMin(TypeId::Int)) {
                return Literal(Value::Int(IntegerMin(TypeId::Int)), kIntType);
            }
        } else {
            v.i = -v.i;
        }
        return Literal(v, b.type);
    }
    b.literal.reset();
    if (e.op == u"~") {
        if (!IsInteger(b.type.id)) {
            throw SqlError(8117, Format(u"Operand data type %1 is invalid for '~' operator.",
                                        {TypeName(b.type.id)}));
        }
        b.sql = b.type.id == TypeId::Bit       ? "(1-" + b.sql + ")"
                : b.type.id == TypeId::TinyInt ? "(255-" + b.sql + ")"
                                               : "(~" + b.sql + ")";
        return b;
    }
    if (!IsNumber(b.type.id) || b.type.id == TypeId::Bit) {
        throw SqlError(8117, Format(u"Operand data type %1 is invalid for minus operator.",
                                    {TypeName(b.type.id)}));
    }
    Bound zero = Literal(Value::Int(0), kIntType);
    if (IsApproximate(b.type.id)) {
        b.sql = "(-" + b.sql + ")";
        return b;
    }
    Bound r = Arithmetic(u"-", zero, b);
    if (IsDecimal(b.type.id)) {
        r.sql = Converted(r, b.type);
        r.type = b.type;
    }
    return r;
}

Bound Translator::Arithmetic(const std::u16string& op, const Bound& a, const Bound& b) {
    Bound r;
    r.nullable = a.nullable || b.nullable;
    if (!a.typed && !b.typed) {
        r.sql = "NULL";
        r.type = kIntType;
        r.typed = false;
        return r;
    }
    Bound x = a;
    Bound y = b;
    if (!x.typed) x.type = y.type;
    if (!y.typed) y.type = x.type;
    const auto incompatible = [&] {
        throw SqlError(402, Format(u"The data types %1 and %2 are incompatible in the %3 operator.",
                                   {TypeName(x.type.id), TypeName(y.type.id), OperatorName(op)}));
    };
    const auto invalid = [&](const Bound& side) {
        throw SqlError(8117, Format(u"Operand data type %1 is invalid for %2 operator.",
                                    {TypeName(side.type.id), OperatorName(op)}));
    };
    const bool textX = IsCharacter(x.type.id);
    const bool textY = IsCharacter(y.type.id);
    if (IsLob(x.type.id) || IsLob(y.type.id)) incompatible();
    if (op == u"&" || op == u"|" || op == u"^") {
        if ((!IsInteger(x.type.id) && !IsBinary(x.type.id)) ||
            (!IsInteger(y.type.id) && !IsBinary(y.type.id))) {
            incompatible();
        }
        r.type = IsBinary(x.type.id)   ? y.type
                 : IsBinary(y.type.id) ? x.type
                                       : CommonType(x.type, y.type);
        const std::string l = Converted(x, r.type);
        const std::string m = Converted(y, r.type);
        r.sql = op == u"^" ? "ms_xor(" + l + "," + m + ")" : "(" + l + Narrow(op) + m + ")";
        return r;
    }
    if (op == u"+" && ((textX && textY) || (IsBinary(x.type.id) && IsBinary(y.type.id)))) {
        const bool text = textX;
        const int most = text ? (IsUnicode(x.type.id) || IsUnicode(y.type.id) ? 4000 : 8000) : 8000;
        int length = x.type.length < 0 || y.type.length < 0 ? -1 : x.type.length + y.type.length;
        if (length > most) length = most;
        if (text) {
            const bool national = IsUnicode(x.type.id) || IsUnicode(y.type.id);
            r.type = national ? NVarCharType(length) : VarCharType(length);
            TakeCollation(r, {x, y}, u"add operation");
            // What stays bytes in a code page is shown as characters in national text.
            const auto side = [&](const Bound& one) {
                if (!one.typed) return std::string("NULL");
                const bool same = national
                                      ? IsUnicode(one.type.id) || PageOf(one.type).IsSingleByte()
                                      : SamePage(one.type, r.type);
                return same ? one.sql
                            : Converted(one,
                                        WithCollation(national ? NVarCharType(-1) : VarCharType(-1),
                                                      r.type.collation));
            };
            const std::string l = side(x);
            const std::string m = side(y);
            r.sql = "(" + l + "||" + m + ")";
        } else {
            r.type = SqlType{TypeId::VarBinary, length, 0, 0};
            r.sql = "ms_bincat(" + x.sql + "," + y.sql + ")";
        }
        return r;
    }
    const bool dateX = x.type.id == TypeId::DateTime || x.type.id == TypeId::SmallDateTime;
    const bool dateY = y.type.id == TypeId::DateTime || y.type.id == TypeId::SmallDateTime;
    if (dateX || dateY) {
        if (op != u"+" && op != u"-") invalid(dateX ? x : y);
        r.type = Plain(TypeId::DateTime);
        r.sql = std::string("ms_dtarith(") + (op == u"+" ? "1," : "-1,") + Converted(x, r.type) +
                "," + Converted(y, r.type) + ")";
        return r;
    }
    if (IsDateTime(x.type.id) || IsDateTime(y.type.id)) {
        if (IsDateTime(x.type.id) && IsDateTime(y.type.id)) invalid(x);
        throw SqlError(206, Format(u"Operand type clash: %1 is incompatible with %2",
                                   {TypeName(x.type.id), TypeName(y.type.id)}));
    }
    // A string takes the other side's type.
    if (textX && IsNumber(y.type.id)) {
        x.sql = Converted(x, y.type);
        x.type = y.type;
        x.literal.reset();
    } else if (textY && IsNumber(x.type.id)) {
        y.sql = Converted(y, x.type);
        y.type = x.type;
        y.literal.reset();
    } else if (textX && textY) {
        invalid(x);
    }
    if (IsBinary(x.type.id) && IsInteger(y.type.id)) {
        x.sql = Converted(x, y.type);
        x.type = y.type;
    } else if (IsBinary(y.type.id) && IsInteger(x.type.id)) {
        y.sql = Converted(y, x.type);
        y.type = x.type;
    }
    if (!IsNumber(x.type.id) || !IsNumber(y.type.id)) {
        if (x.type.id == y.type.id) invalid(x);
        incompatible();
    }
    // An integer literal beside a decimal is as precise as its digits.
    const auto narrow = [](Bound& side, const Bound& other) {
        if (side.literal && IsInteger(side.type.id) && IsDecimal(other.type.id)) {
            side.type = DecimalType(DigitCount(side.literal->i), 0);
        }
    };
    narrow(x, y);
    narrow(y, x);
    r.type = ArithmeticType(op, x.type, y.type);
    if (r.type.id == TypeId::Bit) invalid(x);
    if (op == u"%" && IsApproximate(r.type.id)) incompatible();
    const int code = op == u"+" ? 1 : op == u"-" ? 2 : op == u"*" ? 3 : op == u"/" ? 4 : 5;
    if (IsInteger(r.type.id)) {
        r.sql = "ms_iarith(" + std::to_string(code) + "," + x.sql + "," + y.sql + "," +
                std::to_string(static_cast<int>(r.type.id)) + ")";
        return r;
    }
    if (IsApproximate(r.type.id)) {
        r.sql = "ms_farith(" + std::to_string(code) + "," + Converted(x, r.type) + "," +
                Converted(y, r.type) + "," + std::to_string(r.type.id == TypeId::Real ? 1 : 0) +
                ")";
        return r;
    }
    r.sql = "ms_darith(" + std::to_string(code) + "," + x.sql + "," + PackText(x.type) + "," +
            y.sql + "," + PackText(y.type) + "," + PackText(r.type) + ")";
    return r;
}

Bound Translator::Window(const Expr& e, Scope& scope) {
    const std::u16string name = FoldName(e.name.front());
    const char* function = name == u"ROW_NUMBER"   ? "row_number()"
                           : name == u"RANK"       ? "rank()"
                           : name == u"DENSE_RANK" ? "dense_rank()"
                                                   : nullptr;
    if (function == nullptr || context_.server.major < 9) ThrowSyntax(u"OVER");
    Bound r;
    r.type = Plain(TypeId::BigInt);
    r.sql = std::string(function) + " OVER (";
    for (std::size_t i = 0; i < e.overPartition.size(); ++i) {
        r.sql +=
            (i == 0 ? "PARTITION BY " : ", ") + Collated(Expression(*e.overPartition[i], scope));
    }
    for (std::size_t i = 0; i < e.overOrder.size(); ++i) {
        // ORDER BY (SELECT 1): any order
        const bool constant = e.overOrder[i].first->kind == ExprKind::Subquery;
        r.sql += i == 0 ? " ORDER BY " : ", ";
        r.sql += constant ? "NULL" : Collated(Expression(*e.overOrder[i].first, scope));
        if (e.overOrder[i].second) r.sql += " DESC";
    }
    r.sql += ")";
    return r;
}

Bound Translator::Aggregate(const Expr& e, std::u16string_view name, Scope& scope) {
    if (scope.inAggregate && scope.sawAggregate) {
        throw SqlError(
            130,
            u"Cannot perform an aggregate function on an expression containing an aggregate "
            u"or a subquery.",
            15);
    }
    Bound r;
    const std::string distinct = e.distinct ? "DISTINCT " : "";
    const bool count = name == u"COUNT" || name == u"COUNT_BIG";
    if (e.star) {
        if (!count) ThrowSyntax(u"*");
        r.sql = "count(*)";
        r.type = name == u"COUNT" ? kIntType : Plain(TypeId::BigInt);
        return r;
    }
    if (e.args.size() != 1) {
        throw SqlError(174, Format(u"The %1 function requires 1 argument(s).", {e.name.front()}),
                       15);
    }
    const bool wasIn = scope.inAggregate;
    const bool saw = scope.sawAggregate;
    scope.inAggregate = scope.sawAggregate = true;
    const Bound x = Expression(*e.args[0], scope);
    scope.inAggregate = wasIn;
    scope.sawAggregate = saw;
    const auto invalid = [&] {
        throw SqlError(8117, Format(u"Operand data type %1 is invalid for %2 operator.",
                                    {x.typed ? TypeName(x.type.id) : u"NULL", [&] {
                                         std::u16string lower(name);
                                         for (char16_t& c : lower)
                                             c = LowerUnit(c);
                                         return lower;
                                     }()}));
    };
    if (count) {
        if (IsLob(x.type.id) && (e.distinct || x.type.id != TypeId::Xml)) invalid();
        r.sql = "count(" + distinct + Collated(x) + ")";
        r.type = name == u"COUNT" ? kIntType : Plain(TypeId::BigInt);
        return r;
    }
    r.nullable = true;
    if (name == u"MIN" || name == u"MAX") {
        if (IsLob(x.type.id) || x.type.id == TypeId::Bit) invalid();
        r.type = x.type;
        r.rank = x.rank;
        r.sql = (name == u"MIN" ? "min(" : "max(") + Collated(x) + ")";
        return r;
    }
    if (!IsNumber(x.type.id) || x.type.id == TypeId::Bit) invalid();
    const bool average = name == u"AVG";
    if (IsApproximate(x.type.id)) {
        r.type = Plain(TypeId::Float);
        r.sql = (average ? "avg(" : "ms_sumf(") + distinct + x.sql + ")";
        return r;
    }
    if (IsInteger(x.type.id) || IsMoney(x.type.id)) {
        r.type = IsMoney(x.type.id)            ? Plain(TypeId::Money)
                 : x.type.id == TypeId::BigInt ? x.type
                                               : kIntType;
        r.sql = std::string(average ? "ms_avgi(" : "ms_sumi(") + distinct + x.sql + ")";
        r.sql = "ms_range(" + r.sql + "," + std::to_string(static_cast<int>(r.type.id)) + ")";
        return r;
    }
    SqlType sumType = DecimalType(38, x.type.scale);
    Bound sum;
    sum.type = sumType;
    sum.sql = "ms_sumd(" + distinct + x.sql + ")";
    if (!average) {
        r.type = sumType;
        r.sql = sum.sql;
        return r;
    }
    r.type = DecimalType(38, std::max<int>(x.type.scale, 6));
    r.sql = "ms_darith(4," + sum.sql + "," + PackText(sumType) + ",nullif(count(" + distinct +
            x.sql + "),0)," + PackText(Plain(TypeId::BigInt)) + "," + PackText(r.type) + ")";
    return r;
}

}  // namespace sandbox::engine
