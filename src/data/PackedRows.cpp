#include "data/PackedRows.h"

#include <string>

namespace QuillonLib {

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
