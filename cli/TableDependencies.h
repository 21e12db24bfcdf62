// The order among tables that refer to each other.
#pragma once

#include <string>
#include <vector>

#include "QuillonLib.h"

namespace quillon {

// Groups of tables such that every table stands behind those that refer to it: children first. A
// group of more than one table is a cycle. `obDB1` must have been asked for dependencies; only
// those among `tables` (entries) count.
std::vector<std::vector<std::u16string>> GroupByDependency(
    QuillonLib::Database& obDB1, const std::vector<std::u16string>& tables);

}  // namespace quillon
