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

class Outlet {
  public:
    virtual ~Outlet() = default;
    virtual void Found(FoundDifference difference) = 0;
};

}  // namespace QuillonLib
