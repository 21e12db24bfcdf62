#include "sandbox/engine/values/Decimal.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace sandbox::engine {
namespace {

__extension__ typedef unsigned __int128 UInt128;

// 256 bits, low limb first; just enough for products and quotients.
struct Wide {
    std::uint64_t limb[4] = {};
};

Wide WideProduct(UInt128 a, UInt128 b) {
    const std::uint64_t x[2] = {static_cast<std::uint64_t>(a), static_cast<std::uint64_t>(a >> 64)};
    const std::uint64_t y[2] = {static_cast<std::uint64_t>(b), static_cast<std::uint64_t>(b >> 64)};
    Wide r;
    for (int i = 0; i < 2; ++i) {
        std::uint64_t carry = 0;
        for (int j = 0; j < 2; ++j) {
            const UInt128 t = static_cast<UInt128>(x[i]) * y[j] + r.limb[i + j] + carry;
            r.limb[i + j] = static_cast<std::uint64_t>(t);
            carry = static_cast<std::uint64_t>(t >> 64);
        }
        r.limb[i + 2] += carry;
    }
    return r;
}

// n / d, with the remainder; absent when the quotient needs more than 127 bits.
std::optional<UInt128> WideDivide(const Wide& n, UInt128 d, UInt128& remainder) {
    UInt128 quotient = 0;
    remainder = 0;
    for (int bit = 255; bit >= 0; --bit) {
        const bool top = (remainder >> 127) != 0;
        remainder = remainder << 1 | ((n.limb[bit / 64] >> (bit % 64)) & 1U);
        if ((quotient >> 127) != 0) return std::nullopt;
        quotient <<= 1;
        if (top || remainder >= d) {
            remainder -= d;
            quotient |= 1;
        }
    }
    if ((quotient >> 127) != 0) return std::nullopt;
    return quotient;
}

UInt128 Magnitude(Int128 v) {
    return v < 0 ? -static_cast<UInt128>(v) : static_cast<UInt128>(v);
}

std::optional<Int128> Signed(UInt128 magnitude, bool negative) {
    if (magnitude >= static_cast<UInt128>(PowerOf10(38))) return std::nullopt;
    const auto v = static_cast<Int128>(magnitude);
    return negative ? -v : v;
}

}  // namespace

Int128 PowerOf10(int n) {
    static const auto kPowers = [] {
        std::array<Int128, 39> p{};
        p[0] = 1;
        for (std::size_t i = 1; i < p.size(); ++i)
            p[i] = p[i - 1] * 10;
        return p;
    }();
    return kPowers[static_cast<std::size_t>(n)];
}

int DigitCount(Int128 value) {
    const UInt128 m = Magnitude(value);
    int n = 1;
    while (n <= 38 && m >= static_cast<UInt128>(PowerOf10(n)))
        ++n;
    return n;
}

std::optional<Int128> Rescale(Int128 value, int from, int to) {
    if (from == to) return value;
    const bool negative = value < 0;
    const UInt128 m = Magnitude(value);
    if (to > from) {
        if (to - from > 38) return value == 0 ? std::optional<Int128>(0) : std::nullopt;
        const Int128 limit = PowerOf10(38) / PowerOf10(to - from);
        if (m >= static_cast<UInt128>(limit) && m != 0) return std::nullopt;
        return Signed(m * static_cast<UInt128>(PowerOf10(to - from)), negative);
    }
    if (from - to > 38) return Int128{0};
    const auto d = static_cast<UInt128>(PowerOf10(from - to));
    UInt128 q = m / d;
    if (m % d >= d - m % d) ++q;
    return Signed(q, negative);
}

std::optional<Int128> Multiply(Int128 a, Int128 b, int scale, int to) {
    const bool negative = (a < 0) != (b < 0);
    Wide product = WideProduct(Magnitude(a), Magnitude(b));
    UInt128 remainder = 0;
    const int cut = std::clamp(scale - to, 0, 38);
    const auto d = static_cast<UInt128>(PowerOf10(cut));
    auto q = WideDivide(product, d, remainder);
    if (!q) return std::nullopt;
    if (cut > 0 && remainder >= d - remainder) ++*q;
    const auto r = Signed(*q, negative);
    return r && to > scale ? Rescale(*r, scale, to) : r;
}

