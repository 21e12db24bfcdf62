#include "tests/direct/BareRows.h"

#ifdef _WIN32
#include <windows.h>
// after windows.h, whose types they use
#endif
#include <sql.h>
#include <sqlext.h>

#include <stdexcept>

namespace QuillonLib::test {

namespace {

SQLWCHAR* Wide(const std::u16string& text) {
    return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text.data()));
}

class BareStatement {
  public:
    explicit BareStatement(const std::u16string& connectionString) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
        SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment_, &link_);
        Check(SQLDriverConnectW(link_, nullptr, Wide(connectionString),
                                static_cast<SQLSMALLINT>(connectionString.size()), nullptr, 0,
                                nullptr, SQL_DRIVER_NOPROMPT),
              SQL_HANDLE_DBC, link_);
        SQLAllocHandle(SQL_HANDLE_STMT, link_, &statement_);
    }
    ~BareStatement() {
        SQLFreeHandle(SQL_HANDLE_STMT, statement_);
        SQLDisconnect(link_);
        SQLFreeHandle(SQL_HANDLE_DBC, link_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }
    BareStatement(const BareStatement&) = delete;
    BareStatement& operator=(const BareStatement&) = delete;

    std::vector<BareRow> Read(const std::u16string& query) {
        Check(SQLExecDirectW(statement_, Wide(query), static_cast<SQLINTEGER>(query.size())));
        SQLSMALLINT columns = 0;
        Check(SQLNumResultCols(statement_, &columns));
        std::vector<BareRow> rows;
        for (;;) {
            const SQLRETURN result = SQLFetch(statement_);
            if (result == SQL_NO_DATA) return rows;
            if (result != SQL_SUCCESS) Check(SQL_ERROR);
            BareRow& row = rows.emplace_back();
            for (SQLUSMALLINT column = 1; column <= columns; ++column)
                row.push_back(Cell(column));
        }
    }

  private:
    void Check(SQLRETURN result) const { Check(result, SQL_HANDLE_STMT, statement_); }
    static void Check(SQLRETURN result, SQLSMALLINT type, SQLHANDLE handle) {
        if (SQL_SUCCEEDED(result)) return;
        SQLCHAR state[6] = {}, text[1024] = {};
        SQLINTEGER number = 0;
        SQLSMALLINT length = 0;
        SQLGetDiagRec(type, handle, 1, state, &number, text, sizeof text, &length);
        throw std::runtime_error(reinterpret_cast<const char*>(text));
    }

    BareCell Cell(SQLUSMALLINT column) const {
        std::string cell;
        for (;;) {
            char piece[4096];
            SQLLEN left = 0;
            const SQLRETURN result =
                SQLGetData(statement_, column, SQL_C_BINARY, piece, sizeof piece, &left);
            if (result == SQL_NO_DATA) return cell;
            Check(result);
            if (left == SQL_NULL_DATA) return std::nullopt;
            const bool whole = left >= 0 && static_cast<std::size_t>(left) <= sizeof piece;
            cell.append(piece, whole ? static_cast<std::size_t>(left) : sizeof piece);
            if (whole) return cell;
        }
    }

    SQLHENV environment_ = nullptr;
    SQLHDBC link_ = nullptr;
    SQLHSTMT statement_ = nullptr;
};

}  // namespace

std::vector<BareRow> ReadBareRows(const std::u16string& connectionString,
                                  const std::u16string& query) {
    return BareStatement(connectionString).Read(query);
}

}  // namespace QuillonLib::test
