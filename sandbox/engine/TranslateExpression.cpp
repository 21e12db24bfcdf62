#include <algorithm>

#include "sandbox/engine/Collation.h"
#include "sandbox/engine/Conversion.h"
#include "sandbox/engine/Decimal.h"
#include "sandbox/engine/Translator.h"

namespace sandbox::engine {
namespace {

const SqlType kInt = Plain(TypeId::Int);

std::string PackText(const SqlType& type) {
    return std::to_string(Pack(type));
}

// Two types whose stored forms compare as they are.
bool ComparableAsStored(const SqlType& a, const SqlType& b) {
    if (IsInteger(a.id) && IsInteger(b.id)) return true;
    if (IsCharacter(a.id) && IsCharacter(b.id)) return true;
    if (IsBinary(a.id) && IsBinary(b.id)) return true;
    if (IsMoney(a.id) && IsMoney(b.id)) return true;
    if (IsApproximate(a.id) && IsApproximate(b.id)) return true;
    if (IsDecimal(a.id) && IsDecimal(b.id)) {
        return a.scale == b.scale && RepOf(a) == RepOf(b);
    }
    if (a.id != b.id) {
        return false;
    }
    return true;
}

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

void CheckComparable(const Bound& a, const Bound& b, const std::u16string& op) {
    if (!IsLob(a.type.id) && !IsLob(b.type.id)) return;
    if (!a.typed || !b.typed) return;
    if (a.type.id == TypeId::Xml || b.type.id == TypeId::Xml) {
        throw SqlError(
            305,
            u"The XML data type cannot be compared or sorted, except when using the IS NULL "
            u"operator.");
    }
    throw SqlError(402, Format(u"The data types %1 and %2 are incompatible in the %3 operator.",
                               {TypeName(a.type.id), TypeName(b.type.id), OperatorName(op)}));
}

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

std::string Translator::AddParam(const Value& value) {
    if (inlineLiterals) return InlineLiteral(value);
    ParamSource source;
    source.value = value;
    // Equal literals share a parameter, so that GROUP BY and the select list translate alike.
    const std::size_t limit = std::min<std::size_t>(params.size(), 32);
    for (std::size_t i = 0; i < limit; ++i) {
        const ParamSource& p = params[i];
        if (p.kind == ParamSource::Kind::Literal && p.value.kind == value.kind &&
            p.value.i == value.i && p.value.d == value.d && value.kind != Value::Kind::Real &&
            p.value.text == value.text && p.value.bytes == value.bytes) {
            return "?" + std::to_string(i + 1);
        }
    }
    params.push_back(std::move(source));
    return "?" + std::to_string(params.size());
}

std::string Translator::AddVariable(std::u16string_view name) {
    if (inlineLiterals) {
        throw SqlError(112, u"Variables are not allowed in the CREATE TABLE statement.", 15);
    }
    const std::u16string folded = FoldName(name);
    for (std::size_t i = 0; i < params.size(); ++i) {
        if (params[i].kind == ParamSource::Kind::Variable && params[i].variable == folded) {
            return "?" + std::to_string(i + 1);
        }
    }
    ParamSource source;
    source.kind = ParamSource::Kind::Variable;
    source.variable = folded;
    params.push_back(std::move(source));
    return "?" + std::to_string(params.size());
}

Bound Translator::Literal(const Value& value, const SqlType& type) {
    Bound b;
    b.sql = AddParam(value);
    b.type = type;
    b.nullable = value.IsNull();
    b.literal = value;
    return b;
}

std::string Translator::Collated(const Bound& b) {
    const char* collation = CollationOf(b.type);
    if (collation == nullptr || b.column) return b.sql;
    return "(" + b.sql + " COLLATE " + collation + ")";
}

std::string Translator::Converted(const Bound& b, const SqlType& type, bool isExplicit, int style,
                                  const char* purpose) {
    if (!b.typed) return "NULL";
    if (SameType(b.type, type)) return b.sql;
    CheckConvertible(b.type, type, isExplicit);
    const bool sameKind = !isExplicit && purpose[0] != '2';
    if (sameKind) {
        // Widening that leaves the stored form alone.
        if (IsInteger(b.type.id) && IsInteger(type.id) && b.type.id <= type.id) return b.sql;
        if (b.type.id == TypeId::VarChar &&
            (type.id == TypeId::VarChar || type.id == TypeId::NVarChar)) {
            if (type.length < 0 || (b.type.length > 0 && b.type.length <= type.length))
                return b.sql;
        }
        if (b.type.id == TypeId::NVarChar && type.id == TypeId::NVarChar) {
            if (type.length < 0 || (b.type.length > 0 && b.type.length <= type.length))
                return b.sql;
        }
        if (b.type.id == TypeId::VarBinary && type.id == TypeId::VarBinary) {
            if (type.length < 0 || (b.type.length > 0 && b.type.length <= type.length))
                return b.sql;
        }
        if (b.type.id == TypeId::SmallMoney && type.id == TypeId::Money) return b.sql;
        if (b.type.id == TypeId::Real && type.id == TypeId::Float) return b.sql;
        if (IsDecimal(b.type.id) && IsDecimal(type.id) && b.type.scale == type.scale &&
            b.type.precision <= type.precision && RepOf(b.type) == RepOf(type)) {
            return b.sql;
        }
    }
    if (b.literal && !b.literal->IsNull()) {
        const auto p = static_cast<Purpose>(purpose[0] == '2'   ? Purpose::Column
                                            : purpose[0] == '1' ? Purpose::Variable
                                                                : Purpose::Cast);
        return AddParam(sandbox::engine::Convert(*b.literal, b.type, type, p, style));
    }
    return "ms_cvt(" + b.sql + "," + PackText(b.type) + "," + PackText(type) + "," +
           std::to_string(style) + "," + purpose + ")";
}

std::string Translator::Stored(const Bound& b, const SqlType& type) {
    if (!b.typed) return "NULL";
    if (SameType(b.type, type)) return b.sql;
    if (IsInteger(b.type.id) && IsInteger(type.id) && b.type.id <= type.id) return b.sql;
    if (b.type.id == type.id && b.type.length > 0 && !IsFixed(type.id) &&
        (type.length < 0 || b.type.length <= type.length) &&
        (IsCharacter(type.id) || IsBinary(type.id))) {
        return b.sql;
    }
    return Converted(b, type, false, 0, "2");
}

Bound Translator::Expression(const Expr& e, Scope& scope) {
    if (scope.grouped && !scope.inAggregate && !scope.groupKeys.empty() &&
        e.kind != ExprKind::Literal && e.kind != ExprKind::Variable) {
        // A whole expression may be one of the GROUP BY keys.
        scope.inAggregate = true;
        std::optional<Bound> whole;
        try {
            whole = Expression(e, scope);
        } catch (const SqlError&) {
            whole.reset();
        }
        scope.inAggregate = false;
        if (whole && std::find(scope.groupKeys.begin(), scope.groupKeys.end(), whole->sql) !=
                         scope.groupKeys.end()) {
            return *whole;
        }
    }
    switch (e.kind) {
        case ExprKind::Literal:
            if (!e.typed) {
                Bound b;
                b.sql = "NULL";
                b.type = kInt;
                b.typed = false;
                return b;
            }
            return Literal(e.value, e.type);
        case ExprKind::Variable:
            return Variable(e);
        case ExprKind::Column:
            return Column(e, scope);
        case ExprKind::Unary:
            return Unary(e, scope);
        case ExprKind::Binary: {
            const Bound a = Expression(*e.args[0], scope);
            const Bound b = Expression(*e.args[1], scope);
            return Arithmetic(e.op, a, b);
        }
        case ExprKind::Case:
            return Case(e, scope);
        case ExprKind::Convert:
            return Convert(e, scope);
        case ExprKind::Function:
            return Function(e, scope);
        case ExprKind::Collate: {
            Bound b = Expression(*e.args[0], scope);
            b.name.clear();
            return b;
        }
        case ExprKind::Subquery: {
            std::vector<Bound> outputs;
            const bool aggregate = scope.inAggregate;
            scope.inAggregate = true;  // an outer column in there is not ours to group
            const std::string sql = Subselect(*e.query, scope, &outputs);
            scope.inAggregate = aggregate;
            if (outputs.size() != 1) {
                throw SqlError(116,
                               u"Only one expression can be specified in the select list when the "
                               u"subquery is not introduced with EXISTS.");
            }
            Bound b = outputs.front();
            b.sql = "(SELECT ms_one(c1) FROM (" + sql + "))";
            b.nullable = true;
            b.column = b.identity = b.computed = false;
            b.name.clear();
            b.literal.reset();
            return b;
        }
        case ExprKind::Default:
            throw SqlError(156, u"Incorrect syntax near the keyword 'DEFAULT'.", 15);
        case ExprKind::Star:
            ThrowSyntax(u"*");
        default:
            // A condition where a value is needed.
            ThrowSyntax(e.op.empty() ? std::u16string_view(u")") : std::u16string_view(e.op));
    }
}

Bound Translator::FromSource(const Source& source, const SourceColumn& c, Scope& scope,
                             bool outer) {
    Bound b;
    b.sql = source.sql + "." + c.sql;
    b.type = c.type;
    b.nullable = c.nullable;
    b.identity = c.identity;
    b.computed = c.computed;
    b.column = true;
    b.name = c.name;
    if (scope.grouped && !scope.inAggregate && !outer &&
        std::find(scope.groupKeys.begin(), scope.groupKeys.end(), b.sql) == scope.groupKeys.end()) {
        const std::u16string& exposed = source.alias.empty() ? source.table.name : source.alias;
        throw SqlError(8120,
                       Format(u"Column '%1.%2' is invalid in the select list because it is not "
                              u"contained in either an aggregate function or the GROUP BY clause.",
                              {exposed, c.name}));
    }
    return b;
}

Bound Translator::Column(const Expr& e, Scope& scope) {
    const std::u16string& name = e.name.back();
    bool qualifierKnown = false;
    for (Scope* s = &scope; s != nullptr; s = s->outer) {
        const Source* foundSource = nullptr;
        const SourceColumn* foundColumn = nullptr;
        for (const auto& source : s->sources) {
            if (e.name.size() > 1) {
                const std::u16string& qualifier = e.name[e.name.size() - 2];
                const std::u16string& exposed =
                    source->alias.empty() ? source->table.name : source->alias;
                if (!SameName(exposed, qualifier)) continue;
                if (e.name.size() > 2) {  // schema.table.column
                    const std::u16string& schema = e.name[e.name.size() - 3];
                    const std::u16string& own = source->table.schema.empty()
                                                    ? std::u16string(u"dbo")
                                                    : source->table.schema;
                    if (!source->alias.empty() || (!schema.empty() && !SameName(schema, own)))
                        continue;
                }
                qualifierKnown = true;
            }
            for (const SourceColumn& c : source->columns) {
                if (!SameName(c.name, name)) continue;
                if (foundColumn != nullptr) {
                    throw SqlError(209, Format(u"Ambiguous column name '%1'.", {name}));
                }
                foundSource = source.get();
                foundColumn = &c;
            }
        }
        if (foundColumn != nullptr) return FromSource(*foundSource, *foundColumn, *s, s != &scope);
    }
    if (e.name.size() > 1 && !qualifierKnown) {
        std::u16string full;
        for (const std::u16string& part : e.name)
            full += (full.empty() ? u"" : u".") + part;
        if (context_.server.major < 9) {
            throw SqlError(
                107, Format(u"The column prefix '%1' does not match with a table name or alias "
                            u"name used in the query.",
                            {e.name[e.name.size() - 2]}));
        }
        throw SqlError(4104,
                       Format(u"The multi-part identifier \"%1\" could not be bound.", {full}));
    }
    if (scope.sources.empty() && scope.outer == nullptr && e.name.size() == 1 &&
        context_.frame != nullptr && inlineLiterals) {
        throw SqlError(
            128,
            Format(u"The name \"%1\" is not permitted in this context. Valid expressions "
                   u"are constants, constant expressions, and (in some contexts) variables. "
                   u"Column names are not permitted.",
                   {name}),
            15);
    }
    ThrowInvalidColumn(name);
}

Bound Translator::Variable(const Expr& e) {
    const std::u16string& name = e.name.front();
    if (name.starts_with(u"@@")) return GlobalVariable(name);
    const std::u16string folded = FoldName(name);
    const sandbox::engine::Variable* v = context_.frame ? context_.frame->Find(folded) : nullptr;
    if (v == nullptr) {
        throw SqlError(
            137,
            Format(context_.server.major >= 9 ? u"Must declare the scalar variable \"%1\"."
                                              : u"Must declare the variable '%1'.",
                   {name}),
            15);
    }
    Bound b;
    b.sql = AddVariable(name);
    b.type = v->type;
    return b;
}

Bound Translator::GlobalVariable(std::u16string_view name) {
    const std::u16string folded = FoldName(name);
    Bound b;
    b.type = kInt;
    b.nullable = false;
    const auto simple = [&](const char* sql) {
        b.sql = sql;
        return b;
    };
    if (folded == u"@@ROWCOUNT") return simple("ms_rowcount()");
    if (folded == u"@@ERROR") return simple("ms_error()");
    if (folded == u"@@TRANCOUNT") return simple("ms_trancount()");
    if (folded == u"@@SPID") {
        b.type = Plain(TypeId::SmallInt);
        return simple("ms_spid()");
    }
    if (folded == u"@@IDENTITY") {
        b.type = DecimalType(38, 0);
        b.type.id = TypeId::Numeric;
        b.nullable = true;
        return simple("ms_identity(0)");
    }
    if (folded == u"@@DBTS") {
        b.type = SqlType{TypeId::VarBinary, 8, 0, 0};
        return simple("ms_dbts()");
    }
    if (folded == u"@@FETCH_STATUS" || folded == u"@@NESTLEVEL" || folded == u"@@OPTIONS" ||
        folded == u"@@DATEFIRST" || folded == u"@@LANGID" || folded == u"@@LOCK_TIMEOUT" ||
        folded == u"@@MAX_PRECISION" || folded == u"@@TEXTSIZE" || folded == u"@@MAX_CONNECTIONS") {
        const std::int64_t value = folded == u"@@DATEFIRST"         ? 7
                                   : folded == u"@@LOCK_TIMEOUT"    ? -1
                                   : folded == u"@@MAX_PRECISION"   ? 38
                                   : folded == u"@@TEXTSIZE"        ? 2147483647
                                   : folded == u"@@MAX_CONNECTIONS" ? 32767
                                   : folded == u"@@OPTIONS"         ? 5496
                                                                    : 0;
        return Literal(Value::Int(value), kInt);
    }
    const ServerState& server = context_.server;
    if (folded == u"@@SERVERNAME")
        return Literal(Value::Text(server.settings.name), NVarCharType(128));
    if (folded == u"@@SERVICENAME") return Literal(Value::Text(u"MSSQLSERVER"), NVarCharType(128));
    if (folded == u"@@LANGUAGE") return Literal(Value::Text(u"us_english"), NVarCharType(128));
    if (folded == u"@@VERSION") {
        const char16_t* product = server.major >= 16   ? u"2022"
                                  : server.major >= 15 ? u"2019"
                                  : server.major >= 14 ? u"2017"
                                  : server.major >= 13 ? u"2016"
                                  : server.major >= 12 ? u"2014"
                                  : server.major >= 11 ? u"2012"
                                  : server.major >= 10 ? u"2008"
                                  : server.major >= 9  ? u"2005"
                                  : server.major >= 8  ? u" 2000"
                                                       : u" 7.00";
        std::u16string text = u"Microsoft SQL Server ";
        text += server.major < 9 ? u" " + std::u16string(product + 1) : std::u16string(product);
        text += u" - " + Widen(server.settings.version) + u" (sandbox)";
        return Literal(Value::Text(text), NVarCharType(300));
    }
    if (folded == u"@@MICROSOFTVERSION") {
        int build = 0;
        const std::size_t dot = server.settings.version.rfind('.');
        if (dot != std::string::npos) build = std::atoi(server.settings.version.c_str() + dot + 1);
        int minor = 0;
        const std::size_t first = server.settings.version.find('.');
        if (first != std::string::npos)
            minor = std::atoi(server.settings.version.c_str() + first + 1);
        return Literal(Value::Int((static_cast<std::int64_t>(server.major) << 24) |
                                  (static_cast<std::int64_t>(minor) << 16) | (build & 0xFFFF)),
                       kInt);
    }
    throw SqlError(137, Format(u"Must declare the scalar variable \"%1\".", {name}), 15);
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
                return Literal(Value::Int(IntegerMin(TypeId::Int)), kInt);
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
    Bound zero = Literal(Value::Int(0), kInt);
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
        r.type = kInt;
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
            r.type = IsUnicode(x.type.id) || IsUnicode(y.type.id) ? NVarCharType(length)
                                                                  : VarCharType(length);
            const std::string l = x.typed ? x.sql : "NULL";
            const std::string m = y.typed ? y.sql : "NULL";
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

std::string Translator::AsText(const Bound& b) {
    if (!b.typed) return "NULL";
    if (IsCharacter(b.type.id) || b.type.id == TypeId::Xml) return b.sql;
    return Converted(b, IsBinary(b.type.id) ? VarCharType(-1) : NVarCharType(4000));
}

// The common type; with no typed value at all, int.
Bound Translator::Unify(std::vector<Bound>& values) {
    Bound r;
    r.typed = false;
    r.type = kInt;
    r.nullable = false;
    for (const Bound& v : values) {
        r.nullable = r.nullable || v.nullable || !v.typed;
        if (!v.typed) continue;
        r.type = r.typed ? CommonType(r.type, v.type) : v.type;
        r.typed = true;
    }
    if (!r.typed) r.sql = "NULL";
    r.typed = true;
    return r;
}

Bound Translator::Case(const Expr& e, Scope& scope) {
    std::vector<Bound> values;
    std::vector<std::string> conditions;
    std::size_t i = 0;
    std::optional<Bound> operand;
    if (e.hasOperand) operand = Expression(*e.args[i++], scope);
    const std::size_t end = e.args.size() - (e.hasElse ? 1 : 0);
    for (; i + 1 < end + 1 && i < end; i += 2) {
        if (operand) {
            conditions.push_back(Compare(u"=", *operand, Expression(*e.args[i], scope)));
        } else {
            conditions.push_back(Condition(*e.args[i], scope));
        }
        values.push_back(Expression(*e.args[i + 1], scope));
    }
    if (e.hasElse) values.push_back(Expression(*e.args.back(), scope));
    Bound r = Unify(values);
    r.sql = "CASE";
    for (std::size_t k = 0; k < conditions.size(); ++k) {
        r.sql += " WHEN " + conditions[k] + " THEN " + Converted(values[k], r.type);
    }
    if (e.hasElse) {
        r.sql += " ELSE " + Converted(values.back(), r.type);
    } else {
        r.nullable = true;
    }
    r.sql += " END";
    return r;
}

Bound Translator::Convert(const Expr& e, Scope& scope) {
    if (!e.text.empty()) {
        throw SqlError(243, Format(u"Type %1 is not a defined system type.", {e.text}));
    }
    const Bound value = Expression(*e.args[0], scope);
    Bound r;
    r.type = e.type;
    r.nullable = value.nullable;
    int style = 0;
    if (e.args.size() > 1) {
        const Bound s = Expression(*e.args[1], scope);
        if (!s.typed) {
            r.sql = "NULL";
            return r;
        }
        if (!s.literal) {
            r.sql = "ms_cvt(" + value.sql + "," + PackText(value.type) + "," + PackText(r.type) +
                    "," + Converted(s, kInt) + ",0)";
            return r;
        }
        style = static_cast<int>(s.literal->i);
    }
    r.sql = Converted(value, r.type, true, style);
    return r;
}

Bound Translator::Function(const Expr& e, Scope& scope) {
    const std::u16string name = FoldName(e.name.front());
    if (e.overClause) return Window(e, scope);
    if (IsAggregateName(name)) return Aggregate(e, name, scope);
    std::vector<Bound> args;
    args.reserve(e.args.size());
    // The first argument of DATEADD and its kin is a word, not a column.
    const bool datePart =
        name == u"DATEADD" || name == u"DATEDIFF" || name == u"DATEPART" || name == u"DATENAME";
    for (std::size_t i = 0; i < e.args.size(); ++i) {
        if (datePart && i == 0) {
            args.emplace_back();
            continue;
        }
        args.push_back(Expression(*e.args[i], scope));
    }
    auto r = TranslateFunction(*this, e, args);
    if (!r) {
        throw SqlError(
            195, Format(u"'%1' is not a recognized built-in function name.", {e.name.front()}), 15);
    }
    r->name.clear();
    return *r;
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
        r.type = name == u"COUNT" ? kInt : Plain(TypeId::BigInt);
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
        r.type = name == u"COUNT" ? kInt : Plain(TypeId::BigInt);
        return r;
    }
    r.nullable = true;
    if (name == u"MIN" || name == u"MAX") {
        if (IsLob(x.type.id) || x.type.id == TypeId::Bit) invalid();
        r.type = x.type;
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
                                               : kInt;
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

std::string Translator::Compare(const std::u16string& op, const Bound& left, const Bound& right) {
    Bound a = left;
    Bound b = right;
    return CompareSides(a, b, op);
}

std::string Translator::CompareSides(Bound& a, Bound& b, const std::u16string& op) {
    CheckComparable(a, b, op);
    if (!a.typed || !b.typed) return "(NULL)";
    if (!ComparableAsStored(a.type, b.type)) {
        SqlType common = CommonType(a.type, b.type);
        // Strings against fixed types need no padding or cutting to compare.
        const auto adapt = [&](Bound& side) {
            if (ComparableAsStored(side.type, common)) return;
            const std::string converted = Converted(side, common);
            side.column = side.column && converted == side.sql;
            side.sql = converted;
            side.type = common;
        };
        if (IsCharacter(common.id)) common.length = -1;
        adapt(a);
        adapt(b);
    }
    const char* collation = CollationOf(a.type);
    std::string l = a.sql;
    if (collation != nullptr && !a.column && !b.column) l = "(" + l + " COLLATE " + collation + ")";
    return "(" + l + Narrow(op) + b.sql + ")";
}

// AND and OR chains as balanced trees: SQLite limits the depth of an expression.
std::string Translator::Balanced(std::vector<std::string>& parts, std::size_t from, std::size_t to,
                                 const char* op) {
    if (to - from == 1) return std::move(parts[from]);
    const std::size_t middle = from + (to - from) / 2;
    std::string left = Balanced(parts, from, middle, op);
    std::string right = Balanced(parts, middle, to, op);
    return "(" + left + op + right + ")";
}

std::string Translator::Chain(const Expr& e, Scope& scope, const char* op) {
    std::vector<std::string> parts;
    parts.reserve(e.args.size());
    for (const ExprPtr& a : e.args)
        parts.push_back(Condition(*a, scope));
    return Balanced(parts, 0, parts.size(), op);
}

std::string Translator::Condition(const Expr& e, Scope& scope) {
    switch (e.kind) {
        case ExprKind::And:
            return Chain(e, scope, " AND ");
        case ExprKind::Or:
            return Chain(e, scope, " OR ");
        case ExprKind::Not:
            return "(NOT " + Condition(*e.args[0], scope) + ")";
        case ExprKind::Compare: {
            Bound a = Expression(*e.args[0], scope);
            Bound b = Expression(*e.args[1], scope);
            return CompareSides(a, b, e.op);
        }
        case ExprKind::IsNull: {
            const Bound a = Expression(*e.args[0], scope);
            return "(" + a.sql + (e.negated ? " IS NOT NULL)" : " IS NULL)");
        }
        case ExprKind::Between: {
            const Bound x = Expression(*e.args[0], scope);
            const Bound low = Expression(*e.args[1], scope);
            const Bound high = Expression(*e.args[2], scope);
            return std::string(e.negated ? "(NOT " : "(") + "(" + Compare(u">=", x, low) + " AND " +
                   Compare(u"<=", x, high) + "))";
        }
        case ExprKind::InList:
            return InList(e, scope);
        case ExprKind::InQuery:
            return InQuery(e, scope);
        case ExprKind::Quantified:
            return Quantified(e, scope);
        case ExprKind::Exists:
            return "EXISTS(" + Subselect(*e.query, scope, nullptr) + ")";
        case ExprKind::Like: {
            const Bound text = Expression(*e.args[0], scope);
            const Bound pattern = Expression(*e.args[1], scope);
            if (text.type.id == TypeId::Image || text.type.id == TypeId::Xml) {
                throw SqlError(8116,
                               Format(u"Argument data type %1 is invalid for argument 1 of like "
                                      u"function.",
                                      {TypeName(text.type.id)}));
            }
            std::string sql = "ms_like(" + AsText(text) + "," + AsText(pattern);
            sql += e.args.size() > 2 ? "," + AsText(Expression(*e.args[2], scope)) + ")" : ",NULL)";
            // char pads with blanks that a pattern of the same type brings, too.
            return e.negated ? "(NOT " + sql + ")" : sql;
        }
        default:
            throw SqlError(
                4145,
                u"An expression of non-boolean type specified in a context where a condition "
                u"is expected.",
                15);
    }
}

std::string Translator::InList(const Expr& e, Scope& scope) {
    std::vector<Bound> all;
    for (const ExprPtr& a : e.args)
        all.push_back(Expression(*a, scope));
    Bound unified = Unify(all);
    bool asStored = true;
    for (const Bound& b : all) {
        CheckComparable(all.front(), b, u"=");
        asStored = asStored && (!b.typed || ComparableAsStored(b.type, unified.type));
    }
    SqlType common = unified.type;
    if (IsCharacter(common.id)) common.length = -1;
    std::string sql = "(";
    for (std::size_t i = 0; i < all.size(); ++i) {
        Bound& b = all[i];
        const std::string one = asStored ? (b.typed ? b.sql : "NULL") : Converted(b, common);
        if (i == 0) {
            b.column = b.column && one == b.sql;
            b.sql = one;
            if (!asStored) b.type = common;
            sql += Collated(b) + (e.negated ? " NOT IN (" : " IN (");
        } else {
            sql += (i > 1 ? "," : "") + one;
        }
    }
    return sql + "))";
}

std::string Translator::InQuery(const Expr& e, Scope& scope) {
    Bound x = Expression(*e.args[0], scope);
    std::vector<Bound> outputs;
    const bool aggregate = scope.inAggregate;
    scope.inAggregate = true;
    const std::string query = Subselect(*e.query, scope, &outputs);
    scope.inAggregate = aggregate;
    if (outputs.size() != 1) {
        throw SqlError(
            116,
            u"Only one expression can be specified in the select list when the subquery is "
            u"not introduced with EXISTS.");
    }
    CheckComparable(x, outputs.front(), u"=");
    std::string inner = query;
    if (x.typed && !ComparableAsStored(x.type, outputs.front().type)) {
        SqlType common = CommonType(x.type, outputs.front().type);
        if (IsCharacter(common.id)) common.length = -1;
        Bound column = outputs.front();
        column.sql = "c1";
        column.literal.reset();
        inner = "SELECT " + Converted(column, common) + " FROM (" + query + ")";
        const std::string converted = Converted(x, common);
        x.column = x.column && converted == x.sql;
        x.sql = converted;
        x.type = common;
    }
    return "(" + Collated(x) + (e.negated ? " NOT IN (" : " IN (") + inner + "))";
}

std::string Translator::Quantified(const Expr& e, Scope& scope) {
    const Bound x = Expression(*e.args[0], scope);
    std::vector<Bound> outputs;
    const std::string query = Subselect(*e.query, scope, &outputs);
    if (outputs.size() != 1) {
        throw SqlError(
            116,
            u"Only one expression can be specified in the select list when the subquery is "
            u"not introduced with EXISTS.");
    }
    Bound column = outputs.front();
    const std::string alias = NewAlias();
    column.sql = alias + ".c1";
    column.literal.reset();
    column.column = true;
    // ANY: some row compares true. ALL: no row compares false or unknown.
    const std::string compared = Compare(e.op, x, column);
    const std::string rows = "(" + query + ") AS " + alias;
    return e.all ? "(NOT EXISTS(SELECT 1 FROM " + rows + " WHERE (" + compared + ") IS NOT TRUE))"
                 : "EXISTS(SELECT 1 FROM " + rows + " WHERE " + compared + ")";
}

}  // namespace sandbox::engine
