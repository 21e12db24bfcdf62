// How texts compare. Under most collations: case-insensitive, accent-sensitive, otherwise by code
// unit. Under those that tell case apart: the same, small letters before capitals. Binary ones: by
// the bytes of the code page, or by code unit for national types. Blanks at the end never count.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "sandbox/text/CodePages.h"

namespace sandbox::engine {

char16_t UpperUnit(char16_t unit);
char16_t LowerUnit(char16_t unit);

int CompareText(std::u16string_view a, std::u16string_view b);
// The same for UTF-16LE bytes at any address; sizes in bytes.
int CompareTextBytes(const void* a, std::size_t sizeA, const void* b, std::size_t sizeB);

// Names compare as text does.
inline bool SameName(std::u16string_view a, std::u16string_view b) {
    return a.size() == b.size() && CompareText(a, b) == 0;
}

// Folded to upper case, trailing blanks cut: equal texts have equal keys.
std::u16string FoldName(std::u16string_view name);

// The grades of the rule: ..._CS_AS; ..._BIN2 of national types; ..._BIN of national types, which
// compares all but the first unit byte by byte; binary ones of a code page.
int CompareTextCase(std::u16string_view a, std::u16string_view b);
int CompareTextUnits(std::u16string_view a, std::u16string_view b);
int CompareTextFirstUnit(std::u16string_view a, std::u16string_view b);
int ComparePageBytes(const CodePage& page, std::u16string_view a, std::u16string_view b);

}  // namespace sandbox::engine
