// One ordered pair of scripts for a whole comparison. Not installed: Utils is its public face.
#pragma once

#include <cstdint>
#include <string>

#include "compare/Events.h"
#include "core/Options.h"

namespace QuillonLib {

class Database;
class TableDifferences;

// See Utils::GetUpdateScripts.
void GetUpdateScripts(Database& obDB1, const Database& obDB2, const Database& obDB3,
                      const TableDifferences& obTableDifferences, std::u16string& sLeft,
                      std::u16string& sRight, enShowOptions enOptions, std::int32_t lRecords,
                      const Events& events);

}  // namespace QuillonLib
