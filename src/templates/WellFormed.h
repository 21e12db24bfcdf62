// Whether a text is XML at all. Not installed.
#pragma once

#include <string_view>

namespace QuillonLib {

// `encoding` is the one that the text is in, as XML names it; what the text itself declares does
// not count. Throws std::bad_alloc.
bool IsWellFormed(std::string_view xml, const char* encoding);

}  // namespace QuillonLib
