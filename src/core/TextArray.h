// An array of texts with bounds, as automation callers pass and receive it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace QuillonLib {

struct TextArray {
    TextArray() = default;
    TextArray(std::vector<std::u16string> items, std::int32_t lowerBound = 0)
        : Items(std::move(items)), LowerBound(lowerBound) {}

    std::vector<std::u16string> Items;
    std::int32_t LowerBound = 0;

    // LowerBound - 1 for an array without elements.
    std::int32_t UpperBound() const {
        return LowerBound + static_cast<std::int32_t>(Items.size()) - 1;
    }
    bool operator==(const TextArray&) const = default;
};

}  // namespace QuillonLib
