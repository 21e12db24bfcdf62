// Conversions into bytes, and the bytes of identifiers.
#include <cstring>

#include "sandbox/engine/values/ConversionParts.h"
#include "sandbox/engine/values/DateTime.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {
namespace {

constexpr unsigned char kGuidOrder[16] = {10, 11, 12, 13, 14, 15, 8, 9, 6, 7, 4, 5, 0, 1, 2, 3};

int HexDigit(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
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

}  // namespace

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

void GuidToStorage(const unsigned char wire[16], unsigned char stored[16]) {
    for (std::size_t i = 0; i < 16; ++i)
        stored[i] = wire[kGuidOrder[i]];
}

void GuidFromStorage(const unsigned char stored[16], unsigned char wire[16]) {
    for (std::size_t i = 0; i < 16; ++i)
        wire[kGuidOrder[i]] = stored[i];
}

}  // namespace sandbox::engine
