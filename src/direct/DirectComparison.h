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
// A table without a key is compared as a bag of whole rows. What does not fit into memory waits in
// temporary files.
//
// Rows are read under READ COMMITTED, or in snapshots: a database that changes meanwhile is
// compared as it was read.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "core/Export.h"
#include "direct/DirectOptions.h"
#include "direct/DirectResult.h"

namespace QuillonLib {

class Database;

// Called on the thread that called CompareDirectly, table by table in the order of the list,
// however many tables are read side by side; any may be empty. Setting `cancel` ends the
// comparison, cancelling what the servers are at: the tables that are not done yet stay incomplete.
// What a handler throws ends it too, and reaches the caller.
struct DirectSink {
    // Each row that is not identical on both sides, or all rows: see DirectOptions::sameRows. In
    // key order, or in no told order of a table without a key.
    std::function<void(const DirectDifference& difference, bool& cancel)> Difference;
    // Before the first row of a table, and after every 10,000 rows of both sides.
    std::function<void(const DirectProgress& progress, bool& cancel)> Progress;
    // About ten times a second while nothing comes: a server may be silent for long.
    std::function<void(bool& cancel)> Waiting;
    // A table that is done, or has failed.
    std::function<void(std::size_t table, const DirectTableResult& result, bool& cancel)> Table;
};

// The results of the tables, in their order. What happens to one table is in its `error`, and the
// others go on:
//   ErrorNumber::ItemNotFound  a side has no such table or no such column
//   ErrorNumber::Comparison    rows came out of key order, or with a key twice; a key that cannot
//                              be one; a table without a column to compare, or with columns
//                              whose names differ in case only
//   ErrorNumber::FileAccess    a temporary file for the rows of a table without a key
//   ErrorNumber::DataAccess    also: text that has to be read in its code page, and is none
//   any other                  as Connection gives it: the server refused, or is gone
// Throws the Error of the first login that fails, and InvalidArgument (5) for options out of range.
// `database1` and `database2` are only read.
QUILLON_API std::vector<DirectTableResult> CompareDirectly(const Database& database1,
                                                           const Database& database2,
                                                           const std::vector<DirectTable>& tables,
                                                           const DirectOptions& options,
                                                           const DirectSink& sink);

}  // namespace QuillonLib
