#include "data/DateTime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "core/Error.h"

namespace QuillonLib {
namespace {

TEST(DateTime, CountsDaysFrom30December1899) {
    EXPECT_EQ(DayFromCalendar({1899, 12, 30}), 0);
    EXPECT_EQ(DayFromCalendar({1899, 12, 29}), -1);
    EXPECT_EQ(DayFromCalendar({1900, 1, 1}), 2);
    EXPECT_EQ(DayFromCalendar({2024, 1, 15}), 45306);
    EXPECT_EQ(DayFromCalendar({1753, 1, 1}), -53688);
    EXPECT_EQ(DayFromCalendar({9999, 12, 31}), 2958465);
}

TEST(DateTime, FindsTheCalendarDateOfEveryDay) {
    for (std::int64_t day = -53688; day <= 2958465; ++day) {
        ASSERT_EQ(DayFromCalendar(CalendarFromDay(day)), day);
    }
    const CalendarDate leap = CalendarFromDay(DayFromCalendar({2000, 2, 28}) + 1);
    EXPECT_EQ(leap.month, 2);
    EXPECT_EQ(leap.day, 29);
}

TEST(DateTime, CountsTheTimeForwardBeforeDayZero) {
    const DayAndTime split = SplitDate(Date{-1.25});
    EXPECT_EQ(split.day, -1);
    EXPECT_EQ(split.milliseconds, 6 * 3600 * 1000);
    EXPECT_EQ(ToDate(DateTicks{-3 * TicksPerDay + TicksPerDay / 4}), Date{-1.25});
    EXPECT_EQ(ToTicks(Date{-1.25}), DateTicks{-3 * TicksPerDay + TicksPerDay / 4});
}

TEST(DateTime, CarriesATimeThatRoundsToMidnightIntoTheNextDay) {
    const DayAndTime late = SplitDate(Date{std::nextafter(45307.0, 0.0)});
    EXPECT_EQ(late.day, 45307);
    EXPECT_EQ(late.milliseconds, 0);
    const DayAndTime lateBeforeDayZero = SplitDate(Date{std::nextafter(-2.0, -3.0) - 0.9999999999});
    EXPECT_EQ(lateBeforeDayZero.day, -1);
    EXPECT_EQ(lateBeforeDayZero.milliseconds, 0);
}

TEST(DateTime, RoundsHalfAMillisecondToTheEvenOne) {
    // 1/1024 of a day is 84375 ms; half of that is a whole number of half milliseconds.
    EXPECT_EQ(SplitDate(Date{1.0 / 2048}).milliseconds, 42188);   // 42187.5
    EXPECT_EQ(SplitDate(Date{3.0 / 2048}).milliseconds, 126562);  // 126562.5
    EXPECT_EQ(SplitDate(Date{7 + 1.0 / 2048}).milliseconds, 42188);
}

TEST(DateTime, ReadsTheThreeTicksOfAHundredthAsTheServerWritesThem) {
    EXPECT_EQ(SplitDate(DateTicks{0}).milliseconds, 0);
    EXPECT_EQ(SplitDate(DateTicks{1}).milliseconds, 3);
    EXPECT_EQ(SplitDate(DateTicks{2}).milliseconds, 7);
    EXPECT_EQ(SplitDate(DateTicks{3}).milliseconds, 10);
    EXPECT_EQ(SplitDate(DateTicks{TicksPerDay - 1}).milliseconds, 86399997);
    EXPECT_EQ(SplitDate(DateTicks{-1}).milliseconds, 86399997);
    EXPECT_EQ(SplitDate(DateTicks{-1}).day, 1);
}

TEST(DateTime, EveryTickOfADaySurvivesTheDayNumber) {
    for (const std::int64_t day : {-53690LL, -2LL, -1LL, 0LL, 45304LL, 2958463LL}) {
        for (std::int64_t tick = day * TicksPerDay; tick < (day + 1) * TicksPerDay; tick += 7) {
            ASSERT_EQ(ToTicks(ToDate(DateTicks{tick})).count, tick);
        }
    }
}

// The number of the error that splitting raises; 0 for none.
std::int32_t RaisedFor(double days) {
    try {
        SplitDate(Date{days});
    } catch (const Error& error) {
        EXPECT_EQ(error.Description(), u"Overflow");
        return error.Number();
    }
    return 0;
}

TEST(DateTime, RefusesWhatIsNoDate) {
    EXPECT_EQ(RaisedFor(std::numeric_limits<double>::quiet_NaN()), 6);
    EXPECT_EQ(RaisedFor(std::numeric_limits<double>::infinity()), 6);
    EXPECT_EQ(RaisedFor(-std::numeric_limits<double>::infinity()), 6);
    EXPECT_EQ(RaisedFor(1e300), 6);
    EXPECT_EQ(RaisedFor(-1e300), 6);
}

TEST(DateTime, RefusesDaysBeforeTheYear100AndAfter9999) {
    EXPECT_EQ(RaisedFor(-657434), 0);
    EXPECT_EQ(RaisedFor(std::nextafter(-657434.0, -1e6)), 6);
    EXPECT_EQ(RaisedFor(2958465.999), 0);
    EXPECT_EQ(RaisedFor(2958466), 6);
    // Rounds to midnight of the day after.
    EXPECT_EQ(RaisedFor(std::nextafter(2958466.0, 0.0)), 6);
    EXPECT_EQ(SplitDate(Date{-657434}).day, -657434);
    EXPECT_EQ(CalendarFromDay(-657434).year, 100);
}

}  // namespace
}  // namespace QuillonLib
