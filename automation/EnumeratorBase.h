// What COM's enumerators of all kinds share.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"
#include "automation/Failure.h"
#include "automation/Module.h"

namespace QuillonLib::Automation {

// Walks the elements 0 to count - 1. `Derived` has Element(index), which makes the caller's copy of
// one; Take(given), which gets it back; and Copy(), an enumerator that stands where this one does.
template <class Derived, class Interface, class Given>
class EnumeratorBase : public Interface {
  public:
    EnumeratorBase(const EnumeratorBase&) = delete;
    EnumeratorBase& operator=(const EnumeratorBase&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (iid != IID_IUnknown && iid != __uuidof(Interface)) return E_NOINTERFACE;
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete static_cast<Derived*>(this);
        return left;
    }

    // All or nothing: after a failure no element is given, and none is passed over.
    STDMETHODIMP Next(ULONG wanted, Given* given, ULONG* fetched) override {
        if (given == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
        ULONG count = 0;
        const HRESULT result = Guarded(__uuidof(Interface), [&] {
            for (; count < wanted && next_ < count_; ++count, ++next_)
                given[count] = Self().Element(next_);
        });
        if (FAILED(result)) {
            for (; count > 0; --next_)
                Derived::Take(given[--count]);
        }
        if (fetched != nullptr) *fetched = count;
        if (FAILED(result)) return result;
        return count == wanted ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const std::size_t left = count_ - next_;
        next_ += std::min<std::size_t>(count, left);
        return count <= left ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        next_ = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(Interface** copy) override {
        if (copy == nullptr) return E_POINTER;
        *copy = nullptr;
        return Guarded(__uuidof(Interface),
                       [&] { *copy = ComPtr<Interface>(Self().Copy()).Detach(); });
    }

  protected:
    EnumeratorBase(std::size_t count, std::size_t next) : count_(count), next_(next) {
        Module::AddUse();
    }
    ~EnumeratorBase() { Module::RemoveUse(); }

    std::size_t Position() const { return next_; }

  private:
    Derived& Self() { return static_cast<Derived&>(*this); }

    std::atomic<ULONG> references_ = 0;
    const std::size_t count_;
    std::size_t next_;
};

}  // namespace QuillonLib::Automation
