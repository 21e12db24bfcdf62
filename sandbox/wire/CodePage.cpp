#include "CodePage.h"

#include <algorithm>
#include <array>

namespace sandbox::wire {

namespace {

// The characters of bytes 0x80 to 0x9F; the rest of the code page is Latin-1. The five bytes that
// no character has stand for the control character of their number.
constexpr std::array<char16_t, 32> kUpper = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::uint8_t ToByte(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<std::uint8_t>(unit);
    const auto* found = std::ranges::find(kUpper, unit);
    if (found == kUpper.end()) return '?';
    return static_cast<std::uint8_t>(0x80 + (found - kUpper.begin()));
}

}  // namespace

std::uint8_t* PutCodePage(std::uint8_t* p, const std::uint8_t* text, std::size_t units) {
    for (std::size_t n = 0; n < units; ++n) {
        const auto unit = static_cast<char16_t>(text[2 * n] | text[2 * n + 1] << 8);
        p[n] = unit < 0x80 ? static_cast<std::uint8_t>(unit) : ToByte(unit);
    }
    return p + units;
}

std::u16string FromCodePage(Bytes bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += byte >= 0x80 && byte < 0xA0 ? kUpper[byte - 0x80] : static_cast<char16_t>(byte);
    }
    return text;
}

}  // namespace sandbox::wire
