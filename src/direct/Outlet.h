// Where a comparison of one table puts what it finds. Not installed.
#pragma once

#include <optional>
#include <vector>

#include "direct/DirectResult.h"

namespace QuillonLib {

struct FoundDifference {
    DirectChange change = DirectChange::Differs;
    std::optional<DirectRow> row1;
    std::optional<DirectRow> row2;
    std::vector<bool> changed;
};

// Either call may throw to end the comparison of the table.
class Outlet {
  public:
    virtual ~Outlet() = default;
    virtual void Found(FoundDifference difference) = 0;
    // Whether rows that are the same are wanted, too.
    virtual bool WantsSame() const = 0;
    // Throws where nobody wants more.
    virtual void Look() const = 0;
    // A row more has been read: `result` counts it.
    virtual void Read(const DirectTableResult& result) = 0;
};

}  // namespace QuillonLib
