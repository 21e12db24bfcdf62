#include "sandbox/engine/execution/Executor.h"

#include <chrono>
#include <thread>

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/DateTime.h"

namespace sandbox::engine {

template <typename Work>
void Executor::RunTop(Work work) {
    Frame frame;
    struct BatchGuard {  // a sink may throw
        Context& context;
        ~BatchGuard() {
            context.frame = nullptr;
            context.cancelled = nullptr;
        }
    } const guard{context_};
    context_.frame = &frame;
    context_.cancelled = &cancelled_;
    try {
        work();
    } catch (const SqlError& e) {
        context_.lastError = e.message.number;
        sink_.Say(e.message);
        sink_.StatementDone(std::nullopt, false, true);
    } catch (const ScopeEnded&) {
    } catch (const BatchEnded&) {
    } catch (const Cancelled&) {
    }
    try {
        DropTableVariables(frame);
    } catch (const StoreError&) {  // it goes with the session, and no name of a user's reaches it
    }
}

void Executor::RunBatch(std::u16string_view text) {
    RunTop([&] {
        const std::vector<StmtPtr> statements =
            Parser(text, context_.options.quotedIdentifier).ParseBatch();
        RunAll(statements);
    });
}

void Executor::RunBatchInScope(std::u16string_view text) {
    RunTop([&] { RunDynamic(text, nullptr); });
}

Executor::Flow Executor::RunAll(const std::vector<StmtPtr>& statements) {
    for (const StmtPtr& stmt : statements) {
        const Flow flow = RunGuarded(*stmt);
        if (flow != Flow::Next) return flow;
    }
    return Flow::Next;
}

Executor::Flow Executor::RunGuarded(const Stmt& stmt) {
    if (cancelled_) throw Cancelled{};
    try {
        return Run(stmt);
    } catch (const StoreError& e) {
        NoticeLostTransaction();
        Fail(FromStore(e), stmt);
    } catch (SqlError& e) {
        Fail(std::move(e), stmt);
    }
    return Flow::Next;
}

SqlError Executor::FromStore(const StoreError& error) {
    if (error.code == SQLITE_BUSY_SNAPSHOT) {
        SqlError e(
            1205,
            Format(u"Transaction (Process ID %1) was deadlocked on lock resources with another "
                   u"process and has been chosen as the deadlock victim. Rerun the "
                   u"transaction.",
                   {ToText(context_.spid)}),
            13, 45);
        return e;
    }
    if ((error.code & 0xFF) == SQLITE_BUSY || (error.code & 0xFF) == SQLITE_LOCKED) {
        return SqlError(1222, u"Lock request time out period exceeded.", 16, 45);
    }
    if ((error.code & 0xFF) == SQLITE_INTERRUPT) throw Cancelled{};
    return SqlError(8630, u"Internal query processor error: " + Widen(error.what()), 17);
}

// Tells the error, or hands it to the TRY block around; decides how far it reaches.
void Executor::Fail(SqlError error, const Stmt& stmt) {
    context_.lastError = error.message.number;
    context_.rowCount = 0;
    if (error.message.line == 1) error.message.line = stmt.line;
    if (context_.frame != nullptr && error.message.procedure.empty()) {
        error.message.procedure = context_.frame->procedure;
    }
    if (tryDepth_ > 0) throw error;
    sink_.Say(error.message);
    sink_.StatementDone(std::nullopt, false, true);
    ErrorReach reach = error.reach;
    // 266 comes when a scope is over, and says only what it left behind.
    const bool aborts =
        error.message.severity > 10 && error.message.number < 50000 && error.message.number != 266;
    if (context_.options.xactAbort && aborts) reach = ErrorReach::Rollback;
    if (reach == ErrorReach::Rollback) RollbackAll(context_);
    if (reach == ErrorReach::Scope) throw ScopeEnded{};
    if (reach != ErrorReach::Statement) throw BatchEnded{};
}

void Executor::Done(std::optional<std::int64_t> count, bool isSelect) {
    if (context_.options.noCount) count.reset();
    // In a procedure, only what has something to tell is told.
    if (nesting_ > 0 && !isSelect && !count) return;
    sink_.StatementDone(count, isSelect, false);
}

void Executor::DoneWrite(std::int64_t count) {
    context_.rowCount = count;
    Done(count);
}

namespace {

bool ResetsRowCount(StmtKind kind) {
    switch (kind) {
        case StmtKind::SetOption:
        case StmtKind::Print:
        case StmtKind::RaisError:
        case StmtKind::Use:
        case StmtKind::Begin:
        case StmtKind::Commit:
            return true;
        default:
            return false;
    }
}

}  // namespace

Executor::Flow Executor::Run(const Stmt& stmt) {
    context_.statementNow = context_.statementUtcNow = 0;
    const bool describes = stmt.kind == StmtKind::Query || stmt.kind == StmtKind::SetOption ||
                           stmt.kind == StmtKind::Declare;
    if (context_.options.formatOnly && !describes) return Flow::Next;
    if (!context_.inStoreTransaction) context_.RefreshCatalogs();
    const Flow flow = Dispatch(stmt);
    if (ResetsRowCount(stmt.kind)) context_.rowCount = 0;
    // Only statements that ran by themselves reset @@ERROR; IF and WHILE contain others.
    const bool container = stmt.kind == StmtKind::If || stmt.kind == StmtKind::While ||
                           stmt.kind == StmtKind::Block || stmt.kind == StmtKind::Try ||
                           stmt.kind == StmtKind::Exec || stmt.kind == StmtKind::RaisError;
    if (!container && stmt.kind != StmtKind::Declare) context_.lastError = 0;
    return flow;
}

Executor::Flow Executor::Dispatch(const Stmt& s) {
    RequireRight(s);
    switch (s.kind) {
        case StmtKind::Query:
            Select(static_cast<const QueryStmt&>(s));
            break;
        case StmtKind::Insert:
            Insert(static_cast<const InsertStmt&>(s));
            break;
        case StmtKind::Update:
            Update(static_cast<const UpdateStmt&>(s));
            break;
        case StmtKind::Delete:
            Delete(static_cast<const DeleteStmt&>(s));
            break;
        case StmtKind::Exec:
            Exec(static_cast<const ExecStmt&>(s));
            break;
        case StmtKind::Declare:
            Declare(static_cast<const DeclareStmt&>(s));
            break;
        case StmtKind::SetVariable:
            SetVariable(static_cast<const SetVariableStmt&>(s));
            break;
        case StmtKind::SetOption:
            SetOption(static_cast<const SetOptionStmt&>(s));
            break;
        case StmtKind::If: {
            const auto& i = static_cast<const IfStmt&>(s);
            if (Test(*i.condition)) return RunGuarded(*i.then);
            return i.otherwise ? RunGuarded(*i.otherwise) : Flow::Next;
        }
        case StmtKind::While:
            return Loop(static_cast<const WhileStmt&>(s));
        case StmtKind::Block:
            return RunAll(static_cast<const BlockStmt&>(s).body);
        case StmtKind::Try:
            return Try(static_cast<const TryStmt&>(s));
        case StmtKind::Break:
            return Flow::Break;
        case StmtKind::Continue:
            return Flow::Continue;
        case StmtKind::Return:
            return Return(static_cast<const SimpleStmt&>(s));
        case StmtKind::Print:
            Print(static_cast<const SimpleStmt&>(s));
            break;
        case StmtKind::RaisError:
            RaisError(static_cast<const SimpleStmt&>(s));
            break;
        case StmtKind::Throw:
            Throw(static_cast<const SimpleStmt&>(s));
            break;
        case StmtKind::Begin:
            Begin();
            break;
        case StmtKind::Commit:
            Commit();
            break;
        case StmtKind::Rollback:
            Rollback(static_cast<const SimpleStmt&>(s));
            break;
        case StmtKind::Save:
            Save(static_cast<const SimpleStmt&>(s));
            break;
        case StmtKind::Use:
            Use(static_cast<const SimpleStmt&>(s));
            break;
        case StmtKind::CreateDatabase:
            CreateDatabase(static_cast<const CreateDatabaseStmt&>(s));
            break;
        case StmtKind::DropDatabase:
            DropDatabase(static_cast<const DropObjectStmt&>(s));
            break;
        case StmtKind::AlterDatabase:
            AlterDatabase(static_cast<const AlterDatabaseStmt&>(s));
            break;
        case StmtKind::CreateTable:
            CreateTable(static_cast<const CreateTableStmt&>(s));
            break;
        case StmtKind::AlterTable:
            AlterTable(static_cast<const AlterTableStmt&>(s));
            break;
        case StmtKind::DropObject:
            DropObject(static_cast<const DropObjectStmt&>(s));
            break;
        case StmtKind::Truncate:
            Truncate(static_cast<const DropObjectStmt&>(s));
            break;
        case StmtKind::CreateIndex:
            CreateIndex(static_cast<const CreateIndexStmt&>(s));
            break;
        case StmtKind::DropIndex:
            DropIndex(static_cast<const DropIndexStmt&>(s));
            break;
        case StmtKind::CreateView:
            CreateView(static_cast<const CreateViewStmt&>(s));
            break;
        case StmtKind::CreateProcedure:
            CreateProcedure(static_cast<const CreateProcedureStmt&>(s));
            break;
        case StmtKind::CreateSchema:
            CreateSchema(static_cast<const SimpleStmt&>(s));
            break;
        case StmtKind::CreateUser:
            CreateUser(static_cast<const LoginStmt&>(s));
            break;
        case StmtKind::CreateLogin:
            CreateLogin(static_cast<const LoginStmt&>(s));
            break;
        case StmtKind::Permission:
            Permit(static_cast<const PermissionStmt&>(s));
            break;
        case StmtKind::WaitFor:
            Wait(static_cast<const SimpleStmt&>(s));
            break;
        case StmtKind::Dbcc:
            Dbcc(static_cast<const SimpleStmt&>(s));
            break;
    }
    return Flow::Next;
}

Executor::Flow Executor::Loop(const WhileStmt& stmt) {
    while (Test(*stmt.condition)) {
        const Flow flow = RunGuarded(*stmt.body);
        if (flow == Flow::Break) break;
        if (flow == Flow::Return) return flow;
    }
    return Flow::Next;
}

Executor::Flow Executor::Try(const TryStmt& stmt) {
    ++tryDepth_;
    try {
        const Flow flow = RunAll(stmt.body);
        --tryDepth_;
        return flow;
    } catch (SqlError& e) {
        --tryDepth_;
        if (e.reach == ErrorReach::Rollback || context_.options.xactAbort) RollbackAll(context_);
        const std::optional<SqlError> before = std::move(currentError_);
        const Message* const caught = context_.caught;
        currentError_ = e;
        context_.caught = &currentError_->message;
        Flow flow = Flow::Next;
        try {
            flow = RunAll(stmt.handler);
        } catch (...) {
            context_.caught = caught;
            currentError_ = before;
            throw;
        }
        context_.caught = caught;
        currentError_ = before;
        return flow;
    } catch (...) {
        --tryDepth_;
        throw;
    }
}

Executor::Flow Executor::Return(const SimpleStmt& stmt) {
    if (!stmt.args.empty()) {
        if (!context_.frame->inProcedure) {
            throw SqlError(
                178, u"A RETURN statement with a return value cannot be used in this context.", 15);
        }
        const TypedValue v = Evaluate(*stmt.args[0]);
        returnValue_ = Convert(v.value, v.type, Plain(TypeId::Int), Purpose::Variable).i;
    }
    return Flow::Return;
}

void Executor::Declare(const DeclareStmt& stmt) {
    if (stmt.table) return DeclareTable(static_cast<const CreateTableStmt&>(*stmt.table));
    for (const Declaration& d : stmt.items) {
        if (!d.type.known) {
            throw SqlError(2715,
                           Format(u"Column, parameter, or variable #1: Cannot find data type %1.",
                                  {d.type.name}));
        }
        const std::u16string name = FoldName(d.name);
        if (context_.frame->Find(name) == nullptr) {  // a loop comes by again
            context_.frame->variables.push_back({name, DatabaseType(d.type.type), Value::Null()});
        }
        if (d.value) Assign(name, Evaluate(*d.value));
    }
}

void Executor::SetVariable(const SetVariableStmt& stmt) {
    Assign(FoldName(stmt.name), Evaluate(*stmt.value));
    Done();
}

void Executor::Wait(const SimpleStmt& stmt) {
    Moment m;
    if (ParseMoment(EvaluateText(*stmt.args[0]), false, m) != ParseResult::Ok) {
        throw SqlError(148, u"Incorrect time syntax in time string used with WAITFOR.", 15);
    }
    const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(m.ticks / 10);
    while (std::chrono::steady_clock::now() < until) {
        if (cancelled_) throw Cancelled{};
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    Done();
}

}  // namespace sandbox::engine
