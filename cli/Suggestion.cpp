#include "cli/Suggestion.h"

#include <algorithm>
#include <cstddef>

namespace quillon {

namespace {

// Optimal string alignment distance.
std::size_t TypingErrors(std::string_view typed, std::string_view name) {
    const std::size_t width = name.size() + 1;
    std::vector<std::size_t> beforeLast(width);
    std::vector<std::size_t> last(width);
    std::vector<std::size_t> row(width);
    for (std::size_t j = 0; j < width; ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= typed.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j < width; ++j) {
            const bool same = typed[i - 1] == name[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            const bool swapped =
                i > 1 && j > 1 && typed[i - 1] == name[j - 2] && typed[i - 2] == name[j - 1];
            if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast.swap(last);
        last.swap(row);
    }
    return last[name.size()];
}

}  // namespace

std::string NearestName(std::string_view typed, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t fewest = std::max<std::size_t>(1, typed.size() / 3) + 1;
    for (const std::string& name : known) {
        const std::size_t errors = TypingErrors(typed, name);
        if (errors >= fewest) continue;
        fewest = errors;
        nearest = name;
    }
    return nearest;
}

std::string DidYouMean(std::string_view typed, const std::vector<std::string>& known) {
    const std::string nearest = NearestName(typed, known);
    return nearest.empty() ? "" : "; did you mean " + nearest + "?";
}

}  // namespace quillon
