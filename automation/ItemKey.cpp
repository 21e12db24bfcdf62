#include "automation/ItemKey.h"

#include "automation/Failure.h"
#include "automation/Text.h"

namespace QuillonLib::Automation {

ItemKey ToItemKey(const VARIANT& value) {
    const Variant plain = PlainValue(value);
    if (plain.Type() == VT_BSTR) return TextOf(plain.Get().bstrVal);
    return std::int64_t{plain.As(VT_I4).Get().lVal};
}

std::optional<std::u16string> ToNewKey(const VARIANT& value) {
    if (IsMissing(value)) return std::nullopt;
    const Variant plain = PlainValue(value);
    if (plain.Type() != VT_BSTR) ThrowTypeMismatch();
    return TextOf(plain.Get().bstrVal);
}

}  // namespace QuillonLib::Automation
