#include "core/Text.h"

#include "core/CaseMapping.h"

namespace QuillonLib {

namespace {

constexpr char32_t Replacement = 0xFFFD;

constexpr bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The code point at `position`, which is moved past it. A lone surrogate is returned as it is.
char32_t NextCodePoint(std::u16string_view text, std::size_t& position) {
    const char16_t unit = text[position++];
    if (IsHighSurrogate(unit) && position < text.size() && IsLowSurrogate(text[position])) {
        const char16_t low = text[position++];
        return 0x10000 + ((char32_t{unit} - 0xD800) << 10) + (char32_t{low} - 0xDC00);
    }
    return unit;
}

void AppendUtf16(std::u16string& out, char32_t point) {
    if (point < 0x10000) {
        out.push_back(static_cast<char16_t>(point));
    } else {
        out.push_back(static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10)));
        out.push_back(static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
    }
}

void AppendUtf8(std::string& out, char32_t point) {
    const auto tail = [point](int shift) {
        return static_cast<char>(0x80 | ((point >> shift) & 0x3F));
    };
    if (point < 0x80) {
        out.push_back(static_cast<char>(point));
    } else if (point < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (point >> 6)));
        out.push_back(tail(0));
    } else if (point < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (point >> 12)));
        out.push_back(tail(6));
        out.push_back(tail(0));
    } else {
        out.push_back(static_cast<char>(0xF0 | (point >> 18)));
        out.push_back(tail(12));
        out.push_back(tail(6));
        out.push_back(tail(0));
    }
}

struct Utf8Step {
    char32_t point = 0;
    std::size_t length = 1;  // bytes to move on
    bool valid = false;
};

// The sequence that starts at text[position]. A malformed one is as long as its valid beginning,
// so that a cut-off character counts as one error and swallows nothing that follows.
Utf8Step DecodeUtf8(std::string_view text, std::size_t position) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(position);
    if (lead < 0x80) return {lead, 1, true};

    std::size_t length = 0;
    unsigned char low = 0x80;   // bounds of the second byte: they exclude overlong forms,
    unsigned char high = 0xBF;  // encoded surrogates and points beyond U+10FFFF
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return {};
    }

    char32_t point = lead & (0xFF >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const bool ended = position + i >= text.size();
        if (ended || byte(position + i) < low || byte(position + i) > high) return {0, i, false};
        point = (point << 6) | (byte(position + i) & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    return {point, length, true};
}

template <typename Mapping>
std::u16string MapCodePoints(std::u16string_view text, Mapping mapping) {
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        AppendUtf16(out, mapping(NextCodePoint(text, position)));
    }
    return out;
}

char32_t FoldCodePoint(char32_t point) {
    if (point < 0x80) return point >= U'A' && point <= U'Z' ? point + 0x20 : point;
    return FoldedCase(point);
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const char32_t point = NextCodePoint(text, position);
        AppendUtf8(out, point >= 0xD800 && point <= 0xDFFF ? Replacement : point);
    }
    return out;
}

std::u16string FromUtf8(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const Utf8Step step = DecodeUtf8(text, position);
        AppendUtf16(out, step.valid ? step.point : Replacement);
        position += step.length;
    }
    return out;
}

bool IsUtf8(std::string_view text) {
    for (std::size_t position = 0; position < text.size();) {
        const Utf8Step step = DecodeUtf8(text, position);
        if (!step.valid) return false;
        position += step.length;
    }
    return true;
}

bool IsUtf16(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsLowSurrogate(text[i])) return false;
        if (!IsHighSurrogate(text[i])) continue;
        if (++i == text.size() || !IsLowSurrogate(text[i])) return false;
    }
    return true;
}

std::u16string ToText(std::int64_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

std::u16string FoldCase(std::u16string_view text) {
    return MapCodePoints(text, FoldCodePoint);
}

std::u16string ToUpper(std::u16string_view text) {
    return MapCodePoints(text, UpperCase);
}

std::u16string ToLower(std::u16string_view text) {
    return MapCodePoints(text, LowerCase);
}

bool EqualIgnoringCase(std::u16string_view a, std::u16string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (FoldCodePoint(NextCodePoint(a, i)) != FoldCodePoint(NextCodePoint(b, j))) return false;
    }
    return i == a.size() && j == b.size();
}

}  // namespace QuillonLib
