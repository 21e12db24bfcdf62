#include "direct/KeyText.h"

#include "data/CodePage.h"
#include "direct/SqlText.h"

namespace QuillonLib {

namespace {

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
    if (column.Kind() == ValueKind::Bytes) return HexText(column.Bytes(row.row));
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
