#include "direct/ExactNumber.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace QuillonLib {
namespace {

std::string ValueOf(std::string_view text) {
    std::string out;
    AppendValue(out, Normalize(text));
    return out;
}

std::string OrderedOf(std::string_view text) {
    std::string out;
    AppendOrdered(out, Normalize(text));
    return out;
}

TEST(ExactNumber, IsWhatItIsWorth) {
    EXPECT_EQ(ValueOf("1.50"), ValueOf("1.5"));
    EXPECT_EQ(ValueOf("0012"), ValueOf("12.000"));
    EXPECT_EQ(ValueOf("-0.00"), ValueOf("0"));
    EXPECT_EQ(ValueOf(".5"), ValueOf("0.5"));
    EXPECT_NE(ValueOf("-1"), ValueOf("1"));
    EXPECT_NE(ValueOf("10"), ValueOf("1"));
    EXPECT_NE(ValueOf("1.05"), ValueOf("1.5"));
}

TEST(ExactNumber, IsOrderedByItsWorth) {
    const std::vector<std::string> ascending = {
        "-100", "-99.9", "-12.5", "-12",  "-2", "-1.01", "-1",   "-0.5", "-0.05", "0",
        "0.05", "0.5",   "1",     "1.01", "2",  "12",    "12.5", "99.9", "100"};
    for (std::size_t i = 0; i + 1 < ascending.size(); ++i) {
        EXPECT_LT(OrderedOf(ascending[i]), OrderedOf(ascending[i + 1]))
            << ascending[i] << " and " << ascending[i + 1];
    }
    EXPECT_EQ(OrderedOf("1.50"), OrderedOf("1.5"));
    EXPECT_EQ(OrderedOf("-0"), OrderedOf("0.0"));
}

}  // namespace
}  // namespace QuillonLib
