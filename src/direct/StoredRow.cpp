#include "direct/StoredRow.h"

#include <cstring>
#include <type_traits>

namespace QuillonLib {

namespace {

template <class T>
void AppendPlain(std::string& out, const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <class Sequence>
void AppendSequence(std::string& out, const Sequence& value) {
    AppendPlain(out, static_cast<std::uint64_t>(value.size()));
    out.append(reinterpret_cast<const char*>(value.data()),
               value.size() * sizeof(typename Sequence::value_type));
}

void AppendCell(std::string& out, const Value& value) {
    out.push_back(static_cast<char>(value.Kind()));
    switch (value.Kind()) {
        case ValueKind::Empty:
        case ValueKind::Null:
            return;
        case ValueKind::Boolean:
            return AppendPlain(out, value.Get<bool>());
        case ValueKind::Byte:
            return AppendPlain(out, value.Get<std::uint8_t>());
        case ValueKind::Integer:
            return AppendPlain(out, value.Get<std::int16_t>());
        case ValueKind::Long:
            return AppendPlain(out, value.Get<std::int32_t>());
        case ValueKind::LongLong:
            return AppendPlain(out, value.Get<std::int64_t>());
        case ValueKind::Single:
            return AppendPlain(out, value.Get<float>());
        case ValueKind::Double:
            return AppendPlain(out, value.Get<double>());
        case ValueKind::Currency:
            return AppendPlain(out, value.Get<Currency>());
        case ValueKind::Decimal:
            return AppendSequence(out, value.Get<Decimal>().Text());
        case ValueKind::Date:
            return AppendPlain(out, value.Get<Date>());
        case ValueKind::String:
            return AppendSequence(out, value.Get<std::u16string>());
        case ValueKind::Bytes:
            return AppendSequence(out, value.Get<ByteArray>());
        case ValueKind::Guid:
            return AppendPlain(out, value.Get<Guid>());
    }
}

class StoredReader {
  public:
    explicit StoredReader(std::string_view bytes) : bytes_(bytes) {}

    bool AtEnd() const { return bytes_.empty(); }

    Value Cell() {
        switch (static_cast<ValueKind>(Plain<std::uint8_t>())) {
            case ValueKind::Empty:
                return Value();
            case ValueKind::Null:
                return Value::Null();
            case ValueKind::Boolean:
                return Value(Plain<bool>());
            case ValueKind::Byte:
                return Value(Plain<std::uint8_t>());
            case ValueKind::Integer:
                return Value(Plain<std::int16_t>());
            case ValueKind::Long:
                return Value(Plain<std::int32_t>());
            case ValueKind::LongLong:
                return Value(Plain<std::int64_t>());
            case ValueKind::Single:
                return Value(Plain<float>());
            case ValueKind::Double:
                return Value(Plain<double>());
            case ValueKind::Currency:
                return Value(Plain<Currency>());
            case ValueKind::Decimal:
                return Value(Decimal(Sequence<std::string>()));
            case ValueKind::Date:
                return Value(Plain<Date>());
            case ValueKind::String:
                return Value(Sequence<std::u16string>());
            case ValueKind::Bytes:
                return Value(Sequence<ByteArray>());
            case ValueKind::Guid:
                return Value(Plain<Guid>());
        }
        return Value();
    }

  private:
    template <class T>
    T Plain() {
        T value;
        std::memcpy(&value, bytes_.data(), sizeof value);
        bytes_.remove_prefix(sizeof value);
        return value;
    }
    template <class T>
    T Sequence() {
        T value;
        value.resize(Plain<std::uint64_t>());
        const std::size_t size = value.size() * sizeof(typename T::value_type);
        if (size > 0) std::memcpy(value.data(), bytes_.data(), size);
        bytes_.remove_prefix(size);
        return value;
    }

    std::string_view bytes_;
};

}  // namespace

void AppendStored(std::string& out, const DirectRow& row) {
    for (const Value& value : row)
        AppendCell(out, value);
}

DirectRow ReadStored(std::string_view bytes) {
    DirectRow row;
    for (StoredReader reader(bytes); !reader.AtEnd();)
        row.push_back(reader.Cell());
    return row;
}

}  // namespace QuillonLib
