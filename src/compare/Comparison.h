// The comparison of two databases, table by table. Not installed: Utils is its public face.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "compare/Choices.h"
#include "compare/Events.h"
#include "compare/TableDifference.h"
#include "core/BoundedArray.h"

namespace QuillonLib {

class Database;

struct ComparisonRequest {
    Database& obDB1;
    Database& obDB2;
    Database& obDB3;
    const TextArray& sTables;
    const IndexChoices& obIndexCollection;
    const ColumnChoices& obColumnCollection;
    // Looked at as each table begins; a handler may change it.
    const bool& SuppressCompareProcessErrors;
};

// What a comparison needs of the world besides the servers.
struct ComparisonSurroundings {
    Events events;
    std::function<std::u16string()> localComputerName;
    std::function<void(std::u16string_view text)> writeErrorToEventLog;
};

// Returns null when a handler cancelled. On failure `sLastError`, which the caller has cleared,
// holds the text that is also written to the event log and thrown, with the number of the cause.
std::shared_ptr<TableDifferences> CompareContents(const ComparisonRequest& request,
                                                  const ComparisonSurroundings& surroundings,
                                                  std::u16string& sLastError);

}  // namespace QuillonLib
