#include "data/FixedCells.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "data/Diagnostic.h"
#include "data/StagedCells.h"

namespace QuillonLib {

namespace {

[[noreturn]] void ThrowUnreadable(const StagedColumn& column) {
    throw Error(ErrorNumber::DataAccess, u"The driver delivered a value of column " + column.name +
                                             u" that is not a number.");
}

template <class T>
T Load(const std::uint8_t* from) {
    T value;
    std::memcpy(&value, from, sizeof(T));
    return value;
}

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

}  // namespace

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

void PackFixedColumn(const StagedColumn& column, std::size_t rows, bool anyNull,
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
    const std::size_t size = FixedSize(column.kind);
    std::memcpy(out, column.cells.get(), rows * size);
    if (!anyNull) return;
    for (std::size_t row = 0; row < rows; ++row) {
        if (IsNull(column.indicators[row])) std::memset(out + row * size, 0, size);
    }
}

}  // namespace QuillonLib
