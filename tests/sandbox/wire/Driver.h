// The real ODBC driver, as little of it as the tests of the wire need.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <array>
#include <string>

namespace sandbox::wire {

// One connection and one statement of the driver, as little as the tests need.
class Driver {
  public:
    explicit Driver(const std::string& connectionString) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
        SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<void*>(SQL_OV_ODBC3),
                      0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
        std::string text = connectionString;
        connected_ = SQL_SUCCEEDED(
            SQLDriverConnect(connection_, nullptr, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS,
                             nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT));
        if (connected_) {
            SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_);
        } else {
            errors_ = Diagnostics(SQL_HANDLE_DBC, connection_);
        }
    }

    ~Driver() {
        if (connected_) {
            SQLFreeHandle(SQL_HANDLE_STMT, statement_);
            SQLDisconnect(connection_);
        }
        SQLFreeHandle(SQL_HANDLE_DBC, connection_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }

    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    bool Connected() const { return connected_; }
    SQLHSTMT Statement() const { return statement_; }
    const std::string& Errors() const { return errors_; }

    SQLRETURN Execute(std::string sql) {
        return Keep(SQLExecDirect(statement_, reinterpret_cast<SQLCHAR*>(sql.data()), SQL_NTS));
    }
    SQLRETURN Fetch() { return Keep(SQLFetch(statement_)); }
    SQLRETURN More() { return Keep(SQLMoreResults(statement_)); }

    // A field as UTF-16, read in pieces; "NULL" for NULL.
    std::u16string Field(int column) const {
        std::u16string text;
        for (;;) {
            std::array<char16_t, 1000> piece{};
            SQLLEN indicator = 0;
            const SQLRETURN result =
                SQLGetData(statement_, static_cast<SQLUSMALLINT>(column), SQL_C_WCHAR, piece.data(),
                           sizeof piece, &indicator);
            if (!SQL_SUCCEEDED(result)) return text;
            if (indicator == SQL_NULL_DATA) return u"NULL";
            text += piece.data();
            // For a sql_variant the driver claims truncation again and again; the length tells.
            const auto room = static_cast<SQLLEN>(sizeof piece - sizeof piece[0]);
            const bool whole = indicator >= 0 && indicator <= room;
            if (result == SQL_SUCCESS || whole) return text;
        }
    }

    std::string CurrentDatabase() const {
        std::array<SQLCHAR, 200> name{};
        SQLGetConnectAttr(connection_, SQL_ATTR_CURRENT_CATALOG, name.data(), name.size(), nullptr);
        return reinterpret_cast<const char*>(name.data());
    }

    SQLSMALLINT TypeOf(int column) const {
        SQLSMALLINT type = 0;
        SQLDescribeCol(statement_, static_cast<SQLUSMALLINT>(column), nullptr, 0, nullptr, &type,
                       nullptr, nullptr, nullptr);
        return type;
    }

  private:
    SQLRETURN Keep(SQLRETURN result) {
        errors_ = result == SQL_SUCCESS ? "" : Diagnostics(SQL_HANDLE_STMT, statement_);
        return result;
    }

    static std::string Diagnostics(SQLSMALLINT kind, SQLHANDLE handle) {
        std::string all;
        for (SQLSMALLINT n = 1;; ++n) {
            std::array<SQLCHAR, 6> state{};
            std::array<SQLCHAR, 1000> text{};
            SQLINTEGER number = 0;
            if (!SQL_SUCCEEDED(SQLGetDiagRec(kind, handle, n, state.data(), &number, text.data(),
                                             text.size(), nullptr))) {
                return all;
            }
            all += std::string(reinterpret_cast<const char*>(state.data())) + " " +
                   std::to_string(number) + " " + reinterpret_cast<const char*>(text.data()) + "\n";
        }
    }

    SQLHENV environment_ = SQL_NULL_HENV;
    SQLHDBC connection_ = SQL_NULL_HDBC;
    SQLHSTMT statement_ = SQL_NULL_HSTMT;
    bool connected_ = false;
    std::string errors_;
};

}  // namespace sandbox::wire
