#include "direct/MissedRow.h"

#include <algorithm>

#include "direct/StatementText.h"
#include "direct/TypeClass.h"

namespace QuillonLib {

namespace {

std::u16string InQuotes(const std::u16string& text) {
    return u"N'''' + " + text + u" + N''''";
}

// SQL Server 2005 has no digits for bytes.
std::u16string Digits(const std::u16string& bytes, bool lists) {
    return lists ? u"CONVERT(nvarchar(max), " + bytes + u", 1)" : u"N'0x...'";
}

std::u16string OfBytes(const ListedKey& key, CellClass cells, bool lists) {
    const std::u16string bytes =
        u"SUBSTRING(" + key.name + u", 1, DATALENGTH(" + key.name + u") - 1)";
    if (cells == CellClass::WideText) return InQuotes(u"CAST(" + bytes + u" AS nvarchar(max))");
    if (cells == CellClass::PageText && key.sameCodePage) {
        return InQuotes(u"CAST(" + bytes + u" AS varchar(max))");
    }
    // those of numbers have nothing behind them
    const bool whole = cells == CellClass::Float || cells == CellClass::Offset;
    return Digits(whole ? key.name : bytes, lists);
}

std::u16string OfValue(const ListedKey& key, CellClass cells, bool lists) {
    const auto converted = [&](std::u16string_view style) {
        return (u"CONVERT(nvarchar(60), " + key.name + u", ").append(style) + u")";
    };
    switch (cells) {
        case CellClass::Exact:
            return ClassifyType(*key.column)->money ? converted(u"2")
                                                    : u"CAST(" + key.name + u" AS nvarchar(60))";
        case CellClass::Float:
            return converted(key.column->DataType == u"real" ? u"1" : u"2");
        case CellClass::Moment:
        case CellClass::Time:
        case CellClass::Offset:
            return InQuotes(converted(u"121"));
        case CellClass::Bytes:
            return Digits(key.name, lists);
        case CellClass::Guid:
        case CellClass::PageText:
        case CellClass::WideText:
        case CellClass::Xml:
        case CellClass::Variant:
            break;
    }
    return InQuotes(u"CAST(" + key.name + u" AS nvarchar(max))");
}

bool IsText(const ListedKey& key) {
    const CellClass cells = ClassifyType(*key.column)->cells;
    return cells == CellClass::PageText || cells == CellClass::WideText;
}

std::u16string Shown(const ListedRows& rows) {
    std::u16string shown;
    for (const ListedKey& key : rows.key) {
        const CellClass cells = ClassifyType(*key.column)->cells;
        const std::u16string part =
            key.bytes ? OfBytes(key, cells, rows.lists) : OfValue(key, cells, rows.lists);
        AppendTerm(shown, u" + N', ' + ", u"ISNULL(" + part + u", N'NULL')");
    }
    return shown;
}

}  // namespace

std::u16string FindMissed(const ListedRows& rows, std::u16string_view indent) {
    const std::u16string line = std::u16string(u"\r\n").append(indent);
    std::u16string sql =
        line + u"DECLARE " + rows.row + u" nvarchar(300)" + line + u"SELECT TOP (1) " + rows.row +
        u" = LEFT(" + Shown(rows) + u", 200) FROM " + rows.table + u" AS v" + line +
        u"WHERE NOT EXISTS (SELECT * FROM " + rows.met + u" AS m WHERE m.n = v.n) ORDER BY v.n";
    // nothing tells the server how many are in a variable
    if (rows.many) sql += u" OPTION (HASH JOIN)";
    if (std::any_of(rows.key.begin(), rows.key.end(), IsText)) {  // no half of a surrogate pair
        sql += line + u"IF UNICODE(RIGHT(" + rows.row + u", 1)) BETWEEN 55296 AND 56319 SET " +
               rows.row + u" = LEFT(" + rows.row + u", LEN(" + rows.row + u" + N'x') - 2)";
    }
    return sql + line + u"SET " + rows.row + u" = ISNULL(N', key (' + " + rows.row +
           u" + N')', N', a key that is there more than once')";
}

}  // namespace QuillonLib
