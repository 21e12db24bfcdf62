#include <unicode/uchar.h>

#include "core/CaseMapping.h"

namespace QuillonLib {

char32_t UpperCase(char32_t point) {
    return static_cast<char32_t>(u_toupper(static_cast<UChar32>(point)));
}

char32_t LowerCase(char32_t point) {
    return static_cast<char32_t>(u_tolower(static_cast<UChar32>(point)));
}

char32_t FoldedCase(char32_t point) {
    return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(point), U_FOLD_CASE_DEFAULT));
}

}  // namespace QuillonLib
