// Rows read through the bare driver, one by one, with nothing of the library in between.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace QuillonLib::test {

// Bytes as they came; nothing for NULL.
using BareCell = std::optional<std::string>;
using BareRow = std::vector<BareCell>;

// All rows of the query, whose columns are all binary. Throws std::runtime_error where the driver
// or the server fails.
std::vector<BareRow> ReadBareRows(const std::u16string& connectionString,
                                  const std::u16string& query);

// Fields for such a query: every value of a column of that type as bytes, and nothing that two
// different values have in common.
std::u16string AsBytes(const std::u16string& quotedName, std::u16string_view type);

}  // namespace QuillonLib::test
