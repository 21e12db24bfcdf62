#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
namespace {

std::u16string Upper(std::u16string_view word) {
    return FoldName(word);
}

// Some definitions are a batch of their own.
void RefuseUnlessFirst(const Stmt& stmt) {
    const char16_t* what = stmt.kind == StmtKind::CreateProcedure ? u"CREATE/ALTER PROCEDURE"
                           : stmt.kind == StmtKind::CreateView    ? u"CREATE VIEW"
                           : stmt.kind == StmtKind::CreateSchema  ? u"CREATE SCHEMA"
                                                                  : nullptr;
    if (what == nullptr) return;
    SqlError error(111, Format(u"'%1' must be the first statement in a query batch.", {what}), 15);
    error.message.line = stmt.line;
    throw SqlError(error);
}

}  // namespace

std::vector<StmtPtr> Parser::ParseBatch() {
    std::vector<StmtPtr> statements;
    bool first = true;
    while (!AtEnd()) {
        if (TakeSymbol(u";")) continue;
        statements.push_back(Statement(first));
        if (!first) RefuseUnlessFirst(*statements.back());
        first = false;
    }
    return statements;
}

StmtPtr Parser::Statement(bool first) {
    if (depth_ > 200) {
        throw SqlError(191,
                       u"Some part of your SQL statement is nested too deeply. Rewrite the query "
                       u"or break it up into smaller queries.",
                       15);
    }
    const Token token = Peek();
    if (IsSymbol(u"(") && StartsQuery()) {
        auto q = std::make_unique<QueryStmt>(token.line);
        q->query = QueryExpression(true);
        OptionClause();
        return q;
    }
    if (token.kind == TokenKind::Word) {
        if (StmtPtr stmt = StatementByKeyword(token)) {
            TakeSymbol(u";");
            return stmt;
        }
    }
    // The first statement of a batch may call a procedure without EXEC.
    if (first && AtName()) {
        StmtPtr call = ExecTail(token.line);
        TakeSymbol(u";");
        return call;
    }
    Unexpected();
}

StmtPtr Parser::StatementByKeyword(const Token& word) {
    const int line = word.line;
    const std::u16string keyword = Upper(word.text);
    if (keyword == u"EXEC" || keyword == u"EXECUTE") return ExecStatement();
    if (keyword == u"SELECT") {
        auto q = std::make_unique<QueryStmt>(line);
        q->query = QueryExpression(true);
        OptionClause();
        return q;
    }
    if (keyword == u"INSERT") return InsertStatement();
    if (keyword == u"UPDATE") return UpdateStatement();
    if (keyword == u"DELETE") return DeleteStatement();
    if (keyword == u"DECLARE") return DeclareStatement();
    if (keyword == u"SET") return SetStatement();
    if (keyword == u"IF") return IfStatement();
    if (keyword == u"BEGIN") return BeginStatement();
    if (keyword == u"CREATE") return CreateStatement();
    if (keyword == u"ALTER") return AlterStatement();
    if (keyword == u"DROP") return DropStatement();
    if (keyword == u"GRANT" || keyword == u"DENY" || keyword == u"REVOKE") {
        return PermissionStatement();
    }
    if (keyword == u"COMMIT") return TransactionStatement(StmtKind::Commit);
    if (keyword == u"ROLLBACK") return TransactionStatement(StmtKind::Rollback);
    if (keyword == u"SAVE") return TransactionStatement(StmtKind::Save);
    if (keyword == u"RAISERROR") return RaisErrorStatement();
    if (keyword == u"WHILE") {
        auto w = std::make_unique<WhileStmt>(line);
        Take();
        w->condition = Condition();
        ++depth_;
        w->body = Statement(false);
        --depth_;
        return w;
    }
    if (keyword == u"TRUNCATE") {
        auto d = std::make_unique<DropObjectStmt>(line);
        d->kind = StmtKind::Truncate;
        Take();
        ExpectWord(u"TABLE");
        d->names.push_back(TakeObjectName());
        return d;
    }
    if (keyword == u"USE") {
        auto s = std::make_unique<SimpleStmt>(StmtKind::Use, line);
        Take();
        s->name = TakeName();
        return s;
    }
    if (keyword == u"PRINT") {
        auto s = std::make_unique<SimpleStmt>(StmtKind::Print, line);
        Take();
        s->args.push_back(Expression());
        return s;
    }
    if (keyword == u"BREAK" || keyword == u"CONTINUE") {
        Take();
        return std::make_unique<SimpleStmt>(
            keyword == u"BREAK" ? StmtKind::Break : StmtKind::Continue, line);
    }
    if (keyword == u"RETURN") {
        auto s = std::make_unique<SimpleStmt>(StmtKind::Return, line);
        Take();
        const Token& next = Peek();
        const bool value = next.kind == TokenKind::Integer || next.kind == TokenKind::Variable ||
                           IsSymbol(u"-") || IsSymbol(u"(");
        if (value) s->args.push_back(Expression());
        return s;
    }
    if (keyword == u"WAITFOR") {
        auto s = std::make_unique<SimpleStmt>(StmtKind::WaitFor, line);
        Take();
        ExpectWord(u"DELAY");
        s->args.push_back(Expression());
        return s;
    }
    if (keyword == u"THROW" && (Peek(1).kind == TokenKind::End || IsSymbol(u";", 1) ||
                                IsWord(u"END", 1) || Peek(1).kind == TokenKind::Integer)) {
        auto s = std::make_unique<SimpleStmt>(StmtKind::Throw, line);
        Take();
        if (Peek().kind == TokenKind::Integer) {
            s->args.push_back(Expression());
            ExpectSymbol(u",");
            s->args.push_back(Expression());
            ExpectSymbol(u",");
            s->args.push_back(Expression());
        }
        return s;
    }
    if (keyword == u"DBCC") {
        auto s = std::make_unique<SimpleStmt>(StmtKind::Dbcc, line);
        Take();
        s->name = Upper(TakeName());
        if (TakeSymbol(u"(")) {
            while (!IsSymbol(u")")) {
                if (AtName()) {  // RESEED, or the table as a bare name
                    ExprPtr e = NewExpr(ExprKind::Literal);
                    e->value = Value::Text(TakeObjectName().Text());
                    e->type = NVarCharType(128);
                    e->typed = true;
                    s->args.push_back(std::move(e));
                } else {
                    s->args.push_back(Expression());
                }
                if (!TakeSymbol(u",")) break;
            }
            ExpectSymbol(u")");
        }
        if (TakeWord(u"WITH")) TakeName();
        return s;
    }
    return nullptr;
}

