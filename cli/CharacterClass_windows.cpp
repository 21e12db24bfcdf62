#include "cli/CharacterClass.h"
#include "cli/CharacterTables.h"

namespace quillon {

bool MustBeEscaped(char32_t point) {
    return IsIn(EscapedCharacters, point);
}

int TerminalWidth(char32_t point) {
    if (IsIn(CharactersWithoutPlace, point)) return 0;
    return IsIn(WideCharacters, point) ? 2 : 1;
}

bool IsWhiteSpace(char32_t point) {
    return (point >= 0x09 && point <= 0x0D) || point == 0x20 || point == 0x85 || point == 0xA0 ||
           point == 0x1680 || (point >= 0x2000 && point <= 0x200A) || point == 0x2028 ||
           point == 0x2029 || point == 0x202F || point == 0x205F || point == 0x3000;
}

}  // namespace quillon
