// Values of rows as people read them.
#pragma once

#include <string>

#include "QuillonLib.h"

namespace quillon {

// A value on one line, so that none passes for one of another kind, for a mark or for more than one
// cell. The help of rows says how it is to be read.
std::string Shown(const QuillonLib::Value& value);

}  // namespace quillon
