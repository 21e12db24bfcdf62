// Exact numbers as the digits that stand for them. Not installed.
#pragma once

#include <string>
#include <string_view>

namespace QuillonLib {

// A number without what does not change its value: no zeros in front or behind, no sign of zero.
struct ExactDigits {
    bool negative = false;
    std::string_view whole;     // "" for a number below 1
    std::string_view fraction;  // "" for a whole number
};

// `text`: an optional "-", digits, at most one ".". The result points into it.
ExactDigits Normalize(std::string_view text);

// Texts that are equal where the numbers are.
void AppendValue(std::string& out, const ExactDigits& number);
// Bytes in the order of the numbers, none the beginning of another.
void AppendOrdered(std::string& out, const ExactDigits& number);

}  // namespace QuillonLib
