#include "cli/Printable.h"

#include <cstdint>

#include "cli/CharacterClass.h"
#include "core/Text.h"

namespace quillon {

namespace {

bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::string Escape(char32_t point) {
    switch (point) {
        case U'\n':
            return "\\n";
        case U'\r':
            return "\\r";
        case U'\t':
            return "\\t";
        default:
            break;
    }
    const int digits = point < 0x100 ? 2 : point < 0x10000 ? 4 : 8;
    std::string text = point < 0x100 ? "\\x" : point < 0x10000 ? "\\u" : "\\U";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        text += "0123456789ABCDEF"[(point >> shift) & 0xF];
    return text;
}

}  // namespace

std::string Printable(std::u16string_view text) {
    std::string shown;
    std::size_t plain = 0;  // the beginning of what is still to be copied as it is
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t begin = i;
        char32_t point = text[i++];
        if (IsHighSurrogate(point) && i < text.size() && IsLowSurrogate(text[i])) {
            point = 0x10000 + ((point - 0xD800) << 10) + (char32_t{text[i++]} - 0xDC00);
        }
        if (!MustBeEscaped(point)) continue;
        shown += QuillonLib::ToUtf8(text.substr(plain, begin - plain)) + Escape(point);
        plain = i;
    }
    return shown + QuillonLib::ToUtf8(text.substr(plain));
}

std::string Printable(std::string_view utf8) {
    return Printable(QuillonLib::FromUtf8(utf8));
}

std::string PrintableLines(std::string_view utf8) {
    std::string shown;
    for (std::size_t begin = 0;;) {
        const std::size_t end = utf8.find('\n', begin);
        std::string_view line = utf8.substr(begin, end - begin);
        if (end == std::string_view::npos) return shown + Printable(line);
        if (line.ends_with('\r')) line.remove_suffix(1);
        shown += Printable(line) + '\n';
        begin = end + 1;
    }
}

}  // namespace quillon
