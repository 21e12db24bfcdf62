// The one collation of the sandbox: case-insensitive, accent-sensitive, trailing blanks ignored,
// otherwise by code unit.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

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

// Windows-1252, the code page of char, varchar and text.
char16_t FromCodePage(unsigned char byte);
// The byte for a character, '?' when the code page has none.
unsigned char ToCodePage(char16_t unit);

}  // namespace sandbox::engine
