#include <algorithm>

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/SqlError.h"

namespace sandbox::engine {
StmtPtr Parser::CreateStatement() {
    const Token create = Take();
    const int line = create.line;
    if (TakeWord(u"DATABASE")) return CreateDatabase(line);
    if (TakeWord(u"TABLE")) return CreateTable(line);
    if (TakeWord(u"VIEW")) return CreateView(line, create.start, false);
    if (TakeWord(u"PROCEDURE") || TakeWord(u"PROC")) {
        return CreateProcedure(line, create.start, false);
    }
    if (TakeWord(u"LOGIN")) return CreateLogin(line);
    if (TakeWord(u"USER")) return CreateUser(line);
    if (TakeWord(u"SCHEMA")) {
        auto s = std::make_unique<SimpleStmt>(StmtKind::CreateSchema, line);
        s->name = TakeName();
        if (TakeWord(u"AUTHORIZATION")) TakeName();
        return s;
    }
    bool unique = TakeWord(u"UNIQUE");
    const bool clustered = TakeWord(u"CLUSTERED");
    if (!clustered) TakeWord(u"NONCLUSTERED");
    ExpectWord(u"INDEX");
    return CreateIndex(line, unique, clustered);
}

StmtPtr Parser::CreateDatabase(int line) {
    auto s = std::make_unique<CreateDatabaseStmt>(line);
    s->name = TakeName();
    if (TakeWord(u"COLLATE")) s->collation = TakeName();
    return s;
}

namespace {

std::u16string Bracketed(const std::u16string& name) {
    std::u16string text = u"[";
    for (const char16_t unit : name)
        text.append(unit == u']' ? 2 : 1, unit);
    return text + u"]";
}

bool IsConstant(const Expr& e) {
    return e.kind == ExprKind::Literal || (e.kind == ExprKind::Unary && IsConstant(*e.args[0]));
}

}  // namespace

// A constant as the catalog writes it: numbers in parentheses.
std::u16string Parser::FilterConstant(const CreateIndexStmt& index) {
    const std::size_t start = Peek().start;
    const bool text = Peek().kind == TokenKind::String;
    const ExprPtr constant = Additive();
    if (!IsConstant(*constant)) RefuseFilter(index);
    const std::u16string written(TextSince(start));
    return text ? written : u"(" + written + u")";
}

void Parser::RefuseFilter(const CreateIndexStmt& index) {
    throw SqlError(10735,
                   Format(u"Incorrect WHERE clause for filtered index '%1' on table '%2'.",
                          {index.name, index.table.Text()}),
                   15);
}

// Conjunctions only, each of one column with constants.
std::u16string Parser::IndexFilter(const CreateIndexStmt& index) {
    std::u16string filter;
    int open = 0;
    do {
        while (TakeSymbol(u"("))
            ++open;
        filter += (filter.empty() ? u"(" : u" AND ") + Bracketed(TakeName());
        if (TakeWord(u"IS")) {
            filter += TakeWord(u"NOT") ? u" IS NOT NULL" : u" IS NULL";
            ExpectWord(u"NULL");
        } else if (TakeWord(u"IN")) {
            ExpectSymbol(u"(");
            filter += u" IN (" + FilterConstant(index);
            while (TakeSymbol(u","))
                filter += u", " + FilterConstant(index);
            ExpectSymbol(u")");
            filter += u")";
        } else {
            const std::u16string comparison(Take().text);
            static constexpr std::u16string_view Known[] = {u"=", u"<>", u"!=", u">", u">=",
                                                            u"<", u"<=", u"!>", u"!<"};
            if (std::find(std::begin(Known), std::end(Known), comparison) == std::end(Known)) {
                RefuseFilter(index);
            }
            filter += comparison + FilterConstant(index);
        }
        while (open > 0 && TakeSymbol(u")"))
            --open;
    } while (TakeWord(u"AND"));
    if (open > 0 || IsWord(u"OR")) RefuseFilter(index);
    return filter + u")";
}

StmtPtr Parser::CreateIndex(int line, bool unique, bool clustered) {
    auto s = std::make_unique<CreateIndexStmt>(line);
    s->unique = unique;
    s->clustered = clustered;
    s->name = TakeName();
    ExpectWord(u"ON");
    s->table = TakeObjectName();
    s->columns = KeyColumns();
    if (TakeWord(u"INCLUDE")) s->included = NameList();
    if (TakeWord(u"WHERE")) s->filter = IndexFilter(*s);
    s->ignoreDuplicates = IndexOptions();
    return s;
}

StmtPtr Parser::CreateView(int line, std::size_t start, bool alter) {
    auto s = std::make_unique<CreateViewStmt>(line);
    s->alter = alter;
    s->name = TakeObjectName();
    if (IsSymbol(u"(")) s->columns = NameList();
    if (TakeWord(u"WITH")) {
        do {
            if (TakeWord(u"SCHEMABINDING")) {
                s->schemaBinding = true;
            } else if (!TakeWord(u"ENCRYPTION") && !TakeWord(u"VIEW_METADATA")) {
                Unexpected();
            }
        } while (TakeSymbol(u","));
    }
    ExpectWord(u"AS");
    s->query = QueryExpression(true);
    if (!s->query->orderBy.empty() && !s->query->top) {
        throw SqlError(1033,
                       u"The ORDER BY clause is invalid in views, inline functions, derived "
                       u"tables, subqueries, and common table expressions, unless TOP or FOR XML "
                       u"is also specified.",
                       15);
    }
    if (IsWord(u"WITH") && IsWord(u"CHECK", 1)) {
        Take();
        Take();
        ExpectWord(u"OPTION");
    }
    TakeSymbol(u";");
    if (!AtEnd()) Unexpected();
    s->text = TextSince(start);
    return s;
}

Parameter Parser::ProcedureParameter() {
    Parameter p;
    if (Peek().kind != TokenKind::Variable) Unexpected();
    p.name = Take().text;
    TakeWord(u"AS");
    p.type = Type();
    if (TakeSymbol(u"=")) {
        ExecArgument a = Argument();
        if (a.kind != ExecArgument::Kind::Literal) Unexpected();
        p.hasDefault = true;
        p.value = std::move(a.value);
        p.valueType = a.type;
        p.valueTyped = a.typed;
    }
    if (IsWord(u"OUTPUT") || IsWord(u"OUT")) {
        Take();
        p.output = true;
    }
    return p;
}

StmtPtr Parser::CreateProcedure(int line, std::size_t start, bool alter) {
    auto s = std::make_unique<CreateProcedureStmt>(line);
    s->alter = alter;
    s->name = TakeObjectName();
    const bool parenthesised = TakeSymbol(u"(");
    if (Peek().kind == TokenKind::Variable) {
        do {
            s->parameters.push_back(ProcedureParameter());
        } while (TakeSymbol(u","));
    }
    if (parenthesised) ExpectSymbol(u")");
    if (TakeWord(u"WITH")) {
        do {
            if (!TakeWord(u"RECOMPILE") && !TakeWord(u"ENCRYPTION")) Unexpected();
        } while (TakeSymbol(u","));
    }
    ExpectWord(u"AS");
    if (AtEnd()) Unexpected();
    while (!AtEnd()) {
        if (TakeSymbol(u";")) continue;
        s->body.push_back(Statement(false));
    }
    s->text = text_.substr(start);
    return s;
}

StmtPtr Parser::AlterStatement() {
    const Token alter = Take();
    if (TakeWord(u"DATABASE")) return AlterDatabase(alter.line);
    if (TakeWord(u"TABLE")) return AlterTable(alter.line);
    if (TakeWord(u"VIEW")) return CreateView(alter.line, alter.start, true);
    if (TakeWord(u"PROCEDURE") || TakeWord(u"PROC")) {
        return CreateProcedure(alter.line, alter.start, true);
    }
    Unexpected();
}

StmtPtr Parser::AlterDatabase(int line) {
    auto s = std::make_unique<AlterDatabaseStmt>(line);
    s->name = TakeName();
    ExpectWord(u"SET");
    if (TakeWord(u"COMPATIBILITY_LEVEL")) {
        ExpectSymbol(u"=");
        s->compatibility = static_cast<int>(TakeInteger());
        return s;
    }
    if (TakeWord(u"ALLOW_SNAPSHOT_ISOLATION")) {
        s->allowSnapshot = TakeWord(u"ON");
        if (!*s->allowSnapshot) ExpectWord(u"OFF");
        return s;
    }
    // Options that nothing here depends on.
    static constexpr std::u16string_view kOptions[] = {
        u"RECOVERY",          u"AUTO_SHRINK",       u"AUTO_CLOSE",
        u"ANSI_NULLS",        u"ANSI_PADDING",      u"ANSI_WARNINGS",
        u"QUOTED_IDENTIFIER", u"ANSI_NULL_DEFAULT", u"READ_COMMITTED_SNAPSHOT"};
    for (const std::u16string_view option : kOptions) {
        if (TakeWord(option)) {
            if (!TakeWord(u"ON") && !TakeWord(u"OFF") && !TakeWord(u"FULL")) TakeName();
            return s;
        }
    }
    Unexpected();
}

StmtPtr Parser::DropStatement() {
    const int line = Take().line;
    if (IsWord(u"INDEX")) return DropIndex(line);
    auto s = std::make_unique<DropObjectStmt>(line);
    if (TakeWord(u"DATABASE")) {
        s->kind = StmtKind::DropDatabase;
    } else if (TakeWord(u"TABLE")) {
        s->what = u"table";
    } else if (TakeWord(u"VIEW")) {
        s->what = u"view";
    } else if (TakeWord(u"PROCEDURE") || TakeWord(u"PROC")) {
        s->what = u"procedure";
    } else if (TakeWord(u"SCHEMA")) {
        s->what = u"schema";
    } else if (TakeWord(u"USER")) {
        s->what = u"user";
    } else {
        Unexpected();
    }
    if (IsWord(u"IF") && IsWord(u"EXISTS", 1)) {
        Take();
        Take();
        s->ifExists = true;
    }
    do {
        s->names.push_back(TakeObjectName());
    } while (TakeSymbol(u","));
    return s;
}

StmtPtr Parser::DropIndex(int line) {
    Take();
    auto s = std::make_unique<DropIndexStmt>(line);
    if (IsWord(u"IF") && IsWord(u"EXISTS", 1)) {
        Take();
        Take();
        s->ifExists = true;
    }
    do {
        ObjectName name = TakeObjectName();
        if (TakeWord(u"ON")) {
            s->indexes.emplace_back(TakeObjectName(), name.name);
        } else {  // table.index
            std::u16string index = name.name;
            ObjectName table;
            table.name = name.schema;
            table.schema = name.database;
            table.database = name.server;
            if (table.name.empty()) Unexpected();
            s->indexes.emplace_back(std::move(table), std::move(index));
        }
    } while (TakeSymbol(u","));
    return s;
}

}  // namespace sandbox::engine
