#include "EventConnection.h"

#include <memory>
#include <vector>

namespace scripthost {

namespace {

// The default source interface of a class.
HRESULT FindEvents(ITypeInfo* classInfo, ComPtr<ITypeInfo>& events) {
    TYPEATTR* attributes = nullptr;
    HRESULT result = classInfo->GetTypeAttr(&attributes);
    if (FAILED(result)) return result;
    const UINT count = attributes->cImplTypes;
    classInfo->ReleaseTypeAttr(attributes);
    for (UINT i = 0; i < count; ++i) {
        INT flags = 0;
        HREFTYPE reference = 0;
        classInfo->GetImplTypeFlags(i, &flags);
        if (flags != (IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE)) continue;
        result = classInfo->GetRefTypeOfImplType(i, &reference);
        return FAILED(result) ? result : classInfo->GetRefTypeInfo(reference, events.Put());
    }
    return CONNECT_E_NOCONNECTION;
}

// An engine writes into references to variants only.
class ScriptArgument {
  public:
    explicit ScriptArgument(VARIANT& given) : given_(given) {
        VariantInit(&shown_);
        VariantCopyInd(&shown_, &given);
    }
    ScriptArgument(const ScriptArgument&) = delete;
    ScriptArgument& operator=(const ScriptArgument&) = delete;
    ~ScriptArgument() { VariantClear(&shown_); }
    VARIANT Reference() {
        VARIANT reference;
        VariantInit(&reference);
        reference.vt = VT_BYREF | VT_VARIANT;
        reference.pvarVal = &shown_;
        return reference;
    }
    void HandBack() {
        if (given_.vt != (VT_BYREF | VT_BOOL)) return;
        if (SUCCEEDED(VariantChangeType(&shown_, &shown_, 0, VT_BOOL))) {
            *given_.pboolVal = shown_.boolVal;
        }
    }

  private:
    VARIANT& given_;
    VARIANT shown_;
};

}  // namespace

HRESULT EventConnection::Open(const ComPtr<IUnknown>& source, const std::wstring& prefix,
                              const ComPtr<IDispatch>& script,
                              ComPtr<EventConnection>& connection) {
    connection = ComPtr<EventConnection>(new EventConnection);
    connection->source_ = source;
    connection->prefix_ = prefix;
    connection->script_ = script;
    HRESULT result = connection->Describe();
    if (FAILED(result)) return result;
    const auto container = source.As<IConnectionPointContainer>();
    if (!container) return CONNECT_E_NOCONNECTION;
    result = container->FindConnectionPoint(connection->events_, connection->point_.Put());
    if (FAILED(result)) return result;
    return connection->point_->Advise(connection.Get(), &connection->cookie_);
}

HRESULT EventConnection::Describe() {
    const auto provider = source_.As<IProvideClassInfo>();
    if (!provider) return CONNECT_E_NOCONNECTION;
    ComPtr<ITypeInfo> classInfo;
    ComPtr<ITypeInfo> events;
    HRESULT result = provider->GetClassInfo(classInfo.Put());
    if (SUCCEEDED(result)) result = FindEvents(classInfo.Get(), events);
    TYPEATTR* attributes = nullptr;
    if (SUCCEEDED(result)) result = events->GetTypeAttr(&attributes);
    if (FAILED(result)) return result;
    events_ = attributes->guid;
    const UINT count = attributes->cFuncs;
    events->ReleaseTypeAttr(attributes);
    for (UINT i = 0; i < count; ++i) {
        FUNCDESC* function = nullptr;
        if (FAILED(events->GetFuncDesc(i, &function))) continue;
        BSTR name = nullptr;
        events->GetDocumentation(function->memid, &name, nullptr, nullptr, nullptr);
        names_[function->memid] = prefix_ + (name == nullptr ? L"" : name);
        SysFreeString(name);
        events->ReleaseFuncDesc(function);
    }
    return S_OK;
}

void EventConnection::Close() {
    if (point_) point_->Unadvise(cookie_);
    point_ = nullptr;
    source_ = nullptr;
    script_ = nullptr;
}

STDMETHODIMP EventConnection::Invoke(DISPID member, REFIID, LCID locale, WORD,
                                     DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                                     UINT* badArgument) {
    const auto name = names_.find(member);
    if (name == names_.end() || !script_) return DISP_E_MEMBERNOTFOUND;
    const ComPtr<IDispatch> script = script_;
    auto* text = const_cast<LPOLESTR>(name->second.c_str());
    DISPID handler = DISPID_UNKNOWN;
    if (FAILED(script->GetIDsOfNames(IID_NULL, &text, 1, locale, &handler))) return S_OK;

    std::vector<std::unique_ptr<ScriptArgument>> held;
    std::vector<VARIANT> passed;
    for (UINT i = 0; i < arguments->cArgs; ++i) {
        held.push_back(std::make_unique<ScriptArgument>(arguments->rgvarg[i]));
        passed.push_back(held.back()->Reference());
    }
    DISPPARAMS forScript{passed.data(), nullptr, arguments->cArgs, 0};
    const HRESULT done = script->Invoke(handler, IID_NULL, locale, DISPATCH_METHOD, &forScript,
                                        result, exception, badArgument);
    for (const auto& argument : held)
        argument->HandBack();
    return done;
}

}  // namespace scripthost
