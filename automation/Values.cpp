#include "automation/Values.h"

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "automation/Arrays.h"
#include "automation/Text.h"

namespace QuillonLib::Automation {

namespace {

constexpr int MostDecimals = 28;

// A whole number of 96 bits.
class WideNumber {
  public:
    // False, and the number is lost, where there is no room for another digit.
    bool Append(unsigned digit) {
        std::uint64_t carry = digit;
        for (std::uint32_t& limb : limbs_) {
            carry += std::uint64_t{limb} * 10;
            limb = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        return carry == 0;
    }
    void Store(DECIMAL& decimal) const {
        decimal.Lo32 = limbs_[0];
        decimal.Mid32 = limbs_[1];
        decimal.Hi32 = limbs_[2];
    }

  private:
    std::array<std::uint32_t, 3> limbs_{};
};

std::optional<DECIMAL> ToSystemDecimal(const Decimal& value) {
    if (value.Scale() > MostDecimals) return std::nullopt;
    WideNumber number;
    for (const char c : value.Text()) {
        if (c != '-' && c != '.' && !number.Append(static_cast<unsigned>(c - '0'))) {
            return std::nullopt;
        }
    }
    DECIMAL decimal{};
    number.Store(decimal);
    decimal.scale = static_cast<BYTE>(value.Scale());
    decimal.sign = value.Negative() ? DECIMAL_NEG : 0;
    return decimal;
}

Variant ToVariant(const Decimal& value) {
    const auto decimal = ToSystemDecimal(value);
    if (!decimal) return NewText(DefaultText(Value(value)));
    Variant result;
    result.InPlace()->decVal = *decimal;
    result.InPlace()->vt = VT_DECIMAL;  // lies inside the decimal, in a field that it does not use
    return result;
}

// `field` picks the place of the value in a VARIANT.
template <class Field, class T>
Variant NewValue(VARTYPE type, Field field, T value) {
    Variant result;
    result.InPlace()->vt = type;
    field(*result.InPlace()) = value;
    return result;
}

Variant NewCurrency(Currency amount) {
    Variant result;
    result.InPlace()->vt = VT_CY;
    result.InPlace()->cyVal.int64 = amount.scaled;
    return result;
}

bool HasType(const FieldInfo& field, std::u16string_view name) {
    return field.typeName == name;
}

// ADO's DataTypeEnum.
namespace Ado {
constexpr LONG SmallInt = 2, Integer = 3, Single = 4, Double = 5, Currency = 6, Boolean = 11,
               Variant = 12, UnsignedTinyInt = 17, BigInt = 20, Guid = 72, Binary = 128, Char = 129,
               WChar = 130, Numeric = 131, TimeStamp = 135, VarChar = 200, LongVarChar = 201,
               VarWChar = 202, LongVarWChar = 203, VarBinary = 204, LongVarBinary = 205, Empty = 0;
}  // namespace Ado

LONG TextType(const FieldInfo& field) {
    if (HasType(field, u"char")) return Ado::Char;
    if (HasType(field, u"nchar")) return Ado::WChar;
    if (HasType(field, u"varchar")) return Ado::VarChar;
    if (HasType(field, u"text")) return Ado::LongVarChar;
    if (HasType(field, u"ntext") || HasType(field, u"xml")) return Ado::LongVarWChar;
    if (HasType(field, u"sql_variant")) return Ado::Variant;
    return Ado::VarWChar;
}

LONG BytesType(const FieldInfo& field) {
    if (HasType(field, u"binary") || HasType(field, u"timestamp")) return Ado::Binary;
    return HasType(field, u"image") ? Ado::LongVarBinary : Ado::VarBinary;
}

}  // namespace

Variant ToVariant(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::Empty:
            return {};
        case ValueKind::Null:
            return Variant::Null();
        case ValueKind::Boolean:
            return NewFlag(value.Get<bool>());
        case ValueKind::Byte:
            return NewValue(
                VT_UI1, [](VARIANT & v) -> auto& { return v.bVal; }, value.Get<std::uint8_t>());
        case ValueKind::Integer:
            return NewValue(
                VT_I2, [](VARIANT & v) -> auto& { return v.iVal; }, value.Get<std::int16_t>());
        case ValueKind::Long:
            return NewValue(
                VT_I4, [](VARIANT & v) -> auto& { return v.lVal; }, value.Get<std::int32_t>());
        case ValueKind::LongLong:
            return NewValue(
                VT_I8, [](VARIANT & v) -> auto& { return v.llVal; }, value.Get<std::int64_t>());
        case ValueKind::Single:
            return NewValue(
                VT_R4, [](VARIANT & v) -> auto& { return v.fltVal; }, value.Get<float>());
        case ValueKind::Double:
            return NewValue(
                VT_R8, [](VARIANT & v) -> auto& { return v.dblVal; }, value.Get<double>());
        case ValueKind::Date:
            return NewValue(
                VT_DATE, [](VARIANT & v) -> auto& { return v.date; }, value.Get<Date>().days);
        case ValueKind::Currency:
            return NewCurrency(value.Get<Currency>());
        case ValueKind::Decimal:
            return ToVariant(value.Get<Decimal>());
        case ValueKind::String:
            return NewText(value.Get<std::u16string>());
        case ValueKind::Bytes:
            return ToVariant(EncryptedText(value.Get<ByteArray>()));
        case ValueKind::Guid:
            return NewText(DefaultText(value));
    }
    return {};
}

LONG DataType(const FieldInfo& field) {
    switch (field.kind) {
        case ValueKind::Boolean:
            return Ado::Boolean;
        case ValueKind::Byte:
            return Ado::UnsignedTinyInt;
        case ValueKind::Integer:
            return Ado::SmallInt;
        case ValueKind::Long:
            return Ado::Integer;
        case ValueKind::LongLong:
            return Ado::BigInt;
        case ValueKind::Single:
            return Ado::Single;
        case ValueKind::Double:
            return Ado::Double;
        case ValueKind::Currency:
            return Ado::Currency;
        case ValueKind::Decimal:
            return Ado::Numeric;
        case ValueKind::Date:
            return Ado::TimeStamp;
        case ValueKind::String:
            return TextType(field);
        case ValueKind::Bytes:
            return BytesType(field);
        case ValueKind::Guid:
            return Ado::Guid;
        case ValueKind::Empty:
        case ValueKind::Null:
            break;
    }
    return Ado::Empty;
}

}  // namespace QuillonLib::Automation
