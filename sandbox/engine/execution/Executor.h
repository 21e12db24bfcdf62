// Runs statements: control flow here, queries, writes, definitions and calls in files of their own.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sandbox/Backend.h"
#include "sandbox/engine/catalog/Context.h"
#include "sandbox/engine/syntax/Ast.h"
#include "sandbox/engine/translation/Translator.h"

namespace sandbox::engine {

// A value together with its type.
struct TypedValue {
    Value value;
    SqlType type;
    bool typed = false;
};

// A statement prepared by SQLite, kept with the statement's syntax tree.
struct Plan {
    std::uint64_t generation = 0;
    Statement statement;
    std::vector<ParamSource> params;
    std::vector<ColumnInfo> columns;
    std::vector<std::u16string> variables;
    // Writes
    TablePtr table;
    Catalog* catalog = nullptr;
    std::vector<DatabasePtr> databases;  // whose tables a query reads
    bool guarded = false;      // has keys to check at the end, or needs undoing as a whole
    std::u16string reshuffle;  // unused by queries
    // INSERT into a table with IGNORE_DUP_KEY: counts the rows that it is given.
    Statement given;
    // OUTPUT ... INTO of a write: what it puts there, before the rows are written.
    Statement output;
    // A filtered index asks for the options of a session.
    bool filtered = false;
};

class Executor {
  public:
    Executor(Context& context, ResultSink& sink, const std::atomic<bool>& cancelled)
        : context_(context), sink_(sink), cancelled_(cancelled) {}

    // Runs a batch in a frame of its own.
    void RunBatch(std::u16string_view text);
    // Runs it as sp_executesql does: what it switches ends with it, and its transactions must.
    void RunBatchInScope(std::u16string_view text);

    // Rolls back whatever transaction is open.
    static void RollbackAll(Context& context);

  private:
    enum class Flow { Next, Break, Continue, Return };

    struct ScopeEnded {};  // the procedure or EXEC('...') is over, the error has been told
    struct BatchEnded {};  // the whole batch is over
    struct Cancelled {};   // the client has gone

    // Control flow (Executor.cpp)
    template <typename Work>
    void RunTop(Work work);
    Flow Run(const Stmt& stmt);
    Flow RunGuarded(const Stmt& stmt);
    Flow RunAll(const std::vector<StmtPtr>& statements);
    Flow Dispatch(const Stmt& stmt);
    Flow Loop(const WhileStmt& stmt);
    Flow Try(const TryStmt& stmt);
    Flow Return(const SimpleStmt& stmt);
    void Fail(SqlError error, const Stmt& stmt);
    SqlError FromStore(const StoreError& error);
    void Done(std::optional<std::int64_t> count = std::nullopt, bool isSelect = false);
    void DoneWrite(std::int64_t count);
    void SetOption(const SetOptionStmt& stmt);
    void SetIdentityInsert(const SetOptionStmt& stmt);
    void Declare(const DeclareStmt& stmt);
    void SetVariable(const SetVariableStmt& stmt);
    void Print(const SimpleStmt& stmt);
    void RaisError(const SimpleStmt& stmt);
    void Throw(const SimpleStmt& stmt);
    void Wait(const SimpleStmt& stmt);
    void Dbcc(const SimpleStmt& stmt);
    void Use(const SimpleStmt& stmt);

    // Transactions (Transactions.cpp)
    void Begin();
    void RequireSnapshots(const std::vector<DatabasePtr>& databases);
    void Commit();
    void Rollback(const SimpleStmt& stmt);
    void Save(const SimpleStmt& stmt);
    // SQLite's transaction begins with the first write of the session's transaction.
    void EnsureTransaction();
    // Undoes everything that `work` wrote when it fails.
    template <typename Work>
    void Atomically(Work work);
    void NoticeLostTransaction();

    // Queries (ExecuteQueries.cpp)
    TypedValue DatabaseLiteral(TypedValue literal) const;
    // With the collation of the database, which variables and parameters have.
    SqlType DatabaseType(const SqlType& type) const;
    TypedValue Evaluate(const Expr& expr);
    bool Test(const Expr& expr);
    std::u16string EvaluateText(const Expr& expr);
    void Select(const QueryStmt& stmt);
    void SelectInto(const QueryStmt& stmt);
    void SendRows(Plan& plan);
    void AssignRows(Plan& plan);
    void BindParams(Statement& statement, const std::vector<ParamSource>& params);
    void Assign(std::u16string_view folded, const TypedValue& value);
    std::shared_ptr<Plan> FreshPlan(const Stmt& stmt);

    // Plans of writes (WritePlans.cpp)
    struct WrittenRows;
    TablePtr NeedTable(const ObjectName& name, const Resolved& resolved);
    std::string DefaultSql(Translator& translator, const ColumnMeta& column);
    // The target of UPDATE and DELETE: a table, or an alias of the FROM clause. `right`: what it
    // takes, "UPDATE" or "DELETE".
    WrittenRows ChooseTarget(const RowsStmt& stmt, std::u16string_view right,
                             Translator& translator, Scope& scope);
    void ChooseRows(WrittenRows& rows, const RowsStmt& stmt, Translator& translator, Scope& scope);
    void PrepareOutput(Plan& plan, const OutputClause& output, const WrittenRows& rows,
                       Translator& translator, Scope& scope);
    void FinishPlan(Plan& plan, Catalog& catalog, TablePtr table, Translator& translator);

