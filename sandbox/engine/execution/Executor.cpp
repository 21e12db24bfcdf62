#include "sandbox/engine/execution/Executor.h"

#include <chrono>
#include <thread>

#include "sandbox/engine/catalog/Permissions.h"
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

void Executor::Print(const SimpleStmt& stmt) {
    Message m;
    m.severity = 0;
    m.text = EvaluateText(*stmt.args[0]);
    m.line = stmt.line;
    if (m.text.empty()) m.text = u" ";
    sink_.Say(m);
    Done();
}

namespace {

// The printf-like places of RAISERROR: %s %d %i %u %x %%.
std::u16string FillIn(std::u16string_view pattern, const std::vector<std::u16string>& args) {
    std::u16string out;
    std::size_t next = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != u'%' || i + 1 >= pattern.size()) {
            out += pattern[i];
            continue;
        }
        ++i;
        if (pattern[i] == u'%') {
            out += u'%';
        } else {
            out += next < args.size() ? args[next] : u"(null)";
            ++next;
        }
    }
    return out;
}

}  // namespace

void Executor::RaisError(const SimpleStmt& stmt) {
    if (stmt.args.size() < 3) ThrowSyntax(u")");
    const TypedValue text = Evaluate(*stmt.args[0]);
    const TypedValue severity = Evaluate(*stmt.args[1]);
    const TypedValue state = Evaluate(*stmt.args[2]);
    std::vector<std::u16string> args;
    for (std::size_t i = 3; i < stmt.args.size(); ++i)
        args.push_back(EvaluateText(*stmt.args[i]));
    const bool numbered = IsInteger(text.type.id);
    const std::u16string body = numbered ? u"Error " + ToText(text.value.i)
                                         : FillIn(DisplayText(text.value, text.type), args);
    SqlError error(numbered ? static_cast<std::int32_t>(text.value.i) : 50000, body,
                   static_cast<std::uint8_t>(severity.value.i),
                   static_cast<std::uint8_t>(state.value.i));
    error.message.line = stmt.line;
    if (severity.value.i <= 10) {
        error.message.number = 0;
        sink_.Say(error.message);
        context_.lastError = 0;
        Done();
        return;
    }
    error.reach = ErrorReach::Statement;
    throw SqlError(error);
}

