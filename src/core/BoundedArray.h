// An array with bounds, as automation callers pass and receive it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace QuillonLib {

template <typename T>
struct BoundedArray {
    BoundedArray() = default;
    // A plain list is an array from 0.
    BoundedArray(std::vector<T> items, std::int32_t lowerBound = 0)
        : Items(std::move(items)), LowerBound(lowerBound) {}

    std::vector<T> Items;
    std::int32_t LowerBound = 0;

    // LowerBound - 1 for an array without elements.
    std::int32_t UpperBound() const {
        return LowerBound + static_cast<std::int32_t>(Items.size()) - 1;
    }
    bool operator==(const BoundedArray&) const = default;
};

using TextArray = BoundedArray<std::u16string>;

}  // namespace QuillonLib
