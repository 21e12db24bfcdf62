// Calendar arithmetic for datetime values: ticks of 1/300 s, day numbers and calendar fields.
#pragma once

#include <cstdint>

#include "core/Export.h"
#include "data/Value.h"

namespace QuillonLib {

// The server keeps a datetime as a count of 1/300 s; row sets keep that count, so that nothing is
// lost between the server and a script.
struct DateTicks {
    std::int64_t count = 0;  // 1/300 s since 1900-01-01, negative before
    friend bool operator==(DateTicks, DateTicks) = default;
};

struct CalendarDate {
    int year = 1899;
    int month = 12;
    int day = 30;
};

inline constexpr std::int64_t TicksPerDay = 300LL * 86400;
inline constexpr std::int64_t MillisecondsPerDay = 86400000;

// Proleptic Gregorian calendar; day 0 is 1899-12-30.
QUILLON_API std::int64_t DayFromCalendar(CalendarDate date);
QUILLON_API CalendarDate CalendarFromDay(std::int64_t day);

// A day and the whole milliseconds of its time of day, 0 to 86,399,999.
struct DayAndTime {
    std::int64_t day = 0;  // days since 1899-12-30
    std::int64_t milliseconds = 0;
};

// Rounded to the nearest millisecond (half to even); a time that rounds to midnight belongs to the
// next day. Error 6 for what is no date: not a number, infinite, before 1 January 100
// (day -657434), or, once rounded, after 31 December 9999 (day 2958465).
QUILLON_API DayAndTime SplitDate(Date date);
QUILLON_API DayAndTime SplitDate(DateTicks ticks);

QUILLON_API Date ToDate(DateTicks ticks);
// The nearest tick.
QUILLON_API DateTicks ToTicks(Date date);

}  // namespace QuillonLib
