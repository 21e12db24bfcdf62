// A caller's choices for single tables. The key of each entry is the table entry, in any case; a
// table without an entry has no choice.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "core/Error.h"
#include "core/KeyedList.h"

namespace QuillonLib {

// The name of the index whose columns are the key.
using IndexChoices = KeyedList<std::u16string>;

// The names of the columns that are compared. A name given twice is error 457.
struct ColumnChoice : KeyedList<std::u16string> {
    // Of a list that could not be read to its end: fails its table, which would else be compared by
    // other columns than were chosen.
    std::optional<Error> Failure;
};
using ColumnChoices = KeyedList<std::shared_ptr<ColumnChoice>>;

// The same choices as callers hold them in a dictionary: entries in order, under keys that are
// text or a number (taken as its text).
using DictionaryKey = std::variant<std::u16string, std::int64_t>;
template <typename T>
using Dictionary = std::vector<std::pair<DictionaryKey, T>>;
using IndexDictionary = Dictionary<std::u16string>;
using ColumnDictionary = Dictionary<std::shared_ptr<ColumnChoice>>;

// Error 457 when two keys differ in case only.
template <typename T>
KeyedList<T> ToKeyedList(const Dictionary<T>& dictionary) {
    KeyedList<T> list;
    for (const auto& [key, item] : dictionary) {
        const auto* text = std::get_if<std::u16string>(&key);
        list.Add(item, text != nullptr ? *text : ToText(std::get<std::int64_t>(key)));
    }
    return list;
}

}  // namespace QuillonLib
