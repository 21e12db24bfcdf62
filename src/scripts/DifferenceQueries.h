// The queries that fetch the rows behind one table's result. Not installed.
#pragma once

#include <cstdint>
#include <string>

#include "core/Options.h"

namespace QuillonLib {

class Database;
class TableDifference;

// They run on the server of database 3. With cpoLimitRecordsReturned each returns at most
// `lRecords` rows.
struct DifferenceQueries {
    std::u16string Equal;
    std::u16string Different;  // empty when no column outside the key is compared
    std::u16string Right;      // only in database 1
    std::u16string Left;       // only in database 2
};

DifferenceQueries BuildDifferenceQueries(const Database& obDB1, const Database& obDB2,
                                         const Database& obDB3,
                                         const TableDifference& obTableDifference,
                                         enShowOptions enOptions, std::int32_t lRecords);

}  // namespace QuillonLib
