#include "sandbox/engine/values/Conversion.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/DateTime.h"
#include "sandbox/engine/values/Decimal.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
namespace {

constexpr unsigned char kGuidOrder[16] = {10, 11, 12, 13, 14, 15, 8, 9, 6, 7, 4, 5, 0, 1, 2, 3};

[[noreturn]] void Fail8114(const SqlType& from, const SqlType& to) {
    throw SqlError(8114, Format(u"Error converting data type %1 to %2.",
                                {TypeName(from.id), TypeName(to.id)}));
}

[[noreturn]] void FailOverflow(std::u16string_view what, const SqlType& to) {
    throw SqlError(8115, Format(u"Arithmetic overflow error converting %1 to data type %2.",
                                {what, TypeName(to.id)}));
}

std::u16string_view Trim(std::u16string_view s) {
    while (!s.empty() && s.front() == u' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == u' ')
        s.remove_suffix(1);
    return s;
}

// A number on its way: exact with a scale, or a double.
struct Number {
    bool real = false;
    double d = 0;
    Int128 value = 0;
    int scale = 0;
};

Number NumberOf(const Value& v, const SqlType& from) {
    Number n;
    if (IsApproximate(from.id)) {
        n.real = true;
        n.d = v.d;
    } else if (IsDecimal(from.id)) {
        n.value = DecimalFromValue(v);
        n.scale = from.scale;
    } else {
        n.value = v.i;
        n.scale = IsMoney(from.id) ? 4 : 0;
    }
    return n;
}

std::u16string_view SourceWord(const SqlType& from) {
    if (IsInteger(from.id)) return u"expression";
    if (IsDecimal(from.id)) return u"numeric";
    return TypeName(from.id);
}

Value ToInteger(const Number& n, const SqlType& from, const SqlType& to) {
    Int128 v = 0;
    if (n.real) {
        if (!std::isfinite(n.d) || std::fabs(n.d) > 9.3e18) FailOverflow(SourceWord(from), to);
        v = static_cast<Int128>(n.d);
    } else if (IsMoney(from.id)) {
        v = *Rescale(n.value, n.scale, 0);  // money rounds, decimal is cut
    } else {
        v = n.value / PowerOf10(n.scale);
    }
    if (to.id == TypeId::Bit) {
        const bool set = n.real ? n.d != 0 : n.value != 0;
        return Value::Int(set ? 1 : 0);
    }
    if (v < IntegerMin(to.id) || v > IntegerMax(to.id)) {
        if (to.id == TypeId::TinyInt || to.id == TypeId::SmallInt) {
            throw SqlError(220, Format(u"Arithmetic overflow error for data type %1, value = %2.",
                                       {TypeName(to.id), DecimalText(v, 0)}));
        }
        FailOverflow(SourceWord(from), to);
    }
    return Value::Int(static_cast<std::int64_t>(v));
}

Value ToMoney(const Number& n, const SqlType& from, const SqlType& to) {
    const auto v = n.real ? DoubleToDecimal(n.d, 4) : Rescale(n.value, n.scale, 4);
    const Int128 limit = to.id == TypeId::Money ? Int128{std::numeric_limits<std::int64_t>::max()}
                                                : Int128{std::numeric_limits<std::int32_t>::max()};
    if (!v || *v > limit || *v < -limit - 1) FailOverflow(SourceWord(from), to);
    return Value::Int(static_cast<std::int64_t>(*v));
}

Value ToDecimal(const Number& n, const SqlType& from, const SqlType& to) {
    const auto v = n.real ? DoubleToDecimal(n.d, to.scale) : Rescale(n.value, n.scale, to.scale);
    if (!v || DigitCount(*v) > to.precision) {
        throw SqlError(
            8115, Format(u"Arithmetic overflow error converting %1 to data type %2.",
                         {IsInteger(from.id) ? TypeName(from.id) : SourceWord(from), u"numeric"}));
    }
    return DecimalToValue(*v, to);
}

Value ToFloat(double d, const SqlType& from, const SqlType& to) {
    if (to.id == TypeId::Real) {
        const auto f = static_cast<float>(d);
        if (std::isinf(f) && !std::isinf(d)) FailOverflow(SourceWord(from), to);
        return Value::Real(static_cast<double>(f));
    }
    return Value::Real(d);
}

Value NumberToNumber(const Value& v, const SqlType& from, const SqlType& to) {
    const Number n = NumberOf(v, from);
    if (IsInteger(to.id)) return ToInteger(n, from, to);
    if (IsMoney(to.id)) return ToMoney(n, from, to);
    if (IsDecimal(to.id)) return ToDecimal(n, from, to);
    return ToFloat(n.real ? n.d : DecimalToDouble(n.value, n.scale), from, to);
}

Value TextToInteger(std::u16string_view text, const SqlType& from, const SqlType& to) {
    const std::u16string_view s = Trim(text);
    if (to.id == TypeId::Bit) {
        if (SameName(s, u"true")) return Value::Int(1);
        if (SameName(s, u"false")) return Value::Int(0);
    }
    if (s.empty()) return Value::Int(0);
    const auto parsed = ParseDecimal(s);
    if (!parsed || s.find(u'.') != std::u16string_view::npos) {
        throw SqlError(245, Format(u"Conversion failed when converting the %1 value '%2' to data "
                                   u"type %3.",
                                   {TypeName(from.id), text, TypeName(to.id)}));
    }
    if (to.id == TypeId::Bit) return Value::Int(parsed->value != 0 ? 1 : 0);
    if (parsed->overflow || parsed->value < IntegerMin(to.id) ||
        parsed->value > IntegerMax(to.id)) {
        if (to.id == TypeId::BigInt) Fail8114(from, to);
        const bool small = to.id == TypeId::TinyInt || to.id == TypeId::SmallInt;
        throw SqlError(
            small ? 244 : 248,
            Format(small ? u"The conversion of the %1 value '%2' overflowed an %3 "
                           u"column. Use a larger integer column."
                         : u"The conversion of the %1 value '%2' overflowed an %3 column.",
                   {TypeName(from.id), text,
                    to.id == TypeId::TinyInt    ? u"INT1"
                    : to.id == TypeId::SmallInt ? u"INT2"
                                                : u"int"}));
    }
    return Value::Int(static_cast<std::int64_t>(parsed->value));
}

std::optional<double> ParseDouble(std::u16string_view s) {
    std::string narrow;
    for (const char16_t c : s) {
        const bool allowed = (c >= u'0' && c <= u'9') || c == u'.' || c == u'-' || c == u'+' ||
                             c == u'e' || c == u'E';
        if (!allowed) return std::nullopt;
        narrow += static_cast<char>(c);
    }
    if (narrow.empty()) return 0.0;
    char* end = nullptr;
    const double d = std::strtod(narrow.c_str(), &end);
    if (*end != '\0') return std::nullopt;
    return d;
}

Value TextToMoney(std::u16string_view s, const SqlType& from, const SqlType& to) {
    std::u16string digits;
    for (const char16_t c : s) {
        if (c != u',' && c != u'$') digits += c;
    }
    if (digits.empty()) return Value::Int(0);
    const auto parsed = ParseDecimal(digits);
    if (!parsed) {
        throw SqlError(235,
                       u"Cannot convert a char value to money. The char value has incorrect "
                       u"syntax.");
    }
    Number n;
    n.value = parsed->value;
    n.scale = parsed->scale;
    return ToMoney(n, from, to);
}

Value TextToNumber(std::u16string_view text, const SqlType& from, const SqlType& to) {
    if (IsInteger(to.id)) return TextToInteger(text, from, to);
    const std::u16string_view s = Trim(text);
    if (IsMoney(to.id)) return TextToMoney(s, from, to);
    if (IsApproximate(to.id)) {
        const auto d = ParseDouble(s);
        if (!d) Fail8114(from, to);
        if (std::isinf(*d)) FailOverflow(SourceWord(from), to);
        return ToFloat(*d, from, to);
    }
    const auto parsed = ParseDecimal(s);
    if (!parsed) {
        throw SqlError(8114,
                       Format(u"Error converting data type %1 to numeric.", {TypeName(from.id)}));
    }
    Number n;
    n.value = parsed->value;
    n.scale = parsed->scale;
    if (parsed->overflow) n.value = PowerOf10(38);
    return ToDecimal(n, from, to);
}

int HexDigit(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

Value TextToGuid(std::u16string_view s) {
    const auto fail = [] {
        throw SqlError(8169,
                       u"Conversion failed when converting from a character string to "
                       u"uniqueidentifier.");
    };
    if (!s.empty() && s.front() == u'{') {
        s.remove_prefix(1);
        if (s.size() < 37 || s[36] != u'}') fail();
    }
    if (s.size() < 36) fail();
    // Position in the text of each byte of the wire form: the first three groups are swapped.
    static constexpr unsigned char kAt[16] = {6,  4,  2,  0,  11, 9,  16, 14,
                                              19, 21, 24, 26, 28, 30, 32, 34};
    unsigned char wire[16];
    for (std::size_t i = 0; i < 16; ++i) {
        const int high = HexDigit(s[kAt[i]]);
        const int low = HexDigit(s[kAt[i] + 1U]);
        if (high < 0 || low < 0) fail();
        wire[i] = static_cast<unsigned char>(high * 16 + low);
    }
    for (const std::size_t dash : {8U, 13U, 18U, 23U}) {
        if (s[dash] != u'-') fail();
    }
    unsigned char stored[16];
    GuidToStorage(wire, stored);
    return Value::Blob(std::string(reinterpret_cast<const char*>(stored), 16));
}

std::u16string GuidText(const std::string& stored) {
    unsigned char w[16];
    GuidFromStorage(reinterpret_cast<const unsigned char*>(stored.data()), w);
    char buffer[40];
    static_cast<void>(std::snprintf(
        buffer, sizeof buffer,
        "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", w[3], w[2], w[1],
        w[0], w[5], w[4], w[7], w[6], w[8], w[9], w[10], w[11], w[12], w[13], w[14], w[15]));
    return Widen(buffer);
}

Value MomentToValue(const Moment& moment, const SqlType& from, const SqlType& to) {
    if (to.id == TypeId::DateTimeOffset) {
        Moment utc = moment;
        const auto local = FromMoment(utc, to);
        const std::int64_t ticks =
            local ? *local - static_cast<std::int64_t>(moment.offset) * 60 * kTicksPerSecond : -1;
        if (ticks < 0) {
            throw SqlError(242,
                           Format(u"The conversion of a %1 data type to a %2 data type resulted "
                                  u"in an out-of-range value.",
                                  {TypeName(from.id), TypeName(to.id)}));
        }
        return Value::Text(EncodeOffset(ticks, moment.offset));
    }
    const auto v = FromMoment(moment, to);
    if (!v) {
        throw SqlError(242,
                       Format(u"The conversion of a %1 data type to a %2 data type resulted in "
                              u"an out-of-range value.",
                              {TypeName(from.id), TypeName(to.id)}));
    }
    return Value::Int(*v);
}

Moment MomentOf(const Value& v, const SqlType& from) {
    if (from.id != TypeId::DateTimeOffset) return ToMoment(v.i, from);
    std::int64_t ticks = 0;
    int offset = 0;
    DecodeOffset(v.text, ticks, offset);
    ticks += static_cast<std::int64_t>(offset) * 60 * kTicksPerSecond;
    Moment m = ToMoment(ticks, Plain(TypeId::DateTime2));
    m.offset = offset;
    return m;
}

Value TextToMoment(std::u16string_view text, const SqlType& from, const SqlType& to, int style) {
    Moment m;
    const bool dmy = style == 103 || style == 3 || style == 104 || style == 105;
    switch (ParseMoment(text, dmy, m)) {
        case ParseResult::Ok:
            break;
        case ParseResult::Range:
            if (to.id == TypeId::DateTime || to.id == TypeId::SmallDateTime) {
                throw SqlError(242, Format(u"The conversion of a %1 data type to a %2 data type "
                                           u"resulted in an out-of-range value.",
                                           {TypeName(from.id), TypeName(to.id)}));
            }
            [[fallthrough]];
        case ParseResult::Syntax:
            throw SqlError(241,
                           u"Conversion failed when converting date and/or time from character "
                           u"string.");
    }
    return MomentToValue(m, from, to);
}

std::string Utf16Bytes(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}

// Big-endian bytes, as the server casts integers to binary.
std::string IntegerBytes(std::int64_t value, int size) {
    std::string out(static_cast<std::size_t>(size), '\0');
    for (int i = size - 1; i >= 0; --i) {
        out[static_cast<std::size_t>(i)] = static_cast<char>(value);
        value >>= 8;
    }
    return out;
}

std::string HexBytes(std::u16string_view s, bool prefix, const SqlType& from, const SqlType& to) {
    if (prefix) {
        if (s.size() < 2 || s[0] != u'0' || (s[1] != u'x' && s[1] != u'X')) Fail8114(from, to);
        s.remove_prefix(2);
    }
    if (s.size() % 2 != 0) Fail8114(from, to);
    std::string out;
    for (std::size_t i = 0; i < s.size(); i += 2) {
        const int h = HexDigit(s[i]);
        const int l = HexDigit(s[i + 1]);
        if (h < 0 || l < 0) Fail8114(from, to);
        out += static_cast<char>(h * 16 + l);
    }
    return out;
}

std::u16string HexText(const std::string& bytes, bool prefix) {
    static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    std::u16string out = prefix ? u"0x" : u"";
    for (const char c : bytes) {
        out += kDigits[static_cast<unsigned char>(c) >> 4];
        out += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return out;
}

std::u16string MoneyText(std::int64_t v, int style) {
    if (style == 2) return DecimalText(v, 4);
    std::u16string text = DecimalText(*Rescale(v, 4, 2), 2);
    if (style != 1) return text;
    const std::size_t first = text.front() == u'-' ? 1 : 0;
    for (std::size_t i = text.size() - 3; i > first + 3;) {
        i -= 3;
        text.insert(i, 1, u',');
    }
    return text;
}

std::u16string TextOf(const Value& v, const SqlType& from, const SqlType& to, int style) {
    if (IsInteger(from.id)) return ToText(v.i);
    if (IsDecimal(from.id)) return DecimalText(DecimalFromValue(v), from.scale);
    if (IsMoney(from.id)) return MoneyText(v.i, style);
    if (IsApproximate(from.id)) {
        const bool real = from.id == TypeId::Real;
        if (style == 3) return FloatText(v.d, real ? 9 : 17);
        if (style == 2 || style == 1) {
            char buffer[40];
            static_cast<void>(
                std::snprintf(buffer, sizeof buffer, "%.*e", style == 1 ? 7 : 15, v.d));
            std::string text = buffer;
            const std::size_t e = text.find('e');
            if (text.size() - e - 2 < 3) text.insert(e + 2, 1, '0');
            return Widen(text);
        }
        return FloatText(v.d, 6);
    }
    if (IsDateTime(from.id)) return MomentText(MomentOf(v, from), from, style);
    if (from.id == TypeId::UniqueIdentifier) return GuidText(v.bytes);
    if (IsBinary(from.id)) {
        if (style == 1 || style == 2) return HexText(v.bytes, style == 1);
        std::u16string out;
        if (IsUnicode(to.id)) {
            std::string padded = v.bytes;
            if (padded.size() % 2 != 0) padded += '\0';
            out.resize(padded.size() / 2);
            std::memcpy(out.data(), padded.data(), padded.size());
        } else {
            out = PageOf(to).Keep(v.bytes);
        }
        return out;
    }
    return v.text;
}

[[noreturn]] void FailTruncation() {
    throw SqlError(8152, u"String or binary data would be truncated.", 16, 14);
}

// From the code page of one type to that of the other, or to and from national text.
std::u16string Recoded(std::u16string text, const SqlType& from, const SqlType& to) {
    const bool fromPage = IsCodePage(from.id);
    const bool toPage = IsCodePage(to.id);
    if (!toPage) return fromPage ? PageOf(from).ToNational(text) : text;
    if (fromPage) {
        return SamePage(from, to) ? text : PageOf(to).FromNational(PageOf(from).ToNational(text));
    }
    // What is made of bytes has been read in the right code page.
    return IsBinary(from.id) ? text : PageOf(to).FromNational(text);
}

// The units of the longest beginning that takes at most `room` bytes: no character is cut in two.
std::size_t FittingUnits(std::u16string_view text, const SqlType& type, std::size_t room) {
    if (!IsCodePage(type.id) || PageOf(type).IsSingleByte()) return std::min(text.size(), room);
    std::size_t units = std::min(text.size(), room);
    while (PageOf(type).ByteCount(text.substr(0, units)) > room)
        --units;
    const bool half =
        units > 0 && units < text.size() && text[units - 1] >= 0xD800 && text[units - 1] < 0xDC00;
    return half ? units - 1 : units;
}

Value FitText(std::u16string text, const SqlType& from, const SqlType& to, Purpose purpose) {
    text = Recoded(std::move(text), from, to);
    if (IsLob(to.id) || to.length < 0) return Value::Text(std::move(text));
    const auto room = static_cast<std::size_t>(to.length);
    const std::size_t units = FittingUnits(text, to, room);
    if (text.size() > units) {
        if (IsCharacter(from.id) || IsBinary(from.id) || from.id == TypeId::Xml) {
            const bool blanks = text.find_first_not_of(u' ', units) == std::u16string::npos;
            if (purpose == Purpose::Column && !blanks) FailTruncation();
        } else if (IsInteger(from.id) && !IsUnicode(to.id)) {
            text.assign(1, u'*');
        } else if (IsNumber(from.id) || (IsInteger(from.id) && IsUnicode(to.id))) {
            FailOverflow(SourceWord(from), to);
        } else if (from.id == TypeId::UniqueIdentifier) {
            throw SqlError(8170,
                           u"Insufficient result space to convert uniqueidentifier value to "
                           u"char.");
        } else if (purpose == Purpose::Column) {
            FailTruncation();
        }
        text.resize(std::min(text.size(), units));
    }
    if (IsFixed(to.id)) {
        const std::size_t bytes = IsCodePage(to.id) ? PageOf(to).ByteCount(text) : text.size();
        text.append(room - bytes, u' ');
    }
    return Value::Text(std::move(text));
}

Value FitBytes(std::string bytes, const SqlType& from, const SqlType& to, Purpose purpose) {
    if (to.id == TypeId::Timestamp) {
        bytes.resize(8, '\0');
        return Value::Blob(std::move(bytes));
    }
    if (IsLob(to.id) || to.length < 0) return Value::Blob(std::move(bytes));
    const auto room = static_cast<std::size_t>(to.length);
    if (bytes.size() > room) {
        if (purpose == Purpose::Column) FailTruncation();
        // Numbers keep their low end, strings their beginning.
        if (IsNumber(from.id)) {
            bytes.erase(0, bytes.size() - room);
        } else {
            bytes.resize(room);
        }
    }
    if (IsFixed(to.id)) {
        if (IsNumber(from.id)) {
            bytes.insert(0, room - bytes.size(), '\0');
        } else {
            bytes.resize(room, '\0');
        }
    }
    return Value::Blob(std::move(bytes));
}

// The scale, the time in its unit, the days since year 1, the offset: each where the type has one,
// with the low byte first.
std::string NewDateBytes(const Value& v, const SqlType& type) {
    std::string bytes;
    const auto append = [&](std::int64_t number, int size) {
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(number >> (8 * i));
    };
    constexpr std::int64_t kTicksPerDay = 86400 * kTicksPerSecond;
    std::int64_t ticks = v.i;
    int offset = 0;
    if (type.id == TypeId::DateTimeOffset) DecodeOffset(v.text, ticks, offset);
    if (type.id == TypeId::Date) {
        append(v.i, 3);
        return bytes;
    }
    std::int64_t time = ticks % kTicksPerDay;
    for (int i = type.scale; i < 7; ++i)
        time /= 10;
    append(type.scale, 1);
    append(time, type.scale < 3 ? 3 : type.scale < 5 ? 4 : 5);
    if (type.id != TypeId::Time) append(ticks / kTicksPerDay, 3);
    if (type.id == TypeId::DateTimeOffset) append(offset, 2);
    return bytes;
}

Value ToBinary(const Value& v, const SqlType& from, const SqlType& to, Purpose purpose, int style) {
    std::string bytes;
    if (IsBinary(from.id)) {
        bytes = v.bytes;
    } else if (IsInteger(from.id) || IsMoney(from.id)) {
        bytes = IntegerBytes(v.i, MaxLength(from));
    } else if (IsDecimal(from.id)) {
        const Int128 value = DecimalFromValue(v);
        bytes = {static_cast<char>(from.precision), static_cast<char>(from.scale), '\0',
                 static_cast<char>(value >= 0 ? 1 : 0)};
        Int128 m = value < 0 ? -value : value;
        for (int i = 1; i < MaxLength(from); ++i) {
            bytes += static_cast<char>(m & 0xFF);
            m >>= 8;
        }
    } else if (IsApproximate(from.id)) {
        std::int64_t bits = 0;
        if (from.id == TypeId::Real) {
            const auto f = static_cast<float>(v.d);
            std::int32_t b = 0;
            std::memcpy(&b, &f, 4);
            bits = b;
        } else {
            std::memcpy(&bits, &v.d, 8);
        }
        bytes = IntegerBytes(bits, MaxLength(from));
    } else if (from.id == TypeId::UniqueIdentifier) {
        unsigned char wire[16];
        GuidFromStorage(reinterpret_cast<const unsigned char*>(v.bytes.data()), wire);
        bytes.assign(reinterpret_cast<const char*>(wire), 16);
    } else if (from.id == TypeId::DateTime) {
        const Moment m = ToMoment(v.i, from);
        const std::int64_t days = m.days - kDays1900;
        bytes = IntegerBytes(days, 4) + IntegerBytes(v.i - days * kThirdsPerDay, 4);
    } else if (from.id == TypeId::SmallDateTime) {
        bytes = IntegerBytes(v.i / 1440, 2) + IntegerBytes(v.i % 1440, 2);
    } else if (IsDateTime(from.id)) {
        bytes = NewDateBytes(v, from);
    } else if (IsCharacter(from.id)) {
        if (style == 1 || style == 2) {
            bytes = HexBytes(v.text, style == 1, from, to);
        } else {
            bytes = IsUnicode(from.id) ? Utf16Bytes(v.text) : PageOf(from).Bytes(v.text);
        }
    } else {
        Fail8114(from, to);
    }
    return FitBytes(std::move(bytes), from, to, purpose);
}

// Binary to a number: the low bytes, big-endian.
Value BinaryToInteger(const std::string& bytes, const SqlType& to) {
    std::uint64_t v = 0;
    const auto size = static_cast<std::size_t>(MaxLength(to));
    for (std::size_t i = bytes.size() > size ? bytes.size() - size : 0; i < bytes.size(); ++i) {
        v = v << 8 | static_cast<unsigned char>(bytes[i]);
    }
    if (to.id == TypeId::Bit) return Value::Int(v != 0 ? 1 : 0);
    if (size == 2) return Value::Int(static_cast<std::int16_t>(v));
    if (size == 4) return Value::Int(static_cast<std::int32_t>(v));
    return Value::Int(static_cast<std::int64_t>(v));
}

Value ToDateTime(const Value& v, const SqlType& from, const SqlType& to, int style) {
    if (IsCharacter(from.id)) return TextToMoment(v.text, from, to, style);
    if (IsDateTime(from.id)) {
        Moment m = MomentOf(v, from);
        if (from.id == TypeId::Time) m.days = kDays1900;
        if (to.id == TypeId::DateTimeOffset && from.id != TypeId::DateTimeOffset) m.offset = 0;
        return MomentToValue(m, from, to);
    }
    if (IsNumber(from.id)) {  // days since 1900
        const Number n = NumberOf(v, from);
        const double days = n.real ? n.d : DecimalToDouble(n.value, n.scale);
        if (!(std::fabs(days) < 4e6)) FailOverflow(SourceWord(from), to);
        const double whole = std::floor(days);
        Moment m;
        m.days = kDays1900 + static_cast<std::int64_t>(whole);
        const double ticks = (days - whole) * static_cast<double>(kTicksPerDay);
        m.ticks = std::llround(ticks);
        if (m.ticks >= kTicksPerDay) {
            m.ticks -= kTicksPerDay;
            ++m.days;
        }
        const auto out = FromMoment(m, to);
        if (!out) FailOverflow(SourceWord(from), to);
        return Value::Int(*out);
    }
    if (IsBinary(from.id) && to.id == TypeId::DateTime && v.bytes.size() == 8) {
        const Value days = BinaryToInteger(v.bytes.substr(0, 4), Plain(TypeId::Int));
        const Value thirds = BinaryToInteger(v.bytes.substr(4), Plain(TypeId::Int));
        return Value::Int(days.i * kThirdsPerDay + thirds.i);
    }
    Fail8114(from, to);
}

Value DateTimeToNumber(const Value& v, const SqlType& from, const SqlType& to) {
    const Moment m = MomentOf(v, from);
    Number n;
    n.real = true;
    n.d = static_cast<double>(m.days - kDays1900) +
          static_cast<double>(m.ticks) / static_cast<double>(kTicksPerDay);
    if (IsInteger(to.id)) {
        n.d = std::floor(n.d + 0.5);
        return ToInteger(n, from, to);
    }
    if (IsMoney(to.id)) return ToMoney(n, from, to);
    if (IsDecimal(to.id)) return ToDecimal(n, from, to);
    return ToFloat(n.d, from, to);
}

Value ConvertChecked(const Value& v, const SqlType& from, const SqlType& to, Purpose purpose,
                     int style) {
    if (to.id == TypeId::SqlVariant) return WrapVariant(v, from);
    if (from.id == TypeId::SqlVariant) {
        SqlType inner;
        const Value value = UnwrapVariant(v.text, inner);
        return Convert(value, inner, to, purpose, style);
    }
    if (IsCharacter(to.id) || to.id == TypeId::Xml) {
        return FitText(TextOf(v, from, to, style), from, to, purpose);
    }
    if (IsBinary(to.id)) return ToBinary(v, from, to, purpose, style);
    if (IsNumber(to.id)) {
        if (IsNumber(from.id)) return NumberToNumber(v, from, to);
        if (IsCharacter(from.id)) return TextToNumber(v.text, from, to);
        if (IsDateTime(from.id)) return DateTimeToNumber(v, from, to);
        if (IsBinary(from.id) && (IsInteger(to.id) || IsMoney(to.id))) {
            return BinaryToInteger(v.bytes, to);
        }
    }
    if (IsDateTime(to.id)) return ToDateTime(v, from, to, style);
    if (to.id == TypeId::UniqueIdentifier) {
        if (from.id == TypeId::UniqueIdentifier) return v;
        if (IsCharacter(from.id)) return TextToGuid(v.text);
        if (IsBinary(from.id)) {
            std::string wire = v.bytes;
            wire.resize(16, '\0');
            unsigned char stored[16];
            GuidToStorage(reinterpret_cast<const unsigned char*>(wire.data()), stored);
            return Value::Blob(std::string(reinterpret_cast<const char*>(stored), 16));
        }
    }
    Fail8114(from, to);
}

}  // namespace

void GuidToStorage(const unsigned char wire[16], unsigned char stored[16]) {
    for (std::size_t i = 0; i < 16; ++i)
        stored[i] = wire[kGuidOrder[i]];
}

void GuidFromStorage(const unsigned char stored[16], unsigned char wire[16]) {
    for (std::size_t i = 0; i < 16; ++i)
        wire[kGuidOrder[i]] = stored[i];
}

std::u16string FloatText(double value, int digits) {
    char buffer[48];
    static_cast<void>(std::snprintf(buffer, sizeof buffer, "%.*g", digits, value));
    std::string text = buffer;
    const std::size_t e = text.find('e');
    // Three digits in the exponent.
    if (e != std::string::npos && text.size() - e - 2 < 3) text.insert(e + 2, 1, '0');
    return Widen(text);
}

Value Convert(const Value& v, const SqlType& from, const SqlType& to, Purpose purpose, int style) {
    if (v.IsNull()) return {};
    if (purpose != Purpose::Argument) return ConvertChecked(v, from, to, purpose, style);
    try {
        return ConvertChecked(v, from, to, purpose, style);
    } catch (const SqlError& e) {
        switch (e.message.number) {
            case 206:
            case 257:
                throw;
            default:
                break;
        }
        // A bad argument is refused before the procedure starts; the batch goes on.
        const std::u16string_view target = IsDecimal(to.id) ? u"numeric" : TypeName(to.id);
        throw SqlError(e.message.number == 8115 ? 8115 : 8114,
                       e.message.number == 8115 ? e.message.text
                                                : Format(u"Error converting data type %1 to %2.",
                                                         {TypeName(from.id), target}));
    }
}

Cell MakeCell(const Value& v, const SqlType& type) {
    Cell cell;
    if (v.IsNull()) return cell;
    cell.null = false;
    switch (type.id) {
        case TypeId::Float:
        case TypeId::Real:
            cell.d = v.d;
            break;
        case TypeId::Decimal:
        case TypeId::Numeric:
            cell.big = DecimalFromValue(v);
            break;
        case TypeId::DateTimeOffset: {
            std::int64_t ticks = 0;
            int offset = 0;
            DecodeOffset(v.text, ticks, offset);
            cell.i = ticks;
            cell.offset = static_cast<std::int16_t>(offset);
            break;
        }
        default:
            if (RepOf(type) == Rep::Text) {
                cell.data = reinterpret_cast<const std::uint8_t*>(v.text.data());
                cell.size = v.text.size() * 2;
            } else if (RepOf(type) == Rep::Blob) {
                cell.data = reinterpret_cast<const std::uint8_t*>(v.bytes.data());
                cell.size = v.bytes.size();
            } else {
                cell.i = v.i;
            }
            break;
    }
    return cell;
}

std::u16string DisplayText(const Value& v, const SqlType& type) {
    if (v.IsNull()) return {};
    return Convert(v, type, NVarCharType(-1), Purpose::Cast).text;
}

}  // namespace sandbox::engine
