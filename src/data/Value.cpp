#include "data/Value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "core/Error.h"
#include "core/Text.h"
#include "data/DateTime.h"

namespace QuillonLib {

namespace {

[[noreturn]] void ThrowTypeMismatch() {
    throw Error(ErrorNumber::TypeMismatch, u"Type mismatch");
}

[[noreturn]] void ThrowInvalidUseOfNull() {
    throw Error(ErrorNumber::InvalidUseOfNull, u"Invalid use of Null");
}

bool IsDecimalText(std::string_view text) {
    if (text.starts_with('-')) text.remove_prefix(1);
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return std::any_of(text.begin(), text.end(), isDigit) &&
           std::count(text.begin(), text.end(), '.') <= 1 &&
           std::all_of(text.begin(), text.end(), [&](char c) { return isDigit(c) || c == '.'; });
}

std::u16string Widen(const char* begin, const char* end) {
    return {begin, end};
}

template <class T>
std::u16string NumberText(const T& number) {
    char text[MaxNumberText];
    return Widen(text, WriteText(text, number));
}

// T-SQL reads a number without an exponent as an int or a numeric, and converts that to float.
// With up to 15 digits the conversion cannot be wrong; beyond, and for a negative zero, an
// exponent makes the server read a float in the first place.
char* WithExponentWhereNeeded(char* begin, char* end, bool negativeZero) {
    const auto length = static_cast<std::size_t>(end - begin);
    if (void* const exponent = std::memchr(begin, 'e', length)) {
        *static_cast<char*>(exponent) = 'E';
        return end;
    }
    // What is no digit is a sign or the point.
    const std::size_t others =
        (*begin == '-' ? 1U : 0U) + (std::memchr(begin, '.', length) != nullptr ? 1U : 0U);
    if (length - others <= 15 && !negativeZero) return end;
    *end++ = 'E';
    *end++ = '0';
    return end;
}

template <class T>
char* WriteFloating(char* out, T number) {
    char* end = std::to_chars(out, out + MaxNumberText, number).ptr;
    return WithExponentWhereNeeded(out, end, number == 0 && std::signbit(number));
}

void AppendPadded(std::u16string& out, std::int64_t number, std::size_t width) {
    const std::u16string digits = ToText(number);
    if (digits.size() < width) out.append(width - digits.size(), u'0');
    out += digits;
}

std::u16string DateText(Date date) {
    const DayAndTime split = SplitDate(date);
    const CalendarDate calendar = CalendarFromDay(split.day);
    std::u16string text;
    AppendPadded(text, calendar.year, 4);
    text += u'-';
    AppendPadded(text, calendar.month, 2);
    text += u'-';
    AppendPadded(text, calendar.day, 2);
    text += u' ';
    AppendPadded(text, split.milliseconds / 3600000, 2);
    text += u':';
    AppendPadded(text, split.milliseconds / 60000 % 60, 2);
    text += u':';
    AppendPadded(text, split.milliseconds / 1000 % 60, 2);
    text += u'.';
    AppendPadded(text, split.milliseconds % 1000, 3);
    return text;
}

}  // namespace

Decimal::Decimal(std::string_view text) : text_(text) {
    if (!IsDecimalText(text)) ThrowTypeMismatch();
}

int Decimal::Scale() const noexcept {
    const std::size_t point = text_.find('.');
    return point == std::string::npos ? 0 : static_cast<int>(text_.size() - point - 1);
}

void Value::ThrowWrongKind() const {
    if (IsNull()) ThrowInvalidUseOfNull();
    ThrowTypeMismatch();
}

char* WriteText(char* out, std::int64_t number) {
    return std::to_chars(out, out + MaxNumberText, number).ptr;
}

char* WriteText(char* out, Currency amount) {
    // The magnitude of the lowest value has no positive counterpart in 64 signed bits.
    auto magnitude = static_cast<std::uint64_t>(amount.scaled);
    if (amount.scaled < 0) {
        magnitude = 0 - magnitude;
        *out++ = '-';
    }
    out = std::to_chars(out, out + MaxNumberText - 1, magnitude / 10000).ptr;
    auto fraction = static_cast<unsigned>(magnitude % 10000);
    if (fraction == 0) return out;
    *out++ = '.';
    for (unsigned unit = 1000; fraction != 0; unit /= 10) {
        *out++ = static_cast<char>('0' + fraction / unit);
        fraction %= unit;
    }
    return out;
}

char* WriteText(char* out, float number) {
    // The server reads a double and narrows it. Of all floats there is this one whose shortest text
    // lies so close to the middle between two floats that the two roundings end at its neighbour.
    constexpr float RoundedTwice = 7.03853069e-26F;
    if (std::fabs(number) == RoundedTwice) return WriteFloating(out, static_cast<double>(number));
    return WriteFloating(out, number);
}
char* WriteText(char* out, double number) {
    return WriteFloating(out, number);
}

char* WriteText(char* out, const Guid& guid) {
    static constexpr char Digits[] = "0123456789ABCDEF";
    *out++ = '{';
    for (std::size_t i = 0; i < guid.bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) *out++ = '-';
        *out++ = Digits[guid.bytes[i] >> 4];
        *out++ = Digits[guid.bytes[i] & 0x0F];
    }
    *out++ = '}';
    return out;
}

std::u16string DefaultText(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::Empty:
            return {};
        case ValueKind::Null:
            ThrowInvalidUseOfNull();
        case ValueKind::Boolean:
            return value.Get<bool>() ? u"True" : u"False";
        case ValueKind::Byte:
        case ValueKind::Integer:
        case ValueKind::Long:
        case ValueKind::LongLong:
            return ToText(ToInt64(value));
        case ValueKind::Single:
            return NumberText(value.Get<float>());
        case ValueKind::Double:
            return NumberText(value.Get<double>());
        case ValueKind::Currency:
            return NumberText(value.Get<Currency>());
        case ValueKind::Decimal: {
            const std::string& text = value.Get<Decimal>().Text();
            return {text.begin(), text.end()};
        }
        case ValueKind::Date:
            return DateText(value.Get<Date>());
        case ValueKind::String:
            return value.Get<std::u16string>();
        case ValueKind::Bytes:
            ThrowTypeMismatch();
        case ValueKind::Guid:
            return NumberText(value.Get<Guid>());
    }
    ThrowTypeMismatch();
}

std::int64_t ToInt64(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::Boolean:
            return value.Get<bool>() ? 1 : 0;
        case ValueKind::Byte:
            return value.Get<std::uint8_t>();
        case ValueKind::Integer:
            return value.Get<std::int16_t>();
        case ValueKind::Long:
            return value.Get<std::int32_t>();
        default:
            return value.Get<std::int64_t>();
    }
}

}  // namespace QuillonLib
