// Exact decimals: a 128-bit integer and a scale.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "sandbox/Backend.h"
#include "sandbox/engine/values/Value.h"

namespace sandbox::engine {

// 10^n, n from 0 to 38.
Int128 PowerOf10(int n);
// Digits of |value|; 1 for 0.
int DigitCount(Int128 value);

// value * 10^from expressed at scale `to`, rounded half away from zero. Absent on overflow of
// 38 digits.
std::optional<Int128> Rescale(Int128 value, int from, int to);

// (a * b) rescaled from scale `scale` to scale `to`.
std::optional<Int128> Multiply(Int128 a, Int128 b, int scale, int to);
// a / b at scale `to`, cut as the server cuts; b is not zero.
std::optional<Int128> Divide(Int128 a, int scaleA, Int128 b, int scaleB, int to);

std::u16string DecimalText(Int128 value, int scale);

struct ParsedDecimal {
    Int128 value = 0;
    int scale = 0;
    bool overflow = false;
};
// [blanks][sign]digits[.digits][blanks]; absent when the text is no number.
std::optional<ParsedDecimal> ParseDecimal(std::u16string_view text);

double DecimalToDouble(Int128 value, int scale);
std::optional<Int128> DoubleToDecimal(double value, int scale);

// Between a number and the encoding in which SQLite stores decimal(precision, scale).
Int128 DecimalFromValue(const Value& value);
Value DecimalToValue(Int128 value, const SqlType& type);
void EncodeDecimalBlob(Int128 value, unsigned char out[16]);
Int128 DecodeDecimalBlob(const unsigned char in[16]);

}  // namespace sandbox::engine
