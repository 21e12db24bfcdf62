// What the wrappers of all collection classes share.
#pragma once

#include <memory>
#include <variant>
#include <vector>

#include "automation/Enumerator.h"
#include "automation/ItemKey.h"
#include "automation/Wrapper.h"

namespace QuillonLib::Automation {

// Count and NewEnum, for a collection whose items `ItemWrapper` wraps.
template <class Derived, class CoClass, class Interface, class Core, class ItemWrapper>
class Collection : public Wrapper<Derived, CoClass, Interface, Core> {
  public:
    using Wrapper<Derived, CoClass, Interface, Core>::Wrapper;

    STDMETHODIMP get_Count(LONG* value) override {
        return this->Answer(value, [&] { return this->core_->Count(); });
    }
    // Walks the items that there are now, whatever is added or removed on the way.
    STDMETHODIMP get_NewEnum(IUnknown** value) override {
        return this->Answer(value, [&] {
            std::vector<std::shared_ptr<typename ItemWrapper::Core>> items(this->core_->begin(),
                                                                           this->core_->end());
            const std::size_t count = items.size();
            return NewEnumerator(count, [items = std::move(items)](std::size_t index) {
                return Variant::Object(ItemWrapper::Of(items[index]).Get());
            });
        });
    }
};

// Item too: of a key or at a position.
template <class Derived, class CoClass, class Interface, class Core, class ItemWrapper>
class KeyedCollection : public Collection<Derived, CoClass, Interface, Core, ItemWrapper> {
  public:
    using Collection<Derived, CoClass, Interface, Core, ItemWrapper>::Collection;
    using ItemInterface = typename ItemWrapper::InterfaceType;

    STDMETHODIMP get_Item(VARIANT key, ItemInterface** value) override {
        return this->Answer(value, [&] { return ItemWrapper::Of(Find(key)); });
    }

  protected:
    std::shared_ptr<typename ItemWrapper::Core> Find(const VARIANT& key) const {
        return std::visit([this](const auto& place) { return this->core_->Item(place); },
                          ToItemKey(key));
    }
};

// ItemExists by the same key or position.
template <class Derived, class CoClass, class Interface, class Core, class ItemWrapper>
class SearchableCollection
    : public KeyedCollection<Derived, CoClass, Interface, Core, ItemWrapper> {
  public:
    using KeyedCollection<Derived, CoClass, Interface, Core, ItemWrapper>::KeyedCollection;

    STDMETHODIMP ItemExists(VARIANT index, VARIANT_BOOL* value) override {
        return this->Answer(
            value, [&] { return Succeeds([&] { static_cast<void>(this->Find(index)); }); });
    }
};

// Add and Remove, for the collections that a caller may change.
template <class Derived, class CoClass, class Interface, class Core, class ItemWrapper>
class ChangeableCollection
    : public SearchableCollection<Derived, CoClass, Interface, Core, ItemWrapper> {
  public:
    using SearchableCollection<Derived, CoClass, Interface, Core,
                               ItemWrapper>::SearchableCollection;
    using ItemInterface = typename ItemWrapper::InterfaceType;

    STDMETHODIMP Add(VARIANT key, ItemInterface** value) override {
        return this->Answer(value, [&] {
            const auto newKey = ToNewKey(key);
            return ItemWrapper::Of(newKey ? this->core_->Add(*newKey) : this->core_->Add());
        });
    }
    STDMETHODIMP Remove(VARIANT key) override {
        return this->Do([&] {
            std::visit([this](const auto& place) { this->core_->Remove(place); }, ToItemKey(key));
        });
    }
};

}  // namespace QuillonLib::Automation
