// INSERT, UPDATE, DELETE.
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/SqlError.h"

namespace sandbox::engine {

StmtPtr Parser::InsertStatement() {
    auto s = std::make_unique<InsertStmt>(Take().line);
    if (IsWord(u"TOP")) Unexpected();
    TakeWord(u"INTO");
    s->table = TakeTableName();
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
    s->output = Output();
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
    s->output = Output();
    if (TakeWord(u"FROM")) s->from = FromClause();
    if (TakeWord(u"WHERE")) s->where = Condition();
    OptionClause();
    return s;
}

// Of OUTPUT only what goes into a table, and comes from the sources that are joined: no INSERTED
// and DELETED.
OutputClause Parser::Output() {
    OutputClause output;
    if (!TakeWord(u"OUTPUT")) return output;
    do {
        ExprPtr value = NameExpression();
        const bool joined = value->kind == ExprKind::Column && value->name.size() == 2 &&
                            !SameName(value->name.front(), u"inserted") &&
                            !SameName(value->name.front(), u"deleted");
        if (!joined) ThrowSyntax(u"OUTPUT");
        output.values.push_back(std::move(value));
    } while (TakeSymbol(u","));
    ExpectWord(u"INTO");
    output.into = TakeTableName();
    return output;
}

}  // namespace sandbox::engine
