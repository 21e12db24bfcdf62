// The syntax tree of T-SQL as the parser leaves it: names unresolved, types unknown.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/Backend.h"
#include "sandbox/engine/values/Value.h"

namespace sandbox::engine {

// server.database.schema.name, empty where left out.
struct ObjectName {
    std::u16string server, database, schema, name;
    bool variable = false;  // "@name", not quoted: a table of the batch

    std::u16string Text() const;  // as errors show it: the parts that were given
};

struct Query;
struct Expr;
using ExprPtr = std::unique_ptr<Expr>;
using QueryPtr = std::unique_ptr<Query>;

enum class ExprKind {
    Literal,
    Default,
    Variable,
    Column,
    Star,
    Unary,
    Binary,
    Compare,
    And,
    Or,
    Not,
    Between,
    InList,
    InQuery,
    Exists,
    Like,
    IsNull,
    Case,
    Convert,
    Function,
    Subquery,
    Collate,
    Quantified,
};

struct Expr {
    ExprKind kind = ExprKind::Literal;
    int line = 1;
    // Binary, Compare, Unary: the operator; Quantified: the comparison; Function: unused.
    std::u16string op;
    // Column: qualifiers and name; Variable, Function: one name.
    std::vector<std::u16string> name;
    std::vector<ExprPtr> args;
    Value value;              // Literal
    SqlType type;             // Literal, Convert
    bool typed = false;       // Literal: false for NULL
    bool negated = false;     // NOT IN, NOT LIKE, NOT BETWEEN, IS NOT NULL
    bool distinct = false;    // aggregate (DISTINCT x)
    bool star = false;        // COUNT(*)
    bool hasOperand = false;  // CASE x WHEN ...: args[0] is x
    bool hasElse = false;     // CASE ... ELSE: the last argument
    bool cast = false;        // CAST rather than CONVERT
    bool all = false;         // Quantified: ALL rather than ANY
    bool overClause = false;  // ROW_NUMBER() OVER (...)
    std::vector<std::pair<ExprPtr, bool>> overOrder;
    std::vector<ExprPtr> overPartition;
    QueryPtr query;
    std::u16string text;  // Convert: the type's name when it is user-defined; Collate: the
                          // collation
};

struct TableRef;
using TableRefPtr = std::unique_ptr<TableRef>;

enum class JoinKind { Inner, Left, Right, Full, Cross };

struct TableRef {
    enum class Kind { Table, Derived, Join } kind = Kind::Table;
    int line = 1;
    ObjectName table;
    std::u16string alias;
    std::vector<std::u16string> columnAliases;
    QueryPtr query;
    JoinKind join = JoinKind::Inner;
    TableRefPtr left, right;
    ExprPtr on;
};

struct SelectItem {
    ExprPtr expr;  // a Star expression for * and t.*
    std::u16string alias;
    std::u16string variable;  // SELECT @v = expr
};

struct OrderItem {
    ExprPtr expr;
    bool descending = false;
};

enum class SetOperator { None, Union, UnionAll, Except, Intersect };

struct Query {
    int line = 1;
    // A set operation has left and right and nothing of a plain SELECT but the order.
    SetOperator set = SetOperator::None;
    QueryPtr left, right;

    bool distinct = false;
    ExprPtr top;
    std::vector<SelectItem> items;
    std::vector<TableRefPtr> from;
    ExprPtr where;
    std::vector<ExprPtr> groupBy;
    ExprPtr having;
    std::optional<ObjectName> into;

