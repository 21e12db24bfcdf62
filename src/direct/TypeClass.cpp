#include "direct/TypeClass.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "core/Text.h"

namespace QuillonLib {

namespace {

enum class Suffix : std::uint8_t { None, Length, Scale, PrecisionAndScale };

struct NamedType {
    std::u16string_view name;
    TypeClass type;
    Suffix suffix = Suffix::None;
};

constexpr std::array<NamedType, 29> Types{{
    {u"bit", {CellClass::Exact, true, false, false}},
    {u"tinyint", {CellClass::Exact, true, false, false}},
    {u"smallint", {CellClass::Exact, true, false, false}},
    {u"int", {CellClass::Exact, true, false, false}},
    {u"bigint", {CellClass::Exact, true, false, false}},
    {u"decimal", {CellClass::Exact, false, false, false}, Suffix::PrecisionAndScale},
    {u"numeric", {CellClass::Exact, false, false, false}, Suffix::PrecisionAndScale},
    {u"money", {CellClass::Exact, false, true, false}},
    {u"smallmoney", {CellClass::Exact, false, true, false}},
    {u"real", {CellClass::Float, false, false, false}},
    {u"float", {CellClass::Float, false, false, false}},
    {u"date", {CellClass::Moment, false, false, false}},
    {u"smalldatetime", {CellClass::Moment, false, false, false}},
    {u"datetime", {CellClass::Moment, false, false, false}},
    {u"datetime2", {CellClass::Moment, false, false, false}, Suffix::Scale},
    {u"time", {CellClass::Time, false, false, false}, Suffix::Scale},
    {u"datetimeoffset", {CellClass::Offset, false, false, false}, Suffix::Scale},
    {u"uniqueidentifier", {CellClass::Guid, false, false, false}},
    {u"binary", {CellClass::Bytes, false, false, false}, Suffix::Length},
    {u"varbinary", {CellClass::Bytes, false, false, false}, Suffix::Length},
    {u"image", {CellClass::Bytes, false, false, true}},
    {u"char", {CellClass::PageText, false, false, false}, Suffix::Length},
    {u"varchar", {CellClass::PageText, false, false, false}, Suffix::Length},
    {u"text", {CellClass::PageText, false, false, true}},
    {u"nchar", {CellClass::WideText, false, false, false}, Suffix::Length},
    {u"nvarchar", {CellClass::WideText, false, false, false}, Suffix::Length},
    {u"ntext", {CellClass::WideText, false, false, true}},
    {u"xml", {CellClass::Xml, false, false, false}},
    {u"sql_variant", {CellClass::Variant, false, false, false}},
}};

const NamedType* Find(std::u16string_view name) {
    const auto* const found = std::find_if(
        Types.begin(), Types.end(), [&](const NamedType& type) { return type.name == name; });
    return found == Types.end() ? nullptr : found;
}

}  // namespace

std::optional<TypeClass> ClassifyType(const ColumnFacts& column) {
    const NamedType* type = Find(column.DataType);
    return type == nullptr ? std::nullopt : std::optional(type->type);
}

std::u16string DeclaredType(const ColumnFacts& column) {
    const NamedType* type = Find(column.DataType);
    std::u16string text = column.DataType;
    switch (type == nullptr ? Suffix::None : type->suffix) {
        case Suffix::None:
            break;
        case Suffix::Length:
            text += u"(" + (column.Length < 0 ? u"max" : ToText(column.Length)) + u")";
            break;
        case Suffix::Scale:
            text += u"(" + ToText(column.NumericScale) + u")";
            break;
        case Suffix::PrecisionAndScale:
            text +=
                u"(" + ToText(column.NumericPrecision) + u", " + ToText(column.NumericScale) + u")";
            break;
    }
    return text;
}

std::u16string ListedType(const ColumnFacts& column) {
    ColumnFacts listed = column;
    if (column.DataType == u"char") listed.DataType = u"varchar";
    if (column.DataType == u"nchar") listed.DataType = u"nvarchar";
    if (column.DataType == u"binary") listed.DataType = u"varbinary";
    if (column.DataType == u"text") return u"varchar(max)";
    if (column.DataType == u"ntext") return u"nvarchar(max)";
    if (column.DataType == u"image") return u"varbinary(max)";
    return DeclaredType(listed);
}

}  // namespace QuillonLib
