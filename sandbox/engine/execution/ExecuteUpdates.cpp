#include <utility>

#include "sandbox/engine/execution/WritePlans.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {

namespace {

// Refuses columns that no UPDATE sets.
void RequireSettable(const Catalog& catalog, const TableMeta& table, const ColumnMeta& column) {
    if (column.identity) {
        throw SqlError(8102, Format(u"Cannot update identity column '%1'.", {column.name}));
    }
    if (column.generated != 0) {
        throw SqlError(13537, Format(u"Cannot update GENERATED ALWAYS columns in table '%1'.",
                                     {WholeName(catalog, table)}));
    }
    if (column.type.id == TypeId::Timestamp) {
        throw SqlError(272, u"Cannot update a timestamp column.");
    }
    if (column.computed) {
        throw SqlError(
            271, Format(u"The column \"%1\" cannot be modified because it is either a computed "
                        u"column or is the result of a UNION operator.",
                        {column.name}));
    }
}

}  // namespace

// The columns that the statement sets, and what to.
Executor::Sets Executor::PlanSets(const UpdateStmt& stmt, const WrittenRows& rows,
                                  Translator& translator, Scope& scope) {
    Sets sets;
    for (const Assignment& a : stmt.assignments) {
        if (!a.variable.empty()) ThrowSyntax(a.variable);
        const ColumnMeta* c = rows.table->Find(a.column);
        if (c == nullptr) ThrowInvalidColumn(a.column);
        RequireSettable(*rows.catalog, *rows.table, *c);
        for (const auto& [name, value] : sets) {
            if (name == c->Sql()) {
                throw SqlError(
                    264, Format(u"The column name '%1' is specified more than once in the SET "
                                u"clause or column list of an INSERT. A column cannot be assigned "
                                u"more than one value in the same clause. Modify the clause to "
                                u"make sure that a column is updated only once.",
                                {c->name}));
            }
        }
        const std::string value =
            a.value->kind == ExprKind::Default
                ? DefaultSql(translator, *c)
                : translator.Stored(translator.Expression(*a.value, scope), c->type);
        sets.emplace_back(c->Sql(), value);
    }
    for (const ColumnMeta& c : rows.table->columns) {
        if (c.generated == 1) sets.emplace_back(c.Sql(), DefaultSql(translator, c));
    }
    return sets;
}

std::shared_ptr<Plan> Executor::PlanUpdate(const UpdateStmt& stmt) {
    auto plan = std::make_shared<Plan>();
    Translator translator(context_);
    Scope scope;
    WrittenRows rows = ChooseTarget(stmt, u"UPDATE", translator, scope);
    const Sets sets = PlanSets(stmt, rows, translator, scope);
    ChooseRows(rows, stmt, translator, scope);
    std::string list, values;
    for (std::size_t i = 0; i < sets.size(); ++i) {
        list += (i > 0 ? "," : "") + sets[i].first + "=" +
                (rows.joined ? "j.v" + std::to_string(i) : sets[i].second);
        values += "," + sets[i].second + " AS v" + std::to_string(i);
        plan->variables.push_back(Widen(sets[i].first));
    }
    for (const ColumnMeta& c : rows.table->columns) {
        if (c.type.id != TypeId::Timestamp) continue;
        list += "," + c.Sql() + "=ms_rowver(" + FileNumber(*rows.catalog) + ")";
    }
    const std::string query = rows.Query(values);
    plan->reshuffle = Widen(query);
    plan->statement =
        context_.store.Prepare(rows.joined ? "UPDATE " + rows.storage + " AS u SET " + list +
                                                 " FROM (" + query + ") AS j WHERE u.rowid=j.rid"
                                           : "UPDATE " + rows.storage + " AS " + rows.target->sql +
                                                 " SET " + list + rows.where);
    PrepareOutput(*plan, stmt.output, rows, translator, scope);
    FinishPlan(*plan, *rows.catalog, rows.table, translator);
    return plan;
}

void Executor::Update(const UpdateStmt& stmt) {
    std::shared_ptr<Plan> plan = FreshPlan(stmt);
    if (!plan) {
        plan = PlanUpdate(stmt);
        stmt.plan = plan;
    }
    try {
        RunWrite(*plan, u"UPDATE");
    } catch (const SqlError& e) {
        const bool duplicate = e.message.number == 2627 || e.message.number == 2601;
        if (!duplicate || !Reshuffle(*plan)) throw;
    }
}

// Keys that swap or shift collide on the way although the result is unique: SQLite checks row by
// row, the server at the end of the statement. The changed rows are taken out and put back.
// Returns false when the result is not unique either.
bool Executor::Reshuffle(Plan& plan) {
    const TableMeta& table = *plan.table;
    const std::string storage = plan.catalog->Prefix() + table.storage;
    std::string columns;
    std::string values;
    for (const ColumnMeta& c : table.columns) {
        if (c.computed) continue;
        columns += "," + c.Sql();
        std::string value = "o." + c.Sql();
        for (std::size_t i = 0; i < plan.variables.size(); ++i) {
            if (Narrow(plan.variables[i]) == c.Sql()) value = "j.v" + std::to_string(i);
        }
        if (c.type.id == TypeId::Timestamp) value = "ms_rowver(" + FileNumber(*plan.catalog) + ")";
        values += "," + value + " AS " + c.Sql();
    }
    std::int64_t count = 0;
    try {
        Atomically([&] {
            Store& store = context_.store;
            store.Execute("DROP TABLE IF EXISTS temp.reshuffle");
            RunOutput(plan);
            Statement fill =
                store.Prepare("CREATE TEMP TABLE reshuffle AS SELECT j.rid AS rid" + values +
                              " FROM (" + Narrow(plan.reshuffle) + ") AS j JOIN " + storage +
                              " AS o ON o.rowid=j.rid GROUP BY j.rid");
            BindParams(fill, plan.params);
            fill.Run();
            context_.verb = u"UPDATE";
            context_.reshufflingKeys = true;
            store.Execute("DELETE FROM " + storage +
                          " WHERE rowid IN (SELECT rid FROM temp.reshuffle)");
            Statement put = store.Prepare("INSERT INTO " + storage + "(rowid" + columns +
                                          ") SELECT rid" + columns + " FROM temp.reshuffle");
            put.Run();
            count = sqlite3_changes64(store.Raw());
            CheckPendingKeys();
            context_.reshufflingKeys = false;
            store.Execute("DROP TABLE temp.reshuffle");
        });
    } catch (const StoreError&) {
        context_.reshufflingKeys = false;
        return false;
    } catch (...) {
        context_.reshufflingKeys = false;
        throw;
    }
    DoneWrite(count);
    return true;
}

}  // namespace sandbox::engine
