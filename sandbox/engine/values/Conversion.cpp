#include "sandbox/engine/values/Conversion.h"

#include "sandbox/engine/values/ConversionParts.h"
#include "sandbox/engine/values/DateTime.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {
namespace {

Value ConvertChecked(const Value& v, const SqlType& from, const SqlType& to, Purpose purpose,
                     int style) {
    if (to.id == TypeId::SqlVariant) return WrapVariant(v, from);
    if (from.id == TypeId::SqlVariant) {
        SqlType inner;
        const Value value = UnwrapVariant(v.text, inner);
        return Convert(value, inner, to, purpose, style);
    }
    if (IsCharacter(to.id) || to.id == TypeId::Xml) {
        return ToCharacters(v, from, to, purpose, style);
    }
    if (IsBinary(to.id)) return ToBinary(v, from, to, purpose, style);
    if (IsNumber(to.id)) {
        if (IsNumber(from.id)) return FromNumber(NumberOf(v, from), from, to);
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
