// How the declarations of a table differ between two databases. Not installed.
#pragma once

#include <vector>

#include "direct/DirectResult.h"

namespace QuillonLib {

std::vector<DirectDrift> FindDrift(const ObjectFacts& side1, const ObjectFacts& side2);

}  // namespace QuillonLib
