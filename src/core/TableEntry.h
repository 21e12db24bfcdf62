// The table entry: a table or view named as "[" + owner + "].[" + name + "]".
//
// It is the text by which tables travel through the whole library: in the list handed to a
// comparison, as the key of results and choices, and in every query.
#pragma once

#include <string>
#include <string_view>

#include "core/Export.h"

namespace QuillonLib {

// "[owner].[name]". The names are placed as they stand; a "]" in them is not doubled.
QUILLON_API std::u16string MakeTableEntry(std::u16string_view sOwner, std::u16string_view sName);

// What follows the first ".", without its first and last character. The cut is by position: the
// text is not checked for brackets. Without a "." the whole text is taken for the name; where
// fewer than two characters are left to cut, the result is empty.
QUILLON_API std::u16string GetTableName(std::u16string_view sTable);

// What precedes the first ".", without its first and last character; empty without a ".".
QUILLON_API std::u16string GetTableOwner(std::u16string_view sTable);

}  // namespace QuillonLib
