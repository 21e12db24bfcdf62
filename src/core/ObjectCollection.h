// What every collection class of the object model offers its readers: items by key or by position
// (from 1), in the order of addition. A lookup of an absent item is error 5.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "core/KeyedList.h"

namespace QuillonLib {

template <typename T>
class ObjectCollection {
  public:
    std::shared_ptr<T> Item(std::u16string_view vKey) const { return list_.Item(vKey); }
    std::shared_ptr<T> Item(std::int64_t vPosition) const { return list_.Item(vPosition); }

    // True when Item() of the same key or position succeeds; never fails.
    bool ItemExists(std::u16string_view vKey) const { return list_.ItemExists(vKey); }
    bool ItemExists(std::int64_t vPosition) const { return list_.ItemExists(vPosition); }

    std::int32_t Count() const { return list_.Count(); }
    auto begin() const { return list_.begin(); }
    auto end() const { return list_.end(); }

  protected:
    ~ObjectCollection() = default;

    std::shared_ptr<T> AddItem(std::shared_ptr<T> item, std::u16string_view key) {
        list_.Add(item, key);
        return item;
    }
    std::shared_ptr<T> AddItem(std::shared_ptr<T> item) {
        list_.Add(item);
        return item;
    }
    template <typename Key>
    void RemoveItem(const Key& key) {
        list_.Remove(key);
    }

  private:
    KeyedList<std::shared_ptr<T>> list_;
};

}  // namespace QuillonLib
