// Named values for the settings of an object: booleans, texts and nested objects.
#pragma once

#include <any>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "core/Export.h"

namespace QuillonLib {

// Names are compared exactly. Writing a name again replaces its value.
class QUILLON_API PropertyBag {
  public:
    void Write(std::u16string_view name, bool value) { Put(name, value); }
    void Write(std::u16string_view name, std::u16string value) { Put(name, std::move(value)); }
    void Write(std::u16string_view name, const char16_t* value) {
        Put(name, std::u16string(value));
    }
    template <class T>
    void Write(std::u16string_view name, std::shared_ptr<T> object) {
        Put(name, std::any(std::move(object)));
    }

    // The value of that name, or the default where there is none of that type.
    bool ReadBool(std::u16string_view name, bool absent = false) const {
        return Read<bool>(name, absent);
    }
    std::u16string ReadText(std::u16string_view name, std::u16string absent = {}) const {
        return Read<std::u16string>(name, std::move(absent));
    }
    // Null where there is no object of that name and of exactly that type.
    template <class T>
    std::shared_ptr<T> ReadObject(std::u16string_view name) const {
        const std::any object = Read<std::any>(name, {});
        const auto* held = std::any_cast<std::shared_ptr<T>>(&object);
        return held == nullptr ? nullptr : *held;
    }

    bool Contains(std::u16string_view name) const { return values_.find(name) != values_.end(); }

  private:
    using Value = std::variant<bool, std::u16string, std::any>;

    void Put(std::u16string_view name, Value value) {
        values_.insert_or_assign(std::u16string(name), std::move(value));
    }

    template <class T>
    T Read(std::u16string_view name, T absent) const {
        const auto found = values_.find(name);
        if (found == values_.end()) return absent;
        const T* value = std::get_if<T>(&found->second);
        return value == nullptr ? absent : *value;
    }

    std::map<std::u16string, Value, std::less<>> values_;
};

}  // namespace QuillonLib
