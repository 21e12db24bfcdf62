#include "data/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

#include "core/Error.h"
#include "tests/support/NumberThrown.h"

namespace QuillonLib {
namespace {

TEST(Value, KnowsItsKind) {
    EXPECT_EQ(Value().Kind(), ValueKind::Empty);
    EXPECT_EQ(Value::Null().Kind(), ValueKind::Null);
    EXPECT_EQ(Value(true).Kind(), ValueKind::Boolean);
    EXPECT_EQ(Value(std::uint8_t{1}).Kind(), ValueKind::Byte);
    EXPECT_EQ(Value(std::int16_t{1}).Kind(), ValueKind::Integer);
    EXPECT_EQ(Value(1).Kind(), ValueKind::Long);
    EXPECT_EQ(Value(std::int64_t{1}).Kind(), ValueKind::LongLong);
    EXPECT_EQ(Value(1.0F).Kind(), ValueKind::Single);
    EXPECT_EQ(Value(1.0).Kind(), ValueKind::Double);
    EXPECT_EQ(Value(Currency{1}).Kind(), ValueKind::Currency);
    EXPECT_EQ(Value(Decimal("1.0")).Kind(), ValueKind::Decimal);
    EXPECT_EQ(Value(Date{1}).Kind(), ValueKind::Date);
    EXPECT_EQ(Value(u"text").Kind(), ValueKind::String);
    EXPECT_EQ(Value(ByteArray{1}).Kind(), ValueKind::Bytes);
    EXPECT_EQ(Value(Guid{}).Kind(), ValueKind::Guid);
}

TEST(Value, GivesItsContentOnlyAsItsOwnKind) {
    EXPECT_EQ(Value(42).Get<std::int32_t>(), 42);
    EXPECT_EQ(test::NumberThrown([] { Value(42).Get<double>(); }), 13);
    EXPECT_EQ(test::NumberThrown([] { Value::Null().Get<std::int32_t>(); }), 94);
    EXPECT_EQ(test::NumberThrown([] { Value().Get<std::int32_t>(); }), 13);
}

TEST(Value, ReadsEveryWholeNumberAsInt64) {
    EXPECT_EQ(ToInt64(Value(true)), 1);
    EXPECT_EQ(ToInt64(Value(std::uint8_t{255})), 255);
    EXPECT_EQ(ToInt64(Value(std::int16_t{-32768})), -32768);
    EXPECT_EQ(ToInt64(Value(-5)), -5);
    EXPECT_EQ(ToInt64(Value(std::int64_t{9223372036854775807})), 9223372036854775807);
    EXPECT_EQ(test::NumberThrown([] { ToInt64(Value(u"1")); }), 13);
    EXPECT_EQ(test::NumberThrown([] { ToInt64(Value::Null()); }), 94);
}

TEST(Decimal, KeepsTheServersText) {
    EXPECT_EQ(Decimal("-0.10").Text(), "-0.10");
    EXPECT_TRUE(Decimal("-0.10").Negative());
    EXPECT_FALSE(Decimal("12345678901234567890123456789012345678").Negative());
    EXPECT_EQ(Decimal("-0.10").Scale(), 2);
    EXPECT_EQ(Decimal("7").Scale(), 0);
    EXPECT_EQ(Decimal().Text(), "0");
}

TEST(Decimal, RefusesWhatIsNoNumber) {
    for (const char* text : {"", "-", ".", "1.2.3", "1e5", "+1", " 1", "1-"}) {
        EXPECT_EQ(test::NumberThrown([&] { Decimal{text}; }), 13) << text;
    }
}

TEST(DefaultText, WritesEveryKind) {
    EXPECT_EQ(DefaultText(Value()), u"");
    EXPECT_EQ(DefaultText(Value(true)), u"True");
    EXPECT_EQ(DefaultText(Value(false)), u"False");
    EXPECT_EQ(DefaultText(Value(std::uint8_t{255})), u"255");
    EXPECT_EQ(DefaultText(Value(std::int16_t{-32768})), u"-32768");
    EXPECT_EQ(DefaultText(Value(std::numeric_limits<std::int32_t>::min())), u"-2147483648");
    EXPECT_EQ(DefaultText(Value(std::numeric_limits<std::int64_t>::min())),
              u"-9223372036854775808");
    EXPECT_EQ(DefaultText(Value(Decimal("-0.10"))), u"-0.10");
    EXPECT_EQ(DefaultText(Value(u"O'Brien")), u"O'Brien");
    EXPECT_EQ(DefaultText(Value(Date{-1.25})), u"1899-12-29 06:00:00.000");
    EXPECT_EQ(DefaultText(Value(Guid{{0x6F, 0x96, 0x19, 0xFF, 0x8B, 0x86, 0xD0, 0x11, 0xB4, 0x2D,
                                      0x00, 0xC0, 0x4F, 0xC9, 0x64, 0xFF}})),
              u"{6F9619FF-8B86-D011-B42D-00C04FC964FF}");
    EXPECT_EQ(test::NumberThrown([] { DefaultText(Value::Null()); }), 94);
    EXPECT_EQ(test::NumberThrown([] { DefaultText(Value(ByteArray{1})); }), 13);
}

TEST(DefaultText, WritesMoneyWithUpToFourDecimals) {
    EXPECT_EQ(DefaultText(Value(Currency{0})), u"0");
    EXPECT_EQ(DefaultText(Value(Currency{50000})), u"5");
    EXPECT_EQ(DefaultText(Value(Currency{12300})), u"1.23");
    EXPECT_EQ(DefaultText(Value(Currency{-1})), u"-0.0001");
    EXPECT_EQ(DefaultText(Value(Currency{std::numeric_limits<std::int64_t>::min()})),
              u"-922337203685477.5808");
    EXPECT_EQ(DefaultText(Value(Currency{std::numeric_limits<std::int64_t>::max()})),
              u"922337203685477.5807");
}

TEST(DefaultText, WritesDoublesAsTheServerReadsThemBack) {
    EXPECT_EQ(DefaultText(Value(5.0)), u"5");
    EXPECT_EQ(DefaultText(Value(-1.5)), u"-1.5");
    EXPECT_EQ(DefaultText(Value(0.1)), u"0.1");
    EXPECT_EQ(DefaultText(Value(1e22)), u"1E+22");
    EXPECT_EQ(DefaultText(Value(5e-324)), u"5E-324");
    EXPECT_EQ(DefaultText(Value(1.7976931348623157e308)), u"1.7976931348623157E+308");
    // More digits than the server's conversion from numeric is sure to get right.
    EXPECT_EQ(DefaultText(Value(0.30000000000000004)), u"0.30000000000000004E0");
    EXPECT_EQ(DefaultText(Value(-0.0)), u"-0E0");
}

TEST(DefaultText, WritesSinglesAsTheServerReadsThemBack) {
    EXPECT_EQ(DefaultText(Value(0.1F)), u"0.1");
    EXPECT_EQ(DefaultText(Value(16777216.0F)), u"16777216");
    EXPECT_EQ(DefaultText(Value(3.4028235e38F)), u"3.4028235E+38");
    EXPECT_EQ(DefaultText(Value(1e-45F)), u"1E-45");
}

// strtod and a comparison of bits: nothing of the code under test.
TEST(DefaultText, GivesBackTheSameBits) {
    std::mt19937_64 random(20240115);
    char text[MaxNumberText + 1];
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t bits = random();
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        if (!std::isfinite(number)) continue;
        *WriteText(text, number) = '\0';
        const double back = std::strtod(text, nullptr);
        ASSERT_EQ(std::memcmp(&back, &number, sizeof number), 0) << text;
    }
}

bool ComesBackByWayOfADouble(float number) {
    char text[MaxNumberText + 1];
    *WriteText(text, number) = '\0';
    const auto back = static_cast<float>(std::strtod(text, nullptr));
    return std::memcmp(&back, &number, sizeof number) == 0;
}

// The one float whose shortest text does not survive being read as a double first.
TEST(DefaultText, GivesBackTheFloatThatWouldBeRoundedTwice) {
    EXPECT_TRUE(ComesBackByWayOfADouble(7.03853069e-26F));
    EXPECT_TRUE(ComesBackByWayOfADouble(-7.03853069e-26F));
}

// From the least to the largest in even steps. All 2,139,095,040 take minutes: QUILLON_EVERY_FLOAT
// asks for them, when the conversion has been changed.
TEST(DefaultText, GivesBackFloatsOfEverySizeByWayOfADouble) {
    const std::uint32_t step = std::getenv("QUILLON_EVERY_FLOAT") == nullptr ? 10007 : 1;
    for (std::uint32_t bits = 0; bits < 0x7F800000U; bits += step) {
        float number = 0;
        std::memcpy(&number, &bits, sizeof number);
        ASSERT_TRUE(ComesBackByWayOfADouble(number)) << bits;
    }
}

// The server reads a float first and narrows it: the text must survive both roundings.
TEST(DefaultText, GivesBackTheSameBitsOfASingleByWayOfADouble) {
    std::mt19937 random(20240115);
    for (int i = 0; i < 200000; ++i) {
        const std::uint32_t bits = random();
        float number = 0;
        std::memcpy(&number, &bits, sizeof number);
        if (!std::isfinite(number)) continue;
        ASSERT_TRUE(ComesBackByWayOfADouble(number)) << bits;
    }
}

}  // namespace
}  // namespace QuillonLib
