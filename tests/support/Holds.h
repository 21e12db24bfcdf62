// Whether a text holds another, or ends with it: a failed EXPECT_TRUE or EXPECT_FALSE shows both.
#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "core/Text.h"

namespace QuillonLib {

inline testing::AssertionResult Found(bool found, std::string_view part, std::string_view where,
                                      std::string_view text) {
    return (found ? testing::AssertionSuccess() : testing::AssertionFailure())
           << '"' << part << "\" is " << (found ? "" : "not ") << where << ":\n"
           << text;
}

inline testing::AssertionResult Holds(std::string_view text, std::string_view part) {
    return Found(text.find(part) != text.npos, part, "in", text);
}
// Looked for before either is shown: UTF-8 has one form for all that is no text.
inline testing::AssertionResult Holds(std::u16string_view text, std::u16string_view part) {
    return Found(text.find(part) != text.npos, ToUtf8(part), "in", ToUtf8(text));
}

inline testing::AssertionResult EndsWith(std::u16string_view text, std::u16string_view ending) {
    return Found(text.ends_with(ending), ToUtf8(ending), "at the end of", ToUtf8(text));
}

}  // namespace QuillonLib
