// Calls through IDispatch, and objects of another maker that the library calls.
#pragma once

#include <functional>

#include "Client.h"

namespace client {

// The number of a member.
inline DISPID IdOf(IDispatch* object, const wchar_t* name) {
    auto* text = const_cast<LPOLESTR>(name);
    DISPID id = DISPID_UNKNOWN;
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id), S_OK);
    return id;
}

// What Invoke gives; of an exception its number. The last argument comes first.
inline HRESULT Call(IDispatch* object, DISPID id, WORD flags, std::vector<VARIANT> reversed,
                    VARIANT* result = nullptr, std::vector<DISPID> names = {},
                    UINT* bad = nullptr) {
    DISPPARAMS arguments{reversed.data(), names.data(), static_cast<UINT>(reversed.size()),
                         static_cast<UINT>(names.size())};
    EXCEPINFO exception{};
    const HRESULT called = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &arguments,
                                          result, &exception, bad);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    return called == DISP_E_EXCEPTION ? exception.scode : called;
}

inline VARIANT Reference(VARTYPE type, void* place) {
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = static_cast<VARTYPE>(VT_BYREF | type);
    reference.byref = place;
    return reference;
}

inline VARIANT ObjectValue(IDispatch* object) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_DISPATCH;
    value.pdispVal = object;
    return value;
}

// Lives as long as the test, and counts the references to it.
class ForeignObject : public IDispatch {
  public:
    explicit ForeignObject(const IID& knows = IID_IDispatch) : knows_(knows) {}
    virtual ~ForeignObject() = default;
    ULONG References() const { return references_; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == knows_;
        *object = known ? this : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0 && onLastRelease) onLastRelease();
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                        UINT*) override {
        return DISP_E_MEMBERNOTFOUND;
    }

    std::function<void()> onLastRelease;

  private:
    const IID knows_;
    ULONG references_ = 0;
};

}  // namespace client
