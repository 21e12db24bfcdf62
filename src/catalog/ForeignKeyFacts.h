// The foreign keys of a database, as SQL Server 2005 and later tell them. Not installed.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

class Connection;

struct ForeignKeyFacts {
    std::u16string Name;
    ObjectName Table;       // the referring table
    ObjectName Referenced;  // the one referred to
    bool Enabled = true;
    // False where rows may be there that refer to nothing: nobody has looked since it was made, or
    // switched on.
    bool Trusted = true;
    // ON DELETE, ON UPDATE: CASCADE, SET NULL or SET DEFAULT.
    bool ActsOnDelete = false;
    bool ActsOnUpdate = false;
    // Referring and referred column, in the order of the key.
    std::vector<std::pair<std::u16string, std::u16string>> Columns;
};

// Those of the connection's current database, in the order in which they were made.
std::vector<ForeignKeyFacts> ReadForeignKeyFacts(const std::shared_ptr<Connection>& connection);

}  // namespace QuillonLib
