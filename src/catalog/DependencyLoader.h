// Reads which tables and views of a database depend on which others. Not installed.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "data/Value.h"

namespace QuillonLib {

class Database;
class TableObjects;

// Fills the parent and child dependencies of every table and view of the catalog from foreign keys
// (tables only) and from the server's recorded dependencies (tables and views).
//
// Throws the Error of whatever failed, its description beginning with "Error getting dependency
// information." and naming the table that was being worked on, if any.
void LoadDependencies(const Database& database, TableObjects& tables);

// One row of either query: table entries, the object of `Name` depends on that of `DepName`.
struct DependencyRow {
    Value Name;
    Value DepName;
};

// Runs a query and returns its rows in order.
using DependencyQuery = std::function<std::vector<DependencyRow>(std::u16string_view sql)>;

// The same with another way to run the queries.
void LoadDependencies(const DependencyQuery& query, TableObjects& tables);

}  // namespace QuillonLib
