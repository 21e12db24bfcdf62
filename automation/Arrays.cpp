#include "automation/Arrays.h"

#include <cstring>
#include <new>
#include <vector>

#include "automation/Failure.h"
#include "automation/Text.h"

namespace QuillonLib::Automation {

namespace {

VARTYPE ElementType(SAFEARRAY* array) {
    VARTYPE type = VT_EMPTY;
    Check(SafeArrayGetVartype(array, &type));
    return type;
}

std::size_t CountOf(SAFEARRAY* array) {
    if (SafeArrayGetDim(array) != 1) ThrowTypeMismatch();
    return array->rgsabound[0].cElements;
}

Variant NewArray(VARTYPE type, std::size_t count, std::int32_t lowerBound) {
    SAFEARRAY* array = SafeArrayCreateVector(type, lowerBound, static_cast<ULONG>(count));
    if (array == nullptr) throw std::bad_alloc();
    Variant result;
    result.InPlace()->vt = static_cast<VARTYPE>(VT_ARRAY | type);
    result.InPlace()->parray = array;
    return result;
}

}  // namespace

ArrayData::ArrayData(SAFEARRAY* array) : array_(array) {
    Check(SafeArrayAccessData(array, &data_));
}

Variant ToVariant(const TextArray& texts) {
    Variant result = NewArray(VT_BSTR, texts.Items.size(), texts.LowerBound);
    const ArrayData data(result.Get().parray);
    for (std::size_t i = 0; i < texts.Items.size(); ++i) {
        data.As<BSTR>()[i] = NewBstr(texts.Items[i]);
    }
    return result;
}

Variant ToVariant(const EncryptedText& bytes) {
    Variant result = NewArray(VT_UI1, bytes.Items.size(), bytes.LowerBound);
    const ArrayData data(result.Get().parray);
    if (!bytes.Items.empty()) {
        std::memcpy(data.As<std::uint8_t>(), bytes.Items.data(), bytes.Items.size());
    }
    return result;
}

TextArray ToTextArray(SAFEARRAY* array) {
    TextArray texts;
    if (array == nullptr) return texts;
    for (const Variant& value : Elements(array))
        texts.Items.push_back(TextIn(value.Get()));
    texts.LowerBound = array->rgsabound[0].lLbound;
    return texts;
}

std::vector<Variant> Elements(SAFEARRAY* array) {
    if (array == nullptr) return {};
    const std::size_t count = CountOf(array);
    const VARTYPE type = ElementType(array);
    if (type != VT_BSTR && type != VT_VARIANT) ThrowTypeMismatch();
    std::vector<Variant> values;
    const ArrayData data(array);
    for (std::size_t i = 0; i < count; ++i) {
        values.push_back(type == VT_BSTR ? NewText(ViewOf(data.As<BSTR>()[i]))
                                         : Variant(data.As<VARIANT>()[i]));
    }
    return values;
}

EncryptedText ToBytes(SAFEARRAY* array) {
    EncryptedText bytes;
    if (array == nullptr) return bytes;
    const std::size_t count = CountOf(array);
    if (ElementType(array) != VT_UI1) ThrowTypeMismatch();
    bytes.LowerBound = array->rgsabound[0].lLbound;
    const ArrayData data(array);
    bytes.Items.assign(data.As<std::uint8_t>(), data.As<std::uint8_t>() + count);
    return bytes;
}

Variant ToVariantArray(SAFEARRAY* array) {
    auto values = Elements(array);
    const LONG lowerBound = array == nullptr ? 0 : array->rgsabound[0].lLbound;
    Variant result = NewArray(VT_VARIANT, values.size(), lowerBound);
    const ArrayData data(result.Get().parray);
    for (std::size_t i = 0; i < values.size(); ++i)
        data.As<VARIANT>()[i] = values[i].Detach();
    return result;
}

SAFEARRAY* ArrayIn(const VARIANT& value) {
    const VARIANT* held = &value;
    while (held->vt == (VT_BYREF | VT_VARIANT))
        held = held->pvarVal;
    if ((held->vt & VT_ARRAY) == 0) ThrowTypeMismatch();
    return (held->vt & VT_BYREF) != 0 ? *held->pparray : held->parray;
}

}  // namespace QuillonLib::Automation
