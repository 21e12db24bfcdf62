#include "tests/direct/BareRows.h"

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

}  // namespace QuillonLib::test
