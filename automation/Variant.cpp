#include "automation/Variant.h"

#include <utility>

#include "automation/Failure.h"
#include "automation/Text.h"
#include "core/Error.h"

namespace QuillonLib::Automation {

Variant::Variant(const VARIANT& other) {
    Check(VariantCopyInd(&value_, const_cast<VARIANT*>(&other)));
}

Variant Variant::Take(VARIANT& owner) noexcept {
    Variant result;
    std::swap(result.value_, owner);
    return result;
}

Variant Variant::Null() noexcept {
    Variant null;
    null.value_.vt = VT_NULL;
    return null;
}

Variant Variant::Missing() noexcept {
    Variant missing;
    missing.value_.vt = VT_ERROR;
    missing.value_.scode = DISP_E_PARAMNOTFOUND;
    return missing;
}

Variant Variant::Object(IDispatch* object) noexcept {
    Variant result;
    result.value_.vt = VT_DISPATCH;
    result.value_.pdispVal = object;
    if (object != nullptr) object->AddRef();
    return result;
}

VARIANT* Variant::Put() noexcept {
    VariantClear(&value_);
    value_ = VARIANT{};
    return &value_;
}

VARIANT Variant::Detach() noexcept {
    return std::exchange(value_, VARIANT{});
}

Variant Variant::As(VARTYPE type, LCID locale) const {
    Variant result;
    const HRESULT failure = VariantChangeTypeEx(result.InPlace(), const_cast<VARIANT*>(&value_),
                                                locale, VARIANT_ALPHABOOL, type);
    if (failure == DISP_E_TYPEMISMATCH || failure == DISP_E_BADVARTYPE) ThrowTypeMismatch();
    if (failure == DISP_E_OVERFLOW) throw Error(ErrorNumber::Overflow, u"Overflow");
    Check(failure);
    return result;
}

Variant NewText(std::u16string_view text) {
    Variant result;
    result.InPlace()->bstrVal = NewBstr(text);
    result.InPlace()->vt = VT_BSTR;
    return result;
}

Variant NewFlag(bool value) noexcept {
    Variant result;
    result.InPlace()->vt = VT_BOOL;
    result.InPlace()->boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    return result;
}

bool IsMissing(const VARIANT& value) noexcept {
    const VARIANT* held = &value;
    while (held->vt == (VT_BYREF | VT_VARIANT))
        held = held->pvarVal;
    if (held->vt == (VT_BYREF | VT_ERROR)) return *held->pscode == DISP_E_PARAMNOTFOUND;
    return held->vt == VT_ERROR && held->scode == DISP_E_PARAMNOTFOUND;
}

Variant PlainValue(const VARIANT& value) {
    Variant plain(value);
    if (plain.Type() != VT_DISPATCH || plain.Get().pdispVal == nullptr) return plain;
    DISPPARAMS none{};
    Variant result;
    const HRESULT failure = plain.Get().pdispVal->Invoke(DISPID_VALUE, IID_NULL, LOCALE_INVARIANT,
                                                         DISPATCH_PROPERTYGET | DISPATCH_METHOD,
                                                         &none, result.Put(), nullptr, nullptr);
    if (FAILED(failure)) ThrowTypeMismatch();
    return result;
}

ComPtr<IUnknown> ObjectIn(const VARIANT& value) {
    const Variant held(value);
    if (held.Type() != VT_DISPATCH && held.Type() != VT_UNKNOWN) ThrowTypeMismatch();
    return ComPtr<IUnknown>(held.Get().punkVal);
}

bool FlagIn(const VARIANT& value) {
    return PlainValue(value).As(VT_BOOL).Get().boolVal != VARIANT_FALSE;
}

std::u16string TextIn(const VARIANT& value) {
    return std::u16string(ViewOf(PlainValue(value).As(VT_BSTR).Get().bstrVal));
}

}  // namespace QuillonLib::Automation
