// What the host's own automation objects share.
#pragma once

#include "automation/AutomationTypes.h"

namespace scripthost {

// Counts its references, and describes nothing.
class HostDispatch : public IDispatch {
  public:
    HostDispatch() = default;
    HostDispatch(const HostDispatch&) = delete;
    HostDispatch& operator=(const HostDispatch&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == IID_IDispatch || AnswersTo(iid);
        *object = known ? static_cast<IDispatch*>(this) : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return DISP_E_UNKNOWNNAME;
    }

  protected:
    virtual ~HostDispatch() = default;
    // Whether the object takes the calls of another interface through Invoke.
    virtual bool AnswersTo(REFIID) const { return false; }

  private:
    ULONG references_ = 0;
};

}  // namespace scripthost