std::optional<Int128> Divide(Int128 a, int scaleA, Int128 b, int scaleB, int to) {
    const bool negative = (a < 0) != (b < 0);
    const int shift = to - scaleA + scaleB;  // a * 10^shift / b
    UInt128 remainder = 0;
    std::optional<UInt128> q;
    if (shift >= 0 && shift <= 38) {
        q = WideDivide(WideProduct(Magnitude(a), static_cast<UInt128>(PowerOf10(shift))),
                       Magnitude(b), remainder);
    } else if (shift < 0) {
        const auto scaled = Rescale(b, 0, -shift);
        if (!scaled || *scaled == 0) return Int128{0};
        q = Magnitude(a) / Magnitude(*scaled);
    }
    if (!q) return std::nullopt;
    return Signed(*q, negative);
}

std::u16string DecimalText(Int128 value, int scale) {
    char16_t buffer[64];
    char16_t* p = buffer + 64;
    UInt128 m = Magnitude(value);
    int digits = 0;
    do {
        *--p = static_cast<char16_t>(u'0' + static_cast<int>(m % 10));
        m /= 10;
        if (++digits == scale) *--p = u'.';
    } while (m != 0 || digits <= scale);
    if (scale > 0 && *p == u'.') *--p = u'0';
    if (value < 0) *--p = u'-';
    return {p, buffer + 64};
}

std::optional<ParsedDecimal> ParseDecimal(std::u16string_view s) {
    while (!s.empty() && s.front() == u' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == u' ')
        s.remove_suffix(1);
    bool negative = false;
    if (!s.empty() && (s.front() == u'-' || s.front() == u'+')) {
        negative = s.front() == u'-';
        s.remove_prefix(1);
    }
    ParsedDecimal r;
    bool point = false;
    bool digit = false;
    for (const char16_t c : s) {
        if (c == u'.' && !point) {
            point = true;
        } else if (c >= u'0' && c <= u'9') {
            digit = true;
            if (r.value >= PowerOf10(37)) {
                if (!point) r.overflow = true;
                continue;  // digits past the 38th
            }
            r.value = r.value * 10 + (c - u'0');
            if (point) ++r.scale;
        } else {
            return std::nullopt;
        }
    }
    if (!digit) return std::nullopt;
    if (negative) r.value = -r.value;
    return r;
}

double DecimalToDouble(Int128 value, int scale) {
    // Through text: one correct rounding.
    std::string digits;
    for (const char16_t c : DecimalText(value, scale))
        digits += static_cast<char>(c);
    return std::strtod(digits.c_str(), nullptr);
}

std::optional<Int128> DoubleToDecimal(double value, int scale) {
    if (!std::isfinite(value)) return std::nullopt;
    const long double scaled =
        std::fabs(static_cast<long double>(value)) * static_cast<long double>(PowerOf10(scale));
    if (scaled >= 1e38L) return std::nullopt;
    const auto m = static_cast<Int128>(scaled + 0.5L);
    return value < 0 ? -m : m;
}

void EncodeDecimalBlob(Int128 value, unsigned char out[16]) {
    UInt128 biased = static_cast<UInt128>(value) ^ (static_cast<UInt128>(1) << 127);
    for (int i = 15; i >= 0; --i) {
        out[i] = static_cast<unsigned char>(biased);
        biased >>= 8;
    }
}

Int128 DecodeDecimalBlob(const unsigned char in[16]) {
    UInt128 biased = 0;
    for (int i = 0; i < 16; ++i)
        biased = biased << 8 | in[i];
    return static_cast<Int128>(biased ^ (static_cast<UInt128>(1) << 127));
}

Int128 DecimalFromValue(const Value& value) {
    if (value.kind == Value::Kind::Blob && value.bytes.size() == 16) {
        return DecodeDecimalBlob(reinterpret_cast<const unsigned char*>(value.bytes.data()));
    }
    return value.i;
}

Value DecimalToValue(Int128 value, const SqlType& type) {
    if (type.precision <= 18) return Value::Int(static_cast<std::int64_t>(value));
    unsigned char raw[16];
    EncodeDecimalBlob(value, raw);
    return Value::Blob(std::string(reinterpret_cast<const char*>(raw), 16));
}

}  // namespace sandbox::engine
