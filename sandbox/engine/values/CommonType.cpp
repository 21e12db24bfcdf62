// The type that values of two types are brought to.
#include <algorithm>

#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
namespace {

// Ascending precedence of the data types.
constexpr TypeId kPrecedence[] = {
    TypeId::Binary,         TypeId::VarBinary,  TypeId::Image,
    TypeId::Timestamp,      TypeId::Char,       TypeId::VarChar,
    TypeId::NChar,          TypeId::NVarChar,   TypeId::UniqueIdentifier,
    TypeId::Text,           TypeId::NText,      TypeId::Bit,
    TypeId::TinyInt,        TypeId::SmallInt,   TypeId::Int,
    TypeId::BigInt,         TypeId::SmallMoney, TypeId::Money,
    TypeId::Numeric,        TypeId::Decimal,    TypeId::Real,
    TypeId::Float,          TypeId::Time,       TypeId::Date,
    TypeId::SmallDateTime,  TypeId::DateTime,   TypeId::DateTime2,
    TypeId::DateTimeOffset, TypeId::Xml,        TypeId::SqlVariant,
};

// Characters or bytes that a value of the type needs as a variable-length string.
int StringLength(const SqlType& t) {
    switch (t.id) {
        case TypeId::Char:
        case TypeId::VarChar:
        case TypeId::NChar:
        case TypeId::NVarChar:
        case TypeId::Binary:
        case TypeId::VarBinary:
            return t.length;
        case TypeId::Text:
        case TypeId::NText:
        case TypeId::Image:
        case TypeId::Xml:
            return -1;
        case TypeId::Timestamp:
            return 8;
        case TypeId::UniqueIdentifier:
            return 36;
        default:
            return 40;
    }
}

}  // namespace

int Precedence(TypeId id) {
    for (int i = 0; i < static_cast<int>(std::size(kPrecedence)); ++i) {
        if (kPrecedence[i] == id) return i;
    }
    return 0;
}

SqlType AsDecimal(const SqlType& t) {
    if (IsDecimal(t.id)) return t;
    if (IsMoney(t.id)) return DecimalType(t.id == TypeId::Money ? 19 : 10, 4);
    return DecimalType(PrecisionOf(t), 0);
}

bool SameType(const SqlType& a, const SqlType& b) {
    return a.id == b.id && a.length == b.length && a.precision == b.precision &&
           a.scale == b.scale && (!IsCodePage(a.id) || SamePage(a, b));
}

SqlType CommonType(const SqlType& a, const SqlType& b) {
    if (SameType(a, b)) return a;
    const SqlType& high = Precedence(a.id) >= Precedence(b.id) ? a : b;
    const SqlType& low = Precedence(a.id) >= Precedence(b.id) ? b : a;
    SqlType result = high;
    if (IsDecimal(high.id) && (IsDecimal(low.id) || IsInteger(low.id) || IsMoney(low.id))) {
        const SqlType l = AsDecimal(low);
        const int whole = std::max(high.precision - high.scale, l.precision - l.scale);
        const int scale =
            std::min(static_cast<int>(std::max(high.scale, l.scale)), std::max(38 - whole, 0));
        result = DecimalType(whole + scale, scale);
        result.id = high.id;
    } else if ((high.id == TypeId::Time || high.id == TypeId::DateTime2 ||
                high.id == TypeId::DateTimeOffset) &&
               IsDateTime(low.id)) {
        result.scale = static_cast<std::uint8_t>(std::max(ScaleOf(high), ScaleOf(low)));
    } else if (IsCharacter(high.id) && !IsLob(high.id) &&
               (IsCharacter(low.id) || IsBinary(low.id))) {
        const int x = StringLength(high);
        const int y = StringLength(low);
        result.length = x < 0 || y < 0 ? -1 : std::max(x, y);
        const bool bothFixed = IsFixed(high.id) && IsFixed(low.id) && x == y;
        if (!bothFixed || result.length < 0) {
            result.id =
                IsUnicode(high.id) || IsUnicode(low.id) ? TypeId::NVarChar : TypeId::VarChar;
        }
        // no text of a limited length is longer, whatever it is made of: the rest is cut
        if (IsUnicode(result.id)) result.length = std::min(result.length, 4000);
    } else if ((high.id == TypeId::Binary || high.id == TypeId::VarBinary) && IsBinary(low.id)) {
        const int x = StringLength(high);
        const int y = StringLength(low);
        result.length = x < 0 || y < 0 ? -1 : std::max(x, y);
        if (low.id != high.id || x != y) result.id = TypeId::VarBinary;
    }
    return result;
}

}  // namespace sandbox::engine
