// The descriptions of interfaces and classes in the DLL's own type library.
#pragma once

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"

namespace QuillonLib::Automation {

class TypeLibrary {
  public:
    // The description of an interface or class. Kept from the first use on; throws ComError.
    static ComPtr<ITypeInfo> Describe(const GUID& id);
    // Lets go of what is kept.
    static void Release() noexcept;
};

}  // namespace QuillonLib::Automation
