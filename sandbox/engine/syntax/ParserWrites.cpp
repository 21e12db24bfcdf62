// INSERT, UPDATE, DELETE.
#include "sandbox/engine/syntax/Parser.h"

namespace sandbox::engine {

StmtPtr Parser::InsertStatement() {
    auto s = std::make_unique<InsertStmt>(Take().line);
    if (IsWord(u"TOP")) Unexpected();
    TakeWord(u"INTO");
    s->table = TakeObjectName();
    TableHints();
    if (IsSymbol(u"(") && !StartsQuery()) {
        Take();
        s->columnsGiven = true;
        do {
            s->columns.push_back(TakeObjectName().name);
        } while (TakeSymbol(u","));
        ExpectSymbol(u")");
    }
    if (TakeWord(u"DEFAULT")) {
        ExpectWord(u"VALUES");
        s->defaultValues = true;
    } else if (TakeWord(u"VALUES")) {
        s->rows = ValueRows();
    } else if (IsWord(u"EXEC") || IsWord(u"EXECUTE")) {
        const int line = Take().line;
        s->exec = ExecTail(line);
    } else if (StartsQuery()) {
        s->query = QueryExpression(true);
        OptionClause();
    } else {
        Unexpected();
    }
    return s;
}

StmtPtr Parser::UpdateStatement() {
    auto s = std::make_unique<UpdateStmt>(Take().line);
    s->top = Top();
    s->table = TakeObjectName();
    TableHints();
    ExpectWord(u"SET");
    do {
        Assignment a;
        if (Peek().kind == TokenKind::Variable) {
            a.variable = Take().text;
            ExpectSymbol(u"=");
            if (AtName() && IsSymbol(u"=", 1)) {  // @v = column = value
                a.column = TakeName();
                Take();
            }
        } else {
            a.column = TakeObjectName().name;
            const bool compound =
                IsSymbol(u"+=") || IsSymbol(u"-=") || IsSymbol(u"*=") || IsSymbol(u"/=");
            if (compound) {
                ExprPtr e = NewExpr(ExprKind::Binary);
                e->op = Take().text.substr(0, 1);
                ExprPtr column = NewExpr(ExprKind::Column);
                column->name.push_back(a.column);
                e->args.push_back(std::move(column));
                e->args.push_back(Expression());
                a.value = std::move(e);
                s->assignments.push_back(std::move(a));
                continue;
            }
            ExpectSymbol(u"=");
        }
        a.value = Expression();
        s->assignments.push_back(std::move(a));
    } while (TakeSymbol(u","));
    if (TakeWord(u"FROM")) s->from = FromClause();
    if (TakeWord(u"WHERE")) s->where = Condition();
    OptionClause();
    return s;
}

StmtPtr Parser::DeleteStatement() {
    auto s = std::make_unique<DeleteStmt>(Take().line);
    s->top = Top();
    TakeWord(u"FROM");
    s->table = TakeObjectName();
    TableHints();
    if (TakeWord(u"FROM")) s->from = FromClause();
    if (TakeWord(u"WHERE")) s->where = Condition();
    OptionClause();
    return s;
}

}  // namespace sandbox::engine
