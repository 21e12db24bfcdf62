#include "core/Error.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

TEST(Error, CarriesNumberSourceAndDescription) {
    const Error error(ErrorNumber::Comparison, u"Key columns differ", u"CompareTable");
    EXPECT_EQ(error.Number(), -2147221502);
    EXPECT_EQ(error.Source(), u"CompareTable");
    EXPECT_EQ(error.Description(), u"Key columns differ");
}

TEST(Error, WhatIsTheDescriptionInUtf8) {
    EXPECT_STREQ(Error(5, u"caf\u00e9 \U0001F600").what(), "caf\xC3\xA9 \xF0\x9F\x98\x80");
}

TEST(Error, NumbersAreThoseOfAutomation) {
    EXPECT_EQ(ErrorNumber::Encryption, -2147221503);
    EXPECT_EQ(ErrorNumber::DuplicateKey, 457);
    EXPECT_EQ(ErrorNumber::InvalidArgument, 5);
    EXPECT_EQ(ErrorNumber::ObjectClosed, 3704);
}

}  // namespace
}  // namespace QuillonLib
