#include "scripts/SqlLiteral.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "data/DateTime.h"

namespace QuillonLib {

namespace {

constexpr char16_t Quote = u'\'';

char16_t* Write(char16_t* out, std::u16string_view text) {
    return std::copy(text.begin(), text.end(), out);
}

using DigitPair = std::array<char16_t, 2>;

constexpr std::array<DigitPair, 100> DigitPairs = [] {
    std::array<DigitPair, 100> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = {static_cast<char16_t>(u'0' + i / 10), static_cast<char16_t>(u'0' + i % 10)};
    }
    return pairs;
}();

char16_t* WritePair(char16_t* out, std::uint64_t number) {
    std::memcpy(out, DigitPairs[number].data(), sizeof(DigitPair));
    return out + 2;
}

// From the last digits to the first, two at a time.
char16_t* WriteInteger(char16_t* out, std::int64_t number) {
    // The magnitude of the lowest value has no positive counterpart in 64 signed bits.
    auto rest = static_cast<std::uint64_t>(number);
    if (number < 0) {
        rest = 0 - rest;
        *out++ = u'-';
    }
    char16_t digits[20];
    char16_t* const end = digits + 20;
    char16_t* begin = end;
    for (; rest >= 100; rest /= 100)
        WritePair(begin -= 2, rest % 100);
    if (rest >= 10) {
        WritePair(begin -= 2, rest);
    } else {
        *--begin = static_cast<char16_t>(u'0' + rest);
    }
    return std::copy(begin, end, out);
}

template <class T>
char16_t* WriteNumber(char16_t* out, const T& number) {
    if constexpr (std::is_integral_v<T>) {
        return WriteInteger(out, number);
    } else {
        char text[MaxNumberText];
        return std::copy(text, WriteText(text, number), out);
    }
}

char16_t* WriteQuotedGuid(char16_t* out, const Guid& guid) {
    *out++ = Quote;
    out = WriteNumber(out, guid);
    *out++ = Quote;
    return out;
}

// ---- text --------------------------------------------------------------------------------------

// Most texts hold no quote; counting first is a loop that the compiler runs eight characters wide.
char16_t* WriteQuotedText(char16_t* out, std::u16string_view text) {
    *out++ = u'N';
    *out++ = Quote;
    if (std::count(text.begin(), text.end(), Quote) == 0) {
        out = Write(out, text);
    } else {
        for (const char16_t c : text) {
            *out++ = c;
            if (c == Quote) *out++ = Quote;
        }
    }
    *out++ = Quote;
    return out;
}

// Without room for the worst case: long texts are not doubled for nothing.
void AppendQuotedText(std::u16string& out, std::u16string_view text) {
    const auto quotes = static_cast<std::size_t>(std::count(text.begin(), text.end(), Quote));
    const std::size_t at = out.size();
    out.resize(at + text.size() + quotes + 3);
    WriteQuotedText(out.data() + at, text);
}

// ---- bytes -------------------------------------------------------------------------------------

using HexPair = std::array<char16_t, 2>;

constexpr std::array<HexPair, 256> HexPairs = [] {
    constexpr std::u16string_view Digits = u"0123456789ABCDEF";
    std::array<HexPair, 256> pairs{};
    for (std::size_t byte = 0; byte < pairs.size(); ++byte) {
        pairs[byte] = {Digits[byte / 16], Digits[byte % 16]};
    }
    return pairs;
}();

char16_t* WriteHex(char16_t* out, std::span<const std::uint8_t> bytes) {
    *out++ = u'0';
    *out++ = u'x';
    for (const std::uint8_t byte : bytes) {
        const HexPair& pair = HexPairs[byte];
        out[0] = pair[0];
        out[1] = pair[1];
        out += 2;
    }
    return out;
}

void AppendHex(std::u16string& out, std::span<const std::uint8_t> bytes) {
    const std::size_t at = out.size();
    out.resize(at + 2 + 2 * bytes.size());
    WriteHex(out.data() + at, bytes);
}

// ---- dates -------------------------------------------------------------------------------------

char16_t* WriteDate(char16_t* out, DayAndTime split) {
    const CalendarDate date = CalendarFromDay(split.day);
    const auto year = static_cast<unsigned>(date.year);
    auto rest = static_cast<unsigned>(split.milliseconds);
    const unsigned milliseconds = rest % 1000;
    rest /= 1000;
    *out++ = Quote;
    out = WritePair(out, year / 100 % 100);  // within the table whatever a driver delivers
    out = WritePair(out, year % 100);
    out = WritePair(out, static_cast<unsigned>(date.month));
    out = WritePair(out, static_cast<unsigned>(date.day));
    *out++ = u' ';
    out = WritePair(out, rest / 3600);
    *out++ = u':';
    out = WritePair(out, rest / 60 % 60);
    *out++ = u':';
    out = WritePair(out, rest % 60);
    *out++ = u'.';
    *out++ = static_cast<char16_t>(u'0' + milliseconds / 100);
    out = WritePair(out, milliseconds % 100);
    *out++ = Quote;
    return out;
}

}  // namespace