StmtPtr Parser::DeclareStatement() {
    auto s = std::make_unique<DeclareStmt>(Take().line);
    do {
        if (Peek().kind != TokenKind::Variable) Unexpected();
        Declaration d;
        d.name = Take().text;
        TakeWord(u"AS");
        if (IsWord(u"TABLE") && s->items.empty()) {
            s->table = TableVariable(d.name, s->line);
            return s;
        }
        if (IsWord(u"TABLE") || IsWord(u"CURSOR")) Unexpected();
        d.type = Type();
        if (TakeSymbol(u"=")) d.value = Expression();
        s->items.push_back(std::move(d));
    } while (TakeSymbol(u","));
    return s;
}

// Its constraints have no names, and refer to no other table.
StmtPtr Parser::TableVariable(std::u16string_view name, int line) {
    Take();
    if (!temporary_.insert(FoldName(name)).second) {
        throw SqlError(134,
                       Format(u"The variable name '%1' has already been declared. Variable names "
                              u"must be unique within a query batch or stored procedure.",
                              {name}),
                       15);
    }
    auto table = std::make_unique<CreateTableStmt>(line);
    table->table.name = name;
    table->table.variable = true;
    TableElements(*table);
    const auto check = [](const std::vector<ConstraintDef>& constraints) {
        for (const ConstraintDef& c : constraints) {
            if (!c.name.empty()) ThrowSyntax(u"CONSTRAINT");
            if (c.kind == ConstraintDef::Kind::ForeignKey) ThrowSyntax(u"REFERENCES");
        }
    };
    check(table->constraints);
    for (const ColumnDef& column : table->columns)
        check(column.constraints);
    if (!table->period.empty()) ThrowSyntax(u"PERIOD");
    return table;
}

StmtPtr Parser::SetTransactionIsolation(int line) {
    auto s = std::make_unique<SetOptionStmt>(line);
    Take();
    ExpectWord(u"ISOLATION");
    ExpectWord(u"LEVEL");
    s->options.emplace_back(u"ISOLATION");
    if (TakeWord(u"READ")) {
        if (!TakeWord(u"COMMITTED")) ExpectWord(u"UNCOMMITTED");
    } else if (TakeWord(u"REPEATABLE")) {
        ExpectWord(u"READ");
    } else if (TakeWord(u"SNAPSHOT")) {
        s->value = u"SNAPSHOT";
    } else {
        ExpectWord(u"SERIALIZABLE");
    }
    return s;
}

