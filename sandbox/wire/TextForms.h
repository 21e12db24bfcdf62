// Values in the server's own text form, with all their digits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "../Backend.h"

namespace sandbox::wire {

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;  // of 100 ns
inline constexpr std::int64_t kTicksPerMinute = 60 * kTicksPerSecond;
inline constexpr std::int64_t kTicksPerDay = 86'400 * kTicksPerSecond;
inline constexpr std::int64_t kDaysTo1900 = 693'595;  // from 0001-01-01

// A short text that lives without allocation.
class ShortText {
  public:
    std::string_view View() const { return {chars_.data(), size_}; }
    void Add(char c) { chars_[size_++] = c; }
    void Add(std::string_view text) {
        for (const char c : text)
            Add(c);
    }
    // `number`, not negative, with leading zeros up to `digits`.
    void AddDigits(std::int64_t number, int digits);

  private:
    std::array<char, 48> chars_{};
    std::size_t size_ = 0;
};

// "2024-01-15", "13:45:30.1234567", "2024-01-15 13:45:30.1234567",
// "2024-01-15 13:45:30.1234567 +02:00"; of the cell, which is not NULL and has the type `type`.
ShortText DateText(const Cell& cell);
ShortText TimeText(const Cell& cell, int scale);
ShortText DateTime2Text(const Cell& cell, int scale);
ShortText DateTimeOffsetText(const Cell& cell, int scale);

// The number of characters of those texts.
inline constexpr int kDateTextLength = 10;
constexpr int TimeTextLength(int scale) {
    return scale == 0 ? 8 : 9 + scale;
}
constexpr int DateTime2TextLength(int scale) {
    return kDateTextLength + 1 + TimeTextLength(scale);
}
constexpr int DateTimeOffsetTextLength(int scale) {
    return DateTime2TextLength(scale) + 7;
}

// Any value as text; "" for NULL. Beyond the above: bit and integers in digits, money with four
// decimals, floats in the shortest digits that read back the same, datetime as
// "2024-01-15 13:45:30.123", smalldatetime as "2024-01-15 13:45:00", binary as "0x00FF",
// uniqueidentifier in capitals without braces.
std::u16string CellText(const SqlType& type, const Cell& cell);

}  // namespace sandbox::wire
