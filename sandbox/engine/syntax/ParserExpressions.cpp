#include "sandbox/engine/syntax/Nesting.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

ExprPtr Parser::NewExpr(ExprKind kind) {
    auto e = std::make_unique<Expr>();
    e->kind = kind;
    e->line = Peek().line;
    return e;
}

ExprPtr Parser::ParseExpressionText() {
    ExprPtr e = Condition();
    if (!AtEnd()) Unexpected();
    return e;
}

ExprPtr Parser::Expression() {
    const Nesting nesting(*this);
    return Additive();
}

ExprPtr Parser::Additive() {
    ExprPtr left = Multiplicative();
    for (;;) {
        bool found = false;
        for (const auto* op : {u"+", u"-", u"&", u"|", u"^"}) {
            if (!IsSymbol(op)) continue;
            ExprPtr e = NewExpr(ExprKind::Binary);
            Take();
            e->op = op;
            e->args.push_back(std::move(left));
            e->args.push_back(Multiplicative());
            left = std::move(e);
            found = true;
            break;
        }
        if (!found) return left;
    }
}

ExprPtr Parser::Multiplicative() {
    ExprPtr left = UnaryExpression();
    while (IsSymbol(u"*") || IsSymbol(u"/") || IsSymbol(u"%")) {
        ExprPtr e = NewExpr(ExprKind::Binary);
        e->op = Take().text;
        e->args.push_back(std::move(left));
        e->args.push_back(UnaryExpression());
        left = std::move(e);
    }
    return left;
}

ExprPtr Parser::UnaryExpression() {
    if (IsSymbol(u"-") || IsSymbol(u"+") || IsSymbol(u"~")) {
        const Nesting nesting(*this);
        ExprPtr e = NewExpr(ExprKind::Unary);
        e->op = Take().text;
        e->args.push_back(UnaryExpression());
        if (e->op == u"+") return std::move(e->args[0]);
        return e;
    }
    ExprPtr e = Primary();
    while (IsWord(u"COLLATE")) {
        ExprPtr c = NewExpr(ExprKind::Collate);
        Take();
        c->text = TakeName();
        c->args.push_back(std::move(e));
        e = std::move(c);
    }
    return e;
}

ExprPtr Parser::LiteralToken() {
    ExprPtr e = NewExpr(ExprKind::Literal);
    ReadLiteral(Take(), e->value, e->type);
    e->typed = true;
    return e;
}

ExprPtr Parser::Primary() {
    switch (Peek().kind) {
        case TokenKind::String:
        case TokenKind::NString:
        case TokenKind::Integer:
        case TokenKind::Decimal:
        case TokenKind::Float:
        case TokenKind::Money:
        case TokenKind::Binary:
            return LiteralToken();
        case TokenKind::Variable: {
            ExprPtr e = NewExpr(ExprKind::Variable);
            e->name.emplace_back(Take().text);
            return e;
        }
        default:
            break;
    }
    if (IsSymbol(u"(")) {
        if (IsWord(u"SELECT", 1)) {
            ExprPtr e = NewExpr(ExprKind::Subquery);
            Take();
            e->query = QueryExpression(true);
            ExpectSymbol(u")");
            return e;
        }
        Take();
        ExprPtr e = Expression();
        ExpectSymbol(u")");
        return e;
    }
    if (IsWord(u"NULL")) {
        ExprPtr e = NewExpr(ExprKind::Literal);
        Take();
        return e;
    }
    if (IsWord(u"DEFAULT")) {
        ExprPtr e = NewExpr(ExprKind::Default);
        Take();
        return e;
    }
    if (IsWord(u"CASE")) return CaseExpression();
    if (IsWord(u"CAST") && IsSymbol(u"(", 1)) return CastExpression();
    if (IsWord(u"CONVERT") && IsSymbol(u"(", 1)) return ConvertExpression();
    for (const auto* word :
         {u"CURRENT_TIMESTAMP", u"CURRENT_USER", u"SESSION_USER", u"SYSTEM_USER", u"USER"}) {
        if (!IsWord(word)) continue;
        ExprPtr e = NewExpr(ExprKind::Function);
        Take();
        e->name.emplace_back(word);
        return e;
    }
    for (const auto* word : {u"LEFT", u"RIGHT", u"COALESCE", u"NULLIF", u"IDENTITY"}) {
        if (IsWord(word) && IsSymbol(u"(", 1)) {
            const int line = Take().line;
            return FunctionCall(word, line);
        }
    }
    return NameExpression();
}

