// Conversions into numbers.
#include <cmath>
#include <cstdlib>
#include <limits>

#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/ConversionParts.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {
namespace {

std::u16string_view Trim(std::u16string_view s) {
    while (!s.empty() && s.front() == u' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == u' ')
        s.remove_suffix(1);
    return s;
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

}  // namespace

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

Value FromNumber(const Number& n, const SqlType& from, const SqlType& to) {
    if (IsInteger(to.id)) return ToInteger(n, from, to);
    if (IsMoney(to.id)) return ToMoney(n, from, to);
    if (IsDecimal(to.id)) return ToDecimal(n, from, to);
    return ToFloat(n.real ? n.d : DecimalToDouble(n.value, n.scale), from, to);
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

}  // namespace sandbox::engine
