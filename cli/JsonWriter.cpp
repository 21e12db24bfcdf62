#include "cli/JsonWriter.h"

#include <utility>

#include "cli/CharacterClass.h"
#include "core/Text.h"

namespace quillon {

namespace {

using QuillonLib::FromUtf8;
using QuillonLib::ToUtf8;

bool IsHigh(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLow(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::string Escaped(char16_t unit) {
    constexpr const char* Digits = "0123456789abcdef";
    std::string text = "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        text += Digits[(unit >> shift) & 0xF];
    return text;
}

// The short escape of a character that has one.
const char* ShortEscape(char16_t unit) {
    switch (unit) {
        case u'"':
            return "\\\"";
        case u'\\':
            return "\\\\";
        case u'\n':
            return "\\n";
        case u'\r':
            return "\\r";
        case u'\t':
            return "\\t";
        default:
            return nullptr;
    }
}

}  // namespace

JsonWriter& JsonWriter::Begin(char bracket) {
    Separate();
    out_ += bracket;
    filled_.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::End(char bracket) {
    const bool filled = filled_.back();
    filled_.pop_back();
    if (filled) BreakLine();
    out_ += bracket;
    return *this;
}

JsonWriter& JsonWriter::Name(std::u16string_view name) {
    Separate();
    WriteText(name);
    out_ += layout_ == Layout::Lines ? ": " : ":";
    named_ = true;
    return *this;
}

JsonWriter& JsonWriter::Name(std::string_view utf8) {
    return Name(FromUtf8(utf8));
}

JsonWriter& JsonWriter::Text(std::u16string_view text) {
    Separate();
    WriteText(text);
    return *this;
}

JsonWriter& JsonWriter::Text(std::string_view utf8) {
    return Text(FromUtf8(utf8));
}

JsonWriter& JsonWriter::Number(std::int64_t number) {
    return Number(std::to_string(number));
}

JsonWriter& JsonWriter::Number(std::string_view number) {
    Separate();
    out_ += number;
    return *this;
}

JsonWriter& JsonWriter::Boolean(bool value) {
    return Number(value ? std::string_view("true") : std::string_view("false"));
}

JsonWriter& JsonWriter::Null() {
    return Number(std::string_view("null"));
}

JsonWriter& JsonWriter::NumberOrNull(std::optional<std::int64_t> number) {
    return number ? Number(*number) : Null();
}

std::string JsonWriter::Take() {
    return std::exchange(out_, {});
}

void JsonWriter::Separate() {
    if (std::exchange(named_, false) || filled_.empty()) return;
    if (filled_.back()) out_ += ',';
    filled_.back() = true;
    BreakLine();
}

void JsonWriter::BreakLine() {
    if (layout_ == Layout::Line) return;
    out_ += '\n';
    out_.append(2 * filled_.size(), ' ');
}

void JsonWriter::WriteText(std::u16string_view text) {
    out_ += '"';
    std::size_t plain = 0;  // the beginning of what is still to be copied as it is
    const auto escape = [&](std::size_t from, std::size_t to, std::string_view escaped) {
        out_ += ToUtf8(text.substr(plain, from - plain));
        out_ += escaped;
        plain = to;
    };
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t from = i;
        const char16_t unit = text[i++];
        const bool plainAscii = unit >= u' ' && unit <= u'~' && unit != u'"' && unit != u'\\';
        if (plainAscii && unit != u'<') continue;  // most of all text
        char32_t point = unit;
        if (IsHigh(unit) && i < text.size() && IsLow(text[i]))
            point = 0x10000 + ((char32_t{unit} - 0xD800) << 10) + (char32_t{text[i++]} - 0xDC00);
        if (const char* const shortly = ShortEscape(unit)) {
            escape(from, i, shortly);
        } else if (MustBeEscaped(point) || (target_ == Target::Html && unit == u'<')) {
            std::string units = Escaped(unit);
            if (i - from == 2) units += Escaped(text[i - 1]);
            escape(from, i, units);
        }
    }
    out_ += ToUtf8(text.substr(plain));
    out_ += '"';
}

}  // namespace quillon
