// COM's enumerators of plain lists, as connection points have them.
#pragma once

#include <utility>
#include <vector>

#include "automation/EnumeratorBase.h"

namespace QuillonLib::Automation {

// `Copies` says how one element of a list becomes one of the caller's: Element's type, Give, and
// Take, which gets what Give gave.
template <class Interface, class Copies>
class ListEnumerator final
    : public EnumeratorBase<ListEnumerator<Interface, Copies>, Interface, typename Copies::Given> {
    using Given = typename Copies::Given;
    using Base = EnumeratorBase<ListEnumerator, Interface, Given>;
    friend Base;

  public:
    using Elements = std::vector<typename Copies::Element>;

    explicit ListEnumerator(Elements elements, std::size_t next = 0)
        : Base(elements.size(), next), elements_(std::move(elements)) {}

  private:
    ~ListEnumerator() = default;

    Given Element(std::size_t index) const { return Copies::Give(elements_[index]); }
    static void Take(Given& given) noexcept { Copies::Take(given); }
    ListEnumerator* Copy() const { return new ListEnumerator(elements_, this->Position()); }

    const Elements elements_;
};

}  // namespace QuillonLib::Automation
