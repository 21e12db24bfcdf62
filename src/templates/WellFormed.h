// Whether a text is XML that templates can be kept in. Not installed.
#pragma once

#include <string>
#include <string_view>

namespace QuillonLib {

// So many elements may stand one within the other; templates need five. Freeing a tree takes stack
// for each level.
inline constexpr int DeepestNesting = 256;

// Why a text in UTF-8 is not well-formed, or is nothing that could be written back as it was: it
// nests too deep, or has entities of its own. For people; empty when nothing is wrong. What the
// text declares as its encoding does not count. Throws std::bad_alloc.
std::string WhyNotXml(std::string_view utf8);

}  // namespace QuillonLib
