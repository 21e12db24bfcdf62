#include "data/RowPacker.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

#include "core/Text.h"
#include "data/Diagnostic.h"

namespace QuillonLib {

namespace {

constexpr std::size_t Alignment = 8;

constexpr std::size_t Aligned(std::size_t size) {
    return (size + Alignment - 1) / Alignment * Alignment;
}

// Bytes of a packed cell, 0 for a kind of variable length.
std::size_t FixedSize(ValueKind kind) {
    switch (kind) {
        case ValueKind::Boolean:
        case ValueKind::Byte:
            return 1;
        case ValueKind::Integer:
            return 2;
        case ValueKind::Long:
        case ValueKind::Single:
            return 4;
        case ValueKind::LongLong:
        case ValueKind::Double:
        case ValueKind::Currency:
        case ValueKind::Date:
            return 8;
        case ValueKind::Guid:
            return 16;
        default:
            return 0;
    }
}

bool IsNull(std::ptrdiff_t indicator) {
    return indicator == StagedColumn::NullIndicator;
}

[[noreturn]] void ThrowCut(const StagedColumn& column) {
    throw Error(ErrorNumber::DataAccess,
                u"The driver did not deliver the whole value of column " + column.name + u".");
}

[[noreturn]] void ThrowUnreadable(const StagedColumn& column) {
    throw Error(ErrorNumber::DataAccess, u"The driver delivered a value of column " + column.name +
                                             u" that is not a number.");
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

// Steps through the cells of a staged column, null cells included.
class CellReader {
  public:
    explicit CellReader(const StagedColumn& column)
        : column_(column), next_(column.IsLong() ? column.pool.data() : column.cells.get()) {}

    const std::uint8_t* Next(std::size_t row) {
        const std::uint8_t* cell = next_;
        const std::ptrdiff_t length = column_.indicators[row];
        next_ += column_.IsLong() ? static_cast<std::size_t>(std::max<std::ptrdiff_t>(length, 0))
                                  : column_.width;
        return cell;
    }

  private:
    const StagedColumn& column_;
    const std::uint8_t* next_;
};

template <class T>
T Load(const std::uint8_t* from) {
    T value;
    std::memcpy(&value, from, sizeof(T));
    return value;
}

// ---- fixed kinds -----------------------------------------------------------------------------

Guid PackGuid(const std::uint8_t* cell) {
    const auto staged = Load<StagedGuid>(cell);
    Guid guid;
    std::uint8_t* out = guid.bytes.data();
    for (int shift = 24; shift >= 0; shift -= 8)
        *out++ = static_cast<std::uint8_t>(staged.data1 >> shift);
    for (int shift = 8; shift >= 0; shift -= 8)
        *out++ = static_cast<std::uint8_t>(staged.data2 >> shift);
    for (int shift = 8; shift >= 0; shift -= 8)
        *out++ = static_cast<std::uint8_t>(staged.data3 >> shift);
    std::copy(std::begin(staged.data4), std::end(staged.data4), out);
    return guid;
}

// Rows that follow each other often fall on the same day.
class TimestampPacker {
  public:
    std::int64_t operator()(const std::uint8_t* cell) {
        const auto t = Load<StagedTimestamp>(cell);
        if (t.year != year_ || t.month != month_ || t.day != day_) {
            year_ = t.year;
            month_ = t.month;
            day_ = t.day;
            midnight_ =
                (DayFromCalendar({t.year, t.month, t.day}) - DaysFromEpochTo1900) * TicksPerDay;
        }
        const std::int64_t seconds = t.hour * 3600 + t.minute * 60 + t.second;
        // The driver cuts the tick to a decimal fraction of a second; the nearest tick is the one
        // that the server holds.
        const std::int64_t ticks = (t.nanoseconds * std::int64_t{3} + 5000000) / 10000000;
        return midnight_ + seconds * 300 + ticks;
    }

  private:
    static constexpr std::int64_t DaysFromEpochTo1900 = 2;
    int year_ = 0, month_ = 0, day_ = 0;
    std::int64_t midnight_ = 0;
};

// "-123.4500" in units of 1/10,000. The magnitude is gathered below zero, where the lowest amount
// fits too.
std::int64_t ParseMoney(const StagedColumn& column, std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    std::int64_t scaled = 0;
    int decimals = -1;
    for (const char c : text) {
        if (c == '.' && decimals < 0) {
            decimals = 0;
            continue;
        }
        if (c < '0' || c > '9') ThrowUnreadable(column);
        if (decimals == 4) {
            if (c != '0') ThrowUnreadable(column);
            continue;
        }
        scaled = scaled * 10 - (c - '0');
        if (decimals >= 0) ++decimals;
    }
    for (int i = std::max(decimals, 0); i < 4; ++i)
        scaled *= 10;
    return negative ? scaled : -scaled;
}

template <class T, class Pack>
void PackFixed(const StagedColumn& column, std::size_t rows, std::uint8_t* out, Pack pack) {
    CellReader reader(column);
    for (std::size_t row = 0; row < rows; ++row, out += sizeof(T)) {
        const std::uint8_t* cell = reader.Next(row);
        const T value = IsNull(column.indicators[row]) ? T{} : pack(cell, row);
        std::memcpy(out, &value, sizeof(T));
    }
}

void PackFixedColumn(const StagedColumn& column, std::size_t rows, std::size_t size, bool anyNull,
                     std::uint8_t* out) {
    switch (column.form) {
        case StagedForm::Guid:
            PackFixed<Guid>(column, rows, out,
                            [](const auto* cell, std::size_t) { return PackGuid(cell); });
            return;
        case StagedForm::Timestamp: {
            TimestampPacker pack;
            PackFixed<std::int64_t>(column, rows, out,
                                    [&](const auto* cell, std::size_t) { return pack(cell); });
            return;
        }
        case StagedForm::Money:
            PackFixed<std::int64_t>(column, rows, out, [&](const auto* cell, std::size_t row) {
                return ParseMoney(column, {reinterpret_cast<const char*>(cell),
                                           static_cast<std::size_t>(column.indicators[row])});
            });
            return;
        default:
            break;
    }
    std::memcpy(out, column.cells.get(), rows * size);
    if (!anyNull) return;
    for (std::size_t row = 0; row < rows; ++row) {
        if (IsNull(column.indicators[row])) std::memset(out + row * size, 0, size);
    }
}

// ---- variable kinds --------------------------------------------------------------------------

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
        PackFixedColumn(staged, rows_, layout.fixedSize, layout.anyNull, cells);
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
