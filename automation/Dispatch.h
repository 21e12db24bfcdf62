// Late-bound calls, answered through the type library.
#pragma once

#include "automation/AutomationTypes.h"

namespace QuillonLib::Automation {

struct Invocation {
    DISPID member;
    LCID locale;
    WORD flags;
    DISPPARAMS* arguments;
    VARIANT* result;
    EXCEPINFO* exception;
    UINT* badArgument;
    bool givesOthersValues;  // what members give are values of callers, which stay as they are
};

// What IDispatch::Invoke does, for an object whose dual interface `type` describes.
//
// Scripts hold variants only. A parameter that is a typed reference gets a temporary of its type
// with the value of the variable, and what the member puts there, even where it fails, goes back
// into the variable. Arguments behind a property without parameters that gives an object go to the
// object's default member: Tables("[dbo].[T]").
HRESULT Invoke(ITypeInfo* type, IDispatch* object, const Invocation& call) noexcept;

}  // namespace QuillonLib::Automation
