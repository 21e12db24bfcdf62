// Values from one type to another, as the server converts them.
#pragma once

#include <cstdint>
#include <string>

#include "sandbox/Backend.h"
#include "sandbox/engine/values/Value.h"

namespace sandbox::engine {

enum class Purpose : std::uint8_t {
    Column,    // storing into a column: cutting a string is error 8152
    Variable,  // into a variable or parameter: strings are cut silently
    Cast,      // CAST, CONVERT: strings are cut silently
    Argument,  // an argument of EXEC: failures are 8114
};

// May a value of `from` become `to`? Throws 206, 257, 260 or 529 when not.
void CheckConvertible(const SqlType& from, const SqlType& to, bool isExplicit);

// Converts; throws SqlError (220, 241, 242, 245, 8114, 8115, 8152, 8169 ...).
Value Convert(const Value& value, const SqlType& from, const SqlType& to, Purpose purpose,
              int style = 0);

// The cell of a value for a sink; it points into `value`.
Cell MakeCell(const Value& value, const SqlType& type);

// The text that PRINT and string concatenation show.
std::u16string DisplayText(const Value& value, const SqlType& type);

// sql_variant: wraps and unwraps.
Value WrapVariant(const Value& value, const SqlType& type);
Value UnwrapVariant(std::u16string_view encoded, SqlType& type);
int CompareVariants(std::u16string_view a, std::u16string_view b);

// uniqueidentifier between the order of the wire and the order of storage.
void GuidToStorage(const unsigned char wire[16], unsigned char stored[16]);
void GuidFromStorage(const unsigned char stored[16], unsigned char wire[16]);

// float as the server prints it (six digits).
std::u16string FloatText(double value, int digits);

}  // namespace sandbox::engine
