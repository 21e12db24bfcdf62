// What may be said of a table after a direct comparison.
#pragma once

#include <string>
#include <vector>

#include "cli/ResultTable.h"
#include "direct/DirectOptions.h"
#include "direct/DirectResult.h"

namespace quillon {

// `entry`: the table, as the command lists it. `condition`: of the rows that were compared; empty
// for all.
ResultLine LineOf(const std::u16string& entry, const QuillonLib::DirectTableResult& result,
                  const std::string& condition, const QuillonLib::DirectOptions& options);

// The columns that are compared, without the number of their changed cells.
std::vector<ComparedColumn> ColumnsOf(const QuillonLib::DirectShape& shape);

// "column [a] only in 1", for each column that one side lacks.
std::vector<std::string> OneSidedColumns(const QuillonLib::DirectTableResult& result);

}  // namespace quillon
