// ODBC for Connection and Recordset alone: calls that throw, and handles that own. No other file
// includes this one, and no other file includes ODBC's headers.
#pragma once

#ifdef _WIN32
#include <windows.h>
// after windows.h, whose types they use
#endif
#include <sql.h>
#include <sqlext.h>

#include <bit>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "data/Connection.h"
#include "data/Diagnostic.h"
#include "data/ToldStatement.h"

namespace QuillonLib::odbc {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "the driver manager must be built for UTF-16");

// ODBC takes its texts as pointers to non-const.
inline SQLWCHAR* Wide(std::u16string_view text) {
    return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text.data()));
}

// ODBC passes the numbers of attributes in the place of pointers, and nobody follows them.
inline SQLPOINTER AsPointer(SQLULEN number) {
    return std::bit_cast<SQLPOINTER>(number);
}

// All records of a handle that are errors. The driver sorts them by severity and the cause may come
// late, so none is skipped. Information (SQLSTATE 01...) is left out; only where a call `failed`
// with nothing else to say for itself is it the error.
std::vector<Diagnostic> ReadErrors(SQLSMALLINT handleType, SQLHANDLE handle, bool failed);

// What stands for the records of a call that failed without any.
Diagnostic SilentError();

template <SQLSMALLINT Type>
class Handle {
  public:
    Handle() = default;
    // Throws std::bad_alloc when the driver manager has no memory for another handle.
    explicit Handle(SQLHANDLE parent);
    ~Handle() { Free(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }

    SQLHANDLE Get() const noexcept { return handle_; }

  private:
    void Free() noexcept {
        if (handle_ != nullptr) SQLFreeHandle(Type, handle_);
    }

    SQLHANDLE handle_ = nullptr;
};

using Environment = Handle<SQL_HANDLE_ENV>;
using Link = Handle<SQL_HANDLE_DBC>;

}  // namespace QuillonLib::odbc

namespace QuillonLib {

class Connection::Impl {
  public:
    void Open(std::u16string_view connectionString);
    void Close() noexcept;

    // Throws Error ObjectClosed, or DataAccess when the server has gone away.
    void RequireOpen() const;
    // Remembers the diagnostics, looks whether the server is still there, and throws.
    [[noreturn]] void Fail(std::vector<Diagnostic> diagnostics);
    // What the driver knows; asks nothing of the server.
    bool ServerIsGone() const noexcept;

    // From any thread; all three exclude each other, so that no statement goes away while it is
    // being cancelled.
    void Begins(SQLHSTMT statement);
    void Ends(SQLHSTMT statement) noexcept;
    void Cancel() noexcept;

    odbc::Environment environment;
    odbc::Link link;
    bool open = false;
    bool lost = false;
    std::chrono::seconds loginTimeout{15};
    std::chrono::seconds commandTimeout{0};
    std::u16string connectionString;
    std::vector<Diagnostic> errors;
    std::shared_ptr<StatementListener> listener;  // null: nobody

  private:
    void Connect();

    std::mutex runningMutex_;
    SQLHSTMT running_ = SQL_NULL_HSTMT;
};

namespace odbc {

// One batch and its results. Errors are gathered as they come, for the results of later statements
// can follow those of a failed one; Finish throws them.
class Statement {
  public:
    // Throws as Connection::Impl::RequireOpen does.
    explicit Statement(Connection::Impl& connection);
    ~Statement() { connection_.Ends(Get()); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    SQLHSTMT Get() const noexcept { return handle_.Get(); }

    // Each returns false when there is nothing (more) of its kind to read. `sql` stays as it is
    // until the statement goes away. `told`: what a listener hears in place of it; empty: `sql`.
    bool Execute(std::u16string_view sql, std::u16string_view told = {});
    // Executes, and steps over results that have no columns: counts, messages.
    bool FindRowSet(std::u16string_view sql);
    bool NextResult();
    bool HasMore() const noexcept { return more_; }
    bool Fetch();
    // The next piece of a long cell. `indicator` is left alone when there is none.
    bool GetData(SQLUSMALLINT column, SQLSMALLINT cType, void* buffer, std::size_t size,
                 SQLLEN& indicator);

    // For calls that only describe or bind: throws at once.
    void Require(SQLRETURN result);

    // Before the buffers that are bound go away.
    void Unbind() noexcept { SQLFreeStmt(Get(), SQL_UNBIND); }

    bool Failed() const noexcept { return !errors_.empty(); }
    // Reads the remaining results for their errors, and throws when there were any.
    void Finish();

  private:
    SQLRETURN ExecuteDirect(std::u16string_view sql);
    SQLRETURN ExecuteAsParameter(std::u16string_view sql);
    bool Succeeded(SQLRETURN result);
    void Gather(SQLRETURN result);
    [[noreturn]] void Fail(std::vector<Diagnostic> errors);

    Connection::Impl& connection_;
    Handle<SQL_HANDLE_STMT> handle_;
    std::vector<Diagnostic> errors_;
    SQLLEN parameterLength_ = 0;
    bool more_ = false;
    std::optional<ToldStatement> told_;
};

}  // namespace odbc
}  // namespace QuillonLib
