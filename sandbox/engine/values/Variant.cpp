// sql_variant: a value that brings its type along.
#include <cstring>

#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/Decimal.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

Value WrapVariant(const Value& v, const SqlType& type) {
    const std::int64_t packed = Pack(type);
    std::u16string out;
    const auto append64 = [&](std::uint64_t bits) {
        for (int shift = 48; shift >= 0; shift -= 16)
            out += static_cast<char16_t>(bits >> shift);
    };
    append64(static_cast<std::uint64_t>(packed));
    switch (v.kind) {
        case Value::Kind::Int:
            append64(static_cast<std::uint64_t>(v.i));
            break;
        case Value::Kind::Real: {
            std::uint64_t bits = 0;
            std::memcpy(&bits, &v.d, 8);
            append64(bits);
            break;
        }
        case Value::Kind::Text:
            out += v.text;
            break;
        case Value::Kind::Blob:
            for (const char c : v.bytes)
                out += static_cast<char16_t>(static_cast<unsigned char>(c));
            break;
        case Value::Kind::Null:
            return {};
    }
    return Value::Text(std::move(out));
}

Value UnwrapVariant(std::u16string_view encoded, SqlType& type) {
    const auto read64 = [&](std::size_t at) {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < 4; ++i)
            bits = bits << 16 | encoded[at + i];
        return bits;
    };
    type = Unpack(static_cast<std::int64_t>(read64(0)));
    switch (RepOf(type)) {
        case Rep::Int:
            return Value::Int(static_cast<std::int64_t>(read64(4)));
        case Rep::Real: {
            const std::uint64_t bits = read64(4);
            double d = 0;
            std::memcpy(&d, &bits, 8);
            return Value::Real(d);
        }
        case Rep::Blob: {
            std::string bytes;
            for (const char16_t c : encoded.substr(4))
                bytes += static_cast<char>(c);
            return Value::Blob(std::move(bytes));
        }
        case Rep::Text:
            break;
    }
    return Value::Text(std::u16string(encoded.substr(4)));
}

int CompareVariants(std::u16string_view a, std::u16string_view b) {
    SqlType ta;
    SqlType tb;
    const Value va = UnwrapVariant(a, ta);
    const Value vb = UnwrapVariant(b, tb);
    // Families, highest first: dates, approximate, exact, text, binary, uniqueidentifier.
    const auto family = [](const SqlType& t) {
        if (IsDateTime(t.id)) return 5;
        if (IsApproximate(t.id)) return 4;
        if (IsNumber(t.id)) return 3;
        if (IsCharacter(t.id)) return 2;
        return IsBinary(t.id) ? 1 : 0;
    };
    const int fa = family(ta);
    const int fb = family(tb);
    if (fa != fb) return fa < fb ? -1 : 1;
    const auto order = [](const auto& x, const auto& y) { return x < y ? -1 : y < x ? 1 : 0; };
    switch (fa) {
        case 5: {
            const SqlType wide{TypeId::DateTime2, 0, 0, 7};
            return order(Convert(va, ta, wide, Purpose::Cast).i,
                         Convert(vb, tb, wide, Purpose::Cast).i);
        }
        case 4:
            return order(va.d, vb.d);
        case 3: {
            const SqlType wide = CommonType(AsDecimal(ta), AsDecimal(tb));
            return order(DecimalFromValue(Convert(va, ta, wide, Purpose::Cast)),
                         DecimalFromValue(Convert(vb, tb, wide, Purpose::Cast)));
        }
        case 2:
            return CompareText(va.text, vb.text);
        default:
            return order(va.bytes, vb.bytes);
    }
}

}  // namespace sandbox::engine
