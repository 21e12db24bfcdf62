// The literal of a sql_variant that keeps its base type. Not installed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "direct/VariantCell.h"

namespace QuillonLib {

// "CAST(CAST(... AS int) AS sql_variant)". Absent where no literal has the value: text in another
// code page than `databasePage`, that of the database that runs the script, or an unknown type.
std::optional<std::u16string> VariantLiteral(const VariantCell& cell, std::int32_t databasePage);

// "CAST(... AS int)": the value without the sql_variant around it. Absent as above.
std::optional<std::u16string> VariantBaseLiteral(const VariantCell& cell,
                                                 std::int32_t databasePage);

}  // namespace QuillonLib
