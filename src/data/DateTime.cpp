#include "data/DateTime.h"

#include <chrono>
#include <cmath>

#include "core/Error.h"

namespace QuillonLib {

namespace {

constexpr std::chrono::sys_days Epoch = std::chrono::year{1899} / 12 / 30;
constexpr std::int64_t DaysFromEpochTo1900 = 2;

// The days of a date: 1 January 100 to 31 December 9999.
constexpr double FirstDay = -657434;
constexpr double DayAfterLast = 2958466;

[[noreturn]] void RaiseOverflow() {
    throw Error(ErrorNumber::Overflow, u"Overflow");
}

constexpr std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
    return a / b - (a % b < 0 ? 1 : 0);
}

// x * factor, rounded to a whole number, half to even. The product is exact: what the
// multiplication loses is looked at where it decides between two neighbours.
std::int64_t RoundedProduct(double x, double factor) {
    const double product = x * factor;
    const double lost = std::fma(x, factor, -product);
    const double floor = std::floor(product);
    const double rest = product - floor;
    const auto whole = static_cast<std::int64_t>(floor);
    if (rest != 0.5) return rest > 0.5 ? whole + 1 : whole;
    if (lost != 0) return lost > 0 ? whole + 1 : whole;
    return whole % 2 == 0 ? whole : whole + 1;
}

}  // namespace

std::int64_t DayFromCalendar(CalendarDate date) {
    const std::chrono::year_month_day calendar{
        std::chrono::year{date.year}, std::chrono::month(static_cast<unsigned>(date.month)),
        std::chrono::day(static_cast<unsigned>(date.day))};
    return (std::chrono::sys_days(calendar) - Epoch).count();
}

CalendarDate CalendarFromDay(std::int64_t day) {
    const std::chrono::year_month_day calendar{Epoch + std::chrono::days(day)};
    return {static_cast<int>(calendar.year()),
            static_cast<int>(static_cast<unsigned>(calendar.month())),
            static_cast<int>(static_cast<unsigned>(calendar.day()))};
}

DayAndTime SplitDate(Date date) {
    // No comparison holds for a NaN.
    if (!(date.days >= FirstDay && date.days < DayAfterLast)) RaiseOverflow();
    const double day = std::trunc(date.days);
    const double timeOfDay = std::fabs(date.days - day);
    DayAndTime split{static_cast<std::int64_t>(day),
                     RoundedProduct(timeOfDay, static_cast<double>(MillisecondsPerDay))};
    if (split.milliseconds == MillisecondsPerDay) split = {split.day + 1, 0};
    // The last half millisecond of the last day rounds out of it.
    if (split.day >= static_cast<std::int64_t>(DayAfterLast)) RaiseOverflow();
    return split;
}

DayAndTime SplitDate(DateTicks ticks) {
    const std::int64_t day = FloorDivide(ticks.count, TicksPerDay);
    const std::int64_t timeOfDay = ticks.count - day * TicksPerDay;
    // A tick is 10/3 ms: a third is rounded down and two thirds up.
    return {day + DaysFromEpochTo1900, (timeOfDay * 10 + 1) / 3};
}

Date ToDate(DateTicks ticks) {
    const std::int64_t day = FloorDivide(ticks.count, TicksPerDay);
    const double timeOfDay =
        static_cast<double>(ticks.count - day * TicksPerDay) / static_cast<double>(TicksPerDay);
    const auto number = static_cast<double>(day + DaysFromEpochTo1900);
    return {number < 0 ? number - timeOfDay : number + timeOfDay};
}

DateTicks ToTicks(Date date) {
    const double day = std::trunc(date.days);
    const double timeOfDay = std::fabs(date.days - day);
    return {(static_cast<std::int64_t>(day) - DaysFromEpochTo1900) * TicksPerDay +
            RoundedProduct(timeOfDay, static_cast<double>(TicksPerDay))};
}

}  // namespace QuillonLib
