// The row sets and the two scripts of one table. Not installed: Utils is their public face.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/Options.h"

namespace QuillonLib {

class Database;
class Recordset;
class TableDifference;

// See Utils::GetRecordsets.
void GetRecordsets(const Database& obDB1, const Database& obDB2, const Database& obDB3,
                   const TableDifference& obTableDifference, std::shared_ptr<Recordset>& rsEqual,
                   std::shared_ptr<Recordset>& rsDifferent, std::shared_ptr<Recordset>& rsRight,
                   std::shared_ptr<Recordset>& rsLeft, std::u16string& sRight,
                   std::u16string& sLeft, enShowOptions enOptions, std::int32_t lRecords);

// "SET IDENTITY_INSERT [owner].[name] ON", or OFF; empty for a table without an identity column.
std::u16string IdentityInsertStatement(bool hasIdentity, const std::u16string& sTable, bool on);

}  // namespace QuillonLib
