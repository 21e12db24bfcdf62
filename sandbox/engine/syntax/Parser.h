// From the text of a batch to its statements. Throws SqlError 102, 105, 156 ... as the server does,
// before anything of the batch runs.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/engine/syntax/Ast.h"
#include "sandbox/engine/syntax/Lexer.h"

namespace sandbox::engine {

class Parser {
  public:
    explicit Parser(std::u16string_view text, bool quotedIdentifier = true);

    std::vector<StmtPtr> ParseBatch();
    // A single expression (DEFAULT, CHECK, computed columns).
    ExprPtr ParseExpressionText();

  private:
    // Tokens
    const Token& Peek(std::size_t ahead = 0);
    Token Take();
    bool IsWord(std::u16string_view word, std::size_t ahead = 0);
    bool IsSymbol(std::u16string_view symbol, std::size_t ahead = 0);
    bool TakeWord(std::u16string_view word);
    bool TakeSymbol(std::u16string_view symbol);
    void ExpectWord(std::u16string_view word);
    void ExpectSymbol(std::u16string_view symbol);
    bool AtEnd();
    [[noreturn]] void Unexpected();
    bool AtName(std::size_t ahead = 0);
    std::u16string TakeName();
    std::u16string TakeNameOrString();
    ObjectName TakeObjectName();
    // The same, or the name of a table variable.
    ObjectName TakeTableName();
    std::int64_t TakeInteger();
    std::u16string_view TextSince(std::size_t start);

    // Statements (ParserStatements.cpp)
    StmtPtr Statement(bool first);
    StmtPtr StatementByKeyword(const Token& word);
    StmtPtr InsertStatement();
    StmtPtr UpdateStatement();
    StmtPtr DeleteStatement();
    StmtPtr ExecStatement();
    std::unique_ptr<ExecStmt> ExecTail(int line);
    ExecArgument Argument();
    bool LiteralArgument(ExecArgument& argument);
    StmtPtr DeclareStatement();
    StmtPtr TableVariable(std::u16string_view name, int line);
    OutputClause Output();
    StmtPtr SetStatement();
    StmtPtr SetTransactionIsolation(int line);
    StmtPtr IfStatement();
    StmtPtr BeginStatement();
    StmtPtr TryStatement(int line);
    StmtPtr TransactionStatement(StmtKind kind);
    StmtPtr RaisErrorStatement();
    std::vector<StmtPtr> StatementsUntilEnd();

    // Definitions (ParserDefinitions.cpp)
    StmtPtr CreateStatement();
    StmtPtr CreateTable(int line);
    void TableElements(CreateTableStmt& table);
    void NoteTemporary(const std::u16string& name);
    void Versioning(CreateTableStmt& table);
    StmtPtr CreateIndex(int line, bool unique, bool clustered);
    StmtPtr CreateView(int line, std::size_t start, bool alter);
    StmtPtr CreateProcedure(int line, std::size_t start, bool alter);
    StmtPtr CreateDatabase(int line);
    StmtPtr AlterStatement();
    StmtPtr AlterDatabase(int line);
    StmtPtr AlterTable(int line);
    void AlterTableAdd(AlterTableStmt& stmt);
    StmtPtr DropStatement();
    StmtPtr DropIndex(int line);
    ColumnDef Column();
    void ColumnOptions(ColumnDef& column);
    bool ConstraintTail(ConstraintDef& constraint, const std::u16string* column);
    bool StartsConstraint();
    ConstraintDef TableConstraint();
    void KeyTail(ConstraintDef& constraint, const std::u16string* column);
    void ReferencesTail(ConstraintDef& constraint);
    std::vector<std::pair<std::u16string, bool>> KeyColumns();
    std::vector<std::u16string> NameList();
    bool IndexOptions();
    std::u16string IndexFilter(const CreateIndexStmt& index);
    std::u16string FilterConstant(const CreateIndexStmt& index);
    [[noreturn]] static void RefuseFilter(const CreateIndexStmt& index);
    std::u16string DefaultText();
    TypeSpec Type();
    Parameter ProcedureParameter();

    // Permissions (ParserPermissions.cpp)
    StmtPtr PermissionStatement();
    StmtPtr CreateLogin(int line);
    StmtPtr CreateUser(int line);

    // Queries (ParserQueries.cpp)
    QueryPtr QueryExpression(bool allowOrder);
    QueryPtr QueryTerm();
    QueryPtr QueryPrimary();
    QueryPtr SelectCore();
    void SelectList(Query& query);
    SelectItem Item();
    std::vector<TableRefPtr> FromClause();
    TableRefPtr TableSource();
    TableRefPtr TablePrimary();
    std::u16string OptionalAlias();
    void TableHints();
    void OptionClause();
    std::vector<OrderItem> OrderBy();
    ExprPtr Top();
    bool StartsQuery(std::size_t ahead = 0);
    std::vector<std::vector<ExprPtr>> ValueRows();

    // Expressions (ParserExpressions.cpp)
    ExprPtr Expression();  // a value
    ExprPtr Condition();   // a truth value
    ExprPtr AndCondition();
    ExprPtr NotCondition();
    ExprPtr Predicate();
    ExprPtr PredicateTail(ExprPtr left);
    ExprPtr Additive();
    ExprPtr Multiplicative();
    ExprPtr UnaryExpression();
    ExprPtr Primary();
    ExprPtr LiteralToken();
    ExprPtr CaseExpression();
    ExprPtr CastExpression();
    ExprPtr ConvertExpression();
    ExprPtr FunctionCall(std::u16string name, int line);
    ExprPtr NameExpression();
    void OverClause(Expr& function);
    bool ParenthesisedCondition();

    ExprPtr NewExpr(ExprKind kind);

    struct Nesting;

    std::u16string_view text_;
    Lexer lexer_;
    std::vector<Token> ahead_;  // tokens read but not taken
    std::size_t head_ = 0;
    std::size_t lastEnd_ = 0;  // end of the token taken last
    int depth_ = 0;
    std::set<std::u16string> temporary_;  // tables that the batch makes
};

// The words that cannot be names without quotes.
bool IsReserved(std::u16string_view word);

// The value and type of a literal token.
void ReadLiteral(const Token& token, Value& value, SqlType& type);

}  // namespace sandbox::engine
