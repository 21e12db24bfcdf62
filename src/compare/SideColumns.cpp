#include "compare/SideColumns.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "compare/TableDifference.h"

namespace QuillonLib {

const SideColumns& SideColumns::Of(const TableDifference& obTableDifference) {
    static const SideColumns none;
    return obTableDifference.sides_ == nullptr ? none : *obTableDifference.sides_;
}

void SideColumns::Keep(TableDifference& obTableDifference, SideColumns columns) {
    obTableDifference.sides_ = std::make_shared<const SideColumns>(std::move(columns));
}

const ColumnFacts* FindColumn(const std::vector<ColumnFacts>& columns, std::u16string_view name) {
    const auto found = std::find_if(columns.begin(), columns.end(),
                                    [name](const ColumnFacts& c) { return c.Name == name; });
    return found == columns.end() ? nullptr : &*found;
}

}  // namespace QuillonLib
