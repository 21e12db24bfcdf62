// Rows as a Recordset keeps them: blocks of rows, each column of a block packed.
//
// A block is one piece of memory: for each column a null bitmap and either an array of its native
// type, or the ends of its cells and the cells themselves one after another. A million rows so
// cost little more than their payload. Whoever walks many cells does it here, block by block and
// without a Value for each; everyone else reads fields (see Recordset.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "core/Export.h"
#include "data/DateTime.h"
#include "data/Value.h"

namespace QuillonLib {

// One column of one block. A view: valid as long as the Recordset stays open. Rows count from the
// start of the block; no accessor checks its row, its kind, or that the cell is not null.
class QUILLON_API PackedColumn {
  public:
    ValueKind Kind() const noexcept { return kind_; }
    bool IsNull(std::size_t row) const noexcept {
        return nulls_ != nullptr && ((nulls_[row / 8] >> (row % 8)) & 1U) != 0;
    }

    bool Boolean(std::size_t row) const noexcept { return cells_[row] != 0; }
    std::uint8_t Byte(std::size_t row) const noexcept { return cells_[row]; }
    std::int16_t Integer(std::size_t row) const noexcept { return Load<std::int16_t>(row); }
    std::int32_t Long(std::size_t row) const noexcept { return Load<std::int32_t>(row); }
    std::int64_t LongLong(std::size_t row) const noexcept { return Load<std::int64_t>(row); }
    float Single(std::size_t row) const noexcept { return Load<float>(row); }
    double Double(std::size_t row) const noexcept { return Load<double>(row); }
    QuillonLib::Currency Currency(std::size_t row) const noexcept {
        return {Load<std::int64_t>(row)};
    }
    DateTicks Date(std::size_t row) const noexcept { return {Load<std::int64_t>(row)}; }
    QuillonLib::Guid Guid(std::size_t row) const noexcept { return Load<QuillonLib::Guid>(row); }

    // The digits of a Decimal, as ASCII.
    std::string_view Digits(std::size_t row) const noexcept {
        return {reinterpret_cast<const char*>(cells_) + Begin(row), ends_[row] - Begin(row)};
    }
    std::u16string_view Text(std::size_t row) const noexcept {
        return {reinterpret_cast<const char16_t*>(cells_) + Begin(row), ends_[row] - Begin(row)};
    }
    std::span<const std::uint8_t> Bytes(std::size_t row) const noexcept {
        return {cells_ + Begin(row), ends_[row] - Begin(row)};
    }

    // Characters or bytes of the cells before `row`, of a kind of variable length.
    std::size_t LengthBefore(std::size_t row) const noexcept { return Begin(row); }

    // Whether the cell holds the same bits of the same kind as the other column's cell in that row.
    bool IsSame(const PackedColumn& other, std::size_t row) const noexcept {
        return IsSame(row, other, row);
    }
    // The same of a cell in another row.
    bool IsSame(std::size_t row, const PackedColumn& other, std::size_t otherRow) const noexcept {
        if (kind_ != other.kind_ || IsNull(row) != other.IsNull(otherRow)) return false;
        if (IsNull(row)) return true;
        // the widths one by one, so that each comparison is an instruction or two
        switch (width_) {
            case 1:
                return cells_[row] == other.cells_[otherRow];
            case 2:
                return Load<std::uint16_t>(row) == other.Load<std::uint16_t>(otherRow);
            case 4:
                return Load<std::uint32_t>(row) == other.Load<std::uint32_t>(otherRow);
            case 8:
                return Load<std::uint64_t>(row) == other.Load<std::uint64_t>(otherRow);
            case 16:
                return std::memcmp(cells_ + row * 16, other.cells_ + otherRow * 16, 16) == 0;
            default:
                break;
        }
        if (kind_ == ValueKind::String) return Text(row) == other.Text(otherRow);
        return Digits(row) == other.Digits(otherRow);
    }

    // The same of `count` cells from each of the two rows on, all at once.
    bool IsSameRun(std::size_t row, const PackedColumn& other, std::size_t otherRow,
                   std::size_t count) const noexcept;

    // The cell as a Value, Null included.
    QuillonLib::Value Value(std::size_t row) const;

  private:
    friend class RowBlock;

    template <class T>
    T Load(std::size_t row) const noexcept {
        T value;
        std::memcpy(&value, cells_ + row * sizeof(T), sizeof(T));
        return value;
    }
    std::size_t Begin(std::size_t row) const noexcept { return row == 0 ? 0 : ends_[row - 1]; }

    ValueKind kind_ = ValueKind::Null;
    std::uint8_t width_ = 0;               // bytes of a cell, 0: variable length
    const std::uint8_t* nulls_ = nullptr;  // absent when no cell is null
    const std::uint32_t* ends_ = nullptr;  // of variable-length cells, in characters or bytes
    const std::uint8_t* cells_ = nullptr;
};

}  // namespace QuillonLib
