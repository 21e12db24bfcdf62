#include "data/RowPacker.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

#include "core/Text.h"
#include "data/Diagnostic.h"
#include "data/FixedCells.h"
#include "data/StagedCells.h"

namespace QuillonLib {

namespace {

constexpr std::size_t CellAlignment = 8;

constexpr std::size_t Aligned(std::size_t size) {
    return (size + CellAlignment - 1) / CellAlignment * CellAlignment;
}

[[noreturn]] void ThrowCut(const StagedColumn& column) {
    throw Error(ErrorNumber::DataAccess,
                u"The driver did not deliver the whole value of column " + column.name + u".");
}

[[noreturn]] void ThrowNotCarried(const StagedColumn& column) {
    if (column.page == nullptr) {
        throw NotCarried(u"Column " + column.name +
                         u" holds characters beyond ASCII, and its code page is not known.");
    }
    throw NotCarried(u"Column " + column.name + u" holds bytes to which code page " +
                     ToText(column.page->Number()) +
                     u" gives no character of their own; they cannot be carried over.");
}

[[noreturn]] void ThrowReplaced(const StagedColumn& column) {
    throw NotCarried(u"Column " + column.name +
                     u" holds U+FFFD, or bytes that are no UTF-8, for which the server sends the "
                     u"same; they cannot be carried over.");
}

// Digits of the year that the driver leaves out: "1-01-01" for "0001-01-01".
std::size_t MissingYearDigits(std::string_view text) {
    const std::size_t dash = text.find('-');
    return dash == std::string_view::npos || dash >= 4 ? 0 : 4 - dash;
}

std::string_view AsText(const std::uint8_t* cell, std::ptrdiff_t length) {
    return {reinterpret_cast<const char*>(cell), static_cast<std::size_t>(length)};
}

// Characters (of a String) or bytes of the packed cell.
std::size_t PackedLength(const StagedColumn& column, const std::uint8_t* cell,
                         std::ptrdiff_t length) {
    switch (column.form) {
        case StagedForm::Utf16:
            return static_cast<std::size_t>(length) / sizeof(char16_t);
        case StagedForm::CodePage: {
            const std::span<const std::uint8_t> bytes(cell, static_cast<std::size_t>(length));
            return column.page == nullptr ? bytes.size() : column.page->CountUnits(bytes);
        }
        case StagedForm::Temporal: {
            const std::string_view text = AsText(cell, length);
            return text.size() + MissingYearDigits(text);
        }
        default:
            return static_cast<std::size_t>(length);
    }
}

std::uint8_t* PackCodePage(const StagedColumn& column, std::span<const std::uint8_t> bytes,
                           std::uint8_t* out) {
    auto* text = reinterpret_cast<char16_t*>(out);
    char16_t* end =
        column.page == nullptr ? DecodeAscii(bytes, text) : column.page->Decode(bytes, text);
    if (end == nullptr) ThrowNotCarried(column);
    return reinterpret_cast<std::uint8_t*>(end);
}

// The driver's buffer may begin at any address.
bool HoldsReplacement(const std::uint8_t* cell, std::size_t bytes) {
    for (std::size_t i = 0; i + 1 < bytes; i += 2) {
        if (cell[i] == 0xFD && cell[i + 1] == 0xFF) return true;
    }
    return false;
}

std::uint8_t* PackVariableCell(const StagedColumn& column, const std::uint8_t* cell,
                               std::ptrdiff_t length, std::uint8_t* out) {
    if (column.form == StagedForm::Temporal) {
        const std::string_view text = AsText(cell, length);
        std::u16string wide(MissingYearDigits(text), u'0');
        wide.append(text.begin(), text.end());
        return std::copy_n(reinterpret_cast<const std::uint8_t*>(wide.data()),
                           wide.size() * sizeof(char16_t), out);
    }
    if (column.form == StagedForm::CodePage) {
        return PackCodePage(column, {cell, static_cast<std::size_t>(length)}, out);
    }
    if (column.fromUtf8 && HoldsReplacement(cell, static_cast<std::size_t>(length))) {
        ThrowReplaced(column);
    }
    const auto size = column.form == StagedForm::Utf16 ? length & ~std::ptrdiff_t{1} : length;
    std::memcpy(out, cell, static_cast<std::size_t>(size));
    return out + size;
}

}  // namespace

// Where the parts of one column lie in the block.
struct RowBlock::Layout {
    bool anyNull = false;
    std::size_t fixedSize = 0;
    std::size_t nulls = 0, ends = 0, cells = 0;  // offsets
};

RowBlock::RowBlock(const std::vector<StagedColumn>& columns, std::size_t firstRow, std::size_t rows,
                   RowMemory& memory)
    : firstRow_(firstRow), rows_(rows), columns_(columns.size()) {
    std::vector<Layout> layouts(columns.size());
    const auto take = [this](std::size_t bytes) {
        return std::exchange(size_, size_ + Aligned(bytes));
    };

    for (std::size_t i = 0; i < columns.size(); ++i) {
        const StagedColumn& column = columns[i];
        Layout& layout = layouts[i];
        layout.fixedSize = FixedSize(column.kind);
        CellReader reader(column);
        std::size_t characters = 0;
        for (std::size_t row = 0; row < rows; ++row) {
            const std::ptrdiff_t length = column.indicators[row];
            const std::uint8_t* cell = reader.Next(row);
            if (IsNull(length)) {
                layout.anyNull = true;
                continue;
            }
            if (length < 0 ||
                (!column.IsLong() && static_cast<std::size_t>(length) > column.capacity)) {
                ThrowCut(column);
            }
            if (layout.fixedSize == 0) characters += PackedLength(column, cell, length);
        }
        if (layout.anyNull) layout.nulls = take((rows + 7) / 8);
        if (layout.fixedSize != 0) {
            layout.cells = take(rows * layout.fixedSize);
        } else {
            layout.ends = take(rows * sizeof(std::uint32_t));
            layout.cells =
                take(characters * (column.kind == ValueKind::String ? sizeof(char16_t) : 1));
        }
    }

    memory_ = memory.Take(size_);
    for (std::size_t i = 0; i < columns.size(); ++i)
        Place(columns[i], layouts[i], columns_[i]);
}

void RowBlock::Place(const StagedColumn& staged, const Layout& layout, PackedColumn& column) {
    column.kind_ = staged.kind;
    column.width_ = static_cast<std::uint8_t>(layout.fixedSize);
    std::uint8_t* cells = memory_.get() + layout.cells;
    column.cells_ = cells;
    if (layout.anyNull) {
        std::uint8_t* nulls = memory_.get() + layout.nulls;
        column.nulls_ = nulls;
        std::memset(nulls, 0, (rows_ + 7) / 8);
        for (std::size_t row = 0; row < rows_; ++row) {
            nulls[row / 8] |=
                static_cast<std::uint8_t>(IsNull(staged.indicators[row]) << (row % 8));
        }
    }
    if (layout.fixedSize != 0) {
        PackFixedColumn(staged, rows_, layout.anyNull, cells);
        return;
    }
    auto* ends = reinterpret_cast<std::uint32_t*>(memory_.get() + layout.ends);
    column.ends_ = ends;
    const std::size_t unit = staged.kind == ValueKind::String ? sizeof(char16_t) : 1;
    CellReader reader(staged);
    std::uint8_t* out = cells;
    for (std::size_t row = 0; row < rows_; ++row) {
        const std::uint8_t* cell = reader.Next(row);
        if (!IsNull(staged.indicators[row])) {
            out = PackVariableCell(staged, cell, staged.indicators[row], out);
        }
        ends[row] = static_cast<std::uint32_t>(static_cast<std::size_t>(out - cells) / unit);
    }
}

PackedColumn RowBlock::Column(std::size_t index) const {
    if (columns_.empty()) {
        throw Error(ErrorNumber::ObjectClosed,
                    u"Operation is not allowed when the object is closed.");
    }
    return columns_[index];
}

std::size_t RowBlock::MemoryUsed() const noexcept {
    return sizeof(RowBlock) + size_ + columns_.capacity() * sizeof(PackedColumn);
}

void RowBlock::ReleaseCells() noexcept {
    memory_.reset();
    size_ = 0;
    columns_.clear();
}

}  // namespace QuillonLib
