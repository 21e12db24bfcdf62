#include "data/PackedRows.h"

#include <cstring>
#include <string>

namespace QuillonLib {

// Cells that are null take no room, or hold zeros.
bool PackedColumn::IsSameRun(std::size_t row, const PackedColumn& other, std::size_t otherRow,
                             std::size_t count) const noexcept {
    if (kind_ != other.kind_) return false;
    if (nulls_ != nullptr || other.nulls_ != nullptr) {
        for (std::size_t i = 0; i < count; ++i) {
            if (IsNull(row + i) != other.IsNull(otherRow + i)) return false;
        }
    }
    if (width_ != 0) {
        return std::memcmp(cells_ + row * width_, other.cells_ + otherRow * width_,
                           count * width_) == 0;
    }
    const std::size_t begin = Begin(row), otherBegin = other.Begin(otherRow);
    for (std::size_t i = 0; i < count; ++i) {
        if (ends_[row + i] - begin != other.ends_[otherRow + i] - otherBegin) return false;
    }
    const std::size_t unit = kind_ == ValueKind::String ? sizeof(char16_t) : 1;
    return std::memcmp(cells_ + begin * unit, other.cells_ + otherBegin * unit,
                       (Begin(row + count) - begin) * unit) == 0;
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
