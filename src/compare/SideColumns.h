// What the catalogs said of both sides of a table when it was compared. Not installed.
#pragma once

#include <string_view>
#include <vector>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

class TableDifference;

// All columns of each side, also those that the other does not have: a row set of the rows of one
// side holds them, too.
struct SideColumns {
    std::vector<ColumnFacts> Side1;
    std::vector<ColumnFacts> Side2;

    // Both empty where the comparison did not come so far.
    static const SideColumns& Of(const TableDifference& obTableDifference);
    static void Keep(TableDifference& obTableDifference, SideColumns columns);
};

// Of exactly that name; null when there is none.
const ColumnFacts* FindColumn(const std::vector<ColumnFacts>& columns, std::u16string_view name);

}  // namespace QuillonLib
