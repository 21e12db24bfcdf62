// Names and texts as they stand in the SQL of the catalog reader.
#pragma once

#include <string>
#include <string_view>

namespace QuillonLib {

// "[name]" with every "]" in it doubled.
std::u16string QuoteIdentifier(std::u16string_view name);

// "N'text'" with every "'" in it doubled.
std::u16string QuoteText(std::u16string_view text);

}  // namespace QuillonLib
