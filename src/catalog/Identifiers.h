// Names and texts as they stand in the SQL of the catalog reader.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

// "[name]" with every "]" in it doubled.
std::u16string QuoteIdentifier(std::u16string_view name);

// "N'text'" with every "'" in it doubled.
std::u16string QuoteText(std::u16string_view text);

// Object ids as the server works them out from names, so that names are matched by the server's
// own rules and the catalog is read by id.
std::u16string ObjectIdList(std::span<const ObjectName> names);

}  // namespace QuillonLib
