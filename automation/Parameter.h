// One argument of a late-bound call, in the form that the member's parameter has.
#pragma once

#include "automation/AutomationTypes.h"
#include "automation/Outputs.h"
#include "automation/Variant.h"

namespace QuillonLib::Automation {

// What a parameter is declared as.
struct ParameterType {
    VARTYPE type = VT_EMPTY;          // VT_DISPATCH for every interface, VT_ARRAY | elements
    bool byReference = false;         // a pointer to that
    bool isOptional = false;          // may be missing
    GUID interfaceId = IID_NULL;      // IID_NULL where any object will do
    const VARIANT* absent = nullptr;  // the default value, where one is declared

    // Of a parameter of a function of `owner`; `absent` is part of the description.
    static ParameterType Of(ITypeInfo* owner, const ELEMDESC& description);
};

// The value that goes to the member. Not to be moved while the call runs: it points into itself.
class Parameter {
  public:
    // `given`: what the caller passes, null where it is left out. Throws ComError: type mismatch,
    // or "not optional".
    Parameter(const ParameterType& type, VARIANT* given, LCID locale);
    Parameter(const Parameter&) = delete;
    Parameter& operator=(const Parameter&) = delete;

    // What the caller passes; null where it is left out.
    const VARIANT* Given() const noexcept { return given_; }
    // Owned by the parameter.
    VARIANT Argument();
    // Hands what the member put into a reference to the caller's variable, in the variable's type;
    // a variable that the member left alone keeps its own value, of its own type. `outputs`: what
    // the member has set. A failure where the variable's type has no such value.
    HRESULT HandBack(const Outputs& outputs) noexcept;

  private:
    // What the member gets for an argument that is left out.
    void FillIn();
    void Convert(const VARIANT& given);
    bool IsSet(const Outputs& outputs) const noexcept;

    const ParameterType& type_;
    VARIANT* given_;
    LCID locale_;
    bool passThrough_ = false;  // the caller's own reference, of the very type
    Variant held_;
    void* before_ = nullptr;  // what a reference held before the call
};

}  // namespace QuillonLib::Automation
