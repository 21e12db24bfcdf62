#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {
namespace {

// SQLite's name for a savepoint: any text as hexadecimal digits.
std::string SavepointName(std::u16string_view name) {
    std::string out = "sp";
    for (const char16_t c : FoldName(name)) {
        char digits[8];
        static_cast<void>(std::snprintf(digits, sizeof digits, "_%x", static_cast<unsigned>(c)));
        out += digits;
    }
    return out;
}

}  // namespace

void Executor::Begin() {
    if (context_.transactionDepth == 0) context_.snapshotTransaction = context_.options.snapshot;
    ++context_.transactionDepth;
    Done();
}

void Executor::EnsureTransaction() {
    if (context_.transactionDepth == 0 || context_.inStoreTransaction) return;
    context_.store.Execute("BEGIN");
    context_.inStoreTransaction = true;
}

// A snapshot of rows of the users' tables needs a database that keeps versions of them.
void Executor::RequireSnapshots(const std::vector<DatabasePtr>& databases) {
    if (!context_.options.snapshot) return;
    for (const DatabasePtr& database : databases) {
        if (context_.transactionDepth > 0 && !context_.snapshotTransaction) {
            throw SqlError(
                3951,
                Format(u"Transaction failed in database '%1' because the statement was run under "
                       u"snapshot isolation but the transaction did not start in snapshot "
                       u"isolation. You cannot change the isolation level of the transaction to "
                       u"snapshot after the transaction has started unless the transaction was "
                       u"originally started under snapshot isolation level.",
                       {database->name}));
        }
        if (database->allowsSnapshot) continue;
        throw SqlError(3952,
                       Format(u"Snapshot isolation transaction failed accessing database '%1' "
                              u"because snapshot isolation is not allowed in this database. Use "
                              u"ALTER DATABASE to allow snapshot isolation.",
                              {database->name}));
    }
    if (!databases.empty()) EnsureTransaction();  // the versions are those of the first access
}

void Executor::Commit() {
    if (context_.transactionDepth == 0) {
        throw SqlError(3902,
                       u"The COMMIT TRANSACTION request has no corresponding BEGIN TRANSACTION.");
    }
    if (--context_.transactionDepth == 0 && context_.inStoreTransaction) {
        context_.store.Execute("COMMIT");
        context_.inStoreTransaction = false;
    }
    Done();
}

void Executor::RollbackAll(Context& context) {
    context.transactionDepth = 0;
    if (!context.inStoreTransaction) return;
    context.inStoreTransaction = false;
    if (sqlite3_get_autocommit(context.store.Raw()) == 0) context.store.Execute("ROLLBACK");
    context.ForgetCatalogs();
}

void Executor::Rollback(const SimpleStmt& stmt) {
    if (context_.transactionDepth == 0) {
        throw SqlError(3903,
                       u"The ROLLBACK TRANSACTION request has no corresponding BEGIN TRANSACTION.");
    }
    if (!stmt.name.empty() && context_.inStoreTransaction) {
        const std::string savepoint = SavepointName(stmt.name);
        if (sqlite3_exec(context_.store.Raw(), ("ROLLBACK TO " + savepoint).c_str(), nullptr,
                         nullptr, nullptr) == SQLITE_OK) {
            context_.ForgetCatalogs();
            Done();
            return;
        }
    }
    RollbackAll(context_);
    Done();
}

void Executor::Save(const SimpleStmt& stmt) {
    if (context_.transactionDepth == 0) {
        throw SqlError(628, u"Cannot issue SAVE TRANSACTION when there is no active transaction.");
    }
    EnsureTransaction();
    context_.store.Execute("SAVEPOINT " + SavepointName(stmt.name));
    Done();
}

// Some failures make SQLite roll back the whole transaction by itself.
void Executor::NoticeLostTransaction() {
    if (!context_.inStoreTransaction || sqlite3_get_autocommit(context_.store.Raw()) == 0) return;
    context_.inStoreTransaction = false;
    context_.transactionDepth = 0;
    context_.ForgetCatalogs();
}

}  // namespace sandbox::engine