void Executor::Throw(const SimpleStmt& stmt) {
    if (stmt.args.empty()) {
        if (!currentError_) {
            throw SqlError(10704,
                           u"To rethrow an error, a THROW statement must be used inside a CATCH "
                           u"block. Insert the THROW statement inside a CATCH block, or add error "
                           u"parameters to the THROW statement.",
                           15);
        }
        SqlError again = *currentError_;
        again.reach = ErrorReach::Batch;
        throw SqlError(again);
    }
    SqlError error(static_cast<std::int32_t>(Evaluate(*stmt.args[0]).value.i),
                   EvaluateText(*stmt.args[1]), 16,
                   static_cast<std::uint8_t>(Evaluate(*stmt.args[2]).value.i));
    error.reach = ErrorReach::Batch;
    throw SqlError(error);
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

void Executor::Use(const SimpleStmt& stmt) {
    const DatabasePtr database = context_.server.Find(stmt.name);
    if (!database) {
        throw SqlError(
            911, context_.server.major >= 9
                     ? Format(u"Database '%1' does not exist. Make sure that the name is entered "
                              u"correctly.",
                              {stmt.name})
                     : Format(u"Could not locate entry in sysdatabases for database '%1'. No entry "
                              u"found with that name. Make sure that the name is entered "
                              u"correctly.",
                              {stmt.name}));
    }
    RequireAccess(context_, context_.Open(database));
    const std::u16string from = context_.current->name;
    context_.Use(database);
    sink_.DatabaseChanged(from, database->name);
    Done();
}

void Executor::SetIdentityInsert(const SetOptionStmt& stmt) {
    const Resolved r = context_.Resolve(stmt.table);
    const TablePtr table = r.object ? r.catalog->Table(r.object->id) : nullptr;
    if (!table) {
        throw SqlError(
            1088, Format(u"Cannot find the object \"%1\" because it does not exist or you do not "
                         u"have permissions.",
                         {stmt.table.Text()}));
    }
    RequireAlter(context_, r, stmt.table, 11);
    if (table->Identity() == nullptr) {
        throw SqlError(8106,
                       Format(u"Table '%1' does not have the identity property. Cannot perform SET "
                              u"operation.",
                              {stmt.table.Text()}));
    }
    const bool same = context_.options.identityInsertTable == table->id &&
                      context_.options.identityInsertDatabase == r.catalog->File();
    if (stmt.on && context_.options.identityInsertTable != 0 && !same) {
        throw SqlError(8107,
                       Format(u"IDENTITY_INSERT is already ON for table '%1'. Cannot perform SET "
                              u"operation for table '%2'.",
                              {context_.options.identityInsertName, stmt.table.Text()}));
    }
    if (stmt.on) {
        context_.options.identityInsertTable = table->id;
        context_.options.identityInsertDatabase = r.catalog->File();
        context_.options.identityInsertName = r.catalog->File()->name + u"." + table->FullName();
    } else if (same) {
        context_.options.identityInsertTable = 0;
        context_.options.identityInsertDatabase.reset();
    }
    context_.BumpGeneration();
    Done();
}

void Executor::SetOption(const SetOptionStmt& stmt) {
    if (stmt.options.front() == u"IDENTITY_INSERT") return SetIdentityInsert(stmt);
    static constexpr std::u16string_view kSwitches[] = {u"ANSI_NULLS",
                                                        u"ANSI_WARNINGS",
                                                        u"ANSI_PADDING",
                                                        u"ANSI_NULL_DFLT_ON",
                                                        u"ANSI_NULL_DFLT_OFF",
                                                        u"ANSI_DEFAULTS",
                                                        u"ARITHABORT",
                                                        u"ARITHIGNORE",
                                                        u"CURSOR_CLOSE_ON_COMMIT",
                                                        u"NUMERIC_ROUNDABORT",
                                                        u"FMTONLY",
                                                        u"PARSEONLY",
                                                        u"NOEXEC",
                                                        u"STATISTICS",
                                                        u"SHOWPLAN_TEXT",
                                                        u"SHOWPLAN_ALL",
                                                        u"FORCEPLAN",
                                                        u"REMOTE_PROC_TRANSACTIONS",
                                                        u"CONCAT_NULL_YIELDS_NULL",
                                                        u"NOCOUNT",
                                                        u"XACT_ABORT",
                                                        u"QUOTED_IDENTIFIER",
                                                        u"IMPLICIT_TRANSACTIONS"};
    static constexpr std::u16string_view kValues[] = {
        u"TEXTSIZE",    u"ROWCOUNT",          u"LOCK_TIMEOUT",
        u"DATEFORMAT",  u"LANGUAGE",          u"DATEFIRST",
        u"ISOLATION",   u"DEADLOCK_PRIORITY", u"QUERY_GOVERNOR_COST_LIMIT",
        u"CONTEXT_INFO"};
    for (const std::u16string& option : stmt.options) {
        const auto among = [&](const auto& list) {
            for (const std::u16string_view known : list) {
                if (option == known) return true;
            }
            return false;
        };
        if (!among(kSwitches) && !among(kValues)) {
            throw SqlError(195, Format(u"'%1' is not a recognized SET option.", {option}), 15);
        }
        const bool refused =
            stmt.on && (option == u"PARSEONLY" || option == u"NOEXEC" ||
                        option == u"SHOWPLAN_TEXT" || option == u"SHOWPLAN_ALL" ||
                        option == u"IMPLICIT_TRANSACTIONS" || option == u"NUMERIC_ROUNDABORT");
        const bool nullsRefused = !stmt.on && option == u"CONCAT_NULL_YIELDS_NULL";
        if (refused || nullsRefused) {
            throw SqlError(195,
                           Format(u"SET %1 %2 is not supported by this server.",
                                  {option, stmt.on ? u"ON" : u"OFF"}),
                           15);
        }
        if (option == u"FMTONLY") context_.options.formatOnly = stmt.on;
        if (option == u"LOCK_TIMEOUT" && stmt.expr) {
            context_.options.lockTimeout = static_cast<int>(Evaluate(*stmt.expr).value.i);
        }
        if (option == u"ISOLATION") context_.options.snapshot = stmt.value == u"SNAPSHOT";
        if (option == u"NOCOUNT") context_.options.noCount = stmt.on;
        if (option == u"XACT_ABORT") context_.options.xactAbort = stmt.on;
        if (option == u"QUOTED_IDENTIFIER") context_.options.quotedIdentifier = stmt.on;
        if (option == u"CONTEXT_INFO" && stmt.expr) {
            const TypedValue value = Evaluate(*stmt.expr);
            if (!IsBinary(value.type.id) || value.value.IsNull()) {
                throw SqlError(2743,
                               u"SET CONTEXT_INFO option requires varbinary (128) NOT NULL "
                               u"parameter.");
            }
            context_.contextInfo = Convert(value.value, value.type,
                                           SqlType{TypeId::Binary, 128, 0, 0}, Purpose::Variable)
                                       .bytes;
        }
        if (option == u"DATEFORMAT") context_.options.dmy = stmt.value == u"DMY";
        if (option == u"ROWCOUNT") context_.options.rowLimit = Evaluate(*stmt.expr).value.i;
        if (option == u"LANGUAGE" && stmt.expr) EvaluateText(*stmt.expr);
    }
    Done();
}

void Executor::Dbcc(const SimpleStmt& stmt) {
    if (stmt.name != u"CHECKIDENT" || stmt.args.empty()) {
        throw SqlError(
            2526,
            u"Incorrect DBCC statement. Check the documentation for the correct DBCC syntax "
            u"and options.");
    }
    const std::u16string text = EvaluateText(*stmt.args[0]);
    const std::vector<StmtPtr> parsed = Parser(u"TRUNCATE TABLE " + text).ParseBatch();
    const ObjectName& name = static_cast<const DropObjectStmt&>(*parsed.front()).names.front();
    const Resolved r = context_.Resolve(name);
    const TablePtr table = r.object ? r.catalog->Table(r.object->id) : nullptr;
    if (!table) {
        throw SqlError(
            2501, Format(u"Cannot find a table or object with the name \"%1\". Check the system "
                         u"catalog.",
                         {text}));
    }
    RequireAlter(context_, r, name, 1);
    if (table->Identity() == nullptr) {
        throw SqlError(7997, Format(u"'%1' does not contain an identity column.", {table->name}));
    }
    const auto last = r.catalog->File()->LastIdentity(table->id);
    if (stmt.args.size() > 2) {
        const TypedValue v = Evaluate(*stmt.args[2]);
        r.catalog->File()->ReseedIdentity(
            table->id, Convert(v.value, v.type, Plain(TypeId::BigInt), Purpose::Variable).i);
    }
    Message m;
    m.number = 7998;
    m.severity = 10;
    const std::u16string shown = last ? ToText(*last) : u"NULL";
    m.text = Format(
        u"Checking identity information: current identity value '%1', current column value '%1'.",
        {shown});
    sink_.Say(m);
    Done();
}

}  // namespace sandbox::engine
