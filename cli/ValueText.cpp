#include "cli/ValueText.h"

#include "cli/JsonValue.h"

namespace quillon {

using namespace QuillonLib;

namespace {

std::u16string Hexadecimal(const ByteArray& bytes) {
    std::u16string text = u"0x";
    for (const std::uint8_t byte : bytes) {
        text += u"0123456789ABCDEF"[byte >> 4];
        text += u"0123456789ABCDEF"[byte & 15];
    }
    return text;
}

}  // namespace

std::u16string PlainText(const Value& value, std::u16string_view type) {
    switch (value.Kind()) {
        case ValueKind::Boolean:
            return value.Get<bool>() ? u"1" : u"0";
        case ValueKind::Bytes:
            return Hexadecimal(value.Get<ByteArray>());
        case ValueKind::String:
            return IsoText(value.Get<std::u16string>(), FormOf(type));
        case ValueKind::Date:
            return IsoText(DefaultText(value), ValueForm::Moment);
        case ValueKind::Guid: {
            const std::u16string braced = DefaultText(value);
            return braced.substr(1, braced.size() - 2);
        }
        default:
            return DefaultText(value);
    }
}

}  // namespace quillon
