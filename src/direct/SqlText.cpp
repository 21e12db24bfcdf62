#include "direct/SqlText.h"

#include <algorithm>
#include <array>
#include <limits>

#include "core/TableEntry.h"
#include "core/Text.h"
#include "data/CodePage.h"
#include "direct/ExactNumber.h"
#include "direct/MomentText.h"
#include "direct/NumberText.h"
#include "direct/VariantLiteral.h"

namespace QuillonLib {

namespace {

// Units of an nvarchar of limited length.
constexpr std::size_t MaxNationalLength = 4000;

constexpr std::int64_t MomentsPerMinute = 60 * MomentsPerSecond;
constexpr std::int64_t MomentsPerDay = 1440 * MomentsPerMinute;

std::u16string WithLength(std::u16string_view type, std::int64_t length, std::int64_t most) {
    return std::u16string(type) + u"(" +
           (length < 0 || length > most ? u"max" : ToText(std::max<std::int64_t>(length, 1))) +
           u")";
}

std::string_view AsChars(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

std::span<const std::uint8_t> AsBytes(std::u16string_view text) {
    const std::string_view chars = AsChars(text);
    return {reinterpret_cast<const std::uint8_t*>(chars.data()), chars.size()};
}

// A line break could make a client see the end of a batch, "$(" a variable; control characters
// and halves of surrogate pairs do not pass through every file.
bool IsPlain(std::u16string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if ((unit < 0x20 && unit != u'\t') || unit == 0x7F || unit == 0x85 || unit == 0x2028 ||
            unit == 0x2029 || unit >= 0xFFFE || unit == 0xFEFF) {
            return false;
        }
        if (unit == u'$' && i + 1 < text.size() && text[i + 1] == u'(') return false;
    }
    return IsUtf16(text);
}

bool IsAscii(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

std::u16string Quoted(std::u16string_view text) {
    std::u16string quoted = u"'";
    for (const char16_t unit : text) {
        quoted.push_back(unit);
        if (unit == u'\'') quoted.push_back(unit);
    }
    quoted.push_back(u'\'');
    return quoted;
}

std::u16string DigitsOf(const Value& value) {
    if (value.Kind() == ValueKind::Boolean) return value.Get<bool>() ? u"1" : u"0";
    return DefaultText(value);
}

// The text of bytes in a code page; absent where they are none.
bool Decode(const CodePage* page, const ByteArray& bytes, std::u16string& text) {
    text.resize(page == nullptr ? bytes.size() : page->CountUnits(bytes));
    const char16_t* const end =
        page == nullptr ? DecodeAscii(bytes, text.data()) : page->Decode(bytes, text.data());
    return end != nullptr;
}

}  // namespace

std::u16string HexText(std::span<const std::uint8_t> bytes) {
    static constexpr std::u16string_view Digits = u"0123456789ABCDEF";
    std::u16string text = u"0x";
    text.reserve(2 + 2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text.push_back(Digits[byte / 16]);
        text.push_back(Digits[byte % 16]);
    }
    return text;
}

std::u16string HexDigits(std::u16string_view text) {
    return HexText(AsBytes(text)).substr(2);
}

std::u16string NationalText(std::u16string_view text) {
    if (IsPlain(text)) return u"N" + Quoted(text);
    return u"CAST(" + HexText(AsBytes(text)) + u" AS " +
           WithLength(u"nvarchar", static_cast<std::int64_t>(text.size()), MaxNationalLength) +
           u")";
}

ColumnLiterals::ColumnLiterals(const ObjectName& table, const ColumnFacts& from,
                               const ColumnFacts& to)
    : table_(table),
      from_(from),
      to_(to),
      fromType_(ClassifyType(from).value()),
      toType_(ClassifyType(to).value()) {
}

void ColumnLiterals::Refuse(std::u16string_view why) const {
    throw NotCarried((u"Table " + MakeTableEntry(table_.Owner, table_.Name) + u", column " +
                      to_.Name + u": a value cannot be written, for ")
                         .append(why)
                         .append(u"."));
}

std::u16string ColumnLiterals::Of(const Value& value) const {
    if (value.IsNull())
        return toType_.cells == CellClass::Variant ? u"CAST(NULL AS sql_variant)" : u"NULL";
    switch (fromType_.cells) {
        case CellClass::Exact:
            return Exact(value);
        case CellClass::Float:
            return Float(value);
        case CellClass::Moment:
        case CellClass::Time:
        case CellClass::Offset:
            return Moment(value);
        case CellClass::Guid: {
            const std::u16string text = DefaultText(value);
            return Quoted(text.substr(1, text.size() - 2));
        }
        case CellClass::Bytes: {
            const auto& bytes = value.Get<ByteArray>();
            if (to_.DataType == u"binary" && bytes.size() != static_cast<std::size_t>(to_.Length)) {
                Refuse(u"the column would fill it up with zeros, or cut it");
            }
            RequireRoom(bytes.size());
            return HexText(bytes);
        }
        case CellClass::PageText:
        case CellClass::WideText:
            return Text(value);
        case CellClass::Xml:
            return NationalText(value.Get<std::u16string>());
        case CellClass::Variant:
            return Variant(value);
    }
    Refuse(u"its type is unknown");
}

// Rounding would pass without an error; a number that is too large is one at the server.
std::u16string ColumnLiterals::Exact(const Value& value) const {
    std::u16string text = DigitsOf(value);
    const std::string digits(text.begin(), text.end());
    const ExactDigits number = Normalize(digits);
    const std::size_t scale = toType_.money     ? 4
                              : toType_.integer ? 0
                                                : static_cast<std::size_t>(to_.NumericScale);
    if (number.fraction.size() > scale) Refuse(u"the column would round it");
    if (to_.DataType == u"bit" && !number.whole.empty() && number.whole != "1") {
        Refuse(u"a bit holds 0 and 1");
    }
    return text;
}

std::u16string ColumnLiterals::Float(const Value& value) const {
    try {
        const bool single = value.Kind() == ValueKind::Single;
        if (single && to_.DataType == u"real") return FloatText(value.Get<float>());
        const double number = single ? value.Get<float>() : value.Get<double>();
        if (to_.DataType == u"real" && static_cast<double>(static_cast<float>(number)) != number) {
            Refuse(u"the column would round it");
        }
        return FloatText(number);
    } catch (const NotCarried&) {
        throw;
    } catch (const Error&) {
        Refuse(u"it is no number");
    }
}

std::u16string ColumnLiterals::Moment(const Value& value) const {
    const QuillonLib::Moment moment = value.Kind() == ValueKind::Date
                                          ? ToMoment(ToTicks(value.Get<Date>()))
                                          : ParseMoment(value.Get<std::u16string>());
    MomentParts parts;
    parts.count = moment.count;
    parts.minutes = moment.minutes;
    parts.hasDate = toType_.cells != CellClass::Time;
    parts.hasTime = to_.DataType != u"date";
    parts.hasOffset = toType_.cells == CellClass::Offset;
    std::int64_t unit = MomentsPerDay;
    if (to_.DataType == u"smalldatetime") {
        unit = MomentsPerMinute;
    } else if (to_.DataType == u"datetime") {
        unit = MomentsPerSecond / 300;
        parts.digits = 3;
    } else if (parts.hasTime) {
        parts.digits = to_.NumericScale;
        unit = MomentsPerSecond;
        for (int i = 0; i < parts.digits; ++i)
            unit /= 10;
    }
    if (parts.count % unit != 0) Refuse(u"the column would round it");
    return Quoted(MomentText(parts));
}

// A server cuts a value that is too long without a word where what it cuts are blanks, or zeros.
void ColumnLiterals::RequireRoom(std::size_t length) const {
    const bool limited =
        to_.DataType == u"varchar" || to_.DataType == u"nvarchar" || to_.DataType == u"varbinary";
    if (limited && to_.Length > 0 && length > static_cast<std::size_t>(to_.Length)) {
        Refuse(u"the column would cut it");
    }
}

std::u16string ColumnLiterals::Text(const Value& value) const {
    std::u16string text;
    bool isText = true;
    const bool samePage = from_.CodePage == to_.CodePage && toType_.cells == CellClass::PageText;
    if (value.Kind() == ValueKind::Bytes) {
        const auto& bytes = value.Get<ByteArray>();
        isText = Decode(CodePage::Find(from_.CodePage), bytes, text);
        if (!isText) {
            if (!samePage || to_.CodePage != to_.DatabaseCodePage || to_.CodePage == 0) {
                Refuse(u"its bytes are no text of their code page");
            }
            RequireRoom(bytes.size());
            if (to_.DataType == u"char" && bytes.size() != static_cast<std::size_t>(to_.Length)) {
                Refuse(u"the column would fill it up with blanks, or cut it");
            }
            return u"CAST(" + HexText(bytes) + u" AS " +
                   WithLength(u"varchar", static_cast<std::int64_t>(bytes.size()), 8000) + u")";
        }
    } else {
        text = value.Get<std::u16string>();
    }
    std::size_t length = text.size();
    if (toType_.cells == CellClass::PageText) {
        const CodePage* const page = CodePage::Find(to_.CodePage);
        const auto bytes = page == nullptr ? std::nullopt : page->CountBytes(text);
        if (!bytes && !IsAscii(text)) Refuse(u"the column's code page lacks a character of it");
        length = bytes.value_or(length);
    }
    const bool fixed = to_.DataType == u"char" || to_.DataType == u"nchar";
    if (fixed && length != static_cast<std::size_t>(to_.Length)) {
        Refuse(u"the column would fill it up with blanks, or cut it");
    }
    RequireRoom(length);
    // A list that holds a national text, too, brings all its texts to nvarchar: to nvarchar(4000)
    // if none of them is of unlimited length, as longer national ones are, and cuts what is longer.
    const bool own = toType_.cells == CellClass::PageText && text.size() <= MaxNationalLength;
    return own && IsAscii(text) && IsPlain(text) ? Quoted(text) : NationalText(text);
}

std::u16string ColumnLiterals::BytesOf(const Value& value) const {
    const std::u16string literal = Of(value);
    const bool ofPage = toType_.cells == CellClass::PageText;
    if (value.Kind() == ValueKind::Bytes && (!ofPage || from_.CodePage == to_.CodePage)) {
        if (fromType_.cells == toType_.cells) return BytesText(value);
    }
    if (ofPage && literal.front() != u'\'' && to_.CodePage != to_.DatabaseCodePage) {
        Refuse(u"it is of another code page than the database's");
    }
    return u"CAST(CAST(" + literal + u" AS " + DeclaredType(to_) + u") AS varbinary(max))";
}

bool ColumnLiterals::StandsAlone(const Value& value) const {
    if (value.Kind() != ValueKind::Bytes || fromType_.cells != CellClass::PageText) return false;
    std::u16string text;
    return !Decode(CodePage::Find(from_.CodePage), value.Get<ByteArray>(), text);
}

std::u16string ColumnLiterals::Variant(const Value& value) const {
    auto literal = VariantLiteral(VariantCell(value), to_.DatabaseCodePage);
    if (!literal) Refuse(u"no literal has that base type and code page");
    return *literal;
}

std::u16string BytesText(const Value& value) {
    if (value.Kind() == ValueKind::Bytes) return HexText(value.Get<ByteArray>());
    return HexText(AsBytes(value.Get<std::u16string>()));
}

std::u16string ColumnLiterals::ListType() const {
    switch (fromType_.cells) {
        case CellClass::PageText:
        case CellClass::WideText:
            return WithLength(u"nvarchar", fromType_.legacyLong ? -1 : from_.Length, 4000);
        case CellClass::Xml:
            return u"nvarchar(max)";
        case CellClass::Bytes:
            return WithLength(u"varbinary", fromType_.legacyLong ? -1 : from_.Length, 8000);
        default:
            return DeclaredType(to_);  // which the literals are written for
    }
}

}  // namespace QuillonLib
