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

}  // namespace

class SqlSession::State {
  public:
    explicit State(const std::wstring& connectionString) {
        const SQLRETURN opened =
            SQLDriverConnectW(connection.Get(), nullptr, Characters(connectionString), SQL_NTS,
                              nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
        if (!SQL_SUCCEEDED(opened)) failure = connection.Messages() + L"(not connected)";
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() { SQLDisconnect(connection.Get()); }

    class Environment : public Handle {
      public:
        Environment() : Handle(SQL_HANDLE_ENV, SQL_NULL_HANDLE) {
            SQLSetEnvAttr(Get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                          0);
        }
    };
    const Environment environment;
    const Handle connection{SQL_HANDLE_DBC, environment.Get()};
    std::wstring failure;
};

SqlSession::SqlSession(const std::wstring& connectionString)
    : state_(std::make_unique<State>(connectionString)) {
}

SqlSession::~SqlSession() = default;

std::wstring SqlSession::Run(const std::wstring& sql) {
    if (!state_->failure.empty()) return state_->failure;
    const Handle statement(SQL_HANDLE_STMT, state_->connection.Get());
    SQLRETURN result =
        SQLExecDirectW(statement.Get(), Characters(sql), static_cast<SQLINTEGER>(sql.size()));
    std::wstring messages;
    for (; result != SQL_NO_DATA; result = SQLMoreResults(statement.Get())) {
        if (result != SQL_SUCCESS) messages += statement.Messages();
        if (!SQL_SUCCEEDED(result)) break;
    }
    return messages;
}

}  // namespace scripthost