StmtPtr Parser::SetStatement() {
    const int line = Take().line;
    if (Peek().kind == TokenKind::Variable) {
        auto s = std::make_unique<SetVariableStmt>(line);
        s->name = Take().text;
        const bool compound =
            IsSymbol(u"+=") || IsSymbol(u"-=") || IsSymbol(u"*=") || IsSymbol(u"/=");
        if (compound) {
            ExprPtr e = NewExpr(ExprKind::Binary);
            e->op = Take().text.substr(0, 1);
            ExprPtr variable = NewExpr(ExprKind::Variable);
            variable->name.push_back(s->name);
            e->args.push_back(std::move(variable));
            e->args.push_back(Expression());
            s->value = std::move(e);
            return s;
        }
        ExpectSymbol(u"=");
        s->value = Expression();
        return s;
    }
    if (IsWord(u"TRANSACTION")) return SetTransactionIsolation(line);
    auto s = std::make_unique<SetOptionStmt>(line);
    if (TakeWord(u"IDENTITY_INSERT")) {
        s->options.emplace_back(u"IDENTITY_INSERT");
        s->table = TakeObjectName();
        s->on = TakeWord(u"ON");
        if (!s->on) ExpectWord(u"OFF");
        return s;
    }
    do {
        if (Peek().kind != TokenKind::Word) Unexpected();
        s->options.push_back(Upper(Take().text));
        if (s->options.back() == u"STATISTICS") Take();
    } while (TakeSymbol(u","));
    if (TakeWord(u"ON")) {
        s->on = true;
        s->value = u"ON";
    } else if (TakeWord(u"OFF")) {
        s->value = u"OFF";
    } else if (Peek().kind == TokenKind::Word) {
        s->value = Upper(Take().text);
    } else {
        s->expr = Expression();
    }
    return s;
}

StmtPtr Parser::IfStatement() {
    auto s = std::make_unique<IfStmt>(Take().line);
    s->condition = Condition();
    ++depth_;
    s->then = Statement(false);
    if (IsSymbol(u";") && IsWord(u"ELSE", 1)) Take();
    if (TakeWord(u"ELSE")) s->otherwise = Statement(false);
    --depth_;
    return s;
}

std::vector<StmtPtr> Parser::StatementsUntilEnd() {
    std::vector<StmtPtr> body;
    ++depth_;
    for (;;) {
        if (TakeSymbol(u";")) continue;
        if (IsWord(u"END")) break;
        if (AtEnd()) Unexpected();
        body.push_back(Statement(false));
    }
    --depth_;
    Take();
    return body;
}

StmtPtr Parser::TryStatement(int line) {
    auto s = std::make_unique<TryStmt>(line);
    s->body = StatementsUntilEnd();
    ExpectWord(u"TRY");
    TakeSymbol(u";");
    ExpectWord(u"BEGIN");
    ExpectWord(u"CATCH");
    s->handler = StatementsUntilEnd();
    ExpectWord(u"CATCH");
    return s;
}

StmtPtr Parser::BeginStatement() {
    if (IsWord(u"TRAN", 1) || IsWord(u"TRANSACTION", 1))
        return TransactionStatement(StmtKind::Begin);
    const int line = Take().line;
    if (TakeWord(u"TRY")) return TryStatement(line);
    auto s = std::make_unique<BlockStmt>(line);
    if (IsWord(u"END")) {
        Take();
        ThrowSyntax(u"end");
    }
    s->body = StatementsUntilEnd();
    return s;
}

StmtPtr Parser::TransactionStatement(StmtKind kind) {
    auto s = std::make_unique<SimpleStmt>(kind, Take().line);
    const bool word = TakeWord(u"TRAN") || TakeWord(u"TRANSACTION");
    if (!word) {
        if (kind == StmtKind::Begin || kind == StmtKind::Save) Unexpected();
        TakeWord(u"WORK");
        return s;
    }
    if (Peek().kind == TokenKind::Variable || AtName()) {
        // "COMMIT TRAN name"; a word that begins a statement is not a name.
        if (Peek().kind == TokenKind::Variable) {
            s->name = Take().text;
        } else {
            s->name = TakeName();
        }
    }
    return s;
}

StmtPtr Parser::RaisErrorStatement() {
    auto s = std::make_unique<SimpleStmt>(StmtKind::RaisError, Take().line);
    ExpectSymbol(u"(");
    do {
        s->args.push_back(Expression());
        const ExprKind kind = s->args.back()->kind;
        // what fills the places is a constant or a variable, no expression
        const bool plain =
            kind == ExprKind::Literal || kind == ExprKind::Variable || kind == ExprKind::Unary;
        if (s->args.size() > 3 && !plain) Unexpected();
    } while (TakeSymbol(u","));
    ExpectSymbol(u")");
    if (TakeWord(u"WITH")) {
        do {
            const std::u16string option = Upper(TakeName());
            if (option != u"NOWAIT" && option != u"LOG" && option != u"SETERROR") {
                ThrowSyntax(option);
            }
        } while (TakeSymbol(u","));
    }
    return s;
}

}  // namespace sandbox::engine
