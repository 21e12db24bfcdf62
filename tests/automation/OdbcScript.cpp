#include "OdbcScript.h"

#include <windows.h>
// <windows.h> comes first.
#include <sql.h>
#include <sqlext.h>

#include <string>

namespace scripthost {

namespace {

class Handle {
  public:
    Handle(SQLSMALLINT kind, SQLHANDLE parent) : kind_(kind) {
        SQLAllocHandle(kind, parent, &handle_);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { SQLFreeHandle(kind_, handle_); }
    SQLHANDLE Get() const { return handle_; }

    std::wstring Messages() const {
        std::wstring all;
        SQLWCHAR state[6];
        SQLWCHAR text[1024];
        SQLINTEGER number = 0;
        SQLSMALLINT length = 0;
        for (SQLSMALLINT i = 1;
             SQL_SUCCEEDED(SQLGetDiagRecW(kind_, handle_, i, state, &number, text, 1024, &length));
             ++i) {
            if (state[0] == L'0' && state[1] == L'1') continue;
            all += std::to_wstring(number) + L" " + reinterpret_cast<const wchar_t*>(text) + L"\n";
        }
        return all;
    }

  private:
    SQLSMALLINT kind_;
    SQLHANDLE handle_ = nullptr;
};

SQLWCHAR* Characters(const std::wstring& text) {
    return reinterpret_cast<SQLWCHAR*>(const_cast<wchar_t*>(text.c_str()));
}

std::wstring Run(const Handle& connection, const std::wstring& sql) {
    const Handle statement(SQL_HANDLE_STMT, connection.Get());
    SQLRETURN result =
        SQLExecDirectW(statement.Get(), Characters(sql), static_cast<SQLINTEGER>(sql.size()));
    std::wstring messages;
    for (; result != SQL_NO_DATA; result = SQLMoreResults(statement.Get())) {
        if (result != SQL_SUCCESS) messages += statement.Messages();
        if (!SQL_SUCCEEDED(result)) break;
    }
    return messages;
}

}  // namespace

std::wstring RunSql(const std::wstring& connectionString, const std::wstring& sql) {
    const Handle environment(SQL_HANDLE_ENV, SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.Get(), SQL_ATTR_ODBC_VERSION,
                  reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    const Handle connection(SQL_HANDLE_DBC, environment.Get());
    const SQLRETURN opened =
        SQLDriverConnectW(connection.Get(), nullptr, Characters(connectionString), SQL_NTS, nullptr,
                          0, nullptr, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(opened)) return connection.Messages() + L"(not connected)";
    std::wstring messages = Run(connection, sql);
    SQLDisconnect(connection.Get());
    return messages;
}

}  // namespace scripthost
