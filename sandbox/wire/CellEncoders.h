// How each type of the server lies on the wire.
#pragma once

#include <cstdint>

#include "RowEncoder.h"

namespace sandbox::wire {

enum class WireType : std::uint8_t {
    Image = 0x22,
    Text = 0x23,
    UniqueIdentifier = 0x24,
    IntN = 0x26,
    Date = 0x28,
    Time = 0x29,
    DateTime2 = 0x2A,
    DateTimeOffset = 0x2B,
    TinyInt = 0x30,
    Bit = 0x32,
    SmallInt = 0x34,
    Int = 0x38,
    SmallDateTime = 0x3A,
    Real = 0x3B,
    Money = 0x3C,
    DateTime = 0x3D,
    Float = 0x3E,
    Variant = 0x62,
    NText = 0x63,
    BitN = 0x68,
    DecimalN = 0x6A,
    NumericN = 0x6C,
    FloatN = 0x6D,
    MoneyN = 0x6E,
    DateTimeN = 0x6F,
    SmallMoney = 0x7A,
    BigInt = 0x7F,
    VarBinary = 0xA5,
    VarChar = 0xA7,
    Binary = 0xAD,
    Char = 0xAF,
    NVarChar = 0xE7,
    NChar = 0xEF,
    Xml = 0xF1,
};

inline constexpr std::uint16_t kMaxTypeLength = 0xFFFF;
inline constexpr std::size_t kLongestShortValue = 8000;
inline constexpr int kVariantLength = 8009;

// Bytes of a decimal value of this precision, its sign included.
std::uint8_t DecimalSize(int precision);
// Bytes of a time of day of this scale.
std::uint8_t TimeSize(int scale);
// 100 ns in one unit of this scale.
std::int64_t TimeUnit(int scale);

// The bare values, without a length in front. `p` has room for them.
std::uint8_t* PutInteger(std::uint8_t* p, std::int64_t value, std::uint8_t size);
std::uint8_t* PutMoney(std::uint8_t* p, std::int64_t value);
std::uint8_t* PutDecimal(std::uint8_t* p, Int128 value, std::uint8_t size);
std::uint8_t* PutDateTime(std::uint8_t* p, std::int64_t value);
std::uint8_t* PutSmallDateTime(std::uint8_t* p, std::int64_t value);
std::uint8_t* PutTimeOfDay(std::uint8_t* p, std::int64_t ticks, std::int64_t unit,
                           std::uint8_t size);
std::uint8_t* PutDays(std::uint8_t* p, std::int64_t days);

// The encoders of columns.
namespace encode {
std::uint8_t* Integer1(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Integer2(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Integer4(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Integer8(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Money(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Decimal(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Float(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Real(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* DateTime(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* SmallDateTime(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Date(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Time(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* DateTime2(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* DateTimeOffset(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* UniqueIdentifier(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
// Dates and times for clients that have no such types: their text, as nvarchar.
std::uint8_t* TextOfDate(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* TextOfTime(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* TextOfDateTime2(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* TextOfDateTimeOffset(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
// Up to 8,000 bytes: binary and national characters; characters of the code page.
std::uint8_t* ShortBytes(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* ShortCharacters(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* ShortUtf8(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
// The max types and xml: in chunks.
std::uint8_t* ChunkedBytes(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* ChunkedCharacters(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* ChunkedUtf8(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
// text, ntext, image: behind a text pointer.
std::uint8_t* PointedBytes(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* PointedCharacters(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* PointedUtf8(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
std::uint8_t* Variant(const WireColumn&, const Cell&, std::uint8_t*, RowContext&);
}  // namespace encode

}  // namespace sandbox::wire
