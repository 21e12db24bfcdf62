#include "direct/CellValue.h"

#include <array>

#include "core/Text.h"
#include "data/CodePage.h"
#include "direct/SideFailure.h"

namespace QuillonLib {

std::int64_t IntegerAt(const PackedColumn& column, std::size_t row) {
    switch (column.Kind()) {
        case ValueKind::Boolean:
            return column.Boolean(row) ? 1 : 0;
        case ValueKind::Byte:
            return column.Byte(row);
        case ValueKind::Integer:
            return column.Integer(row);
        case ValueKind::Long:
            return column.Long(row);
        case ValueKind::Currency:
            return column.Currency(row).scaled;
        default:
            return column.LongLong(row);
    }
}

double FloatAt(const PackedColumn& column, std::size_t row) {
    return column.Kind() == ValueKind::Single ? column.Single(row) : column.Double(row);
}

Moment MomentAt(const PackedColumn& column, std::size_t row) {
    return column.Kind() == ValueKind::Date ? ToMoment(column.Date(row))
                                            : ParseMoment(column.Text(row));
}

std::string_view DigitsAt(const PackedColumn& column, std::size_t row, std::string& scratch) {
    if (column.Kind() == ValueKind::Decimal) return column.Digits(row);
    std::array<char, MaxNumberText> text{};
    const char* const end = column.Kind() == ValueKind::Currency
                                ? WriteText(text.data(), column.Currency(row))
                                : WriteText(text.data(), IntegerAt(column, row));
    scratch.assign(static_cast<const char*>(text.data()), end);
    return scratch;
}

bool TextAt(const PackedColumn& column, std::size_t row, const CodePage* page,
            std::u16string& scratch, std::u16string_view& text) {
    if (column.Kind() == ValueKind::String) {
        text = column.Text(row);
        return true;
    }
    const auto bytes = column.Bytes(row);
    scratch.resize(page == nullptr ? bytes.size() : page->CountUnits(bytes));
    const char16_t* const end =
        page == nullptr ? DecodeAscii(bytes, scratch.data()) : page->Decode(bytes, scratch.data());
    text = scratch;
    return end != nullptr;
}

void ThrowNoText(const ColumnPair& pair, int side) {
    const CodePage* const page = pair.Page(side);
    const std::u16string where = u"Column " + pair.name + u" of side " + ToText(side);
    if (page == nullptr) {
        throw SideFailure(
            NotCarried(where + u" holds characters beyond ASCII, and its code page is not known."),
            side);
    }
    throw SideFailure(
        NotCarried(where + u" holds bytes to which code page " + ToText(page->Number()) +
                   u" gives no character of their own, and the other side is in another code "
                   u"page: they cannot be compared."),
        side);
}

}  // namespace QuillonLib
