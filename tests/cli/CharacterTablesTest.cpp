#include "cli/CharacterTables.h"

#include <gtest/gtest.h>

#include "cli/CharacterClass.h"

namespace quillon {
namespace {

// ICU's answers are those of the same Unicode.
TEST(CharacterTables, AgreeWithIcuOnEveryCharacter) {
    int different = 0;
    for (char32_t point = 0; point <= 0x10FFFF; ++point) {
        const int width = IsIn(CharactersWithoutPlace, point) ? 0
                          : IsIn(WideCharacters, point)       ? 2
                                                              : 1;
        if (width != TerminalWidth(point) || IsIn(EscapedCharacters, point) != MustBeEscaped(point))
            ++different;
    }
    EXPECT_EQ(different, 0);
}

}  // namespace
}  // namespace quillon
