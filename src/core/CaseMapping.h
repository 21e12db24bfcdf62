// Simple case mapping of one code point, by ICU or, on Windows, by the system. Not installed.
//
// Nothing depends on a locale. What has no other case, a lone surrogate among it, is its own. The
// two sources differ where Unicode's tables are younger than the system's.
#pragma once

namespace QuillonLib {

char32_t UpperCase(char32_t point);
char32_t LowerCase(char32_t point);
// Equal for code points that differ only in case.
char32_t FoldedCase(char32_t point);

}  // namespace QuillonLib
