// Statements that name a row of a list which a write has not met. Not installed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

// A column of the key as the list holds it.
struct ListedKey {
    std::u16string name;        // "v.k1"
    const ColumnFacts* column;  // of the target
    bool bytes = false;         // as varbinary(max): the value's own bytes, and one behind them
    bool sameCodePage = true;   // of the column and the database
};

// What the list and the write have left behind.
struct ListedRows {
    std::u16string table;  // holds the rows, with a number "n" for each
    std::u16string met;    // a table variable with the "n" of those that the write has met
    std::u16string row;    // a variable to declare
    std::vector<ListedKey> key;
    bool many = false;  // more than a list holds
    bool lists = true;  // SQL Server 2008 or later
};

// Declares the variable and sets it to ", key (...)" of the first row that was not met, with at
// most 200 characters of the key: for "%s" of RAISERROR, where "%" in a key means nothing.
std::u16string FindMissed(const ListedRows& rows, std::u16string_view indent);

}  // namespace QuillonLib
