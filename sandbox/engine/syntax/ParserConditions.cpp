// Conditions: AND, OR, NOT and the predicates.
#include "sandbox/engine/syntax/Nesting.h"
#include "sandbox/engine/values/SqlError.h"

namespace sandbox::engine {

ExprPtr Parser::Condition() {
    const Nesting nesting(*this);
    ExprPtr left = AndCondition();
    while (IsWord(u"OR")) {
        ExprPtr e = NewExpr(ExprKind::Or);
        Take();
        e->args.push_back(std::move(left));
        e->args.push_back(AndCondition());
        // A flat list: long chains stay shallow.
        while (TakeWord(u"OR"))
            e->args.push_back(AndCondition());
        left = std::move(e);
    }
    return left;
}

ExprPtr Parser::AndCondition() {
    ExprPtr left = NotCondition();
    if (!IsWord(u"AND")) return left;
    ExprPtr e = NewExpr(ExprKind::And);
    e->args.push_back(std::move(left));
    while (TakeWord(u"AND"))
        e->args.push_back(NotCondition());
    return e;
}

ExprPtr Parser::NotCondition() {
    if (!IsWord(u"NOT")) return Predicate();
    const Nesting nesting(*this);
    ExprPtr e = NewExpr(ExprKind::Not);
    Take();
    e->args.push_back(NotCondition());
    return e;
}

// "(" opens a value as well as a condition; only what follows tells. Looks for the matching ")"
// and for a condition word or comparison at its depth.
bool Parser::ParenthesisedCondition() {
    if (!IsSymbol(u"(")) return false;
    std::size_t i = 1;
    if (IsWord(u"SELECT", i)) return false;
    int depth = 1;
    int cases = 0;
    while (depth > 0) {
        const Token token = Peek(i);
        if (token.kind == TokenKind::End) return false;
        if (token.kind == TokenKind::Symbol) {
            if (token.text == u"(") ++depth;
            if (token.text == u")") --depth;
            const bool comparison = token.text == u"=" || token.text[0] == u'<' ||
                                    token.text[0] == u'>' || token.text == u"!=";
            if (comparison && cases == 0 && depth == 1) return true;
        } else if (token.kind == TokenKind::Word && cases == 0 && depth == 1) {
            for (const auto* word :
                 {u"AND", u"OR", u"NOT", u"IS", u"IN", u"LIKE", u"BETWEEN", u"EXISTS"}) {
                if (IsWord(word, i)) return true;
            }
        }
        if (IsWord(u"CASE", i)) ++cases;
        if (IsWord(u"END", i) && cases > 0) --cases;
        ++i;
        // "((a = b))": the inner parenthesis decides.
        if (depth == 2 && token.kind == TokenKind::Symbol && token.text == u"(" && i == 2) {
            std::size_t opens = 0;
            while (IsSymbol(u"(", opens))
                ++opens;
            Parser probe(text_.substr(Peek(opens - 1).start), lexer_.quotedIdentifier);
            if (probe.ParenthesisedCondition()) return true;
        }
    }
    return false;
}

ExprPtr Parser::Predicate() {
    if (IsWord(u"EXISTS")) {
        ExprPtr e = NewExpr(ExprKind::Exists);
        Take();
        ExpectSymbol(u"(");
        e->query = QueryExpression(true);
        ExpectSymbol(u")");
        return e;
    }
    if (ParenthesisedCondition()) {
        Take();
        ExprPtr e = Condition();
        ExpectSymbol(u")");
        return e;
    }
    return PredicateTail(Expression());
}

ExprPtr Parser::PredicateTail(ExprPtr left) {
    if (IsWord(u"IS")) {
        ExprPtr e = NewExpr(ExprKind::IsNull);
        Take();
        e->negated = TakeWord(u"NOT");
        ExpectWord(u"NULL");
        e->args.push_back(std::move(left));
        return e;
    }
    const bool negated =
        IsWord(u"NOT") && (IsWord(u"IN", 1) || IsWord(u"LIKE", 1) || IsWord(u"BETWEEN", 1));
    if (negated) Take();
    if (IsWord(u"IN")) {
        ExprPtr e = NewExpr(ExprKind::InList);
        Take();
        e->negated = negated;
        e->args.push_back(std::move(left));
        ExpectSymbol(u"(");
        if (StartsQuery()) {
            e->kind = ExprKind::InQuery;
            e->query = QueryExpression(true);
        } else {
            do {
                e->args.push_back(Expression());
            } while (TakeSymbol(u","));
        }
        ExpectSymbol(u")");
        return e;
    }
    if (IsWord(u"LIKE")) {
        ExprPtr e = NewExpr(ExprKind::Like);
        Take();
        e->negated = negated;
        e->args.push_back(std::move(left));
        e->args.push_back(Expression());
        if (TakeWord(u"ESCAPE")) e->args.push_back(Expression());
        return e;
    }
    if (IsWord(u"BETWEEN")) {
        ExprPtr e = NewExpr(ExprKind::Between);
        Take();
        e->negated = negated;
        e->args.push_back(std::move(left));
        e->args.push_back(Expression());
        ExpectWord(u"AND");
        e->args.push_back(Expression());
        return e;
    }
    if (Peek().kind != TokenKind::Symbol) return left;
    static constexpr std::u16string_view kComparisons[] = {u"=",  u"<>", u"!=", u"<", u">",
                                                           u"<=", u">=", u"!<", u"!>"};
    for (const std::u16string_view op : kComparisons) {
        if (!IsSymbol(op)) continue;
        ExprPtr e = NewExpr(ExprKind::Compare);
        Take();
        e->op = op == u"!=" ? u"<>" : op == u"!<" ? u">=" : op == u"!>" ? u"<=" : op;
        e->args.push_back(std::move(left));
        if ((IsWord(u"ALL") || IsWord(u"ANY") || IsWord(u"SOME")) && IsSymbol(u"(", 1)) {
            e->kind = ExprKind::Quantified;
            e->all = IsWord(u"ALL");
            Take();
            ExpectSymbol(u"(");
            e->query = QueryExpression(true);
            ExpectSymbol(u")");
            return e;
        }
        e->args.push_back(Expression());
        return e;
    }
    return left;
}

}  // namespace sandbox::engine
