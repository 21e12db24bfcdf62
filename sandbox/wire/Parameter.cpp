#include "Parameter.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "CellEncoders.h"
#include "CodePage.h"
#include "TextForms.h"

namespace sandbox::wire {

namespace {

// Types that only requests use.
enum class OldType : std::uint8_t {
    Null = 0x1F,
    VarBinary = 0x25,
    VarChar = 0x27,
    Binary = 0x2D,
    Char = 0x2F,
};

enum class Family {
    Integer,
    Decimal,
    Money,
    Float,
    DateTime,
    Guid,
    Dates,
    National,
    Characters,
    Bytes
};

std::u16string Quoted(std::u16string_view text, std::u16string_view prefix) {
    std::u16string quoted(prefix);
    quoted += u'\'';
    for (const char16_t unit : text) {
        quoted += unit;
        if (unit == u'\'') quoted += unit;
    }
    return quoted += u'\'';
}

class ValueReader {
  public:
    ValueReader(ByteReader& reader, RpcParameter& parameter)
        : reader_(reader), parameter_(parameter) {
        parameter_.literal = u"NULL";
    }

    void Read() {
        const std::uint8_t type = reader_.Get8();
        switch (static_cast<OldType>(type)) {
            case OldType::Null:
                return;
            case OldType::VarBinary:
            case OldType::Binary:
                return Byte(Family::Bytes, 1);
            case OldType::VarChar:
            case OldType::Char:
                return Byte(Family::Characters, 1);
        }
        switch (static_cast<WireType>(type)) {
            case WireType::TinyInt:
            case WireType::Bit:
                return Value(Family::Integer, reader_.Take(1));
            case WireType::SmallInt:
                return Value(Family::Integer, reader_.Take(2));
            case WireType::Int:
                return Value(Family::Integer, reader_.Take(4));
            case WireType::BigInt:
                return Value(Family::Integer, reader_.Take(8));
            case WireType::Real:
                return Value(Family::Float, reader_.Take(4));
            case WireType::Float:
                return Value(Family::Float, reader_.Take(8));
            case WireType::SmallMoney:
                return Value(Family::Money, reader_.Take(4));
            case WireType::Money:
                return Value(Family::Money, reader_.Take(8));
            case WireType::SmallDateTime:
                return Value(Family::DateTime, reader_.Take(4));
            case WireType::DateTime:
                return Value(Family::DateTime, reader_.Take(8));
            case WireType::IntN:
            case WireType::BitN:
                return Byte(Family::Integer, 1);
            case WireType::FloatN:
                return Byte(Family::Float, 1);
            case WireType::MoneyN:
                return Byte(Family::Money, 1);
            case WireType::DateTimeN:
                return Byte(Family::DateTime, 1);
            case WireType::UniqueIdentifier:
                return Byte(Family::Guid, 1);
            case WireType::DecimalN:
            case WireType::NumericN:
                return Decimal();
            case WireType::Date:
                type_.id = TypeId::Date;
                return Byte(Family::Dates, 0);
            case WireType::Time:
                type_.id = TypeId::Time;
                return ScaledTime();
            case WireType::DateTime2:
                type_.id = TypeId::DateTime2;
                return ScaledTime();
            case WireType::DateTimeOffset:
                type_.id = TypeId::DateTimeOffset;
                return ScaledTime();
            case WireType::VarBinary:
            case WireType::Binary:
                return Short(Family::Bytes, 0);
            case WireType::VarChar:
            case WireType::Char:
                return Short(Family::Characters, kCollationSize);
            case WireType::NVarChar:
            case WireType::NChar:
                return Short(Family::National, kCollationSize);
            case WireType::Image:
                return Long(Family::Bytes, 0);
            case WireType::Text:
                return Long(Family::Characters, kCollationSize);
            case WireType::NText:
                return Long(Family::National, kCollationSize);
            case WireType::Xml:
                return Xml();
            case WireType::Variant:
                break;
        }
        throw ProtocolError("a parameter of a type that is not known");
    }

  private:
    static constexpr std::size_t kCollationSize = 5;

