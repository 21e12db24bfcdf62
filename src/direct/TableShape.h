// What of a table is compared, and how: from the catalogs of both sides. Not installed.
#pragma once

#include <vector>

#include "direct/ColumnPair.h"
#include "direct/DirectOptions.h"
#include "direct/DirectResult.h"

namespace QuillonLib {

struct TablePlan {
    DirectShape shape;
    std::vector<ColumnPair> pairs;  // one for each column of the shape
};

// Throws Error ItemNotFound where a column that the caller names is missing on a side, and
// Comparison where a key column that he names cannot be one.
TablePlan PlanTable(const ObjectFacts& side1, const ObjectFacts& side2, const DirectTable& table,
                    const std::vector<std::u16string>& ignoredColumns);

}  // namespace QuillonLib
