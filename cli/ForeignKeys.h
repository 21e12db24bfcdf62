// The foreign keys of the database that a script is run on.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "QuillonLib.h"

namespace quillon {

struct ForeignKey {
    std::u16string name;
    std::u16string table;       // the table entry of the referring table
    std::u16string referenced;  // and of the one referred to
    bool enabled = true;
    bool cascades = false;  // deletes or changes of rows referred to reach the referring ones
    // Bracketed, brackets within doubled, as they stand in ALTER TABLE.
    std::u16string quotedName;
    std::u16string quotedTable;
};

// In the order in which they were made.
std::vector<ForeignKey> ReadForeignKeys(const std::shared_ptr<QuillonLib::Connection>& connection);

// The enabled ones of the tables among `tables` (entries), and those that refer to them.
std::vector<ForeignKey> KeysToSuspend(std::vector<ForeignKey> keys,
                                      const std::vector<std::u16string>& tables);

// The statements that switch foreign keys off, and on again with every row checked.
std::vector<std::u16string> SwitchedOff(const std::vector<ForeignKey>& keys);
std::vector<std::u16string> SwitchedOn(const std::vector<ForeignKey>& keys);

}  // namespace quillon
