// One value of a row, and how it reads as text.
//
// The kinds are those that automation data access tells apart. A value is built only when a field
// is read: rows themselves are kept packed (see PackedRows.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "core/Export.h"

namespace QuillonLib {

// In the order of Value's alternatives.
enum class ValueKind : std::uint8_t {
    Empty,     // no value at all, as a variable that was never set
    Null,      // the database's NULL
    Boolean,   // bit
    Byte,      // tinyint
    Integer,   // smallint
    Long,      // int
    LongLong,  // bigint
    Single,    // real
    Double,    // float
    Currency,  // money, smallmoney
    Decimal,   // decimal, numeric
    Date,      // datetime, smalldatetime
    String,    // character types, xml; date, time, datetime2, datetimeoffset in the server's text
               // form
    Bytes,     // binary types, image, timestamp
    Guid,      // uniqueidentifier
};

struct NullValue {
    friend bool operator==(NullValue, NullValue) = default;
};

// money: a count of 1/10,000.
struct Currency {
    std::int64_t scaled = 0;
    friend bool operator==(Currency, Currency) = default;
};

// An exact number of up to 38 digits, kept as the server writes it ("-12.50"). Never rounded, and
// equal only to the same text.
class QUILLON_API Decimal {
  public:
    Decimal() = default;
    // Throws Error (TypeMismatch) unless `text` is an optional "-", digits and at most one ".".
    explicit Decimal(std::string_view text);

    const std::string& Text() const noexcept { return text_; }
    bool Negative() const noexcept { return text_.front() == '-'; }
    // Digits after the point.
    int Scale() const noexcept;

    friend bool operator==(const Decimal&, const Decimal&) = default;

  private:
    std::string text_ = "0";
};

// A day number: days since 1899-12-30, the fraction being the time of day. Before that date the
// integer part counts down and the fraction still counts forward: -1.25 is 1899-12-29 06:00.
struct Date {
    double days = 0;
    friend bool operator==(Date, Date) = default;
};

// The 16 bytes in the order in which they are printed.
struct Guid {
    std::array<std::uint8_t, 16> bytes{};
    friend bool operator==(const Guid&, const Guid&) = default;
};

using ByteArray = std::vector<std::uint8_t>;

class QUILLON_API Value {
  public:
    Value() = default;  // Empty
    static Value Null() { return Value(NullValue{}); }

    explicit Value(NullValue v) : data_(v) {}
    explicit Value(bool v) : data_(v) {}
    explicit Value(std::uint8_t v) : data_(v) {}
    explicit Value(std::int16_t v) : data_(v) {}
    explicit Value(std::int32_t v) : data_(v) {}
    explicit Value(std::int64_t v) : data_(v) {}
    explicit Value(float v) : data_(v) {}
    explicit Value(double v) : data_(v) {}
    explicit Value(Currency v) : data_(v) {}
    explicit Value(Decimal v) : data_(std::move(v)) {}
    explicit Value(Date v) : data_(v) {}
    explicit Value(std::u16string v) : data_(std::move(v)) {}
    explicit Value(std::u16string_view v) : data_(std::u16string(v)) {}
    explicit Value(const char16_t* v) : data_(std::u16string(v)) {}
    explicit Value(ByteArray v) : data_(std::move(v)) {}
    explicit Value(Guid v) : data_(v) {}
    template <class T>
    explicit Value(T*) = delete;  // else any pointer would become a Boolean

    ValueKind Kind() const noexcept { return static_cast<ValueKind>(data_.index()); }
    bool IsEmpty() const noexcept { return Kind() == ValueKind::Empty; }
    bool IsNull() const noexcept { return Kind() == ValueKind::Null; }

    // The value as the C++ type of its kind. Throws Error: InvalidUseOfNull for a Null,
    // TypeMismatch for any other kind than T's.
    template <class T>
    const T& Get() const {
        if (const T* value = std::get_if<T>(&data_)) return *value;
        ThrowWrongKind();
    }

    friend bool operator==(const Value&, const Value&) = default;

  private:
    [[noreturn]] void ThrowWrongKind() const;

    std::variant<std::monostate, NullValue, bool, std::uint8_t, std::int16_t, std::int32_t,
                 std::int64_t, float, double, Currency, Decimal, Date, std::u16string, ByteArray,
                 Guid>
        data_;
};

// The value as text, the same under every locale:
//   Empty ""; Boolean "True" or "False"; integers in decimal; Decimal as it stands;
//   Currency with up to four decimals, without trailing zeros;
//   Single, Double the shortest text that T-SQL reads back to the same bits, with "." as the point;
//   Date "yyyy-mm-dd hh:mm:ss.fff"; Guid "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in upper case.
// Throws Error: InvalidUseOfNull for a Null, TypeMismatch for Bytes, Overflow as SplitDate does.
QUILLON_API std::u16string DefaultText(const Value& value);

// Boolean (1 or 0), Byte, Integer, Long or LongLong as a number. Throws Error as Get does.
QUILLON_API std::int64_t ToInt64(const Value& value);

// The packed forms of the same texts, for writers that build no Value. Each writes ASCII at `out`,
// which has room for MaxNumberText characters, and returns the end.
inline constexpr std::size_t MaxNumberText = 40;
QUILLON_API char* WriteText(char* out, std::int64_t number);
QUILLON_API char* WriteText(char* out, Currency amount);
QUILLON_API char* WriteText(char* out, float number);
QUILLON_API char* WriteText(char* out, double number);
QUILLON_API char* WriteText(char* out, const Guid& guid);

}  // namespace QuillonLib
