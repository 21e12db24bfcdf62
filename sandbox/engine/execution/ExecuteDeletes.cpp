#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/execution/WritePlans.h"

namespace sandbox::engine {

std::shared_ptr<Plan> Executor::PlanDelete(const DeleteStmt& stmt) {
    auto plan = std::make_shared<Plan>();
    Translator translator(context_);
    Scope scope;
    WrittenRows rows = ChooseTarget(stmt, u"DELETE", translator, scope);
    ChooseRows(rows, stmt, translator, scope);
    plan->statement =
        context_.store.Prepare("DELETE FROM " + rows.storage +
                               (rows.joined ? " WHERE rowid IN (" + rows.Query("") + ")"
                                            : " AS " + rows.target->sql + rows.where));
    PrepareOutput(*plan, stmt.output, rows, translator, scope);
    FinishPlan(*plan, *rows.catalog, rows.table, translator);
    return plan;
}

void Executor::Delete(const DeleteStmt& stmt) {
    std::shared_ptr<Plan> plan = FreshPlan(stmt);
    if (!plan) {
        plan = PlanDelete(stmt);
        stmt.plan = plan;
    }
    RunWrite(*plan, u"DELETE");
}

void Executor::Truncate(const DropObjectStmt& stmt) {
    const Resolved r = context_.Resolve(stmt.names.front());
    const TablePtr table = r.object ? r.catalog->Table(r.object->id) : nullptr;
    if (!table || table->type != u'U') {
        throw SqlError(
            4701, Format(u"Cannot find the object \"%1\" because it does not exist or you do not "
                         u"have permissions.",
                         {stmt.names.front().Text()}));
    }
    RequireAlter(context_, r, stmt.names.front(), 7);
    if (table->historyId != 0 || table->historyOf != 0) {
        throw SqlError(13545, Format(u"Truncate failed on table '%1' because it is not a supported "
                                     u"operation on system-versioned tables.",
                                     {r.catalog->File()->name + u"." + table->FullName()}));
    }
    for (const ForeignKeyMeta& f : table->references) {
        if (f.childId == table->id) continue;
        throw SqlError(
            4712, Format(u"Cannot truncate table '%1' because it is being referenced by a FOREIGN "
                         u"KEY constraint.",
                         {stmt.names.front().Text()}));
    }
    Atomically([&] {
        const std::string storage = r.catalog->Prefix() + table->storage;
        DropTriggers(context_.store, *r.catalog, *table);
        context_.store.Execute("DELETE FROM " + storage);
        CreateTriggers(context_, *r.catalog, *table);
    });
    context_.BumpGeneration();
    r.catalog->File()->ReseedIdentity(table->id, std::nullopt);
    Done();
}

}  // namespace sandbox::engine
