// What may be said of a table after a direct comparison.
#pragma once

#include <string>

#include "cli/ResultTable.h"
#include "direct/DirectResult.h"

namespace quillon {

// `entry`: the table, as the command lists it. `condition`: of the rows that were compared; empty
// for all. `snapshot`: whether the caller asked for one.
ResultLine LineOf(const std::u16string& entry, const QuillonLib::DirectTableResult& result,
                  const std::string& condition, bool snapshot);

}  // namespace quillon
