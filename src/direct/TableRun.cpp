#include "direct/TableRun.h"

#include <future>
#include <utility>

#include "catalog/Database.h"
#include "catalog/Login.h"
#include "core/TableEntry.h"
#include "data/Connection.h"
#include "direct/KeyedWalk.h"
#include "direct/KeylessWalk.h"
#include "direct/ServerFacts.h"

namespace QuillonLib {

void TableRunner::Side::Connect(bool wantSnapshot) {
    if (connection != nullptr && connection->IsOpen()) return;
    catalog.reset();
    auto opened = OpenConnection(database);
    {
        const std::lock_guard lock(taken);
        connection = std::move(opened);
    }
    version = ServerVersion(connection);
    snapshot = wantSnapshot && AllowsSnapshot(connection, version);
}

void TableRunner::Side::Cancel() noexcept {
    const std::lock_guard lock(taken);
    if (connection != nullptr) connection->Cancel();
}

TableFacts TableRunner::Side::ReadFacts(std::size_t table) {
    return OfSide(number, [&] {
        if (!catalog) {
            CatalogReader of(connection);
            of.UseDatabase(database.DatabaseName());
            catalog = std::move(of);
        }
        return facts.Of(table, *catalog, connection, version);
    });
}

DirectReading TableRunner::Side::Begin() const {
    if (!snapshot) return DirectReading::Committed;
    OfSide(number, [&] {
        connection->Execute(u"SET TRANSACTION ISOLATION LEVEL SNAPSHOT BEGIN TRANSACTION");
    });
    return DirectReading::Snapshot;
}

void TableRunner::Side::End() const {
    if (snapshot) OfSide(number, [&] { connection->Execute(u"COMMIT TRANSACTION"); });
}

TableRunner::TableRunner(const DirectJob& job, FactsAhead& facts1, FactsAhead& facts2)
    : job_(job), side1_(1, job.database1, facts1), side2_(2, job.database2, facts2) {
    side1_.reader.Beside(side2_.reader);
    side2_.reader.Beside(side1_.reader);
}

void TableRunner::Connect() {
    side1_.Connect(job_.options.snapshot);
    side2_.Connect(job_.options.snapshot);
}

bool TableRunner::TryConnect() noexcept {
    if (unreachable_) return false;
    try {
        for (Side* const side : {&side1_, &side2_})
            OfSide(side->number, [&] { side->Connect(job_.options.snapshot); });
    } catch (const SideFailure& failure) {
        unreachable_.emplace(failure);
    }
    return !unreachable_;
}

void TableRunner::Cancel() noexcept {
    side1_.Cancel();
    side2_.Cancel();
}

void TableRunner::Run(std::size_t table, DirectTableResult& result, Outlet& outlet) {
    result.shape.table = result.shape.table2 = job_.tables[table].name;
    if (!TryConnect()) {
        result.error = *unreachable_;
        result.failedSide = unreachable_->side;
        return;
    }
    try {
        Compare(table, result, outlet);
        result.complete = true;
    } catch (const Error& error) {
        result.error = error;
        result.failedSide = SideOf(error);
        // a transaction that is left open must not hold the versions of rows
        if (side1_.snapshot) side1_.connection->Close();
        if (side2_.snapshot) side2_.connection->Close();
    }
}

std::pair<TableFacts, TableFacts> TableRunner::ReadFacts(std::size_t table) {
    // from both servers at once, where they have to be asked
    const auto policy = side2_.facts.Knows(table) ? std::launch::deferred : std::launch::async;
    std::future<TableFacts> facts2 =
        std::async(policy, [this, table] { return side2_.ReadFacts(table); });
    TableFacts facts1 = side1_.ReadFacts(table);
    return {std::move(facts1), facts2.get()};
}

void TableRunner::Compare(std::size_t index, DirectTableResult& result, Outlet& outlet) {
    const DirectTable& table = job_.tables[index];
    const auto [facts1, facts2] = ReadFacts(index);
    const TablePlan plan =
        PlanTable(facts1.object, facts2.object, table, job_.options.ignoredColumns);
    result.shape = plan.shape;
    result.changedCells.resize(plan.pairs.size());
    if (plan.pairs.empty()) {
        throw Error(ErrorNumber::Comparison, u"Table " +
                                                 MakeTableEntry(table.name.Owner, table.name.Name) +
                                                 u" has no column that can be compared.");
    }
    result.expected1 = facts1.rows;
    result.expected2 = facts2.rows;
    outlet.Read(result);
    result.reading1 = side1_.Begin();
    result.reading2 = side2_.Begin();
    {
        RowCursor rows1(plan, 1, table.where, side1_.reader, side1_.connection);
        RowCursor rows2(plan, 2, table.where, side2_.reader, side2_.connection);
        if (plan.shape.key.empty()) {
            WalkKeyless(plan, job_.options.equality, rows1, rows2, result, outlet);
        } else {
            WalkKeyed(plan, job_.options.equality, rows1, rows2, result, outlet);
        }
    }
    side1_.End();
    side2_.End();
}

}  // namespace QuillonLib
