// One unique index of a table, a candidate for the key of a comparison, and the collection of them.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/Export.h"
#include "core/ObjectCollection.h"

namespace QuillonLib {

class QUILLON_API IndexObject {
  public:
    const std::u16string& Name() const { return name_; }
    // The index backs the primary key of the table.
    bool PrimaryKey() const { return primaryKey_; }

  private:
    friend struct CatalogBuilder;

    std::u16string name_;
    bool primaryKey_ = false;
};

// Indexes by name, in the order of the catalog: the primary key's index, unique constraints and
// unique indexes, no others.
class QUILLON_API IndexObjects : public ObjectCollection<IndexObject> {
  private:
    friend struct CatalogBuilder;
    std::shared_ptr<IndexObject> AddIndex(std::u16string_view vKey);
};

}  // namespace QuillonLib
