// Rows that a foreign key does not hold: of one that the server does not trust there may be some,
// and a script must not make more while it has the key suspended. Not installed.
#pragma once

#include <cstddef>
#include <string>

#include "catalog/ForeignKeyFacts.h"

namespace QuillonLib {

class StrayRows {
  public:
    // `number`: from 1, one for each key of a script. `key` must outlive the object.
    StrayRows(const ForeignKeyFacts& key, std::size_t number);

    // Keeps in a temporary table of the session what rows refer to that is not there.
    std::u16string Keep() const;
    // Ends the script where more rows refer to what is not there. Drops the table.
    std::u16string LookForMore() const;

  private:
    // FROM and WHERE for the rows, as c, that refer to nothing.
    std::u16string Strays() const;
    std::u16string Counted(std::u16string_view into) const;

    const ForeignKeyFacts& key_;
    std::u16string table_;
};

}  // namespace QuillonLib
