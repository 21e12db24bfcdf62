// The parts of Convert: one file for each kind of target. None of them is handed NULL or a
// sql_variant; all throw SqlError where the server refuses.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/DateTime.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

[[noreturn]] inline void Fail8114(const SqlType& from, const SqlType& to) {
    throw SqlError(8114, Format(u"Error converting data type %1 to %2.",
                                {TypeName(from.id), TypeName(to.id)}));
}

[[noreturn]] inline void FailOverflow(std::u16string_view what, const SqlType& to) {
    throw SqlError(8115, Format(u"Arithmetic overflow error converting %1 to data type %2.",
                                {what, TypeName(to.id)}));
}

[[noreturn]] inline void FailTruncation() {
    throw SqlError(8152, u"String or binary data would be truncated.", 16, 14);
}

// A number on its way: exact with a scale, or a double.
struct Number {
    bool real = false;
    double d = 0;
    Int128 value = 0;
    int scale = 0;
};

Number NumberOf(const Value& v, const SqlType& from);
// How messages call the source of an overflow.
std::u16string_view SourceWord(const SqlType& from);

// ConvertNumbers.cpp
Value FromNumber(const Number& n, const SqlType& from, const SqlType& to);
Value TextToNumber(std::u16string_view text, const SqlType& from, const SqlType& to);
// Binary to a number: the low bytes, big-endian.
Value BinaryToInteger(const std::string& bytes, const SqlType& to);

// ConvertMoments.cpp
Moment MomentOf(const Value& v, const SqlType& from);
Value ToDateTime(const Value& v, const SqlType& from, const SqlType& to, int style);
Value DateTimeToNumber(const Value& v, const SqlType& from, const SqlType& to);

// ConvertText.cpp
Value ToCharacters(const Value& v, const SqlType& from, const SqlType& to, Purpose purpose,
                   int style);

// ConvertBytes.cpp
Value TextToGuid(std::u16string_view text);
Value ToBinary(const Value& v, const SqlType& from, const SqlType& to, Purpose purpose, int style);

}  // namespace sandbox::engine
