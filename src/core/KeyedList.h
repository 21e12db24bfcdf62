// The general list behind every collection of the object model.
//
// Values stand in the order of insertion, at positions from 1, and may carry a text key. Keys are
// unique without regard to case. An absent key or position is error 5, a key given twice error
// 457; either leaves the list as it was.
#pragma once

#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/Error.h"
#include "core/Text.h"

namespace QuillonLib {

template <typename T>
class KeyedList {
    struct Node {
        T value;
        std::optional<std::u16string> foldedKey;
    };
    using Nodes = std::vector<std::unique_ptr<Node>>;

  public:
    // Walks the values in order. Adding or removing invalidates it, as with std::vector.
    class Iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = const T*;
        using reference = const T&;

        Iterator() = default;
        explicit Iterator(typename Nodes::const_iterator at) : at_(at) {}
        reference operator*() const { return (*at_)->value; }
        pointer operator->() const { return &(*at_)->value; }
        Iterator& operator++() {
            ++at_;
            return *this;
        }
        Iterator operator++(int) {
            Iterator before = *this;
            ++at_;
            return before;
        }
        bool operator==(const Iterator&) const = default;

      private:
        typename Nodes::const_iterator at_;
    };

    KeyedList() = default;
    KeyedList(KeyedList&&) noexcept = default;
    KeyedList& operator=(KeyedList&&) noexcept = default;
    // Lists are shared by pointer; a copy would silently part from the original.
    KeyedList(const KeyedList&) = delete;
    KeyedList& operator=(const KeyedList&) = delete;
    ~KeyedList() = default;

    void Add(T value) { nodes_.push_back(std::make_unique<Node>(Node{std::move(value), {}})); }

    void Add(T value, std::u16string_view key) {
        std::u16string folded = FoldCase(key);
        if (byKey_.contains(folded)) {
            throw Error(ErrorNumber::DuplicateKey,
                        u"This key is already associated with an element of this collection");
        }
        nodes_.push_back(std::make_unique<Node>(Node{std::move(value), folded}));
        try {
            byKey_.emplace(std::move(folded), nodes_.back().get());
        } catch (...) {
            nodes_.pop_back();
            throw;
        }
    }

    const T& Item(std::u16string_view key) const { return Find(key).value; }
    const T& Item(std::int64_t position) const { return nodes_[Index(position)]->value; }

    void Remove(std::u16string_view key) {
        const Node* wanted = &Find(key);
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            if (nodes_[i].get() == wanted) return Erase(i);
        }
    }
    void Remove(std::int64_t position) { Erase(Index(position)); }

    bool ItemExists(std::u16string_view key) const { return byKey_.contains(FoldCase(key)); }
    bool ItemExists(std::int64_t position) const {
        return position >= 1 && position <= static_cast<std::int64_t>(nodes_.size());
    }

    std::int32_t Count() const { return static_cast<std::int32_t>(nodes_.size()); }
    Iterator begin() const { return Iterator(nodes_.begin()); }
    Iterator end() const { return Iterator(nodes_.end()); }

  private:
    [[noreturn]] static void ThrowAbsent() {
        throw Error(ErrorNumber::InvalidArgument, u"Invalid procedure call or argument");
    }

    Node& Find(std::u16string_view key) const {
        const auto found = byKey_.find(FoldCase(key));
        if (found == byKey_.end()) ThrowAbsent();
        return *found->second;
    }

    std::size_t Index(std::int64_t position) const {
        if (!ItemExists(position)) ThrowAbsent();
        return static_cast<std::size_t>(position - 1);
    }

    // The value goes last: what it does on its way may look at the list.
    void Erase(std::size_t index) {
        const std::unique_ptr<Node> gone = std::move(nodes_[index]);
        nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(index));
        if (gone->foldedKey) byKey_.erase(*gone->foldedKey);
    }

    Nodes nodes_;
    std::unordered_map<std::u16string, Node*> byKey_;
};

}  // namespace QuillonLib
