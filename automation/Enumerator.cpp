#include "automation/Enumerator.h"

#include <atomic>
#include <utility>

#include "automation/Failure.h"
#include "automation/Module.h"

namespace QuillonLib::Automation {

namespace {

class Enumerator final : public IEnumVARIANT {
  public:
    Enumerator(std::size_t count, std::function<Variant(std::size_t)> value, std::size_t next)
        : count_(count), value_(std::move(value)), next_(next) {
        Module::AddUse();
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (iid != IID_IUnknown && iid != IID_IEnumVARIANT) return E_NOINTERFACE;
        *object = static_cast<IEnumVARIANT*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

    STDMETHODIMP Next(ULONG wanted, VARIANT* values, ULONG* fetched) override {
        if (values == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
        ULONG given = 0;
        const HRESULT result = Guarded(IID_IEnumVARIANT, [&] {
            for (; given < wanted && next_ < count_; ++given, ++next_) {
                values[given] = value_(next_).Detach();
            }
        });
        if (FAILED(result)) {
            for (ULONG i = 0; i < given; ++i)
                VariantClear(&values[i]);
            given = 0;
        }
        if (fetched != nullptr) *fetched = given;
        if (FAILED(result)) return result;
        return given == wanted ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const bool enough = count <= count_ - next_;
        next_ = enough ? next_ + count : count_;
        return enough ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        next_ = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumVARIANT** copy) override {
        if (copy == nullptr) return E_POINTER;
        *copy = nullptr;
        return Guarded(IID_IEnumVARIANT, [&] {
            *copy = ComPtr<IEnumVARIANT>(new Enumerator(count_, value_, next_)).Detach();
        });
    }

  private:
    ~Enumerator() { Module::RemoveUse(); }

    std::atomic<ULONG> references_ = 0;
    std::size_t count_;
    std::function<Variant(std::size_t)> value_;
    std::size_t next_;
};

}  // namespace

ComPtr<IUnknown> NewEnumerator(std::size_t count, std::function<Variant(std::size_t)> value) {
    return ComPtr<IUnknown>(new Enumerator(count, std::move(value), 0));
}

}  // namespace QuillonLib::Automation
