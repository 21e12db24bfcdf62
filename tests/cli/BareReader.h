// Rows read through the bare driver, with nothing of the library in between.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillon {

using BareRow = std::vector<std::optional<std::u16string>>;

// One connection. Every cell comes as the text that the driver makes of it; NULL is nothing.
class BareReader {
  public:
    explicit BareReader(const std::u16string& connectionString) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
        SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment_, &link_);
        std::u16string text = connectionString;
        Check(SQLDriverConnectW(link_, nullptr, reinterpret_cast<SQLWCHAR*>(text.data()),
                                static_cast<SQLSMALLINT>(text.size()), nullptr, 0, nullptr,
                                SQL_DRIVER_NOPROMPT),
              "connect");
    }
    ~BareReader() {
        SQLDisconnect(link_);
        SQLFreeHandle(SQL_HANDLE_DBC, link_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }
    BareReader(const BareReader&) = delete;
    BareReader& operator=(const BareReader&) = delete;

    // Sorted.
    std::vector<BareRow> Read(std::u16string query) {
        SQLHSTMT statement = nullptr;
        SQLAllocHandle(SQL_HANDLE_STMT, link_, &statement);
        Check(SQLExecDirectW(statement, reinterpret_cast<SQLWCHAR*>(query.data()),
                             static_cast<SQLINTEGER>(query.size())),
              "query");
        SQLSMALLINT columns = 0;
        SQLNumResultCols(statement, &columns);
        std::vector<BareRow> rows;
        while (SQLFetch(statement) == SQL_SUCCESS) {
            BareRow& row = rows.emplace_back();
            for (SQLSMALLINT column = 1; column <= columns; ++column)
                row.push_back(Cell(statement, static_cast<SQLUSMALLINT>(column)));
        }
        SQLFreeHandle(SQL_HANDLE_STMT, statement);
        std::sort(rows.begin(), rows.end());
        return rows;
    }

  private:
    static void Check(SQLRETURN result, const char* what) {
        if (!SQL_SUCCEEDED(result)) throw std::runtime_error(std::string("cannot ") + what);
    }
    static std::optional<std::u16string> Cell(SQLHSTMT statement, SQLUSMALLINT column) {
        char16_t text[2048];
        SQLLEN bytes = 0;
        Check(SQLGetData(statement, column, SQL_C_WCHAR, text, sizeof text, &bytes), "read");
        if (bytes == SQL_NULL_DATA) return std::nullopt;
        if (bytes < 0 || static_cast<std::size_t>(bytes) >= sizeof text) {
            throw std::runtime_error("a value is too long");
        }
        return std::u16string(text, static_cast<std::size_t>(bytes) / sizeof(char16_t));
    }

    SQLHENV environment_ = nullptr;
    SQLHDBC link_ = nullptr;
};

}  // namespace quillon
