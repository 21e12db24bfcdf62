// For Each over a collection.
#pragma once

#include <cstddef>
#include <functional>

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"
#include "automation/Variant.h"

namespace QuillonLib::Automation {

// Gives the values at 0 to count - 1. What `value` holds on to must not change while somebody
// walks: collections hand over the list of their items as it is now.
ComPtr<IUnknown> NewEnumerator(std::size_t count, std::function<Variant(std::size_t)> value);

}  // namespace QuillonLib::Automation
