// sql_variant: each value brings its own type along.
#include <algorithm>
#include <array>

#include "CellEncoders.h"
#include "CodePage.h"
#include "TextForms.h"
#include "Tokens.h"

namespace sandbox::wire {

namespace {

std::uint8_t* PutType(std::uint8_t* p, WireType type, std::uint8_t propertyBytes) {
    p = Put(p, static_cast<std::uint8_t>(type));
    return Put(p, propertyBytes);
}

std::uint8_t* PutCollation(std::uint8_t* p, CollationId collation) {
    const auto bytes = FactsOf(collation).WireBytes();
    return PutBytes(p, bytes.data(), bytes.size());
}

std::uint8_t* PutNational(std::uint8_t* p, WireType type, const std::uint8_t* data,
                          std::size_t size, std::size_t maximum,
                          CollationId collation = kServerCollation) {
    p = PutType(p, type, 7);
    p = PutCollation(p, collation);
    p = Put(p, static_cast<std::uint16_t>(maximum));
    return PutBytes(p, data, size);
}

std::uint8_t* PutAscii(std::uint8_t* p, std::string_view text) {
    std::array<char16_t, 48> wide{};
    std::ranges::copy(text, wide.begin());
    return PutNational(p, WireType::NVarChar, reinterpret_cast<const std::uint8_t*>(wide.data()),
                       text.size() * 2, text.size() * 2);
}

// The declared length of a value, which is at least that of the value itself.
std::size_t Declared(const SqlType& type, std::size_t unit, std::size_t size) {
    const std::size_t declared = type.length > 0 ? static_cast<std::size_t>(type.length) * unit : 0;
    return std::min(kLongestShortValue, std::max(declared, size));
}

std::uint8_t* PutBinary(std::uint8_t* p, WireType wire, const SqlType& type, const Cell& cell,
                        std::size_t size) {
    p = PutType(p, wire, 2);
    p = Put(p, static_cast<std::uint16_t>(Declared(type, 1, size)));
    return PutBytes(p, cell.data, size);
}

std::uint8_t* PutCharacters(std::uint8_t* p, WireType wire, const SqlType& type, Cell cell,
                            std::size_t size) {
    cell.size = size;
    const CodePage& page = PageOf(type);
    if (FactsOf(type.collation).utf8) {
        const std::u16string text = page.ToNational(UnitsOf(cell));
        const std::size_t national = std::min(kLongestShortValue, text.size() * 2);
        return PutNational(p, WireType::NVarChar,
                           reinterpret_cast<const std::uint8_t*>(text.data()), national,
                           Declared(type, 2, national), type.collation);
    }
    const std::string bytes = BytesOf(page, cell).substr(0, kLongestShortValue);
    p = PutType(p, wire, 7);
    p = PutCollation(p, type.collation);
    p = Put(p, static_cast<std::uint16_t>(Declared(type, 1, bytes.size())));
    return PutBytes(p, bytes.data(), bytes.size());
}

std::uint8_t* PutDates(std::uint8_t* p, const SqlType& type, const Cell& cell) {
    const int scale = type.scale;
    const auto scaleByte = static_cast<std::uint8_t>(scale);
    const std::int64_t unit = TimeUnit(scale);
    const std::uint8_t size = TimeSize(scale);
    if (type.id == TypeId::Date) return PutDays(PutType(p, WireType::Date, 0), cell.i);
    if (type.id == TypeId::Time) {
        p = Put(PutType(p, WireType::Time, 1), scaleByte);
        return PutTimeOfDay(p, cell.i, unit, size);
    }
    const bool hasOffset = type.id == TypeId::DateTimeOffset;
    p = Put(PutType(p, hasOffset ? WireType::DateTimeOffset : WireType::DateTime2, 1), scaleByte);
    p = PutTimeOfDay(p, cell.i % kTicksPerDay, unit, size);
    p = PutDays(p, cell.i / kTicksPerDay);
    return hasOffset ? Put(p, cell.offset) : p;
}

std::uint8_t* PutTextOfDates(std::uint8_t* p, const SqlType& type, const Cell& cell) {
    switch (type.id) {
        case TypeId::Date:
            return PutAscii(p, DateText(cell).View());
        case TypeId::Time:
            return PutAscii(p, TimeText(cell, type.scale).View());
        case TypeId::DateTime2:
            return PutAscii(p, DateTime2Text(cell, type.scale).View());
        default:
            return PutAscii(p, DateTimeOffsetText(cell, type.scale).View());
    }
}

// Type, properties and value of `cell`, which is not NULL. `size` is what it holds of bytes, cut
// to what a variant may hold.
std::uint8_t* PutVariant(std::uint8_t* p, const Cell& cell, std::size_t size, TdsVersion version) {
    const SqlType& type = cell.variantType;
    switch (type.id) {
        case TypeId::Bit:
            return PutInteger(PutType(p, WireType::Bit, 0), cell.i, 1);
        case TypeId::TinyInt:
            return PutInteger(PutType(p, WireType::TinyInt, 0), cell.i, 1);
        case TypeId::SmallInt:
            return PutInteger(PutType(p, WireType::SmallInt, 0), cell.i, 2);
        case TypeId::Int:
            return PutInteger(PutType(p, WireType::Int, 0), cell.i, 4);
        case TypeId::BigInt:
            return PutInteger(PutType(p, WireType::BigInt, 0), cell.i, 8);
        case TypeId::Decimal:
        case TypeId::Numeric: {
            p = PutType(p, type.id == TypeId::Decimal ? WireType::DecimalN : WireType::NumericN, 2);
            p = Put(Put(p, type.precision), type.scale);
            return PutDecimal(p, cell.big, DecimalSize(type.precision));
        }
        case TypeId::Money:
            return PutMoney(PutType(p, WireType::Money, 0), cell.i);
        case TypeId::SmallMoney:
            return PutInteger(PutType(p, WireType::SmallMoney, 0), cell.i, 4);
        case TypeId::Float:
            return Put(PutType(p, WireType::Float, 0), cell.d);
        case TypeId::Real:
            return Put(PutType(p, WireType::Real, 0), static_cast<float>(cell.d));
        case TypeId::DateTime:
            return PutDateTime(PutType(p, WireType::DateTime, 0), cell.i);
        case TypeId::SmallDateTime:
            return PutSmallDateTime(PutType(p, WireType::SmallDateTime, 0), cell.i);
        case TypeId::Date:
        case TypeId::Time:
        case TypeId::DateTime2:
        case TypeId::DateTimeOffset:
            return HasDateTypes(version) ? PutDates(p, type, cell) : PutTextOfDates(p, type, cell);
        case TypeId::Char:
            return PutCharacters(p, WireType::Char, type, cell, size);
        case TypeId::VarChar:
        case TypeId::Text:
            return PutCharacters(p, WireType::VarChar, type, cell, size);
        case TypeId::NChar:
            return PutNational(p, WireType::NChar, cell.data, size, Declared(type, 2, size),
                               type.collation);
        case TypeId::NVarChar:
        case TypeId::NText:
        case TypeId::Xml:
        case TypeId::SqlVariant:
            return PutNational(p, WireType::NVarChar, cell.data, size, Declared(type, 2, size),
                               type.collation);
        case TypeId::Binary:
        case TypeId::Timestamp:
            return PutBinary(p, WireType::Binary, type, cell, size);
        case TypeId::VarBinary:
        case TypeId::Image:
            return PutBinary(p, WireType::VarBinary, type, cell, size);
        case TypeId::UniqueIdentifier:
            return PutBytes(PutType(p, WireType::UniqueIdentifier, 0), cell.data, 16);
    }
    return p;
}

}  // namespace

std::uint8_t* encode::Variant(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                              RowContext& row) {
    if (cell.null) return Put(p, std::uint32_t{0});
    // A value of the code page takes half the bytes that it has here.
    const TypeId id = cell.variantType.id;
    const bool codePage = id == TypeId::Char || id == TypeId::VarChar || id == TypeId::Text;
    const std::size_t limit = codePage ? 2 * kLongestShortValue : kLongestShortValue;
    if (cell.size > limit) row.overlong = &column;
    std::uint8_t* value = p + sizeof(std::uint32_t);
    std::uint8_t* end = PutVariant(value, cell, std::min(cell.size, limit), row.version);
    Put(p, static_cast<std::uint32_t>(end - value));
    return end;
}

}  // namespace sandbox::wire
