// What may be said of a table after a direct comparison.
#pragma once

#include <string>
#include <vector>

#include "cli/DirectRun.h"
#include "cli/ResultTable.h"
#include "direct/DirectResult.h"

namespace quillon {

// `table`: the position of the table that it is the result of.
ResultLine LineOf(const DirectRun& run, std::size_t table,
                  const QuillonLib::DirectTableResult& result);

// Of a table that was left before its end, since somebody had seen enough: what its catalogs say,
// and what was not compared, are known all the same. `differs`: a difference was found.
Verdict VerdictOfPart(const DirectRun& run, std::size_t table,
                      const QuillonLib::DirectTableResult& result, bool differs);

// The columns that are compared, without the number of their changed cells.
std::vector<ComparedColumn> ColumnsOf(const QuillonLib::DirectShape& shape);

// "column [a] only in 1", for each column that one side lacks.
std::vector<std::string> OneSidedColumns(const QuillonLib::DirectTableResult& result);

}  // namespace quillon
