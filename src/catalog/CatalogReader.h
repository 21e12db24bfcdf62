// The one reader of server catalog facts. It speaks two dialects: the sys. views of SQL Server 2005
// and later, where an owner is a schema, and the system tables of 7.0 and 2000.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

class Connection;

class CatalogReader {
  public:
    // Keeps the connection, sends nothing yet.
    explicit CatalogReader(std::shared_ptr<Connection> connection);

    // The names of all databases of the server, in name order.
    std::vector<std::u16string> DatabaseNames();

    // Makes the named database the one that the reads below are about; error 3265 when the server
    // has none of that name. One query, two where the connection is in another database; one more
    // for a server of version 12.
    void UseDatabase(std::u16string_view name);

    // 60, 70, 80 ...: valid after UseDatabase. Indexed views exist above 70.
    std::int32_t CompatibilityLevel() const { return level_; }

    // The user's own tables (none that the server brought along), by owner and name.
    std::vector<ObjectName> UserTables();
    // The user's own views that have an index, by owner and name.
    std::vector<ObjectName> IndexedViews();

    // Everything about the named tables and views with two queries, however many they are. An
    // object that does not exist is left out of the result.
    std::vector<ObjectFacts> Objects(std::span<const ObjectName> names);

    // The two halves of Objects, a query each, for a caller who keeps the columns even where the
    // indexes cannot be read. AddIndexes may move `objects`: pointers into it end there.
    std::vector<ObjectFacts> ObjectsWithColumns(std::span<const ObjectName> names);
    void AddIndexes(std::span<const ObjectName> names, std::vector<ObjectFacts>& objects);

  private:
    struct Dialect;
    static const Dialect SystemTables;
    static const Dialect SystemViews;

    std::vector<ObjectName> Names(std::u16string_view sql);
    bool KnowsTemporalTables() const;

    std::shared_ptr<Connection> connection_;
    const Dialect* dialect_;
    std::int32_t version_ = 0;  // major version of the server, 7, 8, 9 ...
    std::int32_t level_ = 0;
    bool temporal_ = false;  // the server knows temporal tables
};

// The entry of `objects` for a name as a caller wrote it: the same letters if there is one, else
// the same letters in another case. Null when there is none.
const ObjectFacts* FindObject(std::span<const ObjectFacts> objects, const ObjectName& name);

// The error of looking up a table or view that the database does not have (number 3265).
[[noreturn]] void ThrowObjectNotFound(const ObjectName& name, std::u16string_view database);

}  // namespace QuillonLib
