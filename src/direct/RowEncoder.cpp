#include "direct/RowEncoder.h"

#include <array>
#include <bit>
#include <cstdio>
#include <cstring>

#include "core/Text.h"
#include "direct/ExactNumber.h"
#include "direct/VariantCell.h"

namespace QuillonLib {

namespace {

void AppendBigEndian(std::string& out, std::uint64_t number, int bytes) {
    std::array<char, sizeof number> text{};
    for (int i = bytes - 1; i >= 0; --i, number >>= 8)
        text[static_cast<std::size_t>(i)] = static_cast<char>(number);
    out.append(text.data(), static_cast<std::size_t>(bytes));
}

// In the order of signed numbers.
void AppendSigned(std::string& out, std::int64_t number) {
    AppendBigEndian(out, static_cast<std::uint64_t>(number) ^ (std::uint64_t{1} << 63), 8);
}

void AppendSized(std::string& out, std::string_view bytes) {
    AppendBigEndian(out, bytes.size(), 4);
    out.append(bytes);
}

std::string_view BytesOf(std::u16string_view text) {
    static_assert(std::endian::native == std::endian::little, "the server's text is UTF-16LE");
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

std::string_view AsChars(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Byte by byte, the shorter first. The server takes bytes for equal where only zeros follow; their
// number (DATALENGTH) decides then, which comes to the same.
void AppendOrderedBytes(std::string& out, std::string_view bytes) {
    for (const char c : bytes) {
        out.push_back(c);
        if (c == '\0') out.push_back('\xFF');
    }
    out.append(2, '\0');
}

// Zero is one number in a key, whatever its sign.
void AppendOrderedFloat(std::string& out, double number) {
    const auto bits = std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number);
    const std::uint64_t sign = std::uint64_t{1} << 63;
    AppendBigEndian(out, (bits & sign) != 0 ? ~bits : bits | sign, 8);
}

// The server compares the last six bytes first, then the groups before from right to left; of
// those, the first three lie in its memory with their low byte in front.
void AppendOrderedGuid(std::string& out, const Guid& guid) {
    static constexpr int Order[] = {10, 11, 12, 13, 14, 15, 8, 9, 7, 6, 5, 4, 3, 2, 1, 0};
    for (const int i : Order)
        out.push_back(static_cast<char>(guid.bytes[static_cast<std::size_t>(i)]));
}

std::u16string_view WithoutTrailingBlanks(std::u16string_view text) {
    const std::size_t last = text.find_last_not_of(u' ');
    return text.substr(0, last == std::u16string_view::npos ? 0 : last + 1);
}

// The base type is part of the value. Its collation is not: the code page says what the bytes mean.
void AppendVariant(std::string& out, const VariantCell& cell) {
    AppendSized(out, BytesOf(cell.BaseType()));
    AppendSigned(out, cell.Precision());
    AppendSigned(out, cell.Scale());
    AppendSigned(out, cell.CodePage());
    AppendSized(out, AsChars(cell.Bytes()));
}

}  // namespace

bool CellEncoder::IsLoose(const ColumnPair& pair) const {
    if (pair.IsText()) return equality_.ignoreCase || equality_.ignoreTrailingBlanks;
    return pair.type1.cells == CellClass::Float && equality_.floatDigits != 0;
}

bool CellEncoder::Equal(const ColumnPair& pair, const RowAt& row1, const RowAt& row2) {
    const std::size_t field = pair.field;
    if (pair.sameBitsAreEqual) {
        if (row1.Column(field).IsSame(row1.row, row2.Column(field), row2.row)) return true;
        if (pair.bitsDecide && !IsLoose(pair)) return false;
    }
    const bool null1 = row1.IsNull(field);
    if (null1 || row2.IsNull(field)) return null1 && row2.IsNull(field);
    first_.clear();
    second_.clear();
    Append(first_, pair, row1, 1);
    Append(second_, pair, row2, 2);
    return first_ == second_;
}

void CellEncoder::Append(std::string& out, const ColumnPair& pair, const RowAt& row, int side) {
    const PackedColumn& column = row.Column(pair.field);
    if (column.IsNull(row.row)) {
        out.push_back('\0');
        return;
    }
    out.push_back('\1');
    switch (pair.type1.cells) {
        case CellClass::Exact: {
            std::string value;
            AppendValue(value, Normalize(DigitsAt(column, row.row, digits_)));
            return AppendSized(out, value);
        }
        case CellClass::Float:
            return AppendFloat(out, FloatAt(column, row.row));
        case CellClass::Moment:
        case CellClass::Time:
            return AppendSigned(out, MomentAt(column, row.row).count);
        case CellClass::Offset: {
            const Moment moment = MomentAt(column, row.row);
            AppendSigned(out, moment.count);
            return AppendSigned(out, moment.minutes);
        }
        case CellClass::Guid: {
            const Guid guid = column.Guid(row.row);
            return AppendSized(out, AsChars(guid.bytes));
        }
        case CellClass::Bytes:
            return AppendSized(out, AsChars(column.Bytes(row.row)));
        case CellClass::PageText:
        case CellClass::WideText:
            return AppendText(out, pair, row, side);
        case CellClass::Xml:
            return AppendSized(out, BytesOf(column.Text(row.row)));
        case CellClass::Variant:
            return AppendVariant(out, VariantCell(row, pair.field));
    }
}

void CellEncoder::AppendFloat(std::string& out, double number) const {
    if (equality_.floatDigits == 0) {
        return AppendBigEndian(out, std::bit_cast<std::uint64_t>(number), 8);
    }
    char text[40];
    const int length = std::snprintf(text, sizeof text, "%.*e", equality_.floatDigits - 1,
                                     number == 0 ? 0 : number);
    AppendSized(out, {text, static_cast<std::size_t>(length)});
}

void CellEncoder::AppendText(std::string& out, const ColumnPair& pair, const RowAt& row, int side) {
    const PackedColumn& column = row.Column(pair.field);
    if (pair.samePage && !IsLoose(pair)) return AppendSized(out, AsChars(column.Bytes(row.row)));
    std::u16string_view text;
    if (!TextAt(column, row.row, pair.Page(side), text_, text)) {
        if (!pair.samePage) ThrowNoText(pair, side);
        out.push_back('b');  // no text: bytes, which are compared as they are
        return AppendSized(out, AsChars(column.Bytes(row.row)));
    }
    out.push_back('t');
    if (equality_.ignoreTrailingBlanks) text = WithoutTrailingBlanks(text);
    if (!equality_.ignoreCase) return AppendSized(out, BytesOf(text));
    const std::u16string folded = FoldCase(text);
    AppendSized(out, BytesOf(folded));
}

void KeyEncoder::Encode(std::string& out, const RowAt& row, int side) {
    out.clear();
    for (const std::size_t column : key_) {
        const ColumnPair& pair = pairs_[column];
        if (row.IsNull(pair.field)) {
            out.push_back('\0');
            continue;
        }
        out.push_back('\1');
        Append(out, pair, row, side);
    }
}

void KeyEncoder::Append(std::string& out, const ColumnPair& pair, const RowAt& row, int side) {
    const PackedColumn& column = row.Column(pair.field);
    switch (pair.type1.cells) {
        case CellClass::Exact:
            if ((pair.type1.integer && pair.type2.integer) ||
                (pair.type1.money && pair.type2.money)) {
                return AppendSigned(out, IntegerAt(column, row.row));
            }
            return AppendOrdered(out, Normalize(DigitsAt(column, row.row, digits_)));
        case CellClass::Float:
            return AppendOrderedFloat(out, FloatAt(column, row.row));
        case CellClass::Moment:
        case CellClass::Time:
        case CellClass::Offset:  // by the instant alone, as the server has it
            return AppendSigned(out, MomentAt(column, row.row).count);
        case CellClass::Guid:
            return AppendOrderedGuid(out, column.Guid(row.row));
        case CellClass::Bytes:
            return AppendOrderedBytes(out, AsChars(column.Bytes(row.row)));
        case CellClass::PageText:
        case CellClass::WideText:
            return AppendText(out, pair, row, side);
        case CellClass::Xml:
        case CellClass::Variant:
            break;  // no keys
    }
}

void KeyEncoder::AppendText(std::string& out, const ColumnPair& pair, const RowAt& row, int side) {
    const PackedColumn& column = row.Column(pair.field);
    if (pair.samePage) return AppendOrderedBytes(out, AsChars(column.Bytes(row.row)));
    std::u16string_view text;
    if (!TextAt(column, row.row, pair.Page(side), text_, text)) ThrowNoText(pair, side);
    AppendOrderedBytes(out, BytesOf(text));
}

}  // namespace QuillonLib
