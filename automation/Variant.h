// Owns a VARIANT, and what other code's VARIANTs mean.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"

namespace QuillonLib::Automation {

class Variant {
  public:
    Variant() noexcept = default;
    // A copy; what stands behind a reference is copied, too.
    explicit Variant(const VARIANT& other);
    Variant(const Variant& other) : Variant(other.value_) {}
    Variant(Variant&& other) noexcept : value_(std::exchange(other.value_, VARIANT{})) {}
    Variant& operator=(Variant other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Variant() { VariantClear(&value_); }

    // Takes over what a VARIANT owns, which is Empty then.
    static Variant Take(VARIANT& owner) noexcept;
    static Variant Null() noexcept;
    // What a caller passes who leaves an optional argument out.
    static Variant Missing() noexcept;
    // Nothing, for null.
    static Variant Object(IDispatch* object) noexcept;

    const VARIANT& Get() const noexcept { return value_; }
    VARTYPE Type() const noexcept { return value_.vt; }
    // Empty, to be filled by a function that gives a VARIANT.
    VARIANT* Put() noexcept;
    // The VARIANT as it is, to be changed in place.
    VARIANT* InPlace() noexcept { return &value_; }
    VARIANT Detach() noexcept;

    // The value as another type. Error 13 where there is no such form of it, 6 where it does not
    // fit.
    Variant As(VARTYPE type, LCID locale = LOCALE_INVARIANT) const;

  private:
    // All fields: a type that is set without a value holds null then. VariantInit promises the type
    // only.
    VARIANT value_{};
};

Variant NewText(std::u16string_view text);
Variant NewFlag(bool value) noexcept;

// Also where a caller hands an argument on that was left out in his own call.
bool IsMissing(const VARIANT& value) noexcept;

// What stands behind references, and the default value of an object that has one.
Variant PlainValue(const VARIANT& value);
// The object in a VARIANT; null for Nothing. Error 13 for anything else.
ComPtr<IUnknown> ObjectIn(const VARIANT& value);
// True or False. Error 13 for what is neither, nor a number.
bool FlagIn(const VARIANT& value);
// The text of a plain value. Error 13 for what has none, Null among them.
std::u16string TextIn(const VARIANT& value);

}  // namespace QuillonLib::Automation
