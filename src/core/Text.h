// Text as the library keeps it: UTF-16 code units, whatever they are.
//
// A lone surrogate and a NUL are ordinary units that survive every operation here but the
// conversion to UTF-8, which has no form for a lone surrogate and writes U+FFFD. Nothing depends
// on the process locale.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/Export.h"

namespace QuillonLib {

inline constexpr std::u16string_view CrLf = u"\r\n";

// For files, the terminal and exception texts. A lone surrogate becomes U+FFFD.
QUILLON_API std::string ToUtf8(std::u16string_view text);

// Every malformed sequence becomes one U+FFFD; never fails.
QUILLON_API std::u16string FromUtf8(std::string_view text);

// True when `text` is well-formed UTF-8 (no overlong forms, no encoded surrogates).
QUILLON_API bool IsUtf8(std::string_view text);

// True when `text` is well-formed UTF-16 (no lone surrogate), and so comes back from UTF-8 as it
// was.
QUILLON_API bool IsUtf16(std::u16string_view text);

// Decimal digits, "-" in front of a negative number, no grouping.
QUILLON_API std::u16string ToText(std::int64_t number);

// Simple case mapping over all of Unicode, code point by code point: one unit never becomes two
// code points, and text that differs only in case folds to the same units.
QUILLON_API std::u16string FoldCase(std::u16string_view text);
QUILLON_API std::u16string ToUpper(std::u16string_view text);
QUILLON_API std::u16string ToLower(std::u16string_view text);

QUILLON_API bool EqualIgnoringCase(std::u16string_view a, std::u16string_view b);

}  // namespace QuillonLib
