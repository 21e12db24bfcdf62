// The unique indexes of a table, as those need them who write its rows. Not installed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

class Connection;

// Unlike IndexFacts, those with a filter are among them: such an index is no key of the table, but
// refuses rows.
struct UniqueIndexFacts {
    std::u16string Name;
    // The columns that decide whether a row is in the index, and where: its own, those that its
    // filter may look at, and those that its computed columns may be made from. Other words of
    // these expressions can be among them.
    std::vector<std::u16string> Columns;
    // False where the login may not read the filter, or how a column is computed: any column of the
    // table may be one of them then.
    bool Known = true;
    // IGNORE_DUP_KEY: rows that it has already are not inserted, and that is no error.
    bool IgnoresDuplicates = false;
};

// Of a table in the connection's current database, in index-id order. `version`: the major version
// of the server, 9 or later.
std::vector<UniqueIndexFacts> ReadUniqueIndexFacts(const std::shared_ptr<Connection>& connection,
                                                   std::int32_t version, const ObjectName& table);

// What may be a name in an expression, quoted or not: words, too. Each once, in their order.
std::vector<std::u16string> NamesIn(std::u16string_view expression);

}  // namespace QuillonLib
