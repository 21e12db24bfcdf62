#include <unicode/uchar.h>

#include "cli/CharacterClass.h"

namespace quillon {

bool MustBeEscaped(char32_t point) {
    constexpr char32_t NonJoiner = 0x200C;
    constexpr char32_t Joiner = 0x200D;
    const auto icu = static_cast<UChar32>(point);
    switch (u_charType(icu)) {
        case U_CONTROL_CHAR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR:
        case U_SURROGATE:
            return true;
        case U_FORMAT_CHAR:
            // Some are seen, such as the sign before an Arabic year.
            return point != NonJoiner && point != Joiner &&
                   !u_hasBinaryProperty(icu, UCHAR_PREPENDED_CONCATENATION_MARK);
        default:
            return false;
    }
}

int TerminalWidth(char32_t point) {
    const auto icu = static_cast<UChar32>(point);
    switch (u_charType(icu)) {
        case U_NON_SPACING_MARK:
        case U_ENCLOSING_MARK:
        case U_FORMAT_CHAR:
        case U_CONTROL_CHAR:
            return 0;
        default:
            break;
    }
    // The two letters of a flag are drawn in two places together.
    if (point >= 0x1F1E6 && point <= 0x1F1FF) return 1;
    const int width = u_getIntPropertyValue(icu, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

bool IsWhiteSpace(char32_t point) {
    return u_isUWhiteSpace(static_cast<UChar32>(point)) != 0;
}

}  // namespace quillon
