// Conversions into text.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "sandbox/engine/values/ConversionParts.h"
#include "sandbox/engine/values/DateTime.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {
namespace {

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

}  // namespace

std::u16string FloatText(double value, int digits) {
    char buffer[48];
    static_cast<void>(std::snprintf(buffer, sizeof buffer, "%.*g", digits, value));
    std::string text = buffer;
    const std::size_t e = text.find('e');
    // Three digits in the exponent.
    if (e != std::string::npos && text.size() - e - 2 < 3) text.insert(e + 2, 1, '0');
    return Widen(text);
}

Value ToCharacters(const Value& v, const SqlType& from, const SqlType& to, Purpose purpose,
                   int style) {
    return FitText(TextOf(v, from, to, style), from, to, purpose);
}

}  // namespace sandbox::engine
