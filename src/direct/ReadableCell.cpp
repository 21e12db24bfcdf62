#include "direct/ReadableCell.h"

#include <optional>
#include <string>
#include <utility>

#include "data/CodePage.h"
#include "direct/TypeClass.h"
#include "direct/VariantCell.h"
#include "direct/VariantLiteral.h"

namespace QuillonLib {

namespace {

std::optional<std::u16string> PageText(const ColumnFacts& column, const ByteArray& bytes) {
    const CodePage* const page = CodePage::Find(column.CodePage);
    std::u16string text(bytes.size(), u'\0');
    const char16_t* const end =
        page == nullptr ? DecodeAscii(bytes, text.data()) : page->Decode(bytes, text.data());
    if (end == nullptr) return std::nullopt;
    text.resize(static_cast<std::size_t>(end - text.data()));
    return text;
}

}  // namespace

Value ReadableCell(const ColumnFacts& column, const Value& cell) {
    const auto type = ClassifyType(column);
    if (!type || cell.Kind() != ValueKind::Bytes) return cell;
    std::optional<std::u16string> text;
    if (type->cells == CellClass::PageText) text = PageText(column, cell.Get<ByteArray>());
    if (type->cells == CellClass::Variant) {
        const VariantCell variant(cell);
        text = VariantBaseLiteral(variant, variant.CodePage());
    }
    return text ? Value(std::move(*text)) : cell;
}

}  // namespace QuillonLib
