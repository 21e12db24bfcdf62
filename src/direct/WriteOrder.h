// In what order tables are written, and what becomes of the foreign keys in the way. Not installed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "catalog/ForeignKeyFacts.h"

namespace QuillonLib {

// What is going to happen to a table.
struct WrittenTable {
    ObjectName name;
    std::vector<std::u16string> columns;  // those that the script writes
    std::vector<bool> changed;            // of each: rows are updated in it
    // Of each: it may be NULL for the time being (nullable, and in no unique index or key).
    std::vector<bool> mayBeNull;
    // Columns that the server computes from the others.
    std::vector<std::u16string> computed;
    std::vector<std::u16string> key;  // columns that rows are matched by; empty: there are none
    bool inserts = false;
    bool deletes = false;
};

struct WriteOrder {
    std::vector<std::size_t> order;  // parents before children
    // By table: positions of the columns that are NULL for the time being.
    std::vector<std::vector<std::size_t>> deferred;
    // Also those that would act by themselves on what happens to the rows they refer to, and those
    // that refer to what passes from one row to another; their tables need not be among those that
    // are written.
    std::vector<ForeignKeyFacts> suspended;
};

// `keys`: those of the database.
WriteOrder OrderWrites(const std::vector<WrittenTable>& tables,
                       const std::vector<ForeignKeyFacts>& keys);

}  // namespace QuillonLib
