#include "automation/Dispatch.h"

#include <list>
#include <vector>

#include "automation/Arrays.h"
#include "automation/Failure.h"
#include "automation/Outputs.h"
#include "automation/Parameter.h"
#include "core/Error.h"

namespace QuillonLib::Automation {

namespace {

// The description of one function of an interface.
class Function {
  public:
    Function(ITypeInfo* owner, UINT index) : owner_(owner) {
        Check(owner->GetFuncDesc(index, &description_));
    }
    Function(Function&& other) noexcept
        : owner_(other.owner_), description_(std::exchange(other.description_, nullptr)) {}
    Function(const Function&) = delete;
    Function& operator=(const Function&) = delete;
    ~Function() {
        if (description_ != nullptr) owner_->ReleaseFuncDesc(description_);
    }
    const FUNCDESC* operator->() const noexcept { return description_; }
    const FUNCDESC& operator*() const noexcept { return *description_; }

  private:
    ITypeInfo* owner_;
    FUNCDESC* description_ = nullptr;
};

UINT FunctionCount(ITypeInfo* type) {
    TYPEATTR* attributes = nullptr;
    Check(type->GetTypeAttr(&attributes));
    const UINT count = attributes->cFuncs;
    type->ReleaseTypeAttr(attributes);
    return count;
}

// Some callers say "method" where they read a property.
WORD Accepted(WORD flags) {
    return (flags & DISPATCH_METHOD) != 0 ? flags | DISPATCH_PROPERTYGET : flags;
}

Function FindFunction(ITypeInfo* type, const Invocation& call) {
    const UINT count = FunctionCount(type);
    for (UINT i = 0; i < count; ++i) {
        Function function(type, i);
        if (function->memid == call.member && (function->invkind & Accepted(call.flags)) != 0) {
            return function;
        }
    }
    throw ComError(DISP_E_MEMBERNOTFOUND);
}

bool IsPut(const FUNCDESC& function) {
    return (function.invkind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF)) != 0;
}

// What the caller passes for each parameter, in their order; null where nothing is passed.
std::vector<VARIANT*> InOrder(const FUNCDESC& function, const DISPPARAMS& arguments) {
    const auto count = static_cast<UINT>(function.cParams);
    if (arguments.cArgs > count) throw ComError(DISP_E_BADPARAMCOUNT);
    std::vector<VARIANT*> given(count, nullptr);
    for (UINT i = 0; i < arguments.cNamedArgs; ++i) {
        const DISPID name = arguments.rgdispidNamedArgs[i];
        const UINT index = name == DISPID_PROPERTYPUT ? count - 1 : static_cast<UINT>(name);
        if (index >= count) throw ComError(DISP_E_PARAMNOTFOUND);
        given[index] = &arguments.rgvarg[i];
    }
    for (UINT i = 0; i < arguments.cArgs - arguments.cNamedArgs; ++i) {
        given[i] = &arguments.rgvarg[arguments.cArgs - 1 - i];
    }
    return given;
}

// Of an array that the library made. Scripts can read the elements of an array of variants only.
// Who calls through the interface itself gets the strings as an array of strings.
void MakeReadable(VARIANT& result) {
    if (result.vt != (VT_ARRAY | VT_BSTR)) return;
    const Variant strings = Variant::Take(result);
    result = ToVariantArray(strings.Get().parray).Detach();
}

// The call with every argument in the form that its parameter has.
class TypedCall {
  public:
    TypedCall(ITypeInfo* type, const Function& function, const Invocation& call)
        : type_(type), function_(function), call_(call) {
        const auto given = InOrder(*function, *call.arguments);
        for (std::size_t i = 0; i < given.size(); ++i) {
            types_.push_back(ParameterType::Of(type, function->lprgelemdescParam[i]));
            AddParameter(given[i]);
        }
    }

