#include "automation/ListSource.h"

#include <utility>

#include "automation/ComKeyedList.h"

namespace QuillonLib::Automation {

namespace {

// What all lists do alike; `Kind` says how their values and automation's become each other:
// Value, ToVariant(value), FromVariant(variant).
template <class Kind>
class ListOf : public ListSource {
  public:
    using List = KeyedList<typename Kind::Value>;
    explicit ListOf(std::shared_ptr<List> list) : list_(std::move(list)) {}

    const void* Identity() const override { return list_.get(); }
    std::int32_t Count() const override { return list_->Count(); }
    Variant Item(const ItemKey& key) const override {
        return std::visit([this](const auto& place) { return Kind::ToVariant(list_->Item(place)); },
                          key);
    }
    bool ItemExists(const ItemKey& key) const override {
        return std::visit([this](const auto& place) { return list_->ItemExists(place); }, key);
    }
    void Add(const VARIANT& value, const std::optional<std::u16string>& key) override {
        auto item = Kind::FromVariant(value, key);
        if (key) {
            list_->Add(std::move(item), *key);
        } else {
            list_->Add(std::move(item));
        }
    }
    void Remove(const ItemKey& key) override {
        std::visit([this](const auto& place) { list_->Remove(place); }, key);
    }
    std::vector<Variant> Values() const override {
        std::vector<Variant> values;
        for (const auto& value : *list_)
            values.push_back(Kind::ToVariant(value));
        return values;
    }

  protected:
    const std::shared_ptr<List> list_;
};

using Key = std::optional<std::u16string>;

struct Texts {
    using Value = std::u16string;
    static Variant ToVariant(const Value& text) { return NewText(text); }
    static Value FromVariant(const VARIANT& value, const Key&) { return TextIn(value); }
};

class NamesSource final : public ListOf<Texts> {
  public:
    using ListOf::ListOf;
    std::shared_ptr<NameList> Names() const override { return list_; }
};

struct Lists {
    using Value = std::shared_ptr<NameList>;
    static Variant ToVariant(const Value& names) {
        return Variant::Object(ComKeyedList::Of(names).Get());
    }
    static Value FromVariant(const VARIANT& value, const Key&) {
        return ComKeyedList::NamesOf(ObjectIn(value).Get());
    }
};

// A list cannot be asked for its keys, so each value remembers its own.
struct Anything {
    struct Value {
        Variant value;
        Key key;
    };
    static Variant ToVariant(const Value& entry) { return entry.value; }
    static Value FromVariant(const VARIANT& value, const Key& key) { return {Variant(value), key}; }
};

class OwnSource final : public ListOf<Anything> {
  public:
    OwnSource() : ListOf(std::make_shared<List>()) {}
    std::shared_ptr<NameList> Names() const override {
        auto names = std::make_shared<NameList>();
        // Of a copy: a value may be a caller's object, whose text comes from code that sees this
        // list.
        for (const auto& [value, key] :
             std::vector<Anything::Value>(list_->begin(), list_->end())) {
            if (key) {
                names->Add(TextIn(value.Get()), *key);
            } else {
                names->Add(TextIn(value.Get()));
            }
        }
        return names;
    }
};

}  // namespace

std::unique_ptr<ListSource> ShowNames(std::shared_ptr<NameList> names) {
    return std::make_unique<NamesSource>(std::move(names));
}

std::unique_ptr<ListSource> ShowColumnLists(std::shared_ptr<ColumnLists> lists) {
    return std::make_unique<ListOf<Lists>>(std::move(lists));
}

std::unique_ptr<ListSource> NewList() {
    return std::make_unique<OwnSource>();
}

}  // namespace QuillonLib::Automation
