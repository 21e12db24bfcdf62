#include "automation/Enumerator.h"

#include <utility>

#include "automation/EnumeratorBase.h"

namespace QuillonLib::Automation {

namespace {

using ValueAt = std::function<Variant(std::size_t)>;

class Enumerator final : public EnumeratorBase<Enumerator, IEnumVARIANT, VARIANT> {
  public:
    Enumerator(std::size_t count, ValueAt value, std::size_t next)
        : EnumeratorBase(count, next), count_(count), value_(std::move(value)) {}

  private:
    friend EnumeratorBase;
    ~Enumerator() = default;

    VARIANT Element(std::size_t index) const { return value_(index).Detach(); }
    static void Take(VARIANT& given) noexcept { VariantClear(&given); }
    Enumerator* Copy() const { return new Enumerator(count_, value_, Position()); }

    const std::size_t count_;
    const ValueAt value_;
};

}  // namespace

ComPtr<IUnknown> NewEnumerator(std::size_t count, std::function<Variant(std::size_t)> value) {
    return ComPtr<IUnknown>(new Enumerator(count, std::move(value), 0));
}

}  // namespace QuillonLib::Automation
