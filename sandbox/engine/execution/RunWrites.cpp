// Runs planned writes, and says in the server's words what SQLite refuses.
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/execution/WritePlans.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {

void Executor::RunOutput(Plan& plan) {
    if (!plan.output) return;
    plan.output.Reset();
    BindParams(plan.output, plan.params);
    plan.output.Run();
    plan.output.Reset();
}

void Executor::RunWrite(Plan& plan, const char16_t* verb) {
    context_.verb = verb;
    RequireSnapshots({plan.catalog->File()});
    if (plan.filtered && !context_.options.quotedIdentifier) {
        throw SqlError(
            1934, Format(u"%1 failed because the following SET options have incorrect settings: "
                         u"'QUOTED_IDENTIFIER'. Verify that SET options are correct for use with "
                         u"filtered indexes.",
                         {verb}));
    }
    std::int64_t count = 0;
    std::int64_t given = 0;
    if (plan.given) {
        BindParams(plan.given, plan.params);
        if (plan.given.Step()) given = plan.given.Integer(0);
        plan.given.Reset();
    }
    const auto run = [&] {
        RunOutput(plan);
        plan.statement.Reset();
        BindParams(plan.statement, plan.params);
        try {
            while (plan.statement.Step()) {
            }
        } catch (...) {
            plan.statement.Reset();
            throw;
        }
        count = sqlite3_changes64(context_.store.Raw());
        plan.statement.Reset();
    };
    try {
        if (plan.guarded) {
            Atomically([&] {
                run();
                CheckPendingKeys();
            });
        } else {
            EnsureTransaction();
            run();
        }
    } catch (const StoreError& e) {
        context_.pendingKeys.clear();
        ThrowConstraint(e, plan, verb);
    }
    if (count < given) {
        Message ignored;
        ignored.number = 3604;
        ignored.severity = 0;
        ignored.text = u"Duplicate key was ignored.";
        sink_.Say(ignored);
    }
    DoneWrite(count);
}

// "UNIQUE constraint failed: o5.c1, o5.c2" and its kin become the server's errors.
void Executor::ThrowConstraint(const StoreError& error, const Plan& plan, const char16_t* verb) {
    if ((error.code & 0xFF) != SQLITE_CONSTRAINT) throw error;
    const TableMeta& table = *plan.table;
    const std::string text = error.what();
    const std::size_t colon = text.find(": ");
    std::string detail = colon == std::string::npos ? "" : text.substr(colon + 2);
    if (error.code == SQLITE_CONSTRAINT_NOTNULL) {
        const int id = LeadingNumber(std::string_view(detail).substr(detail.rfind(".c") + 2));
        const ColumnMeta* c = table.FindById(id);
        throw SqlError(
            515, Format(u"Cannot insert the value NULL into column '%1', table '%2'; column does "
                        u"not allow nulls. %3 fails.",
                        {c ? c->name : u"", plan.catalog->File()->name + u"." + table.FullName(),
                         verb}));
    }
    if (const IndexMeta* index = FindViolatedIndex(table, detail)) {
        if (index->primaryKey || index->uniqueConstraint) {
            throw SqlError(
                2627,
                Format(u"Violation of %1 constraint '%2'. Cannot insert duplicate key in object "
                       u"'%3'.",
                       {index->primaryKey ? u"PRIMARY KEY" : u"UNIQUE KEY", index->name,
                        table.FullName()}),
                14);
        }
        throw SqlError(
            2601,
            Format(u"Cannot insert duplicate key row in object '%1' with unique index '%2'.",
                   {table.FullName(), index->name}),
            14);
    }
    throw error;
}

}  // namespace sandbox::engine
