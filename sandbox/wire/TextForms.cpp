#include "TextForms.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Bytes.h"

namespace sandbox::wire {

namespace {

struct Day {
    std::int64_t year;
    std::int64_t month;
    std::int64_t day;
};

// The calendar date `days` after 0001-01-01. Years are counted from March, so that the leap day
// is the last day of a year.
Day ToDay(std::int64_t days) {
    constexpr std::int64_t kDaysToMarchOfYear0 = 306;
    constexpr std::int64_t kDaysPerEra = 146'097;  // 400 years
    const std::int64_t since = days + kDaysToMarchOfYear0;
    const std::int64_t era = since / kDaysPerEra;
    const std::int64_t ofEra = since % kDaysPerEra;
    const std::int64_t yearOfEra = (ofEra - ofEra / 1460 + ofEra / 36'524 - ofEra / 146'096) / 365;
    const std::int64_t ofYear = ofEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t fromMarch = (5 * ofYear + 2) / 153;
    const std::int64_t month = fromMarch < 10 ? fromMarch + 3 : fromMarch - 9;
    return {era * 400 + yearOfEra + (month <= 2 ? 1 : 0), month,
            ofYear - (153 * fromMarch + 2) / 5 + 1};
}

void AddDate(ShortText& text, std::int64_t days) {
    const Day day = ToDay(days);
    text.AddDigits(day.year, 4);
    text.Add('-');
    text.AddDigits(day.month, 2);
    text.Add('-');
    text.AddDigits(day.day, 2);
}

void AddTime(ShortText& text, std::int64_t ticks, int scale) {
    const std::int64_t seconds = ticks / kTicksPerSecond;
    text.AddDigits(seconds / 3600, 2);
    text.Add(':');
    text.AddDigits(seconds / 60 % 60, 2);
    text.Add(':');
    text.AddDigits(seconds % 60, 2);
    if (scale == 0) return;
    std::int64_t fraction = ticks % kTicksPerSecond;
    for (int n = scale; n < 7; ++n)
        fraction /= 10;
    text.Add('.');
    text.AddDigits(fraction, scale);
}

void AddDateTime(ShortText& text, std::int64_t ticks, int scale) {
    AddDate(text, ticks / kTicksPerDay);
    text.Add(' ');
    AddTime(text, ticks % kTicksPerDay, scale);
}

ShortText OldDateTimeText(const Cell& cell) {
    constexpr std::int64_t kPerDay = 25'920'000;  // of 1/300 s
    const std::int64_t days = cell.i >= 0 ? cell.i / kPerDay : -((kPerDay - 1 - cell.i) / kPerDay);
    const std::int64_t ofDay = cell.i - days * kPerDay;
    // 1/300 s shows as .000, .003, .007.
    const std::int64_t milliseconds = (ofDay * 10 + 1) / 3;
    ShortText text;
    AddDateTime(text, (days + kDaysTo1900) * kTicksPerDay + milliseconds * 10'000, 3);
    return text;
}

ShortText SmallDateTimeText(const Cell& cell) {
    ShortText text;
    AddDateTime(text, kDaysTo1900 * kTicksPerDay + cell.i * kTicksPerMinute, 0);
    return text;
}

template <typename T>
ShortText NumberText(T number) {
    std::array<char, 40> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    ShortText text;
    if (error == std::errc()) {
        text.Add(std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data())));
    }
    return text;
}

ShortText ScaledText(Int128 value, int scale) {
    std::array<char, 48> reversed{};
    std::size_t count = 0;
    __extension__ using Magnitude = unsigned __int128;
    Magnitude rest = value < 0 ? -static_cast<Magnitude>(value) : static_cast<Magnitude>(value);
    for (int place = 0; rest != 0 || place <= scale; ++place) {
        if (place == scale && scale > 0) reversed[count++] = '.';
        reversed[count++] = static_cast<char>('0' + static_cast<int>(rest % 10));
        rest /= 10;
    }
    ShortText text;
    if (value < 0) text.Add('-');
    while (count > 0)
        text.Add(reversed[--count]);
    return text;
}

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

std::u16string HexText(const Cell& cell) {
    std::u16string text = u"0x";
    for (std::size_t n = 0; n < cell.size; ++n) {
        text += static_cast<char16_t>(kHexDigits[cell.data[n] >> 4]);
        text += static_cast<char16_t>(kHexDigits[cell.data[n] & 15]);
    }
    return text;
}

// The first three groups of the sixteen bytes are stored little-endian.
std::u16string GuidText(const Cell& cell) {
    constexpr std::array<int, 16> kOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    std::u16string text;
    for (std::size_t n = 0; n < kOrder.size(); ++n) {
        if (n == 4 || n == 6 || n == 8 || n == 10) text += u'-';
        const std::uint8_t byte = cell.data[kOrder[n]];
        text += static_cast<char16_t>(kHexDigits[byte >> 4]);
        text += static_cast<char16_t>(kHexDigits[byte & 15]);
    }
    return text;
}

std::u16string Wide(const ShortText& text) {
    return {text.View().begin(), text.View().end()};
}

}  // namespace

