#include "cli/JsonValue.h"

#include <cmath>
#include <string>

namespace quillon {

namespace {

using namespace QuillonLib;

std::string Base64(const ByteArray& bytes) {
    constexpr const char* Digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = bytes.size() - i;
        std::uint32_t group = std::uint32_t{bytes[i]} << 16;
        if (left > 1) group |= std::uint32_t{bytes[i + 1]} << 8;
        if (left > 2) group |= bytes[i + 2];
        for (std::size_t digit = 0; digit < 4; ++digit)
            text += digit <= left ? Digits[(group >> (18 - 6 * digit)) & 63] : '=';
    }
    return text;
}

void WriteFloating(JsonWriter& json, double number, const Value& value) {
    if (std::isnan(number)) {
        json.Text("NaN");
    } else if (std::isinf(number)) {
        json.Text(number < 0 ? "-Infinity" : "Infinity");
    } else {
        json.Number(ToUtf8(DefaultText(value)));
    }
}

void WriteBytes(JsonWriter& json, const ByteArray& bytes, ValueForm form) {
    if (form == ValueForm::Binary) {
        json.Text(Base64(bytes));
    } else {
        json.BeginObject().Name("base64").Text(Base64(bytes)).EndObject();
    }
}

}  // namespace

ValueForm FormOf(std::u16string_view dataType) {
    for (const std::u16string_view binary : {u"binary", u"varbinary", u"image", u"timestamp"}) {
        if (dataType == binary) return ValueForm::Binary;
    }
    if (dataType == u"datetime2") return ValueForm::Moment;
    return dataType == u"datetimeoffset" ? ValueForm::OffsetMoment : ValueForm::Plain;
}

std::u16string IsoText(std::u16string_view text, ValueForm form) {
    std::u16string iso(text);
    if (form != ValueForm::Moment && form != ValueForm::OffsetMoment) return iso;
    const std::size_t time = iso.find(u' ');
    if (time != std::u16string::npos) iso[time] = u'T';
    if (form == ValueForm::OffsetMoment) std::erase(iso, u' ');
    return iso;
}

void WriteValue(JsonWriter& json, const Value& value, ValueForm form) {
    switch (value.Kind()) {
        case ValueKind::Empty:
        case ValueKind::Null:
            json.Null();
            break;
        case ValueKind::Boolean:
            json.Boolean(value.Get<bool>());
            break;
        case ValueKind::Byte:
        case ValueKind::Integer:
        case ValueKind::Long:
            json.Number(ToInt64(value));
            break;
        case ValueKind::Single:
            WriteFloating(json, static_cast<double>(value.Get<float>()), value);
            break;
        case ValueKind::Double:
            WriteFloating(json, value.Get<double>(), value);
            break;
        case ValueKind::Bytes:
            WriteBytes(json, value.Get<ByteArray>(), form);
            break;
        case ValueKind::String:
            json.Text(IsoText(value.Get<std::u16string>(), form));
            break;
        case ValueKind::Date:
            json.Text(IsoText(DefaultText(value), ValueForm::Moment));
            break;
        case ValueKind::Guid: {
            const std::u16string braced = DefaultText(value);
            json.Text(std::u16string_view(braced).substr(1, braced.size() - 2));
            break;
        }
        case ValueKind::LongLong:
        case ValueKind::Currency:
        case ValueKind::Decimal:
            json.Text(DefaultText(value));
            break;
    }
}

}  // namespace quillon
