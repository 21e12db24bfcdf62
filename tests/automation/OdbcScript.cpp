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
    ~State() {
        statement = nullptr;
        SQLDisconnect(connection.Get());
    }

    class Environment : public Handle {
      public:
        Environment() : Handle(SQL_HANDLE_ENV, SQL_NULL_HANDLE) {
            SQLSetEnvAttr(Get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                          0);
        }
    };
    const Environment environment;
    const Handle connection{SQL_HANDLE_DBC, environment.Get()};
    std::unique_ptr<Handle> statement;  // of the batch that runs
    std::wstring failure;

    // What the result that was just reached tells; the batch is over with one that failed.
    std::wstring Reached(SQLRETURN result) {
        const std::wstring messages = result == SQL_SUCCESS ? L"" : statement->Messages();
        if (!SQL_SUCCEEDED(result)) statement = nullptr;
        return messages;
    }
};

SqlSession::SqlSession(const std::wstring& connectionString)
    : state_(std::make_unique<State>(connectionString)) {
}

SqlSession::~SqlSession() = default;

std::wstring SqlSession::Run(const std::wstring& sql) {
    std::wstring messages = Start(sql);
    while (const auto more = Next())
        messages += *more;
    return messages;
}

std::wstring SqlSession::Start(const std::wstring& sql) {
    if (!state_->failure.empty()) return state_->failure;
    state_->statement = std::make_unique<Handle>(SQL_HANDLE_STMT, state_->connection.Get());
    const SQLRETURN result = SQLExecDirectW(state_->statement->Get(), Characters(sql),
                                            static_cast<SQLINTEGER>(sql.size()));
    return result == SQL_NO_DATA ? L"" : state_->Reached(result);
}

std::optional<std::wstring> SqlSession::Next() {
    if (state_->statement == nullptr) return std::nullopt;
    const SQLRETURN result = SQLMoreResults(state_->statement->Get());
    if (result == SQL_NO_DATA) {
        state_->statement = nullptr;
        return std::nullopt;
    }
    return state_->Reached(result);
}

}  // namespace scripthost
