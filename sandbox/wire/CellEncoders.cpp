#include "CellEncoders.h"

#include <algorithm>
#include <array>

#include "CodePage.h"
#include "TextForms.h"

namespace sandbox::wire {

std::uint8_t DecimalSize(int precision) {
    if (precision <= 9) return 5;
    if (precision <= 19) return 9;
    if (precision <= 28) return 13;
    return 17;
}

std::uint8_t TimeSize(int scale) {
    if (scale <= 2) return 3;
    return scale <= 4 ? 4 : 5;
}

std::int64_t TimeUnit(int scale) {
    std::int64_t unit = 1;
    for (; scale < 7; ++scale)
        unit *= 10;
    return unit;
}

std::uint8_t* PutInteger(std::uint8_t* p, std::int64_t value, std::uint8_t size) {
    return PutBytes(p, &value, size);
}

std::uint8_t* PutMoney(std::uint8_t* p, std::int64_t value) {
    p = Put(p, static_cast<std::int32_t>(value >> 32));
    return Put(p, static_cast<std::uint32_t>(value));
}

std::uint8_t* PutDecimal(std::uint8_t* p, Int128 value, std::uint8_t size) {
    const bool negative = value < 0;
    p = Put(p, static_cast<std::uint8_t>(negative ? 0 : 1));
    const Int128 magnitude = negative ? -value : value;
    return PutBytes(p, &magnitude, static_cast<std::size_t>(size - 1));
}

std::uint8_t* PutDateTime(std::uint8_t* p, std::int64_t value) {
    constexpr std::int64_t kPerDay = 25'920'000;  // of 1/300 s
    std::int64_t days = value / kPerDay;
    std::int64_t ofDay = value % kPerDay;
    if (ofDay < 0) {
        ofDay += kPerDay;
        --days;
    }
    p = Put(p, static_cast<std::int32_t>(days));
    return Put(p, static_cast<std::uint32_t>(ofDay));
}

std::uint8_t* PutSmallDateTime(std::uint8_t* p, std::int64_t value) {
    constexpr std::int64_t kPerDay = 1440;
    p = Put(p, static_cast<std::uint16_t>(value / kPerDay));
    return Put(p, static_cast<std::uint16_t>(value % kPerDay));
}

std::uint8_t* PutTimeOfDay(std::uint8_t* p, std::int64_t ticks, std::int64_t unit,
                           std::uint8_t size) {
    return PutInteger(p, ticks / unit, size);
}

std::uint8_t* PutDays(std::uint8_t* p, std::int64_t days) {
    return PutInteger(p, days, 3);
}

namespace {

constexpr std::size_t kGuidSize = 16;

std::uint8_t* PutNull(std::uint8_t* p) {
    return Put(p, std::uint8_t{0});
}

template <typename T>
std::uint8_t* PutFixed(const Cell& cell, std::uint8_t* p, T value) {
    if (cell.null) return PutNull(p);
    p = Put(p, static_cast<std::uint8_t>(sizeof value));
    return Put(p, value);
}

std::uint8_t* PutNullShort(std::uint8_t* p) {
    return Put(p, kMaxTypeLength);
}

// An ASCII text as the UTF-16 of a short national value.
std::uint8_t* PutWide(std::uint8_t* p, std::string_view text) {
    p = Put(p, static_cast<std::uint16_t>(text.size() * 2));
    for (const char c : text)
        p = Put(p, static_cast<char16_t>(c));
    return p;
}

// Hands what was stored up to `p` to the stream, and makes room for `size` bytes more besides the
// short values that may follow in the row.
std::uint8_t* MakeRoom(std::uint8_t* p, std::size_t size, RowContext& row) {
    row.out.Commit(p);
    return row.out.Reserve(size + row.shortBound);
}

// Long values go through the stream in pieces of this size.
constexpr std::size_t kPiece = std::size_t{64} * 1024;

std::uint8_t* PutLongBytes(std::uint8_t* p, const Cell& cell, RowContext& row) {
    for (std::size_t at = 0; at < cell.size; at += kPiece) {
        const std::size_t size = std::min(kPiece, cell.size - at);
        p = PutBytes(MakeRoom(p, size, row), cell.data + at, size);
    }
    return p;
}

std::uint8_t* PutChunked(const Cell& cell, std::uint8_t* p, RowContext& row) {
    constexpr std::uint64_t kNull = ~std::uint64_t{0};
    constexpr std::size_t kOverhead = 8 + 4 + 4;
    p = MakeRoom(p, kOverhead, row);
    if (cell.null) return Put(p, kNull);
    p = Put(p, static_cast<std::uint64_t>(cell.size));
    if (cell.size != 0) {
        p = Put(p, static_cast<std::uint32_t>(cell.size));
        p = PutLongBytes(p, cell, row);
        p = MakeRoom(p, 4, row);
    }
    return Put(p, std::uint32_t{0});
}

std::uint8_t* PutPointed(const Cell& cell, std::uint8_t* p, RowContext& row) {
    // Nobody here reads or writes through a text pointer: any will do that is not NULL.
    constexpr std::array<std::uint8_t, 16> kPointer = {'s', 'a', 'n', 'd', 'b', 'o', 'x'};
    constexpr std::size_t kOverhead = 1 + kPointer.size() + 8 + 4;
    p = MakeRoom(p, kOverhead, row);
    if (cell.null) return PutNull(p);
    p = Put(p, static_cast<std::uint8_t>(kPointer.size()));
    p = PutBytes(p, kPointer.data(), kPointer.size());
    p = Put(p, std::uint64_t{0});  // timestamp
    p = Put(p, static_cast<std::uint32_t>(cell.size));
    return PutLongBytes(p, cell, row);
}

// A cell of the same value in other bytes; NULL stays NULL.
template <typename Text>
Cell WithBytes(const Cell& cell, const Text& text) {
    Cell other = cell;
    other.data = reinterpret_cast<const std::uint8_t*>(text.data());
    other.size = text.size() * sizeof(text[0]);
    return other;
}

std::string CodePageBytes(const WireColumn& column, const Cell& cell) {
    return cell.null ? std::string() : BytesOf(*column.page, cell);
}

std::u16string NationalText(const WireColumn& column, const Cell& cell) {
    return cell.null ? std::u16string() : column.page->ToNational(UnitsOf(cell));
}

std::size_t Cut(std::size_t size, const WireColumn& column, RowContext& row) {
    if (size <= column.limit) return size;
    row.overlong = &column;
    return column.limit;
}

}  // namespace

namespace encode {

std::uint8_t* Integer1(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    return PutFixed(cell, p, static_cast<std::uint8_t>(cell.i));
}

std::uint8_t* Integer2(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    return PutFixed(cell, p, static_cast<std::int16_t>(cell.i));
}

std::uint8_t* Integer4(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    return PutFixed(cell, p, static_cast<std::int32_t>(cell.i));
}

std::uint8_t* Integer8(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    return PutFixed(cell, p, cell.i);
}

std::uint8_t* Money(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    return PutMoney(Put(p, std::uint8_t{8}), cell.i);
}

std::uint8_t* Decimal(const WireColumn& column, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    return PutDecimal(Put(p, column.size), cell.big, column.size);
}

std::uint8_t* Float(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    return PutFixed(cell, p, cell.d);
}

std::uint8_t* Real(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    return PutFixed(cell, p, static_cast<float>(cell.d));
}

std::uint8_t* DateTime(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    return PutDateTime(Put(p, std::uint8_t{8}), cell.i);
}

std::uint8_t* SmallDateTime(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    return PutSmallDateTime(Put(p, std::uint8_t{4}), cell.i);
}

std::uint8_t* Date(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    return PutDays(Put(p, std::uint8_t{3}), cell.i);
}

std::uint8_t* Time(const WireColumn& column, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    return PutTimeOfDay(Put(p, column.timeSize), cell.i, column.timeUnit, column.timeSize);
}

std::uint8_t* DateTime2(const WireColumn& column, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    p = Put(p, static_cast<std::uint8_t>(column.timeSize + 3));
    p = PutTimeOfDay(p, cell.i % kTicksPerDay, column.timeUnit, column.timeSize);
    return PutDays(p, cell.i / kTicksPerDay);
}

std::uint8_t* DateTimeOffset(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                             RowContext&) {
    if (cell.null) return PutNull(p);
    p = Put(p, static_cast<std::uint8_t>(column.timeSize + 5));
    p = PutTimeOfDay(p, cell.i % kTicksPerDay, column.timeUnit, column.timeSize);
    p = PutDays(p, cell.i / kTicksPerDay);
    return Put(p, cell.offset);
}

std::uint8_t* UniqueIdentifier(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    if (cell.null) return PutNull(p);
    return PutBytes(Put(p, static_cast<std::uint8_t>(kGuidSize)), cell.data, kGuidSize);
}

std::uint8_t* TextOfDate(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext&) {
    return cell.null ? PutNullShort(p) : PutWide(p, DateText(cell).View());
}

std::uint8_t* TextOfTime(const WireColumn& column, const Cell& cell, std::uint8_t* p, RowContext&) {
    return cell.null ? PutNullShort(p) : PutWide(p, TimeText(cell, column.info.type.scale).View());
}

std::uint8_t* TextOfDateTime2(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                              RowContext&) {
    if (cell.null) return PutNullShort(p);
    return PutWide(p, DateTime2Text(cell, column.info.type.scale).View());
}

std::uint8_t* TextOfDateTimeOffset(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                                   RowContext&) {
    if (cell.null) return PutNullShort(p);
    return PutWide(p, DateTimeOffsetText(cell, column.info.type.scale).View());
}

std::uint8_t* ShortBytes(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                         RowContext& row) {
    if (cell.null) return PutNullShort(p);
    const std::size_t size = Cut(cell.size, column, row);
    return PutBytes(Put(p, static_cast<std::uint16_t>(size)), cell.data, size);
}

std::uint8_t* ShortCharacters(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                              RowContext& row) {
    if (cell.null) return PutNullShort(p);
    if (!column.page->IsSingleByte()) {
        const std::string bytes = CodePageBytes(column, cell);
        return ShortBytes(column, WithBytes(cell, bytes), p, row);
    }
    const std::size_t units = Cut(cell.size / 2, column, row);
    return PutCodePage(Put(p, static_cast<std::uint16_t>(units)), *column.page, cell.data, units);
}

std::uint8_t* ShortUtf8(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                        RowContext& row) {
    const std::u16string text = NationalText(column, cell);
    return ShortBytes(column, WithBytes(cell, text), p, row);
}

std::uint8_t* ChunkedBytes(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext& row) {
    return PutChunked(cell, p, row);
}

std::uint8_t* ChunkedCharacters(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                                RowContext& row) {
    const std::string bytes = CodePageBytes(column, cell);
    return PutChunked(WithBytes(cell, bytes), p, row);
}

std::uint8_t* ChunkedUtf8(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                          RowContext& row) {
    const std::u16string text = NationalText(column, cell);
    return PutChunked(WithBytes(cell, text), p, row);
}

std::uint8_t* PointedBytes(const WireColumn&, const Cell& cell, std::uint8_t* p, RowContext& row) {
    return PutPointed(cell, p, row);
}

std::uint8_t* PointedCharacters(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                                RowContext& row) {
    const std::string bytes = CodePageBytes(column, cell);
    return PutPointed(WithBytes(cell, bytes), p, row);
}

std::uint8_t* PointedUtf8(const WireColumn& column, const Cell& cell, std::uint8_t* p,
                          RowContext& row) {
    const std::u16string text = NationalText(column, cell);
    return PutPointed(WithBytes(cell, text), p, row);
}

}  // namespace encode

}  // namespace sandbox::wire
