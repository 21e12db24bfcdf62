#include "tests/support/BareRows.h"

#include "tests/support/BareLink.h"

namespace QuillonLib::test {

namespace {

BareCell Cell(SQLHSTMT statement, SQLUSMALLINT column) {
    std::string cell;
    for (;;) {
        char piece[4096];
        SQLLEN left = 0;
        const SQLRETURN result =
            SQLGetData(statement, column, SQL_C_BINARY, piece, sizeof piece, &left);
        if (result == SQL_NO_DATA) return cell;
        BareLink::Check(result, SQL_HANDLE_STMT, statement);
        if (left == SQL_NULL_DATA) return std::nullopt;
        const bool whole = left >= 0 && static_cast<std::size_t>(left) <= sizeof piece;
        cell.append(piece, whole ? static_cast<std::size_t>(left) : sizeof piece);
        if (whole) return cell;
    }
}

}  // namespace

std::vector<BareRow> ReadBareRows(const std::u16string& connectionString,
                                  const std::u16string& query) {
    std::vector<BareRow> rows;
    BareLink(connectionString).ForEachRow(query, [&](SQLHSTMT statement, SQLUSMALLINT columns) {
        BareRow& row = rows.emplace_back();
        for (SQLUSMALLINT column = 1; column <= columns; ++column)
            row.push_back(Cell(statement, column));
    });
    return rows;
}

std::u16string AsBytes(const std::u16string& quotedName, std::u16string_view type) {
    std::u16string value = quotedName;
    if (type == u"sql_variant") {
        const auto property = [&](const char16_t* name) {
            return u", CAST(CAST(SQL_VARIANT_PROPERTY(" + value + u", '" + name +
                   u"') AS nvarchar(128)) AS varbinary(300))";
        };
        return u"CAST(" + value + u" AS varbinary(8000))" + property(u"BaseType") +
               property(u"Precision") + property(u"Scale");
    }
    if (type == u"text") value = u"CAST(" + value + u" AS varchar(max))";
    if (type == u"ntext" || type == u"xml") value = u"CAST(" + value + u" AS nvarchar(max))";
    return u"CAST(" + value + u" AS varbinary(max))";
}

}  // namespace QuillonLib::test
