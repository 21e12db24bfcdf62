// SQLite's text of a query whose names are bound.
#include <algorithm>

#include "sandbox/engine/translation/QueryTree.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {
namespace {

const char* OperatorText(SetOperator op) {
    switch (op) {
        case SetOperator::Union:
            return " UNION ";
        case SetOperator::UnionAll:
            return " UNION ALL ";
        case SetOperator::Except:
            return " EXCEPT ";
        default:
            return " INTERSECT ";
    }
}

}  // namespace

std::string Translator::Render(Tree& tree, const std::vector<Bound>& types, bool named) {
    if (tree.core) return RenderCore(*tree.core, types, named);
    if (!tree.rows.empty()) {
        std::string columns, values;
        for (std::size_t i = 0; i < types.size(); ++i) {
            const std::string number = std::to_string(i + 1);
            columns += (i > 0 ? ", column" : "column") + number;
            if (named) columns += " AS c" + number;
        }
        for (const auto& row : tree.rows) {
            values += values.empty() ? "(" : ",(";
            for (std::size_t i = 0; i < row.size(); ++i)
                values += (i > 0 ? "," : "") + Converted(row[i], types[i].type);
            values += ")";
        }
        return "SELECT " + columns + " FROM (VALUES " + values + ")";
    }
    const auto side = [&](Tree& t, bool wrapSets) {
        const bool limited = t.core && !t.core->limit.empty();
        if (limited || (wrapSets && t.left)) {
            std::string inner = Render(t, types, true);
            if (limited) {
                inner += OrderClause(*t.query, t, types);
                inner += t.core->limit;
            }
            return "SELECT * FROM (" + inner + ")";
        }
        return Render(t, types, named);
    };
    return side(*tree.left, false) + OperatorText(tree.query->set) + side(*tree.right, true);
}

std::string Translator::RenderCore(Core& core, const std::vector<Bound>& types, bool named) {
    std::string sql = core.query->distinct ? "SELECT DISTINCT " : "SELECT ";
    for (std::size_t i = 0; i < core.outputs.size(); ++i) {
        if (i > 0) sql += ", ";
        Bound b = core.outputs[i];
        const std::string converted = Converted(b, types[i].type);
        b.column = b.column && converted == b.sql;
        b.sql = converted;
        b.type = types[i].type;
        sql += Collated(b);
        if (named) sql += " AS c" + std::to_string(i + 1);
    }
    return sql + core.from + core.where + core.group;
}

std::string Translator::LimitClause(const Query& query, Scope& scope) {
    if (!query.top) return {};
    Scope constant;
    constant.outer = scope.outer;
    const Bound top = Expression(*query.top, constant);
    if (!IsInteger(top.type.id) && !IsDecimal(top.type.id)) {
        throw SqlError(
            1060,
            u"The number of rows provided for a TOP or FETCH clauses row count parameter "
            u"must be an integer.");
    }
    return " LIMIT " + Converted(top, Plain(TypeId::BigInt));
}

}  // namespace sandbox::engine
