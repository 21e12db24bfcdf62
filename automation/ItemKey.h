// How automation callers name an item of a collection.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "automation/AutomationTypes.h"
#include "automation/Failure.h"
#include "automation/Variant.h"
#include "core/Error.h"

namespace QuillonLib::Automation {

// A key, or a position from 1.
using ItemKey = std::variant<std::u16string, std::int64_t>;

// Text is a key; anything else is a position, rounded to a whole number. Error 13 for what is no
// number (Null, an object, a missing argument), 6 for one beyond 32 bits.
ItemKey ToItemKey(const VARIANT& value);

// The key under which an item is added: nothing where it is missing. Error 13 for what is not text.
std::optional<std::u16string> ToNewKey(const VARIANT& value);

// Whether `look`, a look-up, succeeds; false on any error.
template <class Look>
bool Succeeds(Look&& look) {
    try {
        look();
        return true;
    } catch (const Error&) {
        return false;
    } catch (const ComError&) {
        return false;
    }
}

}  // namespace QuillonLib::Automation
