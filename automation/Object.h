// What all automation objects share: references, interfaces, late-bound calls, error objects.
#pragma once

#include <atomic>

#include "automation/AutomationTypes.h"
#include "automation/Dispatch.h"
#include "automation/Failure.h"
#include "automation/Give.h"
#include "automation/Module.h"
#include "automation/TypeLibrary.h"

namespace QuillonLib::Automation {

// `Derived` implements the dual interface of `CoClass`, and the interfaces `Extra`.
template <class Derived, class CoClass, class Interface, class... Extra>
class Object : public Interface,
               public ISupportErrorInfo,
               public IProvideClassInfo2,
               public Extra... {
  public:
    using InterfaceType = Interface;
    static const IID& InterfaceId() { return __uuidof(Interface); }
    static const CLSID& ClassId() { return __uuidof(CoClass); }

    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    // The class's own identifier, which is no interface, gives the C++ object: so an object of this
    // DLL is told from a stranger that has the same interface.
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) return E_POINTER;
        *object = Find(iid);
        if (*object == nullptr) return E_NOINTERFACE;
        this->AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete static_cast<Derived*>(this);
        return left;
    }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        if (count == nullptr) return E_POINTER;
        *count = 1;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
        if (info == nullptr) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        return Guarded(InterfaceId(),
                       [&] { *info = TypeLibrary::Describe(InterfaceId()).Detach(); });
    }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        return Guarded(InterfaceId(), [&] {
            Check(TypeLibrary::Describe(InterfaceId())->GetIDsOfNames(names, count, ids));
        });
    }
    STDMETHODIMP Invoke(DISPID member, REFIID, LCID locale, WORD flags, DISPPARAMS* arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override {
        if (arguments == nullptr) return E_POINTER;
        ForgetFailure();
        ComPtr<ITypeInfo> type;
        const HRESULT described =
            Guarded(InterfaceId(), [&] { type = TypeLibrary::Describe(InterfaceId()); });
        if (FAILED(described)) return described;
        const ComPtr<IDispatch> alive(this);  // a handler may drop the last reference
        return Automation::Invoke(type.Get(), this,
                                  {member, locale, flags, arguments, result, exception, badArgument,
                                   Derived::GivesOthersValues()});
    }

    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override {
        return iid == InterfaceId() ? S_OK : S_FALSE;
    }

    STDMETHODIMP GetClassInfo(ITypeInfo** info) override {
        if (info == nullptr) return E_POINTER;
        *info = nullptr;
        return Guarded(InterfaceId(), [&] { *info = TypeLibrary::Describe(ClassId()).Detach(); });
    }
    STDMETHODIMP GetGUID(DWORD kind, GUID* id) override {
        if (id == nullptr) return E_POINTER;
        *id = IID_NULL;
        if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
        *id = Derived::EventsId();
        return *id == IID_NULL ? E_FAIL : S_OK;
    }

    // The events of the class; none.
    static const IID& EventsId() { return IID_NULL; }
    // Whether the members give what callers have put in; no.
    static bool GivesOthersValues() { return false; }

  protected:
    Object() noexcept { Module::AddUse(); }
    ~Object() { Module::RemoveUse(); }

    // Runs a method of the dual interface.
    template <class Work>
    HRESULT Do(Work&& work) noexcept {
        const ComPtr<Interface> alive(static_cast<Interface*>(this));  // as in Invoke
        return Guarded(InterfaceId(), std::forward<Work>(work));
    }

    // Runs one with a result, which `work` makes. Nothing is done where there is no place for it;
    // after a failure the place holds nothing.
    template <class Result, class Work>
    HRESULT Answer(Result* place, Work&& work) noexcept {
        return Do([&] {
            Clear(place);
            Give(place, std::forward<Work>(work)());
        });
    }

  private:
    void* Find(REFIID iid) {
        if (iid == IID_IUnknown || iid == IID_IDispatch || iid == InterfaceId()) {
            return static_cast<Interface*>(this);
        }
        if (iid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
        if (iid == IID_IProvideClassInfo || iid == IID_IProvideClassInfo2) {
            return static_cast<IProvideClassInfo2*>(this);
        }
        if (iid == ClassId()) return static_cast<Derived*>(this);
        void* found = nullptr;
        ((iid == __uuidof(Extra) ? found = static_cast<Extra*>(this) : nullptr), ...);
        return found;
    }

    std::atomic<ULONG> references_ = 0;
};

}  // namespace QuillonLib::Automation
