#include "automation/Reference.h"

#include <cstring>
#include <utility>

#include "automation/Failure.h"
#include "core/Error.h"

namespace QuillonLib::Automation {

namespace {

// Of the types whose values own nothing; 0 for any other.
std::size_t SizeOf(VARTYPE type) {
    switch (type) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
            return 4;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
            return 8;
        default:
            return 0;
    }
}

void AssignObject(IUnknown** place, const Variant& value, const IID& id) {
    if (value.Type() != VT_DISPATCH && value.Type() != VT_UNKNOWN) {
        throw ComError(DISP_E_TYPEMISMATCH);
    }
    ComPtr<IUnknown> object;
    if (value.Get().punkVal != nullptr &&
        FAILED(value.Get().punkVal->QueryInterface(id, object.PutVoid()))) {
        throw ComError(DISP_E_TYPEMISMATCH);
    }
    const auto before = ComPtr<IUnknown>::Attach(std::exchange(*place, object.Detach()));
}

Variant Converted(const Variant& value, VARTYPE type, LCID locale) {
    try {
        return value.As(type, locale);
    } catch (const Error& error) {
        throw ComError(error.Number() == ErrorNumber::Overflow ? DISP_E_OVERFLOW
                                                               : DISP_E_TYPEMISMATCH);
    }
}

}  // namespace

VARIANT& Variable(VARIANT& given) noexcept {
    VARIANT* held = &given;
    while (held->vt == (VT_BYREF | VT_VARIANT))
        held = held->pvarVal;
    return *held;
}

void Assign(VARIANT& variable, Variant value) noexcept {
    std::swap(variable, *value.InPlace());
}

void AssignBehind(const VARIANT& reference, const Variant& value, LCID locale) {
    const auto type = static_cast<VARTYPE>(reference.vt & ~VT_BYREF);
    if (type == VT_DISPATCH) {
        AssignObject(reinterpret_cast<IUnknown**>(reference.ppdispVal), value, IID_IDispatch);
    } else if (type == VT_UNKNOWN) {
        AssignObject(reference.ppunkVal, value, IID_IUnknown);
    } else if (type == VT_BSTR) {
        Variant text = Converted(value, type, locale);
        std::swap(*reference.pbstrVal, text.InPlace()->bstrVal);
    } else if (const std::size_t size = SizeOf(type); size != 0) {
        const Variant number = Converted(value, type, locale);
        std::memcpy(reference.byref, &number.Get().byref, size);  // where every value lies
    } else {
        throw ComError(DISP_E_TYPEMISMATCH);
    }
}

}  // namespace QuillonLib::Automation
