// The classes that callers create by name.
#pragma once

#include <span>

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"

namespace QuillonLib::Automation {

struct Class {
    const CLSID& id;
    const wchar_t* name;  // behind "QuillonLib."
    ComPtr<IUnknown> (*create)();
};

std::span<const Class> Classes();

}  // namespace QuillonLib::Automation
