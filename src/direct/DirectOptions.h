// What a caller may ask of a direct comparison.
#pragma once

#include <string>
#include <vector>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

// One table to compare, or an indexed view. Both sides have it under the same name, in letters of
// another case where the collation of that database takes them for the same.
struct DirectTable {
    ObjectName name;
    // A condition in the SQL of the server, the same for both sides: only the rows that meet it are
    // compared. Sent as it stands; it can do whatever the login may. Empty: all rows.
    std::u16string where;
    // The columns by which rows are matched. Empty: the primary key, by its columns, whatever its
    // name; else the first unique index of side 1 whose columns are unique on side 2, too; else
    // there is no key.
    std::vector<std::u16string> keyColumns;
    // Not compared, whatever their case. A column of the key is compared all the same.
    std::vector<std::u16string> ignoredColumns;
    // Compared beside those of the key, whatever their case; both sides must have them. Empty: all.
    std::vector<std::u16string> comparedColumns{};
};

// Exact unless the caller says otherwise. Keys are always matched exactly.
struct DirectEquality {
    bool ignoreCase = false;            // of text: simple case mapping over all of Unicode
    bool ignoreTrailingBlanks = false;  // of text: U+0020
    // 1 to 17: real and float are equal where they are when rounded to so many significant decimal
    // digits. 0: where their bits are.
    int floatDigits = 0;
};

struct DirectOptions {
    DirectEquality equality;
    std::vector<std::u16string> ignoredColumns;  // of every table, as in DirectTable
    // Read each table on each side as it was at one moment, where the database allows it: see
    // DirectTableResult::reading1. Tables, and the sides, have moments of their own.
    bool snapshot = false;
    // Tell of the rows that are the same on both sides, too: DirectChange::Same.
    bool sameRows = false;
    // 1 to 64: tables that are read side by side, with two connections for each.
    int jobs = 2;
};

}  // namespace QuillonLib