    HRESULT Run(IDispatch* object) {
        std::vector<VARIANT> arguments;
        for (auto parameter = parameters_.rbegin(); parameter != parameters_.rend(); ++parameter) {
            arguments.push_back(parameter->Argument());
        }
        DISPID put = DISPID_PROPERTYPUT;
        DISPPARAMS passed{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        if (IsPut(*function_)) {
            passed.rgdispidNamedArgs = &put;
            passed.cNamedArgs = 1;
        }
        const Outputs outputs;
        const HRESULT result =
            type_->Invoke(object, call_.member, static_cast<WORD>(function_->invkind), &passed,
                          call_.result, call_.exception, call_.badArgument);
        const HRESULT handedBack = HandBack(outputs);
        if (FAILED(result)) return result;
        if (FAILED(handedBack)) {
            if (call_.result != nullptr) VariantClear(call_.result);
            return handedBack;
        }
        if (call_.result != nullptr && !call_.givesOthersValues) MakeReadable(*call_.result);
        return result;
    }

  private:
    // All of them; the failure of the first one that fails.
    HRESULT HandBack(const Outputs& outputs) noexcept {
        HRESULT failure = S_OK;
        for (Parameter& parameter : parameters_) {
            const HRESULT result = parameter.HandBack(outputs);
            if (SUCCEEDED(failure) && FAILED(result)) {
                failure = result;
                Complain(parameter.Given());
            }
        }
        return failure;
    }

    void AddParameter(VARIANT* given) {
        try {
            parameters_.emplace_back(types_.back(), given, call_.locale);
        } catch (const Error& error) {
            Complain(given);
            throw ComError(error.Number() == ErrorNumber::Overflow ? DISP_E_OVERFLOW
                                                                   : DISP_E_TYPEMISMATCH);
        } catch (const ComError&) {
            Complain(given);
            throw;
        }
    }

    void Complain(const VARIANT* given) const {
        if (call_.badArgument == nullptr || given == nullptr) return;
        *call_.badArgument = static_cast<UINT>(given - call_.arguments->rgvarg);
    }

    ITypeInfo* type_;
    const Function& function_;
    const Invocation& call_;
    std::list<ParameterType> types_;
    std::list<Parameter> parameters_;
};

bool IsPlainGet(const FUNCDESC& function) {
    return function.invkind == INVOKE_PROPERTYGET && function.cParams == 0;
}

HRESULT CallDefaultMember(ITypeInfo* type, IDispatch* object, const Function& function,
                          const Invocation& call) {
    DISPPARAMS none{};
    Variant result;
    Invocation get = call;
    get.arguments = &none;
    get.result = result.Put();
    const HRESULT failure = TypedCall(type, function, get).Run(object);
    if (FAILED(failure)) return failure;
    if (result.Type() != VT_DISPATCH || result.Get().pdispVal == nullptr) {
        return DISP_E_BADPARAMCOUNT;
    }
    return result.Get().pdispVal->Invoke(DISPID_VALUE, IID_NULL, call.locale, call.flags,
                                         call.arguments, call.result, call.exception,
                                         call.badArgument);
}

// To be called in a handler: gives the current exception as the failure of a member would come.
HRESULT TellFailure(EXCEPINFO* exception) noexcept {
    const HRESULT failure = ReportFailure(IID_IDispatch);
    ComPtr<IErrorInfo> error;
    if (GetErrorInfo(0, error.Put()) != S_OK) return failure;
    if (exception != nullptr) {
        *exception = EXCEPINFO{};
        exception->scode = failure;
        error->GetDescription(&exception->bstrDescription);
        error->GetSource(&exception->bstrSource);
    }
    return DISP_E_EXCEPTION;
}

}  // namespace

HRESULT Invoke(ITypeInfo* type, IDispatch* object, const Invocation& call) noexcept {
    if (call.arguments->cNamedArgs > call.arguments->cArgs) return E_INVALIDARG;
    try {
        const Function function = FindFunction(type, call);
        if (IsPlainGet(*function) && call.arguments->cArgs > 0) {
            return CallDefaultMember(type, object, function, call);
        }
        return TypedCall(type, function, call).Run(object);
    } catch (...) {
        return TellFailure(call.exception);
    }
}

}  // namespace QuillonLib::Automation
