#include "direct/KeyText.h"

#include <span>

#include "data/CodePage.h"

namespace QuillonLib {

namespace {

std::u16string Hexadecimal(std::span<const std::uint8_t> bytes) {
    static constexpr std::u16string_view Digits = u"0123456789ABCDEF";
    std::u16string text = u"0x";
    for (const std::uint8_t byte : bytes) {
        text.push_back(Digits[byte / 16]);
        text.push_back(Digits[byte % 16]);
    }
    return text;
}

std::u16string CellText(const ColumnPair& pair, const RowAt& row, int side) {
    const PackedColumn& column = row.Column(pair.field);
    if (column.IsNull(row.row)) return u"NULL";
    if (pair.IsText()) {
        std::u16string scratch;
        std::u16string_view text;
        if (TextAt(column, row.row, pair.Page(side), scratch, text)) {
            return u"'" + std::u16string(text) + u"'";
        }
    }
    if (column.Kind() == ValueKind::Bytes) return Hexadecimal(column.Bytes(row.row));
    return DefaultText(column.Value(row.row));
}

}  // namespace

std::u16string KeyText(const TablePlan& plan, const RowAt& row, int side) {
    std::u16string text = u"(";
    for (const std::size_t column : plan.shape.key) {
        if (text.size() > 1) text += u", ";
        text += CellText(plan.pairs[column], row, side);
    }
    return text + u")";
}

}  // namespace QuillonLib
