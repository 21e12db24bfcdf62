// What a terminal does with a character: by ICU or, on Windows, by tables of our own.
#pragma once

namespace quillon {

// What a terminal would obey, or show nothing of while it changes how the rest is shown: control
// and format characters, separators of lines, lone surrogates.
bool MustBeEscaped(char32_t point);

// The places that it takes: 0, 1 or 2.
int TerminalWidth(char32_t point);

bool IsWhiteSpace(char32_t point);

}  // namespace quillon