    // A type description of `typeBytes`, then a value behind a length of one byte; 0 is NULL.
    void Byte(Family family, std::size_t typeBytes) {
        reader_.Take(typeBytes);
        const std::size_t size = reader_.Get8();
        const bool characters = family == Family::Characters || family == Family::Bytes;
        if (characters && size == 0xFF) return;
        if (size != 0 || characters) Value(family, reader_.Take(size));
    }

    void Decimal() {
        reader_.Take(1);  // size
        type_.id = TypeId::Decimal;
        type_.precision = reader_.Get8();
        type_.scale = reader_.Get8();
        if (type_.precision > 38 || type_.scale > type_.precision) {
            throw ProtocolError("a decimal parameter of impossible precision");
        }
        Byte(Family::Decimal, 0);
    }

    void ScaledTime() {
        type_.scale = reader_.Get8();
        if (type_.scale > 7) throw ProtocolError("a time parameter of impossible scale");
        Byte(Family::Dates, 0);
    }

    void Short(Family family, std::size_t collation) {
        const std::uint16_t limit = reader_.Get16();
        reader_.Take(collation);
        if (limit == kMaxTypeLength) return Chunked(family);
        const std::uint16_t size = reader_.Get16();
        if (size != kMaxTypeLength) Value(family, reader_.Take(size));
    }

    void Long(Family family, std::size_t collation) {
        reader_.Take(4 + collation);
        const std::uint32_t size = reader_.Get32();
        constexpr std::uint32_t kNull = 0xFFFFFFFF;
        if (size != kNull) Value(family, reader_.Take(size));
    }

    void Xml() {
        if (reader_.Get8() != 0) {  // with a schema: database, owner, collection
            reader_.Text(reader_.Get8());
            reader_.Text(reader_.Get8());
            reader_.Text(reader_.Get16());
        }
        Chunked(Family::National);
    }

    void Chunked(Family family) {
        constexpr std::uint64_t kNull = ~std::uint64_t{0};
        if (reader_.Get64() == kNull) return;
        std::vector<std::uint8_t> whole;
        while (const std::uint32_t size = reader_.Get32()) {
            const Bytes chunk = reader_.Take(size);
            whole.insert(whole.end(), chunk.begin(), chunk.end());
        }
        Value(family, whole);
    }

    void Value(Family family, Bytes value) {
        switch (family) {
            case Family::Integer:
                return SetInteger(value);
            case Family::Decimal:
                return SetDecimal(value);
            case Family::Money:
                return SetMoney(value);
            case Family::Float:
                return SetFloat(value);
            case Family::DateTime:
                return SetDateTime(value);
            case Family::Dates:
                return SetDates(value);
            case Family::Guid:
                if (value.size() != 16) throw ProtocolError("a uniqueidentifier of wrong size");
                cell_.data = value.data();
                type_.id = TypeId::UniqueIdentifier;
                parameter_.literal = Quoted(Text(), u"");
                return;
            case Family::Bytes:
                cell_.data = value.data();
                cell_.size = value.size();
                type_.id = TypeId::VarBinary;
                parameter_.literal = Text();
                return;
            case Family::National:
                return SetText(ByteReader::ToText(value));
            case Family::Characters:
                return SetText(FromCodePage(value));
        }
    }

    std::u16string Text() {
        cell_.null = false;
        return CellText(type_, cell_);
    }

    void SetText(std::u16string text) {
        parameter_.literal = Quoted(text, u"N");
        parameter_.text = std::move(text);
    }

    template <typename T>
    static T As(Bytes value) {
        T number;
        std::memcpy(&number, value.data(), sizeof number);
        return number;
    }

    void SetInteger(Bytes value) {
        switch (value.size()) {
            case 1:
                cell_.i = value[0];
                break;
            case 2:
                cell_.i = As<std::int16_t>(value);
                break;
            case 4:
                cell_.i = As<std::int32_t>(value);
                break;
            case 8:
                cell_.i = As<std::int64_t>(value);
                break;
            default:
                throw ProtocolError("an integer parameter of impossible size");
        }
        type_.id = TypeId::BigInt;
        parameter_.integer = static_cast<std::int32_t>(cell_.i);
        parameter_.literal = Text();
    }