std::u16string QuoteUnicodeString(std::u16string_view text) {
    std::u16string literal;
    AppendQuotedText(literal, text);
    return literal;
}

std::u16string BytesToHexLiteral(std::span<const std::uint8_t> bytes) {
    std::u16string literal;
    AppendHex(literal, bytes);
    return literal;
}

std::u16string DateToSqlLiteral(const Value& value) {
    if (value.Kind() != ValueKind::Date) return u"NULL";
    char16_t literal[MaxFixedLiteral];
    return {literal, WriteDate(literal, SplitDate(value.Get<Date>()))};
}

std::int32_t DateMilliseconds(Date date) {
    return static_cast<std::int32_t>(SplitDate(date).milliseconds % 1000);
}

std::u16string ValueToSqlLiteral(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::Null:
        case ValueKind::Empty:
            return u"NULL";
        case ValueKind::Date:
            return DateToSqlLiteral(value);
        case ValueKind::String: {
            const auto& text = value.Get<std::u16string>();
            return text.starts_with(u'\0') ? text.substr(1) : QuoteUnicodeString(text);
        }
        case ValueKind::Boolean:
            return value.Get<bool>() ? u"1" : u"0";
        case ValueKind::Bytes:
            return BytesToHexLiteral(value.Get<ByteArray>());
        default:
            break;
    }
    std::u16string text = DefaultText(value);
    if (text.starts_with(u'{') && text.ends_with(u'}')) return Quote + text + Quote;
    return text;
}

std::size_t MaxSqlLiteral(const PackedColumn& column, std::size_t row) {
    if (column.IsNull(row)) return MaxFixedLiteral;
    switch (column.Kind()) {
        case ValueKind::String:
            return 2 * column.Text(row).size() + 3;
        case ValueKind::Bytes:
            return 2 * column.Bytes(row).size() + 2;
        default:
            return MaxFixedLiteral;
    }
}

std::size_t ExpectedSqlLiterals(const PackedColumn& column, std::size_t rows) {
    // the longest literal of each kind, "NULL" among them
    switch (column.Kind()) {
        case ValueKind::Empty:
        case ValueKind::Null:
        case ValueKind::Boolean:
        case ValueKind::Byte:
            return 4 * rows;
        case ValueKind::Integer:
            return 6 * rows;
        case ValueKind::Long:
            return 11 * rows;
        case ValueKind::LongLong:
            return 20 * rows;
        case ValueKind::Single:
            return 15 * rows;
        case ValueKind::Double:
            return 24 * rows;
        case ValueKind::Currency:
            return 21 * rows;
        case ValueKind::Date:
            return 25 * rows;
        case ValueKind::Guid:
            return 38 * rows;
        case ValueKind::Decimal:
            return 4 * rows + column.LengthBefore(rows);
        case ValueKind::String: {
            const std::size_t characters = column.LengthBefore(rows);
            return 4 * rows + characters + characters / 16;
        }
        case ValueKind::Bytes:
            return 4 * rows + 2 * column.LengthBefore(rows);
    }
    return 0;
}

char16_t* WriteSqlLiteral(char16_t* out, const PackedColumn& column, std::size_t row) {
    if (column.IsNull(row)) return Write(out, u"NULL");
    switch (column.Kind()) {
        case ValueKind::Empty:
        case ValueKind::Null:
            return Write(out, u"NULL");
        case ValueKind::Boolean:
            *out = column.Boolean(row) ? u'1' : u'0';
            return out + 1;
        case ValueKind::Byte:
            return WriteNumber(out, std::int32_t{column.Byte(row)});
        case ValueKind::Integer:
            return WriteNumber(out, std::int32_t{column.Integer(row)});
        case ValueKind::Long:
            return WriteNumber(out, column.Long(row));
        case ValueKind::LongLong:
            return WriteNumber(out, column.LongLong(row));
        case ValueKind::Single:
            return WriteNumber(out, column.Single(row));
        case ValueKind::Double:
            return WriteNumber(out, column.Double(row));
        case ValueKind::Currency:
            return WriteNumber(out, column.Currency(row));
        case ValueKind::Decimal: {
            const std::string_view digits = column.Digits(row);
            return std::copy(digits.begin(), digits.end(), out);
        }
        case ValueKind::Date:
            return WriteDate(out, SplitDate(column.Date(row)));
        case ValueKind::String:
            return WriteQuotedText(out, column.Text(row));
        case ValueKind::Bytes:
            return WriteHex(out, column.Bytes(row));
        case ValueKind::Guid:
            return WriteQuotedGuid(out, column.Guid(row));
    }
    return out;
}

void AppendSqlLiteral(std::u16string& out, const PackedColumn& column, std::size_t row) {
    if (!column.IsNull(row)) {
        if (column.Kind() == ValueKind::String) return AppendQuotedText(out, column.Text(row));
        if (column.Kind() == ValueKind::Bytes) return AppendHex(out, column.Bytes(row));
    }
    char16_t literal[MaxFixedLiteral];
    out.append(literal, WriteSqlLiteral(literal, column, row));
}

}  // namespace QuillonLib
