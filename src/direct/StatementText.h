// The pieces of statements. Not installed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace QuillonLib {

// "k1" for the first.
std::u16string Numbered(char16_t letter, std::size_t position);
void AppendTerm(std::u16string& out, std::u16string_view separator, std::u16string_view term);
// "a, b, c"
std::u16string Joined(const std::vector<std::u16string>& parts);
// All their characters.
std::size_t Size(const std::vector<std::u16string>& parts);
bool Contains(const std::vector<std::size_t>& list, std::size_t item);
// At most so many units; no half of a surrogate pair.
std::u16string_view Beginning(std::u16string_view text, std::size_t most);
// For RAISERROR(N'...'), which takes "%" for a place.
std::u16string MessageText(std::u16string_view text);

}  // namespace QuillonLib
