#include "data/PackedRows.h"

#include <algorithm>
#include <string>

namespace QuillonLib {

bool PackedColumn::IsSame(const PackedColumn& other, std::size_t row) const noexcept {
    if (kind_ != other.kind_ || IsNull(row) != other.IsNull(row)) return false;
    if (IsNull(row)) return true;
    // the widths one by one, so that each comparison is an instruction or two
    switch (width_) {
        case 1:
            return cells_[row] == other.cells_[row];
        case 2:
            return Load<std::uint16_t>(row) == other.Load<std::uint16_t>(row);
        case 4:
            return Load<std::uint32_t>(row) == other.Load<std::uint32_t>(row);
        case 8:
            return Load<std::uint64_t>(row) == other.Load<std::uint64_t>(row);
        case 16:
            return std::memcmp(cells_ + row * 16, other.cells_ + row * 16, 16) == 0;
        default:
            break;
    }
    if (kind_ == ValueKind::String) return Text(row) == other.Text(row);
    const std::span<const std::uint8_t> mine = Bytes(row), others = other.Bytes(row);
    return std::equal(mine.begin(), mine.end(), others.begin(), others.end());
}

Value PackedColumn::Value(std::size_t row) const {
    using QuillonLib::Value;
    if (IsNull(row)) return Value::Null();
    switch (kind_) {
        case ValueKind::Empty:
            return Value();
        case ValueKind::Null:
            return Value::Null();
        case ValueKind::Boolean:
            return Value(Boolean(row));
        case ValueKind::Byte:
            return Value(Byte(row));
        case ValueKind::Integer:
            return Value(Integer(row));
        case ValueKind::Long:
            return Value(Long(row));
        case ValueKind::LongLong:
            return Value(LongLong(row));
        case ValueKind::Single:
            return Value(Single(row));
        case ValueKind::Double:
            return Value(Double(row));
        case ValueKind::Currency:
            return Value(Currency(row));
        case ValueKind::Decimal:
            return Value(Decimal(Digits(row)));
        case ValueKind::Date:
            return Value(ToDate(Date(row)));
        case ValueKind::String:
            return Value(Text(row));
        case ValueKind::Bytes: {
            const auto bytes = Bytes(row);
            return Value(ByteArray(bytes.begin(), bytes.end()));
        }
        case ValueKind::Guid:
            return Value(Guid(row));
    }
    return Value();
}

}  // namespace QuillonLib
