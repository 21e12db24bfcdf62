// From the driver's buffers to packed rows. Knows the layout of the buffers and nothing of ODBC.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "data/CodePage.h"
#include "data/PackedRows.h"
#include "data/RowMemory.h"

namespace QuillonLib {

// How the driver delivers the cells of a column.
enum class StagedForm : std::uint8_t {
    Native,     // as the packed column keeps them
    Guid,       // StagedGuid
    Timestamp,  // StagedTimestamp
    Money,      // ASCII digits, packed as Currency
    Digits,     // ASCII digits, packed as Decimal
    Temporal,   // ASCII date or time, packed as String
    Utf16,      // packed as String
    CodePage,   // bytes of a code page, packed as String
    Binary,     // packed as Bytes
};

// The layouts that ODBC prescribes.
struct StagedGuid {
    std::uint32_t data1;
    std::uint16_t data2;
    std::uint16_t data3;
    std::uint8_t data4[8];
};

struct StagedTimestamp {
    std::int16_t year;
    std::uint16_t month, day, hour, minute, second;
    std::uint32_t nanoseconds;
};

// The rows of one column that wait to be packed. Cells of a bounded column lie `width` bytes
// apart; those of a long column lie one after another in `pool`.
struct StagedColumn {
    static constexpr std::ptrdiff_t NullIndicator = -1;

    std::u16string name;  // for error texts
    ValueKind kind = ValueKind::Null;
    StagedForm form = StagedForm::Native;
    std::size_t width = 0;     // of a cell's buffer; 0: a long column
    std::size_t capacity = 0;  // longest cell that fits, in bytes: the width less the terminator
    const CodePage* page = nullptr;  // of CodePage; null: not known, only ASCII can be read
    // Of Utf16: the server has put U+FFFD in place of what is no UTF-8.
    bool fromUtf8 = false;
    std::unique_ptr<std::uint8_t[]> cells;
    // One for each row: the cell's length in bytes, or NullIndicator.
    std::vector<std::ptrdiff_t> indicators;
    std::vector<std::uint8_t> pool;

    bool IsLong() const noexcept { return width == 0; }
};

class RowBlock {
  public:
    // Packs the first `rows` rows into memory that it takes. Throws Error DataAccess, which names
    // the column,
    //  - where an indicator tells that the driver cut a cell: no status says so, and a cut value
    //    must not pass for the whole;
    //  - where the bytes of a cell are not carried by their code page.
    RowBlock(const std::vector<StagedColumn>& columns, std::size_t firstRow, std::size_t rows,
             RowMemory& memory);

    std::size_t FirstRow() const noexcept { return firstRow_; }
    std::size_t RowCount() const noexcept { return rows_; }
    // None when the cells were released.
    const std::vector<PackedColumn>& Columns() const noexcept { return columns_; }
    // Throws Error ObjectClosed when the cells were released.
    PackedColumn Column(std::size_t index) const;
    std::size_t MemoryUsed() const noexcept;
    // Gives the cells back; only the number of rows is left.
    void ReleaseCells() noexcept;

  private:
    struct Layout;

    void Place(const StagedColumn& staged, const Layout& layout, PackedColumn& column);

    std::size_t firstRow_;
    std::size_t rows_;
    std::size_t size_ = 0;
    std::shared_ptr<std::uint8_t[]> memory_;
    std::vector<PackedColumn> columns_;
};

}  // namespace QuillonLib
