#include "direct/RowCursor.h"

#include "direct/VariantCell.h"

namespace QuillonLib {

bool RowCursor::NextBlock() {
    block_ = reader_.Next();
    row_ = 0;
    rows_ = block_ == nullptr ? 0 : block_->RowCount();
    return block_ != nullptr;
}

DirectRow MakeRow(const std::vector<ColumnPair>& pairs, const RowAt& row) {
    DirectRow values;
    values.reserve(pairs.size());
    for (const ColumnPair& pair : pairs) {
        if (pair.type1.cells == CellClass::Variant && !row.IsNull(pair.field)) {
            values.push_back(VariantCell(row, pair.field).ToValue());
        } else {
            values.push_back(row.Column(pair.field).Value(row.row));
        }
    }
    return values;
}

}  // namespace QuillonLib
