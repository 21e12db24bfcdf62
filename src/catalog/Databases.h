// The caller's list of databases.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "catalog/Database.h"
#include "core/Export.h"
#include "core/ObjectCollection.h"

namespace QuillonLib {

class QUILLON_API Databases : public ObjectCollection<Database> {
  public:
    // A new Database with the next ID: 1, 2, 3 ... in the order of creation, never given twice.
    // Error 457 for a key that is taken; an ID has then been used up all the same.
    std::shared_ptr<Database> Add();
    std::shared_ptr<Database> Add(std::u16string_view vKey);

    // Error 5 when absent; nothing is changed then.
    void Remove(std::u16string_view vKey);
    void Remove(std::int64_t vPosition);

    // The first item with that ID, if any, is removed. The list counts as changed either way.
    // Error 6 in a list of more than 32,767 items.
    void RemoveID(std::int32_t lID);
    // The first item with that ID; null when there is none. Error 6 as RemoveID.
    std::shared_ptr<Database> ItemFromID(std::int32_t lID) const;

    // Whether the list has changed since it was created. Nothing clears the flag: assigning sets
    // it whatever the value, and a caller that has saved the list makes a new one.
    bool Dirty() const { return dirty_; }
    void Dirty(bool bValue);

  private:
    std::shared_ptr<Database> NextDatabase();
    // The position of the first item with that ID; 0 when there is none.
    std::int16_t PositionOfID(std::int32_t lID) const;

    bool dirty_ = false;
    std::int32_t lastID_ = 0;
};

}  // namespace QuillonLib
