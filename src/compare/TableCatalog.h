// The catalog facts of one database, as a comparison walks through its table list. Not installed.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "catalog/CatalogReader.h"
#include "core/BoundedArray.h"

namespace QuillonLib {

class Connection;
class Database;

// Reads ahead, twenty tables of the list at a time with two queries, and keeps no more than that:
// a comparison of many tables neither asks the server for each nor holds the whole catalog.
class TableCatalog {
  public:
    static constexpr std::int32_t BlockSize = 20;

    // Reads the facts of the database itself through `connection`, which must be logged in.
    // `sTables` must outlive the object. Throws the Error of the query.
    TableCatalog(std::shared_ptr<Connection> connection, const Database& database,
                 const TextArray& sTables);

    // Lets go of what is known of tables.
    void Release() {
        block_.clear();
        known_ = false;
    }

    // The table or view of the entry at `index` of the list (counted from its lower bound). A view
    // is found only where the database's compatibility level allows indexed views. Valid until
    // Release. Error 3265 when there is none.
    const ObjectFacts& Find(std::int32_t index);

  private:
    void LoadBlock(std::int32_t index);

    CatalogReader reader_;
    std::u16string database_;
    const TextArray& sTables_;
    std::vector<ObjectFacts> block_;
    bool known_ = false;
};

}  // namespace QuillonLib
