#include "automation/LateBound.h"

#include <dispex.h>

#include <algorithm>
#include <vector>

#include "automation/Failure.h"
#include "automation/Text.h"
#include "core/Error.h"

namespace QuillonLib::Automation {

namespace {

constexpr std::uint32_t RunTimeErrors = 0x800A0000;
constexpr std::int32_t NoSuchMember = 438;
constexpr std::uint32_t KindOfNumber = 0xFFFF0000;

// What a member told of its failure; its texts are freed with it.
struct Exception {
    EXCEPINFO info{};
    Exception() = default;
    Exception(const Exception&) = delete;
    Exception& operator=(const Exception&) = delete;
    ~Exception() {
        SysFreeString(info.bstrSource);
        SysFreeString(info.bstrDescription);
        SysFreeString(info.bstrHelpFile);
    }
    [[noreturn]] void Throw() {
        if (info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
        const auto number = static_cast<std::uint32_t>(info.scode);
        const bool runTime = (number & KindOfNumber) == RunTimeErrors;
        const std::uint32_t plain = number == 0 ? info.wCode : number;
        throw Error(static_cast<std::int32_t>(runTime ? number & ~KindOfNumber : plain),
                    TextOf(info.bstrDescription), TextOf(info.bstrSource));
    }
};

}  // namespace

LateBound::LateBound(const ComPtr<IUnknown>& object) : object_(object.As<IDispatch>()) {
    if (!object) throw Error(ErrorNumber::ObjectNotSet, u"Object variable not set");
    if (!object_) ThrowTypeMismatch();
}

// Objects that a script declares are sure to tell of their members by IDispatchEx only.
bool LateBound::Find(const wchar_t* member, DISPID& id) const noexcept {
    if (const auto extended = object_.As<IDispatchEx>()) {
        BSTR name = SysAllocString(member);
        const HRESULT found = extended->GetDispID(name, fdexNameCaseInsensitive, &id);
        SysFreeString(name);
        if (SUCCEEDED(found)) return true;
    }
    auto* name = const_cast<LPOLESTR>(member);
    return SUCCEEDED(object_->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_INVARIANT, &id));
}

bool LateBound::Has(const wchar_t* member) const noexcept {
    DISPID id = DISPID_UNKNOWN;
    return Find(member, id);
}

Variant LateBound::Call(const wchar_t* member, std::initializer_list<Variant> arguments) const {
    DISPID id = DISPID_UNKNOWN;
    if (!Find(member, id)) {
        throw Error(NoSuchMember, u"Object doesn't support this property or method");
    }
    return Call(id, arguments);
}

Variant LateBound::Call(DISPID member, std::initializer_list<Variant> arguments) const {
    std::vector<VARIANT> reversed;
    for (const Variant& argument : arguments)
        reversed.push_back(argument.Get());
    std::reverse(reversed.begin(), reversed.end());
    DISPPARAMS passed{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    Variant result;
    Exception exception;
    const HRESULT failure =
        object_->Invoke(member, IID_NULL, LOCALE_INVARIANT, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                        &passed, result.Put(), &exception.info, nullptr);
    if (failure == DISP_E_EXCEPTION) exception.Throw();
    Check(failure);
    return result;
}

}  // namespace QuillonLib::Automation
