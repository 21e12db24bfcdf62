// The direct road: an exact comparison of the rows of two databases, wherever they are, with
// nothing but SELECT.
//
// The rows of both sides are read as two streams in key order and merged here; no server needs to
// reach the other, and nothing is kept but the rows in hand. Two cells are equal where every byte
// and every UTF-16 unit is: see DirectEquality for what a caller may loosen. Columns that the sides
// declare with different types are compared by value where both types hold their values without
// loss (int and bigint, varchar and nvarchar, decimals of any scale, real and float, date and
// datetime), and left out with the reason where they do not.
//
// Rows are read under READ COMMITTED: a database that changes meanwhile is compared as it was read,
// row by row.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "direct/DirectOptions.h"
#include "direct/DirectResult.h"

namespace QuillonLib {

class Database;

// Called on the thread that called CompareDirectly; any may be empty. What a handler throws ends
// the comparison and reaches the caller.
struct DirectSink {
    // Each row that is not identical on both sides, in key order.
    std::function<void(const DirectDifference& difference)> Difference;
};

// The results of the tables, in their order. What happens to one table is in its `error`, and the
// others go on:
//   ErrorNumber::ItemNotFound  a side has no such table or no such column
//   ErrorNumber::Comparison    rows came out of key order, or with a key twice; a key that cannot
//                              be one; a table without a key, or without a column to compare
//   any other                  as Connection gives it: the server refused, or is gone
// Throws the Error of a login that fails, and InvalidArgument (5) for options out of range.
std::vector<DirectTableResult> CompareDirectly(const Database& database1, const Database& database2,
                                               const std::vector<DirectTable>& tables,
                                               const DirectOptions& options,
                                               const DirectSink& sink);

}  // namespace QuillonLib
