// Columns as the driver would leave them, for tests of what reads them.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "data/RowPacker.h"

namespace QuillonLib::test {

inline StagedColumn Staged(ValueKind kind, StagedForm form, std::size_t width, std::size_t rows) {
    StagedColumn column;
    column.name = u"c";
    column.kind = kind;
    column.form = form;
    column.width = width;
    column.capacity = width;
    column.cells = std::make_unique<std::uint8_t[]>(width * rows);
    column.indicators.assign(rows, StagedColumn::NullIndicator);
    return column;
}

inline void SetCell(StagedColumn& column, std::size_t row, const void* data, std::size_t size) {
    std::memcpy(column.cells.get() + row * column.width, data, std::min(size, column.width));
    column.indicators[row] = static_cast<std::ptrdiff_t>(size);
}

template <class T>
StagedColumn StagedNative(ValueKind kind, const std::vector<std::optional<T>>& cells,
                          StagedForm form = StagedForm::Native) {
    StagedColumn column = Staged(kind, form, sizeof(T), cells.size());
    for (std::size_t row = 0; row < cells.size(); ++row) {
        if (cells[row]) SetCell(column, row, &*cells[row], sizeof(T));
    }
    return column;
}

template <class Character>
StagedColumn StagedText(
    ValueKind kind, StagedForm form,
    const std::vector<std::optional<std::basic_string_view<Character>>>& cells) {
    StagedColumn column = Staged(kind, form, 64, cells.size());
    for (std::size_t row = 0; row < cells.size(); ++row) {
        if (cells[row])
            SetCell(column, row, cells[row]->data(), cells[row]->size() * sizeof(Character));
    }
    return column;
}

inline RowBlock Pack(StagedColumn column) {
    const std::size_t rows = column.indicators.size();
    std::vector<StagedColumn> columns;
    columns.push_back(std::move(column));
    RowMemory memory;
    return RowBlock(columns, 0, rows, memory);
}

}  // namespace QuillonLib::test
