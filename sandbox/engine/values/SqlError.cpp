#include "sandbox/engine/values/SqlError.h"

#include <charconv>

namespace sandbox::engine {

SqlError::SqlError(std::int32_t number, std::u16string text, std::uint8_t severity,
                   std::uint8_t state)
    : std::runtime_error("SQL error"), reach(ReachOf(number)) {
    message.number = number;
    message.severity = severity;
    message.state = state;
    message.text = std::move(text);
}

ErrorReach ReachOf(std::int32_t number) {
    switch (number) {
        // Conversions inside a query take the transaction with them.
        case 241:
        case 242:
        case 244:
        case 245:
        case 248:
        case 295:
        case 8169:
        case 1205:
            return ErrorReach::Rollback;
        // Names and syntax: nothing after the statement can be trusted.
        case 102:
        case 105:
        case 116:
        case 120:
        case 121:
        case 137:
        case 156:
        case 195:
        case 206:
        case 207:
        case 208:
        case 209:
        case 213:
        case 257:
        case 271:
        case 306:
        case 402:
        case 421:
        case 911:
        case 4104:
        case 7202:
        case 7399:
        case 8101:
        case 8120:
        case 8102:
        case 8155:
        case 8156:
            return ErrorReach::Scope;
        default:
            return ErrorReach::Statement;
    }
}

std::u16string Format(std::u16string_view pattern,
                      std::initializer_list<std::u16string_view> args) {
    std::u16string out;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'%' && i + 1 < pattern.size() && pattern[i + 1] >= u'1' &&
            pattern[i + 1] <= u'9') {
            const std::size_t n = static_cast<std::size_t>(pattern[++i] - u'1');
            if (n < args.size()) out += args.begin()[n];
        } else {
            out += pattern[i];
        }
    }
    return out;
}

std::u16string Widen(std::string_view s) {
    std::u16string out;
    out.reserve(s.size());
    std::size_t i = 0;
    while (i < s.size()) {
        const auto lead = static_cast<unsigned char>(s[i]);
        if (lead < 0x80) {
            out += static_cast<char16_t>(lead);
            ++i;
            continue;
        }
        const int extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : -1;
        if (extra < 0 || i + static_cast<std::size_t>(extra) >= s.size()) {
            out += u'\uFFFD';
            ++i;
            continue;
        }
        char32_t c = extra == 3 ? lead & 0x07U : extra == 2 ? lead & 0x0FU : lead & 0x1FU;
        for (int k = 1; k <= extra; ++k) {
            c = (c << 6) | (static_cast<unsigned char>(s[i + static_cast<std::size_t>(k)]) & 0x3FU);
        }
        i += static_cast<std::size_t>(extra) + 1;
        if (c >= 0x10000) {
            c -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (c >> 10));
            out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        } else {
            out += static_cast<char16_t>(c);
        }
    }
    return out;
}

std::string Narrow(std::u16string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        char32_t c = s[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < s.size() && s[i + 1] >= 0xDC00 &&
            s[i + 1] < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (s[++i] - 0xDC00U);
        } else if (c >= 0xD800 && c < 0xE000) {
            c = 0xFFFD;
        }
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

std::u16string ToText(std::int64_t number) {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
    return {buffer, end};
}

int LeadingNumber(std::string_view text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void ThrowSyntax(std::u16string_view near) {
    throw SqlError(102, Format(u"Incorrect syntax near '%1'.", {near}), 15);
}

void ThrowInvalidObject(std::u16string_view name) {
    throw SqlError(208, Format(u"Invalid object name '%1'.", {name}));
}

void ThrowInvalidColumn(std::u16string_view name) {
    throw SqlError(207, Format(u"Invalid column name '%1'.", {name}));
}

}  // namespace sandbox::engine
