// Text in Markdown with tables, as the common renderers of code forges take it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// One line that renders as Printable shows the text: nothing in it is markup.
std::string MarkdownText(std::string_view utf8);

// A table; its cells are texts, not markup. The first row is the heading, `right`: by column,
// whether it is a column of numbers.
std::string MarkdownTable(const std::vector<std::vector<std::string>>& rows,
                          const std::vector<bool>& right);

}  // namespace quillon
