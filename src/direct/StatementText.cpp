#include "direct/StatementText.h"

#include <algorithm>

#include <numeric>

#include "core/Text.h"

namespace QuillonLib {

std::u16string Numbered(char16_t letter, std::size_t position) {
    return letter + ToText(static_cast<std::int64_t>(position) + 1);
}

void AppendTerm(std::u16string& out, std::u16string_view separator, std::u16string_view term) {
    if (!out.empty()) out += separator;
    out += term;
}

std::u16string Joined(const std::vector<std::u16string>& parts) {
    std::u16string out;
    for (const std::u16string& part : parts)
        AppendTerm(out, u", ", part);
    return out;
}

std::size_t Size(const std::vector<std::u16string>& parts) {
    return std::accumulate(parts.begin(), parts.end(), std::size_t{0},
                           [](std::size_t size, const auto& part) { return size + part.size(); });
}

bool Contains(const std::vector<std::size_t>& list, std::size_t item) {
    return std::find(list.begin(), list.end(), item) != list.end();
}

std::u16string_view Beginning(std::u16string_view text, std::size_t most) {
    if (text.size() <= most) return text;
    const bool cuts = text[most] >= 0xDC00 && text[most] < 0xE000;
    return text.substr(0, cuts ? most - 1 : most);
}

std::u16string MessageText(std::u16string_view text) {
    std::u16string out;
    for (const char16_t unit : text) {
        const bool control = unit < 0x20 || unit == 0x7F;
        out.push_back(control ? u' ' : unit);
        if (unit == u'%' || unit == u'\'') out.push_back(unit);
    }
    return out;
}

}  // namespace QuillonLib
