#include "cli/MarkdownText.h"

#include "cli/Printable.h"

namespace quillon {

std::string MarkdownText(std::string_view utf8) {
    constexpr std::string_view Marks = "\\`*_[]~#!|$";
    std::string text;
    char before = '\0';
    for (const char c : Printable(utf8)) {
        if (c == '<') {
            text += "&lt;";
        } else if (c == '>') {
            text += "&gt;";
        } else if (c == '&') {
            text += "&amp;";
        } else if (c == ' ' && before == ' ') {
            text += "&nbsp;";  // renderers make one of several blanks
        } else {
            if (Marks.find(c) != std::string_view::npos) text += '\\';
            text += c;
        }
        before = c;
    }
    return text;
}

std::string MarkdownTable(const std::vector<std::vector<std::string>>& rows,
                          const std::vector<bool>& right) {
    std::string table;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        for (const std::string& cell : rows[i])
            table += "| " + MarkdownText(cell) + (cell.empty() ? "" : " ");
        table += "|\n";
        if (i > 0) continue;
        for (const bool number : right)
            table += number ? "| ---: " : "| --- ";
        table += "|\n";
    }
    return table;
}

}  // namespace quillon
