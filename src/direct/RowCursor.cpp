#include "direct/RowCursor.h"

#include "direct/VariantCell.h"

namespace QuillonLib {

bool RowCursor::Next() {
    if (block_ == nullptr || ++row_ == block_->RowCount()) {
        columns_.clear();
        block_ = stream_.Next();
        row_ = 0;
        if (block_ == nullptr) return false;
        for (std::size_t i = 0; i < stream_.Fields().size(); ++i)
            columns_.push_back(block_->Column(i));
    }
    ++read_;
    return true;
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