void ShortText::AddDigits(std::int64_t number, int digits) {
    std::int64_t place = 1;
    for (int n = 1; n < digits; ++n)
        place *= 10;
    for (; place > 0; place /= 10)
        Add(static_cast<char>('0' + number / place % 10));
}

ShortText DateText(const Cell& cell) {
    ShortText text;
    AddDate(text, cell.i);
    return text;
}

ShortText TimeText(const Cell& cell, int scale) {
    ShortText text;
    AddTime(text, cell.i, scale);
    return text;
}

ShortText DateTime2Text(const Cell& cell, int scale) {
    ShortText text;
    AddDateTime(text, cell.i, scale);
    return text;
}

ShortText DateTimeOffsetText(const Cell& cell, int scale) {
    ShortText text;
    AddDateTime(text, cell.i + cell.offset * kTicksPerMinute, scale);
    text.Add(cell.offset < 0 ? " -" : " +");
    const int minutes = std::abs(cell.offset);
    text.AddDigits(minutes / 60, 2);
    text.Add(':');
    text.AddDigits(minutes % 60, 2);
    return text;
}

std::u16string CellText(const SqlType& type, const Cell& cell) {
    if (cell.null) return {};
    switch (type.id) {
        case TypeId::Bit:
        case TypeId::TinyInt:
        case TypeId::SmallInt:
        case TypeId::Int:
        case TypeId::BigInt:
            return Wide(NumberText(cell.i));
        case TypeId::Decimal:
        case TypeId::Numeric:
            return Wide(ScaledText(cell.big, type.scale));
        case TypeId::Money:
        case TypeId::SmallMoney:
            return Wide(ScaledText(cell.i, 4));
        case TypeId::Float:
            return Wide(NumberText(cell.d));
        case TypeId::Real:
            return Wide(NumberText(static_cast<float>(cell.d)));
        case TypeId::DateTime:
            return Wide(OldDateTimeText(cell));
        case TypeId::SmallDateTime:
            return Wide(SmallDateTimeText(cell));
        case TypeId::Date:
            return Wide(DateText(cell));
        case TypeId::Time:
            return Wide(TimeText(cell, type.scale));
        case TypeId::DateTime2:
            return Wide(DateTime2Text(cell, type.scale));
        case TypeId::DateTimeOffset:
            return Wide(DateTimeOffsetText(cell, type.scale));
        case TypeId::Char:
        case TypeId::VarChar:
        case TypeId::Text:
        case TypeId::NChar:
        case TypeId::NVarChar:
        case TypeId::NText:
        case TypeId::Xml:
            return ByteReader::ToText({cell.data, cell.size});
        case TypeId::Binary:
        case TypeId::VarBinary:
        case TypeId::Image:
        case TypeId::Timestamp:
            return HexText(cell);
        case TypeId::UniqueIdentifier:
            return GuidText(cell);
        case TypeId::SqlVariant:
            return CellText(cell.variantType, cell);
    }
    return {};
}

}  // namespace sandbox::wire
