// Why a file is not taken for a template file. Not installed.
#pragma once

#include <string>
#include <string_view>

namespace QuillonLib {

// The reason for which ComparisonTemplates::Load answers a path with false, for people ("it is a
// folder"); empty for a file that can be loaded. Throws std::bad_alloc.
std::string WhyNotLoaded(std::u16string_view path);

}  // namespace QuillonLib
