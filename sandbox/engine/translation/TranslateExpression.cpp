#include <algorithm>

#include "sandbox/engine/translation/Translator.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {

std::string Translator::AddParam(const Value& value) {
    if (inlineLiterals) return InlineLiteral(value);
    ParamSource source;
    source.value = value;
    const std::size_t limit = shareParams ? std::min<std::size_t>(params.size(), 32) : 0;
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
        const bool sameUnits =
            type.id == TypeId::VarChar ? SamePage(b.type, type) : PageOf(b.type).IsSingleByte();
        if (b.type.id == TypeId::VarChar &&
            (type.id == TypeId::VarChar || type.id == TypeId::NVarChar) && sameUnits) {
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
        (IsCharacter(type.id) || IsBinary(type.id)) &&
        (!IsCodePage(type.id) || SamePage(b.type, type))) {
        return b.sql;
    }
    return Converted(b, type, false, 0, "2");
}

// What no column and no COLLATE gives a collation has that of the database.
Bound Translator::Expression(const Expr& e, Scope& scope) {
    Bound b = Plainly(e, scope);
    if (b.rank == CollationRank::Coercible) {
        b.type = WithCollation(b.type, context_.current->collation);
    }
    return b;
}

Bound Translator::Collate(const Expr& e, Scope& scope) {
    const CollationId id = NamedCollation(context_, e.text);
    Bound b = Expression(*e.args[0], scope);
    if (!b.typed) return b;
    if (!IsCharacter(b.type.id)) {
        throw SqlError(447, Format(u"Expression type %1 is invalid for COLLATE clause.",
                                   {TypeName(b.type.id)}));
    }
    const SqlType type = WithCollation(b.type, id);
    const std::string sql = Converted(b, type);
    b.column = b.column && sql == b.sql &&
               std::string_view(CollationOf(type)) == std::string_view(CollationOf(b.type));
    b.sql = sql;
    b.type = type;
    b.rank = CollationRank::Explicit;
    b.literal.reset();
    b.name.clear();
    return b;
}

void Translator::TakeCollation(Bound& result, const std::vector<Bound>& values,
                               std::u16string_view operation) {
    const Bound* strongest = nullptr;
    for (const Bound& v : values) {
        if (!v.typed || !IsCharacter(v.type.id)) continue;
        if (strongest == nullptr || v.rank > strongest->rank) {
            strongest = &v;
            continue;
        }
        const bool clash =
            v.rank == strongest->rank && v.type.collation != strongest->type.collation;
        if (!clash || v.rank == CollationRank::Coercible) continue;
        const std::u16string& one = FactsOf(strongest->type.collation).name;
        const std::u16string& other = FactsOf(v.type.collation).name;
        if (context_.server.major < 9) {
            throw SqlError(446, Format(u"Cannot resolve collation conflict for %1.", {operation}));
        }
        throw SqlError(468, Format(u"Cannot resolve the collation conflict between \"%1\" and "
                                   u"\"%2\" in the %3.",
                                   {other, one, operation}));
    }
    if (strongest == nullptr || !IsCharacter(result.type.id)) return;
    result.rank = strongest->rank;
    result.type.collation = strongest->type.collation;
}

std::string Translator::ExactSearch(const std::vector<Bound>& texts,
                                    std::u16string_view operation) {
    Bound common;
    common.type = NVarCharType(-1);
    TakeCollation(common, texts, operation);
    return FactsOf(common.type.collation).sensitivity == Sensitivity::IgnoreCase ? "0" : "1";
}

Bound Translator::Plainly(const Expr& e, Scope& scope) {
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
                b.type = kIntType;
                b.typed = false;
                return b;
            }
            if (IsCodePage(e.type.id)) {
                const SqlType type = WithCollation(e.type, context_.current->collation);
                return Literal(Value::Text(PageOf(type).FromNational(e.value.text)), type);
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
        case ExprKind::Collate:
            return Collate(e, scope);
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

std::string Translator::AsText(const Bound& b) {
    if (!b.typed) return "NULL";
    if (IsCharacter(b.type.id) || b.type.id == TypeId::Xml) return b.sql;
    return Converted(b, IsBinary(b.type.id) ? VarCharType(-1) : NVarCharType(4000));
}

// The common type; with no typed value at all, int.
Bound Translator::Unify(std::vector<Bound>& values, std::u16string_view operation) {
    Bound r;
    r.typed = false;
    r.type = kIntType;
    r.nullable = false;
    for (const Bound& v : values) {
        r.nullable = r.nullable || v.nullable || !v.typed;
        if (!v.typed) continue;
        r.type = r.typed ? CommonType(r.type, v.type) : v.type;
        r.typed = true;
    }
    if (!r.typed) r.sql = "NULL";
    r.typed = true;
    TakeCollation(r, values, operation);
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
    // Text that becomes other text keeps its collation.
    const bool keeps = IsCharacter(value.type.id) && IsCharacter(e.type.id) && value.typed;
    r.type = WithCollation(e.type, keeps ? value.type.collation : context_.current->collation);
    r.rank = keeps ? value.rank : CollationRank::Coercible;
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
                    "," + Converted(s, kIntType) + ",0)";
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
    if (IsCharacter(r->type.id)) TakeCollation(*r, args, name + u" operation");
    return *r;
}

}  // namespace sandbox::engine
