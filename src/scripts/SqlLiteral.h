// T-SQL literals: one value as an argument of a script's EXEC line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "data/PackedRows.h"
#include "data/Value.h"

namespace QuillonLib {

// Null and Empty "NULL"; Date as DateToSqlLiteral; String as QuoteUnicodeString; Boolean "1" or
// "0"; Bytes as BytesToHexLiteral; any other its DefaultText, in single quotes where that begins
// with "{" and ends with "}".
//
// A String whose first character has code 0 is a ready SQL expression: what follows that character
// is the result as it stands. Only a caller's own value may say so; for data use AppendSqlLiteral.
std::u16string ValueToSqlLiteral(const Value& value);

// "N'", the text with every single quote doubled, "'".
std::u16string QuoteUnicodeString(std::u16string_view text);

// "0x" and two upper-case hexadecimal digits for each byte.
std::u16string BytesToHexLiteral(std::span<const std::uint8_t> bytes);

// "'yyyymmdd hh:mm:ss.fff'", or "NULL" for a value that is not a date. Hours, minutes, seconds and
// milliseconds are cut from one count of milliseconds, so that they agree where a day number lies
// a hair below a whole second. Error 6 outside of the years 100 to 9999 (see SplitDate).
std::u16string DateToSqlLiteral(const Value& value);

// The milliseconds of the date's time of day, 0 to 999: the exact count rounded half to even.
// Error 6 as above.
std::int32_t DateMilliseconds(Date date);

// Appends the literal of one cell, without a Value in between. Text that came from a server is
// data: it is quoted even where it begins with code 0.
void AppendSqlLiteral(std::u16string& out, const PackedColumn& column, std::size_t row);

// The same into a buffer with room for MaxSqlLiteral(column, row) characters; returns the end.
char16_t* WriteSqlLiteral(char16_t* out, const PackedColumn& column, std::size_t row);
std::size_t MaxSqlLiteral(const PackedColumn& column, std::size_t row);

// Room for the literal of any value, of the kinds whose literals do not grow with the value. The
// longest is a Guid in quotes.
inline constexpr std::size_t MaxFixedLiteral = 48;
inline bool HasVariableLiteral(ValueKind kind) {
    return kind == ValueKind::String || kind == ValueKind::Bytes;
}

// About as many characters as the literals of the column's first `rows` cells have: fewer only
// where text is full of quotes.
std::size_t ExpectedSqlLiterals(const PackedColumn& column, std::size_t rows);

}  // namespace QuillonLib
