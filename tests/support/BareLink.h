// A login with nothing between the test and the driver.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <stdexcept>
#include <string>

namespace QuillonLib::test {

class BareLink {
  public:
    // Throws std::runtime_error, here and below, with what the driver says.
    explicit BareLink(std::u16string connectionString) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
        SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment_, &link_);
        Check(
            SQLDriverConnectW(link_, nullptr, reinterpret_cast<SQLWCHAR*>(connectionString.data()),
                              static_cast<SQLSMALLINT>(connectionString.size()), nullptr, 0,
                              nullptr, SQL_DRIVER_NOPROMPT),
            SQL_HANDLE_DBC, link_);
    }
    ~BareLink() {
        SQLDisconnect(link_);
        SQLFreeHandle(SQL_HANDLE_DBC, link_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }
    BareLink(const BareLink&) = delete;
    BareLink& operator=(const BareLink&) = delete;

    // Valid as long as this object.
    SQLHDBC Handle() const { return link_; }

    // Hands the statement of a query to `read` at each of its rows, with the number of columns.
    template <class Read>
    void ForEachRow(std::u16string query, const Read& read) {
        SQLHSTMT statement = nullptr;
        SQLAllocHandle(SQL_HANDLE_STMT, link_, &statement);
        const struct Free {
            SQLHSTMT statement;
            ~Free() { SQLFreeHandle(SQL_HANDLE_STMT, statement); }
        } free{statement};
        Check(SQLExecDirectW(statement, reinterpret_cast<SQLWCHAR*>(query.data()),
                             static_cast<SQLINTEGER>(query.size())),
              SQL_HANDLE_STMT, statement);
        SQLSMALLINT columns = 0;
        SQLNumResultCols(statement, &columns);
        for (;;) {
            const SQLRETURN result = SQLFetch(statement);
            if (result == SQL_NO_DATA) return;
            if (result != SQL_SUCCESS) Check(SQL_ERROR, SQL_HANDLE_STMT, statement);
            read(statement, static_cast<SQLUSMALLINT>(columns));
        }
    }

    static void Check(SQLRETURN result, SQLSMALLINT type, SQLHANDLE handle) {
        if (SQL_SUCCEEDED(result)) return;
        SQLCHAR state[6] = {}, text[1024] = {};
        SQLINTEGER number = 0;
        SQLSMALLINT length = 0;
        SQLGetDiagRec(type, handle, 1, state, &number, text, sizeof text, &length);
        throw std::runtime_error(reinterpret_cast<const char*>(text));
    }

  private:
    SQLHENV environment_ = nullptr;
    SQLHDBC link_ = nullptr;
};

}  // namespace QuillonLib::test