ExprPtr Parser::NameExpression() {
    if (!AtName()) Unexpected();
    ExprPtr e = NewExpr(ExprKind::Column);
    if (IsSymbol(u"(", 1)) {
        std::u16string name = TakeName();
        return FunctionCall(std::move(name), e->line);
    }
    e->name.push_back(TakeName());
    while (IsSymbol(u".")) {
        Take();
        if (IsSymbol(u"*")) {
            Take();
            e->kind = ExprKind::Star;
            return e;
        }
        if (IsSymbol(u".")) {
            e->name.emplace_back();
            continue;
        }
        e->name.push_back(TakeName());
    }
    if (IsSymbol(u"(")) {  // dbo.f(...)
        throw SqlError(4121,
                       Format(u"Cannot find either column \"%1\" or the user-defined function "
                              u"or aggregate \"%1.%2\", or the name is ambiguous.",
                              {e->name.front(), e->name.back()}));
    }
    return e;
}

ExprPtr Parser::FunctionCall(std::u16string name, int line) {
    ExprPtr e = NewExpr(ExprKind::Function);
    e->line = line;
    e->name.push_back(std::move(name));
    ExpectSymbol(u"(");
    if (TakeSymbol(u")")) {
        OverClause(*e);
        return e;
    }
    if (TakeWord(u"DISTINCT")) {
        e->distinct = true;
    } else {
        TakeWord(u"ALL");
    }
    if (IsSymbol(u"*") && IsSymbol(u")", 1)) {
        Take();
        e->star = true;
    } else {
        do {
            e->args.push_back(Expression());
        } while (TakeSymbol(u","));
    }
    ExpectSymbol(u")");
    OverClause(*e);
    return e;
}

void Parser::OverClause(Expr& function) {
    if (!IsWord(u"OVER") || !IsSymbol(u"(", 1)) return;
    Take();
    Take();
    function.overClause = true;
    if (TakeWord(u"PARTITION")) {
        ExpectWord(u"BY");
        do {
            function.overPartition.push_back(Expression());
        } while (TakeSymbol(u","));
    }
    if (IsWord(u"ORDER")) {
        for (OrderItem& item : OrderBy()) {
            function.overOrder.emplace_back(std::move(item.expr), item.descending);
        }
    }
    ExpectSymbol(u")");
}

ExprPtr Parser::CaseExpression() {
    const Nesting nesting(*this);
    ExprPtr e = NewExpr(ExprKind::Case);
    Take();
    if (!IsWord(u"WHEN")) {
        e->hasOperand = true;
        e->args.push_back(Expression());
    }
    if (!IsWord(u"WHEN")) Unexpected();
    while (TakeWord(u"WHEN")) {
        e->args.push_back(e->hasOperand ? Expression() : Condition());
        ExpectWord(u"THEN");
        e->args.push_back(Expression());
    }
    if (TakeWord(u"ELSE")) {
        e->hasElse = true;
        e->args.push_back(Expression());
    }
    ExpectWord(u"END");
    return e;
}

ExprPtr Parser::CastExpression() {
    ExprPtr e = NewExpr(ExprKind::Convert);
    Take();
    e->cast = true;
    ExpectSymbol(u"(");
    e->args.push_back(Expression());
    ExpectWord(u"AS");
    const TypeSpec type = Type();
    e->type = type.type;
    if (!type.known) e->text = type.name;
    // Without a length, CAST and CONVERT make 30 characters.
    if (!type.lengthGiven && e->type.length == 1) e->type.length = 30;
    ExpectSymbol(u")");
    return e;
}

ExprPtr Parser::ConvertExpression() {
    ExprPtr e = NewExpr(ExprKind::Convert);
    Take();
    ExpectSymbol(u"(");
    const TypeSpec type = Type();
    e->type = type.type;
    if (!type.known) e->text = type.name;
    // Without a length, CAST and CONVERT make 30 characters.
    if (!type.lengthGiven && e->type.length == 1) e->type.length = 30;
    ExpectSymbol(u",");
    e->args.push_back(Expression());
    if (TakeSymbol(u",")) e->args.push_back(Expression());
    ExpectSymbol(u")");
    return e;
}

}  // namespace sandbox::engine
