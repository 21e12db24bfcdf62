// Truth values: comparisons, AND and OR, IN, LIKE, EXISTS.
#include <algorithm>

#include "sandbox/engine/translation/Translator.h"

namespace sandbox::engine {
namespace {

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
    return a.id == b.id;
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

}  // namespace

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
    // The server takes bytes for equal where only zeros follow.
    if (IsBinary(a.type.id) && IsBinary(b.type.id) && a.type.id != TypeId::Timestamp) {
        return "(ms_significant(" + a.sql + ")" + Narrow(op) + "ms_significant(" + b.sql + "))";
    }
    return "(" + CollatedSide(a, b, OperatorName(op) + u" operation") + Narrow(op) + b.sql + ")";
}

// The left side of a comparison, with its collation where SQLite would not find the right one: it
// takes that of a column, of two columns the left one's.
std::string Translator::CollatedSide(const Bound& a, const Bound& b,
                                     const std::u16string& operation) {
    const char* collation = CollationOf(a.type);
    if (IsCharacter(a.type.id) && IsCharacter(b.type.id)) {
        Bound common;
        common.type = CommonType(a.type, b.type);
        TakeCollation(common, {a, b}, operation);
        collation = CollationOf(common.type);
    }
    if (collation == nullptr) return a.sql;
    const Bound* column = a.column ? &a : b.column ? &b : nullptr;
    const char* own = column != nullptr ? CollationOf(column->type) : nullptr;
    if (own != nullptr && std::string_view(own) == collation) return a.sql;
    return "(" + a.sql + " COLLATE " + collation + ")";
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
            const std::string exact = ExactSearch({text, pattern});
            std::string sql = "ms_like(" + AsText(text) + "," + AsText(pattern);
            sql += e.args.size() > 2 ? "," + AsText(Expression(*e.args[2], scope)) : ",NULL";
            sql += "," + exact + ")";
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
    Bound unified = Unify(all, u"equal to operation");
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
            Bound other;
            other.type = unified.type;
            other.rank = unified.rank;
            sql +=
                CollatedSide(b, other, u"equal to operation") + (e.negated ? " NOT IN (" : " IN (");
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
    Bound rows = outputs.front();
    rows.column = false;
    return "(" + CollatedSide(x, rows, u"equal to operation") +
           (e.negated ? " NOT IN (" : " IN (") + inner + "))";
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
