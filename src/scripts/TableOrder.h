// The order in which the tables of a multi-table script are worked on. Not installed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace QuillonLib {

class Database;
class TableDifferences;

struct PlacedTable {
    std::u16string Name;
    bool HasIdentity = false;
    std::int16_t Sequence = 0;  // the pass in which the table was placed, from 1
};

// A table is placed once every other table of the results that it depends on (by the catalog of
// database 1) has been placed. Placing goes in passes over the results. Views, tables without a key
// or with an error, and tables of a cycle are never placed; the former three are counted in every
// pass, and the passes end when the count reaches the number of results even if a table is still to
// be placed. A table whose key scripts cannot carry is placed like any other, so that it holds back
// no table that depends on it, though nothing is written for it.
//
// The result is in the order of placing: by Sequence, and within a pass by the order of the
// results. Error 5 when the catalog of database 1 lacks a table; errors of loading that catalog.
std::vector<PlacedTable> OrderTablesByDependency(Database& obDB1,
                                                 const TableDifferences& obTableDifferences);

// How many there are, in the 16 bits in which they are counted. Error 6 for more than 32,767.
std::int16_t CountOfPlaced(const std::vector<PlacedTable>& order);

}  // namespace QuillonLib
