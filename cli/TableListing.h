// Which tables of a result are listed, and in which order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quillon {

enum class TableOrder : std::uint8_t {
    AsCompared,
    Name,
    Differences,  // most rows that differ, or are of one side, first; those that failed before them
    Rows,         // most first, on the side that has more
};

struct TableListing {
    bool onlyDifferent = false;  // identical tables are not listed
    TableOrder order = TableOrder::AsCompared;
    std::size_t limit = 0;  // no more than so many; 0: all
};

}  // namespace quillon
