// Hands values of the library to the pointers that automation callers pass for results.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"
#include "automation/Failure.h"
#include "automation/Text.h"
#include "automation/Variant.h"

namespace QuillonLib::Automation {

template <class T>
T& Target(T* pointer) {
    if (pointer == nullptr) throw ComError(E_POINTER);
    return *pointer;
}

// What a result is before it is made.
template <class T>
void Clear(T* target) {
    Target(target) = T{};
}
inline void Clear(VARIANT* target) {
    VariantInit(&Target(target));
}

// The target is looked at first: what is made for it would be lost with a null pointer.
inline void Give(BSTR* target, std::u16string_view text) {
    BSTR& place = Target(target);
    place = NewBstr(text);
}
inline void Give(LONG* target, std::int32_t number) {
    Target(target) = number;
}
inline void Give(VARIANT_BOOL* target, bool value) {
    Target(target) = value ? VARIANT_TRUE : VARIANT_FALSE;
}
inline void Give(VARIANT* target, Variant value) {
    VARIANT& place = Target(target);
    place = value.Detach();
}
inline void Give(CLSID* target, const CLSID& id) {
    Target(target) = id;
}
template <class T>
void Give(T** target, ComPtr<T> object) {
    T*& place = Target(target);
    place = object.Detach();
}

// The same for a reference that may hold something already.
inline void Replace(BSTR* target, std::u16string_view text) {
    BSTR& place = Target(target);
    BSTR fresh = NewBstr(text);
    SysFreeString(place);
    place = fresh;
}
// Whoever hears that the old object goes finds the new one in its place.
template <class T>
void Replace(T** target, ComPtr<T> object) {
    const auto before = ComPtr<T>::Attach(std::exchange(Target(target), object.Detach()));
}

}  // namespace QuillonLib::Automation
