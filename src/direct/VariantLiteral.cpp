#include "direct/VariantLiteral.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "core/Text.h"
#include "data/DateTime.h"
#include "direct/MomentText.h"
#include "direct/NumberText.h"
#include "direct/SqlText.h"

namespace QuillonLib {

namespace {

using Bytes = std::span<const std::uint8_t>;

std::uint64_t HighFirst(Bytes bytes) {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : bytes)
        number = number << 8 | byte;
    return number;
}

std::uint64_t LowFirst(Bytes bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        number = number << 8 | bytes[i];
    return number;
}

std::int64_t SignedHighFirst(Bytes bytes) {
    const auto unused = static_cast<int>(64 - 8 * bytes.size());
    return static_cast<std::int64_t>(HighFirst(bytes) << unused) >> unused;
}

std::u16string Wide(std::string_view text) {
    return {text.begin(), text.end()};
}

// Precision, scale, an unused byte, the sign (1: not negative), the digits as one number.
std::u16string DecimalDigits(Bytes bytes) {
    const std::size_t scale = bytes[1];
    const bool negative = bytes[3] == 0;
    ByteArray rest(bytes.begin() + 4, bytes.end());
    std::string digits;
    while (std::any_of(rest.begin(), rest.end(), [](std::uint8_t byte) { return byte != 0; })) {
        unsigned remainder = 0;
        for (std::size_t i = rest.size(); i-- > 0;) {
            const unsigned part = remainder << 8 | rest[i];
            rest[i] = static_cast<std::uint8_t>(part / 10);
            remainder = part % 10;
        }
        digits.push_back(static_cast<char>('0' + remainder));
    }
    while (digits.size() <= scale)
        digits.push_back('0');
    std::reverse(digits.begin(), digits.end());
    if (scale > 0) digits.insert(digits.size() - scale, 1, '.');
    return (negative ? u"-" : u"") + Wide(digits);
}

// The scale, the time in its unit, days since year 1, the offset: those that the type has.
std::u16string NewMoment(const std::u16string& type, Bytes bytes) {
    constexpr std::int64_t DaysToEpoch = 693593;  // from year 1 to 1899-12-30
    constexpr std::int64_t SecondsPerDay = 86400;
    MomentParts parts;
    std::int64_t days = DaysToEpoch;
    if (type == u"date") {
        days = static_cast<std::int64_t>(LowFirst(bytes));
    } else {
        const std::size_t behind = type == u"time" ? 0 : type == u"datetime2" ? 3 : 5;
        const std::size_t size = bytes.size() - 1 - behind;
        parts.count = static_cast<std::int64_t>(LowFirst(bytes.subspan(1, size)));
        for (int unit = bytes[0]; unit < 7; ++unit)
            parts.count *= 10;
        parts.count *= MomentsPerSecond / 10'000'000;
        if (behind > 0) days = static_cast<std::int64_t>(LowFirst(bytes.subspan(1 + size, 3)));
        if (behind == 5) parts.minutes = static_cast<std::int16_t>(LowFirst(bytes.last(2)));
    }
    parts.count += (days - DaysToEpoch) * SecondsPerDay * MomentsPerSecond;
    parts.hasDate = type != u"time";
    parts.hasTime = type != u"date";
    parts.hasOffset = type == u"datetimeoffset";
    parts.digits = type == u"date" ? 0 : bytes[0];
    return MomentText(parts);
}

std::u16string Quoted(const std::u16string& text) {
    return u"'" + text + u"'";
}

std::u16string Sized(const std::u16string& type, std::size_t length) {
    return type + u"(" + ToText(static_cast<std::int64_t>(std::max<std::size_t>(length, 1))) + u")";
}

std::u16string OldMoment(std::int64_t days, std::int64_t ticks, int digits) {
    MomentParts parts;
    parts.count = ToMoment(DateTicks{days * TicksPerDay + ticks}).count;
    parts.digits = digits;
    return Quoted(MomentText(parts));
}

struct Base {
    std::u16string literal;
    std::u16string type;  // as CAST takes it
};

std::optional<Base> NumberBase(const VariantCell& cell) {
    const std::u16string& type = cell.BaseType();
    const Bytes bytes = cell.Bytes();
    if (type == u"tinyint" || type == u"bit") {
        return Base{ToText(static_cast<std::int64_t>(HighFirst(bytes))), type};
    }
    if (type == u"smallint" || type == u"int" || type == u"bigint") {
        return Base{ToText(SignedHighFirst(bytes)), type};
    }
    if (type == u"money" || type == u"smallmoney") {
        char text[MaxNumberText];
        return Base{Wide({text, WriteText(text, Currency{SignedHighFirst(bytes)})}), type};
    }
    if (type == u"decimal" || type == u"numeric") {
        return Base{DecimalDigits(bytes),
                    type + u"(" + ToText(cell.Precision()) + u", " + ToText(cell.Scale()) + u")"};
    }
    if (type == u"float") return Base{FloatText(std::bit_cast<double>(HighFirst(bytes))), type};
    if (type == u"real") {
        const auto bits = static_cast<std::uint32_t>(HighFirst(bytes));
        return Base{FloatText(std::bit_cast<float>(bits)), type};
    }
    return std::nullopt;
}

std::optional<Base> MomentBase(const VariantCell& cell) {
    const std::u16string& type = cell.BaseType();
    const Bytes bytes = cell.Bytes();
    if (type == u"datetime") {
        return Base{OldMoment(SignedHighFirst(bytes.first(4)), SignedHighFirst(bytes.last(4)), 3),
                    type};
    }
    if (type == u"smalldatetime") {
        return Base{OldMoment(static_cast<std::int64_t>(HighFirst(bytes.first(2))),
                              static_cast<std::int64_t>(HighFirst(bytes.last(2))) * 60 * 300, 0),
                    type};
    }
    if (type == u"date") return Base{Quoted(NewMoment(type, bytes)), type};
    if (type == u"time" || type == u"datetime2" || type == u"datetimeoffset") {
        return Base{Quoted(NewMoment(type, bytes)), type + u"(" + ToText(cell.Scale()) + u")"};
    }
    return std::nullopt;
}

std::optional<Base> StringBase(const VariantCell& cell, std::int32_t databasePage) {
    const std::u16string& type = cell.BaseType();
    const Bytes bytes = cell.Bytes();
    if (type == u"binary" || type == u"varbinary") {
        return Base{HexText(bytes), Sized(type, bytes.size())};
    }
    if (type == u"uniqueidentifier") return Base{HexText(bytes), type};
    if (type == u"nchar" || type == u"nvarchar") {
        std::u16string text(bytes.size() / sizeof(char16_t), u'\0');
        if (!text.empty()) std::memcpy(text.data(), bytes.data(), text.size() * sizeof(char16_t));
        return Base{NationalText(text), Sized(type, text.size())};
    }
    if (type != u"char" && type != u"varchar") return std::nullopt;
    if (cell.CodePage() != databasePage || databasePage == 0) return std::nullopt;
    return Base{HexText(bytes), Sized(type, bytes.size())};
}

// Of a caller's collation a literal takes none but a name.
bool IsName(std::u16string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char16_t unit) {
        return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') ||
               (unit >= u'0' && unit <= u'9') || unit == u'_';
    });
}

}  // namespace

std::optional<std::u16string> VariantBaseLiteral(const VariantCell& cell,
                                                 std::int32_t databasePage) {
    std::optional<Base> base = NumberBase(cell);
    if (!base) base = MomentBase(cell);
    if (!base) base = StringBase(cell, databasePage);
    if (!base) return std::nullopt;
    return u"CAST(" + base->literal + u" AS " + base->type + u")";
}

std::optional<std::u16string> VariantLiteral(const VariantCell& cell, std::int32_t databasePage) {
    auto literal = VariantBaseLiteral(cell, databasePage);
    if (!literal) return std::nullopt;
    if (IsName(cell.Collation())) *literal += u" COLLATE " + cell.Collation();
    return u"CAST(" + *literal + u" AS sql_variant)";
}

}  // namespace QuillonLib
