// Cuts a script into the batches that a client sends one at a time.
#pragma once

#include <string_view>

#include "core/BoundedArray.h"

namespace QuillonLib {

// The pieces between lines that hold exactly "GO": between occurrences of CR LF "GO" CR LF, from
// the left, each of which takes its line breaks with it. Pieces are not trimmed and may be empty.
// An empty script has no pieces; the array begins at 0.
TextArray GetSQLStatementsFromScript(std::u16string_view sScript);

}  // namespace QuillonLib