    void SetDecimal(Bytes value) {
        if (value.size() < 2 || value.size() > 17) {
            throw ProtocolError("a decimal parameter of impossible size");
        }
        Int128 magnitude = 0;
        std::memcpy(&magnitude, value.data() + 1, value.size() - 1);
        if (magnitude < 0) throw ProtocolError("a decimal parameter out of range");
        cell_.big = value[0] == 0 ? -magnitude : magnitude;
        parameter_.literal = Text();
    }

    void SetMoney(Bytes value) {
        if (value.size() == 4) {
            cell_.i = As<std::int32_t>(value);
        } else if (value.size() == 8) {
            const auto high = As<std::uint32_t>(value);
            cell_.i = static_cast<std::int64_t>(std::uint64_t{high} << 32 |
                                                As<std::uint32_t>(value.subspan(4)));
        } else {
            throw ProtocolError("a money parameter of impossible size");
        }
        type_.id = TypeId::Money;
        parameter_.literal = Text();
    }

    void SetFloat(Bytes value) {
        if (value.size() == 4) {
            cell_.d = As<float>(value);
            type_.id = TypeId::Real;
        } else if (value.size() == 8) {
            cell_.d = As<double>(value);
            type_.id = TypeId::Float;
        } else {
            throw ProtocolError("a float parameter of impossible size");
        }
        if (!std::isfinite(cell_.d)) throw ProtocolError("a float parameter that is no number");
        // Without an exponent the literal would be a decimal.
        std::u16string text = Text();
        if (text.find(u'e') == std::u16string::npos) text += u"e0";
        parameter_.literal = std::move(text);
    }

    void SetDateTime(Bytes value) {
        if (value.size() == 4) {
            cell_.i =
                As<std::uint16_t>(value) * std::int64_t{1440} + As<std::uint16_t>(value.subspan(2));
            type_.id = TypeId::SmallDateTime;
        } else if (value.size() == 8) {
            constexpr std::int32_t kFirstDay = -53'690;   // 1753-01-01
            constexpr std::int32_t kLastDay = 2'958'463;  // 9999-12-31
            constexpr std::int64_t kPerDay = 25'920'000;  // of 1/300 s
            const auto days = As<std::int32_t>(value);
            const auto ofDay = As<std::uint32_t>(value.subspan(4));
            if (days < kFirstDay || days > kLastDay || ofDay >= kPerDay) {
                throw ProtocolError("a datetime parameter out of range");
            }
            cell_.i = days * kPerDay + ofDay;
            type_.id = TypeId::DateTime;
        } else {
            throw ProtocolError("a datetime parameter of impossible size");
        }
        // Without dashes the server reads it the same way in every language.
        std::u16string text = Text();
        std::erase(text, u'-');
        parameter_.literal = Quoted(text, u"");
    }

    void SetDates(Bytes value) {
        ByteReader part(value);
        const auto number = [&part](std::size_t size) {
            std::int64_t read = 0;
            std::memcpy(&read, part.Take(size).data(), size);
            return read;
        };
        std::int64_t ticks = 0;
        std::int64_t days = 0;
        if (type_.id != TypeId::Date) {
            ticks = number(TimeSize(type_.scale)) * TimeUnit(type_.scale);
        }
        if (type_.id != TypeId::Time) days = number(3);
        if (type_.id == TypeId::DateTimeOffset)
            cell_.offset = static_cast<std::int16_t>(part.Get16());
        constexpr std::int64_t kLastDay = 3'652'058;  // 9999-12-31
        constexpr int kLongestOffset = 14 * 60;
        if (!part.AtEnd() || ticks >= kTicksPerDay || days > kLastDay ||
            std::abs(cell_.offset) > kLongestOffset) {
            throw ProtocolError("a date or time parameter out of range");
        }
        cell_.i = type_.id == TypeId::Date ? days : days * kTicksPerDay + ticks;
        if (cell_.i + cell_.offset * kTicksPerMinute < 0) {
            throw ProtocolError("a datetimeoffset parameter out of range");
        }
        parameter_.literal = Quoted(Text(), u"");
    }

    ByteReader& reader_;
    RpcParameter& parameter_;
    SqlType type_;
    Cell cell_;
};

}  // namespace

void ReadValue(ByteReader& reader, RpcParameter& parameter) {
    ValueReader(reader, parameter).Read();
}

}  // namespace sandbox::wire
