// Values of rows as plain text, exactly: what CSV holds, and the report shows.
#pragma once

#include <string>
#include <string_view>

#include "QuillonLib.h"

namespace quillon {

// `type`: the column's, by the server's name. bit is 1 or 0, moments are those of ISO 8601, bytes
// 0x..., numbers all their digits. Not of a NULL.
std::u16string PlainText(const QuillonLib::Value& value, std::u16string_view type);

}  // namespace quillon
