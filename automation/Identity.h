// Which automation object stands for an object of the library.
#pragma once

#include <compare>
#include <cstddef>

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"

namespace QuillonLib::Automation {

// Two requests for the same object of the library give the same automation object, as long as
// anybody holds it. Objects are asked for on the one thread that they belong to.
class Identity {
  public:
    struct Key {
        const void* object;    // of the library
        const CLSID* asClass;  // several classes may show one object
        std::size_t part;      // the number of a field, else 0
        auto operator<=>(const Key&) const = default;
    };

    // Null where nobody holds one.
    static ComPtr<IUnknown> Find(const Key& key);
    static void Register(const Key& key, IUnknown* object);
    static void Forget(const Key& key) noexcept;
};

}  // namespace QuillonLib::Automation
