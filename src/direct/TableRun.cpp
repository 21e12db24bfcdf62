#include "direct/TableRun.h"

#include <array>

#include "catalog/CatalogReader.h"
#include "catalog/Database.h"
#include "catalog/Login.h"
#include "core/TableEntry.h"
#include "data/Connection.h"
#include "direct/KeyedWalk.h"
#include "direct/TableQuery.h"

namespace QuillonLib {

namespace {

ObjectFacts ReadFacts(const std::shared_ptr<Connection>& connection, const Database& database,
                      const ObjectName& name) {
    CatalogReader reader(connection);
    reader.UseDatabase(database.DatabaseName());
    const std::vector<ObjectFacts> objects = reader.Objects(std::array{name});
    const ObjectFacts* const found = FindObject(objects, name);
    if (found == nullptr) ThrowObjectNotFound(name, database.DatabaseName());
    return *found;
}

}  // namespace

TableRunner::TableRunner(const Database& database1, const Database& database2,
                         const DirectOptions& options)
    : database1_(database1),
      database2_(database2),
      options_(options),
      connection1_(OpenConnection(database1)),
      connection2_(OpenConnection(database2)) {
}

void TableRunner::Run(const DirectTable& table, DirectTableResult& result, Outlet& outlet) {
    try {
        Compare(table, result, outlet);
    } catch (const Error& error) {
        result.error = error;
    }
}

void TableRunner::Compare(const DirectTable& table, DirectTableResult& result, Outlet& outlet) {
    result.shape.table = result.shape.table2 = table.name;
    const TablePlan plan =
        PlanTable(ReadFacts(connection1_, database1_, table.name),
                  ReadFacts(connection2_, database2_, table.name), table, options_.ignoredColumns);
    result.shape = plan.shape;
    result.changedCells.resize(plan.pairs.size());
    if (plan.shape.key.empty()) {
        throw Error(ErrorNumber::Comparison, u"Table " +
                                                 MakeTableEntry(table.name.Owner, table.name.Name) +
                                                 u" has no key by which both sides know its rows.");
    }
    RowCursor rows1(TableQuery(plan, 1, table.where), connection1_);
    RowCursor rows2(TableQuery(plan, 2, table.where), connection2_);
    WalkKeyed(plan, options_.equality, rows1, rows2, result, outlet);
}

}  // namespace QuillonLib
