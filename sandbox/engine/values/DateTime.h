// Dates and times: the calendar, the server's text forms, and reading them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sandbox/Backend.h"

namespace sandbox::engine {

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;  // 100 ns
inline constexpr std::int64_t kTicksPerDay = 86'400 * kTicksPerSecond;
inline constexpr std::int64_t kDays1900 = 693'595;             // 0001-01-01 to 1900-01-01
inline constexpr std::int64_t kThirdsPerDay = 86'400LL * 300;  // 1/300 s

struct Date {
    int year = 1900, month = 1, day = 1;
};

std::int64_t DaysFromDate(const Date& date);  // since 0001-01-01
Date DateFromDays(std::int64_t days);
bool ValidDate(int year, int month, int day);
int DaysInMonth(int year, int month);

// A moment: days since 0001-01-01, 100 ns since midnight, offset in minutes for datetimeoffset.
struct Moment {
    std::int64_t days = kDays1900;
    std::int64_t ticks = 0;
    int offset = 0;
};

enum class ParseResult { Ok, Syntax, Range };
// Reads what the server reads: 'yyyymmdd', 'yyyy-mm-dd', 'mm/dd/yyyy', 'Jan 15 2024', with a time
// of day, AM/PM, an offset, the ISO 8601 "T" and "Z". `dmy`: DATEFORMAT dmy.
ParseResult ParseMoment(std::u16string_view text, bool dmy, Moment& out);

// Between a moment and a type's integer. FromMoment rounds; absent when out of the type's range.
std::optional<std::int64_t> FromMoment(const Moment& moment, const SqlType& type);
Moment ToMoment(std::int64_t value, const SqlType& type);

// The text of CONVERT with a style (0: the default of the type).
std::u16string MomentText(const Moment& moment, const SqlType& type, int style);

// datetimeoffset in the form of Types.h: UTC ticks since 0001-01-01 and minutes.
std::u16string EncodeOffset(std::int64_t utcTicks, int offset);
void DecodeOffset(std::u16string_view text, std::int64_t& utcTicks, int& offset);

}  // namespace sandbox::engine
