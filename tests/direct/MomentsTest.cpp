#include "direct/Moments.h"

#include <gtest/gtest.h>

#include "core/Error.h"

namespace QuillonLib {
namespace {

constexpr std::int64_t Second = 30'000'000;
constexpr std::int64_t Day = 86400 * Second;

TEST(Moments, CountFromTheDayOfOleAutomation) {
    EXPECT_EQ(ParseMoment(u"1899-12-30").count, 0);
    EXPECT_EQ(ParseMoment(u"1900-01-01").count, 2 * Day);
    EXPECT_EQ(ParseMoment(u"1899-12-29").count, -Day);
    EXPECT_EQ(ParseMoment(u"1899-12-30 00:00:01").count, Second);
    EXPECT_EQ(ParseMoment(u"1899-12-29 23:59:59.9999999").count, -3);
    EXPECT_EQ(ToMoment({0}).count, 2 * Day);
    EXPECT_EQ(ToMoment({1}).count, 2 * Day + Second / 300);
    EXPECT_LT(ParseMoment(u"0001-01-01 00:00:00").count,
              ParseMoment(u"0001-01-01 00:00:00.1").count);
    EXPECT_GT(ParseMoment(u"9999-12-31 23:59:59.9999999").count, 0);
}

TEST(Moments, TakeFractionsOfAnyLength) {
    EXPECT_EQ(ParseMoment(u"00:00:00.5").count, ParseMoment(u"00:00:00.5000000").count);
    EXPECT_EQ(ParseMoment(u"01:02:03").count, 3723 * Second);
    EXPECT_EQ(ParseMoment(u"00:00:00.0000001").count, 3);
}

TEST(Moments, TakeTheOffsetOff) {
    const Moment east = ParseMoment(u"2024-01-01 02:00:00.0000000 +02:00");
    const Moment west = ParseMoment(u"2023-12-31 19:30:00 -04:30");
    const Moment utc = ParseMoment(u"2024-01-01 00:00:00 +00:00");
    EXPECT_EQ(east.count, utc.count);
    EXPECT_EQ(west.count, utc.count);
    EXPECT_EQ(east.minutes, 120);
    EXPECT_EQ(west.minutes, -270);
}

TEST(Moments, RefuseWhatIsNone) {
    for (const auto* text : {u"", u"2024", u"2024-01-0x", u"12:00", u"12:00:00 02:00",
                             u"12:00:00.12345678", u"2024-01-01T00:00:00"}) {
        EXPECT_THROW(ParseMoment(text), Error);
    }
}

}  // namespace
}  // namespace QuillonLib
