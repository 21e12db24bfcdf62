// Makes the objects of one class.
#pragma once

#include <atomic>

#include "automation/AutomationTypes.h"
#include "automation/Classes.h"

namespace QuillonLib::Automation {

class ClassFactory final : public IClassFactory {
  public:
    explicit ClassFactory(const Class& made);

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    STDMETHODIMP LockServer(BOOL lock) override;

  private:
    ~ClassFactory();

    const Class& made_;
    std::atomic<ULONG> references_ = 0;
};

}  // namespace QuillonLib::Automation
