#include "automation/Choices.h"

#include <optional>
#include <utility>
#include <vector>

#include "automation/Arrays.h"
#include "automation/Failure.h"
#include "automation/ItemKey.h"
#include "automation/LateBound.h"
#include "automation/Text.h"
#include "core/Error.h"

namespace QuillonLib::Automation {

namespace {

Variant NewPosition(std::int32_t position) {
    Variant result;
    result.InPlace()->vt = VT_I4;
    result.InPlace()->lVal = position;
    return result;
}

// The values that For Each would give.
std::vector<Variant> Walk(IEnumVARIANT& enumerator) {
    std::vector<Variant> values;
    for (;;) {
        Variant value;
        ULONG fetched = 0;
        const HRESULT result = CallOther([&] { return enumerator.Next(1, value.Put(), &fetched); });
        if (result != S_OK || fetched == 0) return values;
        values.push_back(std::move(value));
    }
}

std::vector<Variant> ValuesOf(const LateBound& list) {
    std::optional<Variant> walker;
    try {
        walker = list.Call(DISPID_NEWENUM);
    } catch (const ComError&) {  // not to be walked
    }
    if (walker) {
        if (const auto enumerator = ObjectIn(walker->Get()).As<IEnumVARIANT>()) {
            return Walk(*enumerator.Get());
        }
    }
    std::vector<Variant> values;
    const std::int32_t count = list.Call(L"Count").As(VT_I4).Get().lVal;
    for (std::int32_t i = 1; i <= count; ++i)
        values.push_back(list.Call(L"Item", {NewPosition(i)}));
    return values;
}

bool IsObject(const Variant& value) {
    return value.Type() == VT_DISPATCH || value.Type() == VT_UNKNOWN;
}

bool IsList(const Variant& value) {
    return (value.Type() & VT_ARRAY) != 0 || (IsObject(value) && value.Get().punkVal != nullptr);
}

std::vector<std::u16string> NamesIn(const Variant& list) {
    if (!IsObject(list)) return ToTextArray(ArrayIn(list.Get())).Items;
    std::vector<std::u16string> names;
    for (const Variant& name : ValuesOf(LateBound(ObjectIn(list.Get())))) {
        names.push_back(TextIn(name.Get()));
    }
    return names;
}

// Without keys: a name that stands there twice fails its table, not all of them.
void AddNames(const Variant& list, ColumnChoice& choice) {
    try {
        for (const std::u16string& name : NamesIn(list))
            choice.Add(name);
    } catch (const Error& error) {
        choice.Failure = error;
    } catch (const ComError& error) {
        choice.Failure = Error(error.Number(), u"The list of the chosen columns cannot be read");
    }
}

// What `read` gives; nothing where it fails.
template <class Read>
auto Usable(Read&& read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const Error&) {
        return std::nullopt;
    } catch (const ComError&) {
        return std::nullopt;
    }
}

std::optional<std::u16string> ToIndexChoice(const Variant& value) {
    if (value.Type() == VT_EMPTY) return std::nullopt;  // a dictionary's answer
    return Usable([&] { return TextIn(value.Get()); });
}

std::optional<std::shared_ptr<ColumnChoice>> ToColumnChoice(const Variant& value) {
    if (!IsList(value)) return std::nullopt;
    auto choice = std::make_shared<ColumnChoice>();
    AddNames(value, *choice);
    return choice;
}

// A dictionary that is asked for an absent key adds it, so it is asked whether it has the key.
std::optional<Variant> Find(const LateBound& collection, const std::u16string& key) {
    return Usable([&] {
        const Variant name = NewText(key);
        if (collection.Has(L"Exists") && !FlagIn(collection.Call(L"Exists", {name}).Get())) {
            return Variant();
        }
        return Variant(collection.Call(L"Item", {name}).Get());  // not a reference to one
    });
}

template <class T, class Convert>
KeyedList<T> ReadChoices(IDispatch* object, const TextArray& tables, Convert&& convert) {
    KeyedList<T> choices;
    if (object == nullptr) return choices;
    const LateBound collection{ComPtr<IUnknown>(object)};
    if (!collection.Has(L"Item")) ThrowTypeMismatch();
    for (const std::u16string& table : tables.Items) {
        if (choices.ItemExists(table)) continue;
        const auto found = Find(collection, table);
        if (!found) continue;
        if (auto choice = convert(*found)) choices.Add(std::move(*choice), table);
    }
    return choices;
}

std::u16string ToKeyText(const Variant& key) {
    if (key.Type() == VT_NULL) {
        throw Error(ErrorNumber::InvalidUseOfNull, u"Invalid use of Null");
    }
    return TextIn(key.Get());
}

template <class T, class Convert>
Dictionary<T> ReadDictionary(IDispatch* object, Convert&& convert) {
    const LateBound source{ComPtr<IUnknown>(object)};
    const auto keys = Elements(ArrayIn(source.Call(L"Keys").Get()));
    const auto items = Elements(ArrayIn(source.Call(L"Items").Get()));
    Dictionary<T> dictionary;
    for (std::size_t i = 0; i < keys.size() && i < items.size(); ++i) {
        auto key = ToKeyText(keys[i]);
        if (auto choice = convert(items[i])) {
            dictionary.emplace_back(std::move(key), std::move(*choice));
        }
    }
    return dictionary;
}

}  // namespace

IndexChoices ReadIndexChoices(IDispatch* collection, const TextArray& tables) {
    return ReadChoices<std::u16string>(collection, tables, ToIndexChoice);
}

ColumnChoices ReadColumnChoices(IDispatch* collection, const TextArray& tables) {
    return ReadChoices<std::shared_ptr<ColumnChoice>>(collection, tables, ToColumnChoice);
}

IndexDictionary ReadIndexDictionary(IDispatch* dictionary) {
    return ReadDictionary<std::u16string>(dictionary, ToIndexChoice);
}

ColumnDictionary ReadColumnDictionary(IDispatch* dictionary) {
    return ReadDictionary<std::shared_ptr<ColumnChoice>>(dictionary, ToColumnChoice);
}

}  // namespace QuillonLib::Automation
