// COM's enumerators of plain lists, as connection points have them.
#pragma once

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"
#include "automation/Failure.h"
#include "automation/Module.h"

namespace QuillonLib::Automation {

// `Copies` says how one element of a list becomes one of the caller's: Element's type, and Give.
template <class Interface, class Copies>
class ListEnumerator final : public Interface {
  public:
    using Element = typename Copies::Element;
    using Given = typename Copies::Given;

    explicit ListEnumerator(std::vector<Element> elements, std::size_t next = 0)
        : elements_(std::move(elements)), next_(next) {
        Module::AddUse();
    }

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
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP Next(ULONG wanted, Given* given, ULONG* fetched) override {
        if (given == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
        ULONG count = 0;
        while (count < wanted && next_ < elements_.size()) {
            given[count++] = Copies::Give(elements_[next_++]);
        }
        if (fetched != nullptr) *fetched = count;
        return count == wanted ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const std::size_t left = elements_.size() - next_;
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
        return Guarded(__uuidof(Interface), [&] {
            *copy = ComPtr<Interface>(new ListEnumerator(elements_, next_)).Detach();
        });
    }

  private:
    ~ListEnumerator() { Module::RemoveUse(); }

    std::atomic<ULONG> references_ = 0;
    const std::vector<Element> elements_;
    std::size_t next_;
};

}  // namespace QuillonLib::Automation
