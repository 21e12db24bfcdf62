#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/SqlError.h"

namespace sandbox::engine {

bool Parser::StartsQuery(std::size_t ahead) {
    while (IsSymbol(u"(", ahead))
        ++ahead;
    return IsWord(u"SELECT", ahead);
}

QueryPtr Parser::QueryExpression(bool allowOrder) {
    if (++depth_ > 400) {
        throw SqlError(191,
                       u"Some part of your SQL statement is nested too deeply. Rewrite the query "
                       u"or break it up into smaller queries.",
                       15);
    }
    QueryPtr left = QueryTerm();
    for (;;) {
        SetOperator op = SetOperator::None;
        if (IsWord(u"UNION")) {
            op = SetOperator::Union;
        } else if (IsWord(u"EXCEPT")) {
            op = SetOperator::Except;
        } else {
            break;
        }
        auto set = std::make_unique<Query>();
        set->line = Take().line;
        if (op == SetOperator::Union && TakeWord(u"ALL")) op = SetOperator::UnionAll;
        set->set = op;
        set->left = std::move(left);
        set->right = QueryTerm();
        left = std::move(set);
    }
    if (allowOrder && IsWord(u"ORDER")) left->orderBy = OrderBy();
    --depth_;
    return left;
}

QueryPtr Parser::QueryTerm() {
    QueryPtr left = QueryPrimary();
    while (IsWord(u"INTERSECT")) {
        auto set = std::make_unique<Query>();
        set->line = Take().line;
        set->set = SetOperator::Intersect;
        set->left = std::move(left);
        set->right = QueryPrimary();
        left = std::move(set);
    }
    return left;
}

QueryPtr Parser::QueryPrimary() {
    if (TakeSymbol(u"(")) {
        QueryPtr q = QueryExpression(true);
        ExpectSymbol(u")");
        return q;
    }
    return SelectCore();
}

ExprPtr Parser::Top() {
    if (!TakeWord(u"TOP")) return nullptr;
    ExprPtr top;
    if (TakeSymbol(u"(")) {
        top = Expression();
        ExpectSymbol(u")");
    } else {
        if (Peek().kind != TokenKind::Integer) Unexpected();
        top = LiteralToken();
    }
    if (IsWord(u"PERCENT")) Unexpected();
    return top;
}

QueryPtr Parser::SelectCore() {
    auto q = std::make_unique<Query>();
    q->line = Peek().line;
    ExpectWord(u"SELECT");
    if (TakeWord(u"DISTINCT")) {
        q->distinct = true;
    } else {
        TakeWord(u"ALL");
    }
    q->top = Top();
    SelectList(*q);
    if (TakeWord(u"INTO")) q->into = TakeObjectName();
    if (TakeWord(u"FROM")) q->from = FromClause();
    if (TakeWord(u"WHERE")) q->where = Condition();
    if (IsWord(u"GROUP")) {
        Take();
        ExpectWord(u"BY");
        do {
            q->groupBy.push_back(Expression());
        } while (TakeSymbol(u","));
    }
    if (TakeWord(u"HAVING")) q->having = Condition();
    return q;
}

void Parser::SelectList(Query& query) {
    do {
        query.items.push_back(Item());
    } while (TakeSymbol(u","));
}

SelectItem Parser::Item() {
    SelectItem item;
    if (IsSymbol(u"*")) {
        item.expr = NewExpr(ExprKind::Star);
        Take();
        return item;
    }
    if (Peek().kind == TokenKind::Variable && IsSymbol(u"=", 1) &&
        !Peek().text.starts_with(u"@@")) {
        item.variable = Take().text;
        Take();
        item.expr = Expression();
        return item;
    }
    // alias = expression
    const TokenKind kind = Peek().kind;
    if ((AtName() || kind == TokenKind::String) && IsSymbol(u"=", 1)) {
        item.alias = TakeNameOrString();
        Take();
        item.expr = Expression();
        return item;
    }
    item.expr = Expression();
    if (item.expr->kind == ExprKind::Star) return item;
    if (TakeWord(u"AS") || AtName() || Peek().kind == TokenKind::String) {
        item.alias = TakeNameOrString();
    }
    return item;
}

std::vector<TableRefPtr> Parser::FromClause() {
    std::vector<TableRefPtr> sources;
    do {
        sources.push_back(TableSource());
    } while (TakeSymbol(u","));
    return sources;
}

TableRefPtr Parser::TableSource() {
    TableRefPtr left = TablePrimary();
    for (;;) {
        JoinKind kind = JoinKind::Inner;
        if (IsWord(u"CROSS") && IsWord(u"JOIN", 1)) {
            Take();
            kind = JoinKind::Cross;
        } else if (IsWord(u"INNER")) {
            Take();
        } else if (IsWord(u"LEFT") || IsWord(u"RIGHT") || IsWord(u"FULL")) {
            kind = IsWord(u"LEFT")    ? JoinKind::Left
                   : IsWord(u"RIGHT") ? JoinKind::Right
                                      : JoinKind::Full;
            Take();
            TakeWord(u"OUTER");
        } else if (!IsWord(u"JOIN")) {
            return left;
        }
        // Join hints choose an algorithm; results are the same.
        for (const auto* hint : {u"HASH", u"MERGE", u"LOOP", u"REMOTE"}) {
            if (IsWord(hint) && IsWord(u"JOIN", 1)) Take();
        }
        ExpectWord(u"JOIN");
        auto join = std::make_unique<TableRef>();
        join->kind = TableRef::Kind::Join;
        join->line = Peek().line;
        join->join = kind;
        join->left = std::move(left);
        if (kind == JoinKind::Cross) {
            join->right = TablePrimary();
        } else {
            join->right = TableSource();  // a JOIN b JOIN c ON .. ON .. nests to the right
            if (!IsWord(u"ON")) Unexpected();
        }
        if (kind != JoinKind::Cross) {
            ExpectWord(u"ON");
            join->on = Condition();
        }
        left = std::move(join);
    }
}

std::u16string Parser::OptionalAlias() {
    if (TakeWord(u"AS")) return TakeNameOrString();
    if (AtName()) return TakeName();
    return {};
}

void Parser::TableHints() {
    const bool with = IsWord(u"WITH") && IsSymbol(u"(", 1);
    if (!with && !(IsSymbol(u"(") && Peek(1).kind == TokenKind::Word)) return;
    static constexpr std::u16string_view kHints[] = {
        u"NOLOCK",  u"READUNCOMMITTED", u"READCOMMITTED", u"READPAST", u"REPEATABLEREAD",
        u"ROWLOCK", u"SERIALIZABLE",    u"HOLDLOCK",      u"TABLOCK",  u"TABLOCKX",
        u"UPDLOCK", u"XLOCK",           u"PAGLOCK",       u"NOEXPAND", u"FASTFIRSTROW",
        u"NOWAIT",  u"KEEPIDENTITY"};
    const std::size_t first = with ? 2 : 1;
    bool known = false;
    for (const std::u16string_view hint : kHints)
        known = known || IsWord(hint, first);
    if (!known) {
        if (with) {
            throw SqlError(
                321, Format(u"\"%1\" is not a recognized table hints option.", {Peek(first).text}),
                15);
        }
        return;
    }
    if (with) Take();
    Take();
    do {
        Take();
    } while (TakeSymbol(u",") || Peek().kind == TokenKind::Word);
    ExpectSymbol(u")");
}

TableRefPtr Parser::TablePrimary() {
    auto ref = std::make_unique<TableRef>();
    ref->line = Peek().line;
    if (IsSymbol(u"(") && !StartsQuery() && !IsWord(u"VALUES", 1)) {
        Take();
        ref = TableSource();
        ExpectSymbol(u")");
        return ref;
    }
    if (IsSymbol(u"(")) {
        // "((SELECT ..) UNION ..) x" is a query, "((SELECT ..) x JOIN ..)" is not met in practice.
        Take();
        ref->kind = TableRef::Kind::Derived;
        if (IsWord(u"VALUES")) {
            Take();
            ref->query = std::make_unique<Query>();
            ref->query->rows = ValueRows();
        } else {
            ref->query = QueryExpression(true);
        }
        ExpectSymbol(u")");
        ref->alias = OptionalAlias();
        if (ref->alias.empty()) Unexpected();
        if (TakeSymbol(u"(")) {
            do {
                ref->columnAliases.push_back(TakeName());
            } while (TakeSymbol(u","));
            ExpectSymbol(u")");
        }
        return ref;
    }
    ref->table = TakeTableName();
    if (IsSymbol(u"(")) TableHints();  // t (NOLOCK) x
    ref->alias = OptionalAlias();
    TableHints();
    return ref;
}

std::vector<std::vector<ExprPtr>> Parser::ValueRows() {
    std::vector<std::vector<ExprPtr>> rows;
    do {
        ExpectSymbol(u"(");
        auto& row = rows.emplace_back();
        do {
            row.push_back(Expression());
        } while (TakeSymbol(u","));
        ExpectSymbol(u")");
    } while (TakeSymbol(u","));
    return rows;
}

std::vector<OrderItem> Parser::OrderBy() {
    ExpectWord(u"ORDER");
    ExpectWord(u"BY");
    std::vector<OrderItem> items;
    do {
        OrderItem item;
        item.expr = Expression();
        if (TakeWord(u"DESC")) {
            item.descending = true;
        } else {
            TakeWord(u"ASC");
        }
        items.push_back(std::move(item));
    } while (TakeSymbol(u","));
    return items;
}

// OPTION (...): query hints, none of which changes a result.
void Parser::OptionClause() {
    if (!IsWord(u"OPTION")) return;
    Take();
    ExpectSymbol(u"(");
    int depth = 1;
    while (depth > 0) {
        if (AtEnd()) Unexpected();
        if (IsSymbol(u"(")) ++depth;
        if (IsSymbol(u")")) --depth;
        Take();
    }
}

}  // namespace sandbox::engine
