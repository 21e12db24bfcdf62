// What the system says of an error. Not installed.
#pragma once

#include <string>
#include <system_error>

namespace QuillonLib {

// For people; without a line break.
std::u16string TextOf(const std::error_code& error);

}  // namespace QuillonLib