    // Writes (ExecuteInserts.cpp, ExecuteUpdates.cpp, ExecuteDeletes.cpp)
    // Columns, and what they are set to.
    using Sets = std::vector<std::pair<std::string, std::string>>;
    void Insert(const InsertStmt& stmt);
    void Update(const UpdateStmt& stmt);
    void Delete(const DeleteStmt& stmt);
    void Truncate(const DropObjectStmt& stmt);
    std::shared_ptr<Plan> PlanInsert(const InsertStmt& stmt);
    std::shared_ptr<Plan> PlanUpdate(const UpdateStmt& stmt);
    std::shared_ptr<Plan> PlanDelete(const DeleteStmt& stmt);
    std::vector<const ColumnMeta*> InsertTargets(const InsertStmt& stmt, const Catalog& catalog,
                                                 const TableMeta& table);
    Sets PlanSets(const UpdateStmt& stmt, const WrittenRows& rows, Translator& translator,
                  Scope& scope);
    bool Reshuffle(Plan& plan);

    // What they come to (RunWrites.cpp)
    void RunOutput(Plan& plan);
    void RunWrite(Plan& plan, const char16_t* verb);
    [[noreturn]] void ThrowConstraint(const StoreError& error, const Plan& plan,
                                      const char16_t* verb);

    // Foreign keys (ForeignKeys.cpp)
    void CheckPendingKeys();
    void CheckChild(Catalog& catalog, const ForeignKeyMeta& key, const PendingKey& pending);
    void CheckParent(Catalog& catalog, const ForeignKeyMeta& key, const PendingKey& pending);

    // Definitions (ExecuteDefinitions.cpp, AlterTables.cpp)
    void CreateDatabase(const CreateDatabaseStmt& stmt);
    void DropDatabase(const DropObjectStmt& stmt);
    void AlterDatabase(const AlterDatabaseStmt& stmt);
    void CreateTable(const CreateTableStmt& stmt);
    void CreateTemporaryTable(const CreateTableStmt& stmt);
    void DropTemporaryTables(const Frame& frame);
    void DeclareTable(const CreateTableStmt& stmt);
    void DropTableVariables(const Frame& frame);
    void AlterTable(const AlterTableStmt& stmt);
    void DropObject(const DropObjectStmt& stmt);
    void DropOne(const ObjectName& name, const DropObjectStmt& stmt);
    void CreateIndex(const CreateIndexStmt& stmt);
    void DropIndex(const DropIndexStmt& stmt);
    void CreateView(const CreateViewStmt& stmt);
    void CreateProcedure(const CreateProcedureStmt& stmt);
    void CreateSchema(const SimpleStmt& stmt);

    // Permissions (ExecutePermissions.cpp)
    void Permit(const PermissionStmt& stmt);
    void CreateLogin(const LoginStmt& stmt);
    void CreateUser(const LoginStmt& stmt);
    // Throws 262 for what takes more than a permission on an object.
    void RequireRight(const Stmt& stmt);

    // Calls (Procedures.cpp, SystemProcedures.cpp)
    void Exec(const ExecStmt& stmt);
    void Call(const ProcedureMeta& procedure, Catalog& catalog, const ExecStmt& stmt);
    void BindArguments(const ProcedureMeta& procedure, const ExecStmt& stmt, Frame& frame);
    TypedValue ArgumentValue(const ExecArgument& argument);
    // Runs the body of a procedure, or a dynamic text, in the database `home`. SET options and USE
    // end with it.
    void RunScope(const std::vector<StmtPtr>& statements, Frame& frame, const DatabasePtr& home);
    // Throws 266 where a scope has left more or fewer transactions open than it found.
    void CheckTransactionCount(int before, const std::u16string& procedure);
    bool SystemProcedure(const std::u16string& name, const ExecStmt& stmt);
    void RunDynamic(std::u16string_view text, Frame* parameters);
    void ExecuteSql(const ExecStmt& stmt);
    std::vector<std::u16string> TextArguments(const ExecStmt& stmt,
                                              std::initializer_list<std::u16string_view> names,
                                              std::vector<bool>* given);

    Context& context_;
    ResultSink& sink_;
    const std::atomic<bool>& cancelled_;
    int tryDepth_ = 0;
    int nesting_ = 0;
    std::int64_t returnValue_ = 0;
    std::optional<SqlError> currentError_;  // in a CATCH block
};

template <typename Work>
void Executor::Atomically(Work work) {
    Store& store = context_.store;
    const bool outer = context_.transactionDepth > 0 || context_.inStoreTransaction;
    if (outer) {
        EnsureTransaction();
        store.Execute("SAVEPOINT stmt");
    } else {
        store.Execute("BEGIN");
        context_.inStoreTransaction = true;
    }
    try {
        work();
        store.Execute(outer ? "RELEASE stmt" : "COMMIT");
        if (!outer) context_.inStoreTransaction = false;
    } catch (...) {
        context_.pendingKeys.clear();
        if (sqlite3_get_autocommit(store.Raw()) == 0) {
            store.Execute(outer ? "ROLLBACK TO stmt; RELEASE stmt" : "ROLLBACK");
        }
        if (!outer) context_.inStoreTransaction = false;
        NoticeLostTransaction();
        context_.ForgetCatalogs();
        throw;
    }
}

}  // namespace sandbox::engine
