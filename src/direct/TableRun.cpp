#include "direct/TableRun.h"

#include <array>
#include <utility>
#include <vector>

#include "catalog/CatalogReader.h"
#include "catalog/Database.h"
#include "catalog/Login.h"
#include "core/TableEntry.h"
#include "data/Connection.h"
#include "direct/KeyedWalk.h"
#include "direct/KeylessWalk.h"
#include "direct/ServerFacts.h"
#include "direct/TableQuery.h"

namespace QuillonLib {

void TableRunner::Side::Connect(bool wantSnapshot) {
    if (connection != nullptr && connection->IsOpen()) return;
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

ObjectFacts TableRunner::Side::ReadFacts(const ObjectName& name) const {
    CatalogReader reader(connection);
    reader.UseDatabase(database.DatabaseName());
    const std::vector<ObjectFacts> objects = reader.Objects(std::array{name});
    const ObjectFacts* const found = FindObject(objects, name);
    if (found == nullptr) ThrowObjectNotFound(name, database.DatabaseName());
    return *found;
}

DirectReading TableRunner::Side::Begin() const {
    if (!snapshot) return DirectReading::Committed;
    connection->Execute(u"SET TRANSACTION ISOLATION LEVEL SNAPSHOT BEGIN TRANSACTION");
    return DirectReading::Snapshot;
}

void TableRunner::Side::End() const {
    if (snapshot) connection->Execute(u"COMMIT TRANSACTION");
}

TableRunner::TableRunner(const Database& database1, const Database& database2,
                         const DirectOptions& options)
    : options_(options), side1_(database1), side2_(database2) {
}

void TableRunner::Connect() {
    side1_.Connect(options_.snapshot);
    side2_.Connect(options_.snapshot);
}

void TableRunner::Cancel() noexcept {
    side1_.Cancel();
    side2_.Cancel();
}

void TableRunner::Run(const DirectTable& table, DirectTableResult& result, Outlet& outlet) {
    result.shape.table = result.shape.table2 = table.name;
    result.error = unreachable_;
    if (unreachable_) return;
    try {
        Connect();
    } catch (const Error& error) {
        result.error = unreachable_ = error;
        return;
    }
    try {
        Compare(table, result, outlet);
        result.complete = true;
    } catch (const Error& error) {
        result.error = error;
        // a transaction that is left open must not hold the versions of rows
        if (side1_.snapshot) side1_.connection->Close();
        if (side2_.snapshot) side2_.connection->Close();
    }
}

void TableRunner::Compare(const DirectTable& table, DirectTableResult& result, Outlet& outlet) {
    const TablePlan plan = PlanTable(side1_.ReadFacts(table.name), side2_.ReadFacts(table.name),
                                     table, options_.ignoredColumns);
    result.shape = plan.shape;
    result.changedCells.resize(plan.pairs.size());
    if (plan.pairs.empty()) {
        throw Error(ErrorNumber::Comparison, u"Table " +
                                                 MakeTableEntry(table.name.Owner, table.name.Name) +
                                                 u" has no column that can be compared.");
    }
    result.expected1 = CountedRows(side1_.connection, side1_.version, plan.shape.table);
    result.expected2 = CountedRows(side2_.connection, side2_.version, plan.shape.table2);
    outlet.Read(result);
    result.reading1 = side1_.Begin();
    result.reading2 = side2_.Begin();
    {
        RowCursor rows1(side1_.reader, TableQuery(plan, 1, table.where), side1_.connection);
        RowCursor rows2(side2_.reader, TableQuery(plan, 2, table.where), side2_.connection);
        if (plan.shape.key.empty()) {
            WalkKeyless(plan, options_.equality, rows1, rows2, result, outlet);
        } else {
            WalkKeyed(plan, options_.equality, rows1, rows2, result, outlet);
        }
    }
    side1_.End();
    side2_.End();
}

}  // namespace QuillonLib
