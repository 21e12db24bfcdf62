#include "automation/ClassFactory.h"

#include "automation/Failure.h"
#include "automation/Module.h"

namespace QuillonLib::Automation {

ClassFactory::ClassFactory(const Class& made) : made_(made) {
    Module::AddUse();
}

ClassFactory::~ClassFactory() {
    Module::RemoveUse();
}

STDMETHODIMP ClassFactory::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) ClassFactory::Release() {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

STDMETHODIMP ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return Guarded(IID_IClassFactory, [&] { Check(made_.create()->QueryInterface(iid, object)); });
}

STDMETHODIMP ClassFactory::LockServer(BOOL lock) {
    if (lock != FALSE) {
        Module::AddUse();
    } else {
        Module::RemoveUse();
    }
    return S_OK;
}

}  // namespace QuillonLib::Automation