    std::vector<OrderItem> orderBy;
    std::vector<std::vector<ExprPtr>> rows;  // VALUES as a row source
};

// A type as written: resolved against user-defined names later.
struct TypeSpec {
    SqlType type;
    std::u16string name;  // as written
    bool known = true;
    bool lengthGiven = false;
};

struct ConstraintDef {
    enum class Kind { PrimaryKey, Unique, ForeignKey, Check, Default } kind = Kind::PrimaryKey;
    std::u16string name;
    bool clustered = false, clusteredGiven = false;
    std::vector<std::pair<std::u16string, bool>> columns;  // name, descending
    ObjectName references;
    std::vector<std::u16string> referencedColumns;
    bool deleteCascade = false, updateCascade = false;
    bool deleteSetNull = false, updateSetNull = false;
    bool deleteSetDefault = false, updateSetDefault = false;
    bool ignoreDuplicates = false;
    std::u16string text;       // CHECK, DEFAULT: the expression as written
    std::u16string forColumn;  // DEFAULT ... FOR column
};

struct ColumnDef {
    std::u16string name;
    TypeSpec type;
    int line = 1;
    std::optional<bool> nullable;
    std::u16string collation;                  // empty: the database's
    std::optional<std::uint16_t> collationId;  // SELECT INTO: that of the query's column
    bool identity = false;
    std::int64_t seed = 1, increment = 1;
    bool rowGuid = false;
    bool computed = false, persisted = false;
    std::u16string computedText;
    int generated = 0;                       // GENERATED ALWAYS AS ROW START (1) or END (2)
    std::vector<ConstraintDef> constraints;  // inline; DEFAULT among them
};

enum class StmtKind {
    Query,
    Insert,
    Update,
    Delete,
    Exec,
    Declare,
    SetVariable,
    SetOption,
    If,
    While,
    Block,
    Break,
    Continue,
    Return,
    Print,
    RaisError,
    Begin,
    Commit,
    Rollback,
    Save,
    Use,
    CreateDatabase,
    DropDatabase,
    AlterDatabase,
    CreateTable,
    AlterTable,
    DropObject,
    Truncate,
    CreateIndex,
    DropIndex,
    CreateView,
    CreateProcedure,
    CreateSchema,
    CreateUser,
    CreateLogin,
    Permission,
    Try,
    WaitFor,
    Dbcc,
    Throw,
};

struct Stmt {
    Stmt(StmtKind k, int l) : kind(k), line(l) {}
    virtual ~Stmt() = default;
    StmtKind kind;
    int line;
    // What the executor prepared for this statement the last time (owned here, typed there).
    mutable std::shared_ptr<void> plan;
};
using StmtPtr = std::unique_ptr<Stmt>;

struct QueryStmt : Stmt {
    explicit QueryStmt(int l) : Stmt(StmtKind::Query, l) {}
    QueryPtr query;
};

struct ExecArgument {
    std::u16string_view name;  // "@P1" of @P1 = ...
    enum class Kind { Literal, Variable, Default } kind = Kind::Literal;
    Value value;
    SqlType type;
    bool typed = false;  // false for NULL
    std::u16string variable;
    bool output = false;
};

struct ExecStmt : Stmt {
    explicit ExecStmt(int l) : Stmt(StmtKind::Exec, l) {}
    ObjectName procedure;
    std::u16string procedureVariable;
    std::u16string returnVariable;
    std::vector<ExecArgument> arguments;
    ExprPtr dynamic;  // EXEC('...')
};

struct InsertStmt : Stmt {
    explicit InsertStmt(int l) : Stmt(StmtKind::Insert, l) {}
    ObjectName table;
    std::vector<std::u16string> columns;
    bool columnsGiven = false;
    bool defaultValues = false;
    std::vector<std::vector<ExprPtr>> rows;
    QueryPtr query;
    std::unique_ptr<ExecStmt> exec;
};

struct Assignment {
    std::u16string column;
    std::u16string variable;
    ExprPtr value;
};

// OUTPUT ... INTO: columns of the sources that the FROM clause joins to the table that is written.
struct OutputClause {
    std::vector<ExprPtr> values;  // none: there is no such clause
    ObjectName into;
};

// UPDATE or DELETE.
struct RowsStmt : Stmt {
    using Stmt::Stmt;
    ObjectName table;
    std::vector<Assignment> assignments;  // none where it deletes
    OutputClause output;
    std::vector<TableRefPtr> from;
    ExprPtr where;
    ExprPtr top;
};

struct UpdateStmt : RowsStmt {
    explicit UpdateStmt(int l) : RowsStmt(StmtKind::Update, l) {}
};

struct DeleteStmt : RowsStmt {
    explicit DeleteStmt(int l) : RowsStmt(StmtKind::Delete, l) {}
};

struct Declaration {
    std::u16string name;
    TypeSpec type;
    ExprPtr value;
};

struct DeclareStmt : Stmt {
    explicit DeclareStmt(int l) : Stmt(StmtKind::Declare, l) {}
    std::vector<Declaration> items;
    StmtPtr table;  // a CreateTableStmt: DECLARE @t TABLE (...), which declares nothing else
};

struct SetVariableStmt : Stmt {
    explicit SetVariableStmt(int l) : Stmt(StmtKind::SetVariable, l) {}
    std::u16string name;
    ExprPtr value;
};

struct SetOptionStmt : Stmt {
    explicit SetOptionStmt(int l) : Stmt(StmtKind::SetOption, l) {}
    std::vector<std::u16string> options;  // upper case
    bool on = false;
    std::u16string value;
    ExprPtr expr;      // SET ROWCOUNT @n, TEXTSIZE n ...
    ObjectName table;  // IDENTITY_INSERT
};

struct IfStmt : Stmt {
    explicit IfStmt(int l) : Stmt(StmtKind::If, l) {}
    ExprPtr condition;
    StmtPtr then, otherwise;
};

struct WhileStmt : Stmt {
    explicit WhileStmt(int l) : Stmt(StmtKind::While, l) {}
    ExprPtr condition;
    StmtPtr body;
};

struct BlockStmt : Stmt {
    explicit BlockStmt(int l) : Stmt(StmtKind::Block, l) {}
    std::vector<StmtPtr> body;
};

struct TryStmt : Stmt {
    explicit TryStmt(int l) : Stmt(StmtKind::Try, l) {}
    std::vector<StmtPtr> body, handler;
};

// BREAK, CONTINUE, RETURN, PRINT, RAISERROR, BEGIN/COMMIT/ROLLBACK/SAVE TRAN, WAITFOR, DBCC, USE.
struct SimpleStmt : Stmt {
    SimpleStmt(StmtKind k, int l) : Stmt(k, l) {}
    std::u16string name;
    std::vector<ExprPtr> args;
};

// GRANT, DENY and REVOKE in the current database.
struct PermissionStmt : Stmt {
    explicit PermissionStmt(int l) : Stmt(StmtKind::Permission, l) {}
    enum class Verb { Grant, Deny, Revoke } verb = Verb::Grant;
    enum class On { Database, Schema, Object } on = On::Database;
    std::vector<std::u16string> actions;  // upper case
    ObjectName object;                    // a schema: its name
    std::vector<std::u16string> users;
};

// CREATE LOGIN, CREATE USER.
struct LoginStmt : Stmt {
    LoginStmt(StmtKind k, int l) : Stmt(k, l) {}
    std::u16string name;
    std::u16string password;  // of a login
    std::u16string login;     // of a user; empty: without
};

struct CreateDatabaseStmt : Stmt {
    explicit CreateDatabaseStmt(int l) : Stmt(StmtKind::CreateDatabase, l) {}
    std::u16string name;
    std::u16string collation;  // empty: the server's
};

struct AlterDatabaseStmt : Stmt {
    explicit AlterDatabaseStmt(int l) : Stmt(StmtKind::AlterDatabase, l) {}
    std::u16string name;
    int compatibility = 0;              // 0: not given
    std::optional<bool> allowSnapshot;  // neither: an option that changes nothing here
};

struct CreateTableStmt : Stmt {
    explicit CreateTableStmt(int l) : Stmt(StmtKind::CreateTable, l) {}
    ObjectName table;
    std::vector<ColumnDef> columns;
    std::vector<ConstraintDef> constraints;
    std::vector<std::u16string> period;  // FOR SYSTEM_TIME: its two columns
    bool versioned = false;
    ObjectName history;  // empty: with a name of the server's own
};

struct AlterTableStmt : Stmt {
    explicit AlterTableStmt(int l) : Stmt(StmtKind::AlterTable, l) {}
    ObjectName table;
    enum class Action {
        Add,
        AlterColumn,
        DropColumns,
        DropConstraints,
        Check
    } action = Action::Add;
    std::vector<ColumnDef> columns;
    std::vector<ConstraintDef> constraints;
    std::vector<std::u16string> names;  // columns or constraints; empty for ALL
    bool withCheckGiven = false, withCheck = true;
    bool enable = true;  // CHECK or NOCHECK CONSTRAINT
};

struct DropObjectStmt : Stmt {
    explicit DropObjectStmt(int l) : Stmt(StmtKind::DropObject, l) {}
    std::u16string what;  // TABLE, VIEW, PROCEDURE, SCHEMA, USER
    bool ifExists = false;
    std::vector<ObjectName> names;
};

struct CreateIndexStmt : Stmt {
    explicit CreateIndexStmt(int l) : Stmt(StmtKind::CreateIndex, l) {}
    std::u16string name;
    ObjectName table;
    bool unique = false, clustered = false;
    std::vector<std::pair<std::u16string, bool>> columns;
    std::vector<std::u16string> included;
    std::u16string filter;  // "([a] IS NOT NULL)", as the catalog tells it; empty: none
    bool ignoreDuplicates = false;
};

struct DropIndexStmt : Stmt {
    explicit DropIndexStmt(int l) : Stmt(StmtKind::DropIndex, l) {}
    bool ifExists = false;
    std::vector<std::pair<ObjectName, std::u16string>> indexes;  // table, index
};

struct CreateViewStmt : Stmt {
    explicit CreateViewStmt(int l) : Stmt(StmtKind::CreateView, l) {}
    bool alter = false;
    ObjectName name;
    std::vector<std::u16string> columns;
    bool schemaBinding = false;
    QueryPtr query;
    std::u16string text;  // the whole statement
};

struct Parameter {
    std::u16string name;
    TypeSpec type;
    bool hasDefault = false;
    Value value;
    SqlType valueType;
    bool valueTyped = false;
    bool output = false;
};

struct CreateProcedureStmt : Stmt {
    explicit CreateProcedureStmt(int l) : Stmt(StmtKind::CreateProcedure, l) {}
    bool alter = false;
    ObjectName name;
    std::vector<Parameter> parameters;
    std::vector<StmtPtr> body;
    std::u16string text;
};

}  // namespace sandbox::engine
