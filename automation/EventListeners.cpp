#include "automation/EventListeners.h"

#include <algorithm>
#include <utility>

#include "automation/Variant.h"

namespace QuillonLib::Automation {

namespace {

// As the type library numbers the events.
constexpr DISPID StatusId = 1;
constexpr DISPID ProcessErrorId = 2;

Variant NewNumber(VARTYPE type, std::int32_t number) {
    Variant result;
    result.InPlace()->vt = type;
    if (type == VT_I2) {
        result.InPlace()->iVal = static_cast<SHORT>(number);
    } else {
        result.InPlace()->lVal = number;
    }
    return result;
}

// Hands an event with two values and a flag to one listener.
void Notify(IDispatch& listener, DISPID event, const Variant& first, const Variant& second,
            bool& flag) {
    VARIANT_BOOL shown = flag ? VARIANT_TRUE : VARIANT_FALSE;
    VARIANT arguments[3];  // the last one first
    VariantInit(&arguments[0]);
    arguments[0].vt = VT_BYREF | VT_BOOL;
    arguments[0].pboolVal = &shown;
    arguments[1] = second.Get();
    arguments[2] = first.Get();
    DISPPARAMS passed{arguments, nullptr, 3, 0};
    Variant ignored;
    listener.Invoke(event, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &passed, ignored.Put(),
                    nullptr, nullptr);
    flag = shown != VARIANT_FALSE;
}

}  // namespace

DWORD EventListeners::Add(ComPtr<IDispatch> listener) {
    listeners_.push_back({++lastCookie_, std::move(listener)});
    return lastCookie_;
}

bool EventListeners::Remove(DWORD cookie) {
    const auto found = std::find_if(listeners_.begin(), listeners_.end(),
                                    [&](const Listener& one) { return one.cookie == cookie; });
    if (found == listeners_.end()) return false;
    const Listener gone = std::move(*found);  // let go of when the list is whole again
    listeners_.erase(found);
    return true;
}

// Both walk a copy: a handler may connect and disconnect listeners.
void EventListeners::RaiseStatus(const std::u16string& sMessage, std::int16_t iPercent,
                                 bool& bCancel) const {
    const Variant message = NewText(sMessage);
    const Variant percent = NewNumber(VT_I2, iPercent);
    for (const Listener& one : std::vector(listeners_)) {
        Notify(*one.object.Get(), StatusId, message, percent, bCancel);
    }
}

void EventListeners::RaiseProcessError(std::int32_t lErrNum, const std::u16string& sError,
                                       bool& bCancelProcess) const {
    const Variant number = NewNumber(VT_I4, lErrNum);
    const Variant text = NewText(sError);
    for (const Listener& one : std::vector(listeners_)) {
        Notify(*one.object.Get(), ProcessErrorId, number, text, bCancelProcess);
    }
}

}  // namespace QuillonLib::Automation
