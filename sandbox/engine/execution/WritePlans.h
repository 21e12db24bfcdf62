// What the plans of INSERT, UPDATE and DELETE have in common.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/engine/execution/Executor.h"

namespace sandbox::engine {

// The rows that an UPDATE or a DELETE writes: those of a table, or those that its FROM joins to
// them.
struct Executor::WrittenRows {
    Catalog* catalog = nullptr;
    TablePtr table;
    const Source* target = nullptr;
    std::string storage;  // the table, as SQLite knows it
    std::string from;     // what stands behind FROM
    std::string where;    // " WHERE ...", or empty
    std::string limit;    // " LIMIT ...", or empty
    bool joined = false;  // to other sources, or limited: SQLite has no such UPDATE and DELETE

    // A query for the rowid of each, and for `values` (",x AS y").
    std::string Query(const std::string& values) const {
        return "SELECT " + target->sql + ".rowid AS rid" + values + " FROM " + from + where + limit;
    }
};

std::string FileNumber(const Catalog& catalog);
std::string Joined(const std::vector<std::string>& parts);

// Fails where the table is the history of another. `what`: "insert rows in"
void RefuseHistory(const Catalog& catalog, const TableMeta& table, std::int32_t number,
                   std::u16string_view what);

// "database.owner.table"
std::u16string WholeName(const Catalog& catalog, const TableMeta& table);

}  // namespace sandbox::engine
