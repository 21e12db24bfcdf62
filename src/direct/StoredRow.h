// Rows as bytes that wait in a file. Not installed.
#pragma once

#include <string>
#include <string_view>

#include "direct/DirectResult.h"

namespace QuillonLib {

void AppendStored(std::string& out, const DirectRow& row);
// `bytes`: what AppendStored appended.
DirectRow ReadStored(std::string_view bytes);

}  // namespace QuillonLib
