// What somebody may have meant who typed a name that is not there.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// The name among `known` that the fewest typing errors (a letter too many, missing, wrong, or
// swapped with its neighbour) lead to, empty where none is near: at most one error for every three
// letters. The first of equally near ones.
std::string NearestName(std::string_view typed, const std::vector<std::string>& known);

// "; did you mean NAME?", empty where none is near.
std::string DidYouMean(std::string_view typed, const std::vector<std::string>& known);

}  // namespace quillon
