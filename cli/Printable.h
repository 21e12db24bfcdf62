// Text from anywhere as it can be shown on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace quillon {

// One line in UTF-8 that holds nothing a terminal obeys, and nothing that hides: control
// characters, line ends, format characters (those that change the direction of the text among them)
// and halves of surrogate pairs become \n, \r, \t, \xNN, \uNNNN or \UNNNNNNNN. The backslash stays
// as it is. The two joiners stay, without which some scripts cannot be read.
std::string Printable(std::string_view utf8);
std::string Printable(std::u16string_view text);

// The same for a text of several lines, whose line ends (LF, CR LF) become LF.
std::string PrintableLines(std::string_view utf8);

}  // namespace quillon
