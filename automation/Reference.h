// What stands behind a reference that a caller passes.
#pragma once

#include "automation/AutomationTypes.h"
#include "automation/Variant.h"

namespace QuillonLib::Automation {

// The last VARIANT of a chain of references to VARIANTs: the caller's variable, or a reference to
// one of a type of its own.
VARIANT& Variable(VARIANT& given) noexcept;

// Puts a value in the place of another. What was there is let go of when the new value stands.
void Assign(VARIANT& variable, Variant value) noexcept;

// The same for what a typed reference (VT_BYREF and a type) leads to: the value takes its type.
// ComError DISP_E_TYPEMISMATCH where it cannot, DISP_E_OVERFLOW where it does not fit.
void AssignBehind(const VARIANT& reference, const Variant& value, LCID locale);

}  // namespace QuillonLib::Automation
