#include "data/Odbc.h"

#include <algorithm>
#include <array>
#include <new>
#include <string>

#include "core/Text.h"
#include "data/BatchText.h"

namespace QuillonLib::odbc {

namespace {

// A batch of many failing statements must not fill the memory with their texts.
constexpr std::size_t MaxErrors = 1000;

bool IsInformation(std::string_view sqlState) {
    return sqlState.starts_with("01");
}

// Errors after which asking for the next result would bring the same error for ever: the server
// has gone away, the time is over, or the call came out of turn.
bool EndsTheBatch(const Diagnostic& error) {
    const std::string_view state = error.sqlState;
    return state.starts_with("08") || state.starts_with("24") ||
           (state.starts_with("HY") && state != "HY000");
}

// The driver gives a refused login the SQLSTATE of any other error of the server.
bool IsRefusedLogin(std::int32_t nativeError) {
    return nativeError >= 18450 && nativeError <= 18489;
}

// One record; false past the last one.
bool ReadRecord(SQLSMALLINT handleType, SQLHANDLE handle, SQLSMALLINT record, Diagnostic& out) {
    std::array<char16_t, 6> state{};
    SQLINTEGER nativeError = 0;
    SQLSMALLINT length = 0;
    std::u16string text(1023, u'\0');
    for (;;) {
        const SQLRETURN result = SQLGetDiagRecW(
            handleType, handle, record, reinterpret_cast<SQLWCHAR*>(state.data()), &nativeError,
            Wide(text), static_cast<SQLSMALLINT>(text.size() + 1), &length);
        if (!SQL_SUCCEEDED(result)) return false;
        if (static_cast<std::size_t>(length) <= text.size()) break;
        text.resize(static_cast<std::size_t>(length));
    }
    text.resize(static_cast<std::size_t>(length));
    out.sqlState = IsRefusedLogin(nativeError) ? "28000" : ToUtf8(state.data());
    out.number = NumberOfSqlState(out.sqlState);
    out.nativeError = nativeError;
    out.description = std::move(text);
    return true;
}

}  // namespace

std::vector<Diagnostic> ReadErrors(SQLSMALLINT handleType, SQLHANDLE handle, bool failed) {
    std::vector<Diagnostic> errors, information;
    Diagnostic record;
    for (SQLSMALLINT i = 1; i < 10000 && ReadRecord(handleType, handle, i, record); ++i) {
        (IsInformation(record.sqlState) ? information : errors).push_back(record);
    }
    if (!errors.empty() || !failed) return errors;
    return information;
}

Diagnostic SilentError() {
    return {ErrorNumber::DataAccess, "HY000", 0, u"The driver reported an error without a text."};
}

template <SQLSMALLINT Type>
Handle<Type>::Handle(SQLHANDLE parent) {
    if (!SQL_SUCCEEDED(SQLAllocHandle(Type, parent, &handle_))) throw std::bad_alloc();
}

template class Handle<SQL_HANDLE_ENV>;
template class Handle<SQL_HANDLE_DBC>;
template class Handle<SQL_HANDLE_STMT>;

Statement::Statement(Connection::Impl& connection) : connection_(connection) {
    connection.RequireOpen();
    handle_ = Handle<SQL_HANDLE_STMT>(connection.link.Get());
    // The batch is T-SQL as it stands: no "{" escapes to translate.
    Require(SQLSetStmtAttr(Get(), SQL_ATTR_NOSCAN, AsPointer(SQL_NOSCAN_ON), 0));
    if (connection.commandTimeout.count() > 0) {
        Require(SQLSetStmtAttr(Get(), SQL_ATTR_QUERY_TIMEOUT,
                               AsPointer(static_cast<SQLULEN>(connection.commandTimeout.count())),
                               0));
    }
    connection.Begins(Get());
}

void Statement::Gather(SQLRETURN result) {
    if (result != SQL_ERROR && result != SQL_SUCCESS_WITH_INFO) return;
    std::vector<Diagnostic> found = ReadErrors(SQL_HANDLE_STMT, Get(), result == SQL_ERROR);
    const bool silent = result == SQL_ERROR && found.empty();
    if (silent) found.push_back(SilentError());
    if (silent || std::any_of(found.begin(), found.end(), EndsTheBatch) ||
        connection_.ServerIsGone()) {
        more_ = false;
    }
    const std::size_t room = MaxErrors - std::min(MaxErrors, errors_.size());
    found.resize(std::min(found.size(), room));
    std::move(found.begin(), found.end(), std::back_inserter(errors_));
}

bool Statement::Succeeded(SQLRETURN result) {
    more_ = result != SQL_NO_DATA;
    Gather(result);
    return SQL_SUCCEEDED(result);
}

bool Statement::Execute(std::u16string_view sql, std::u16string_view told) {
    if (sql.empty()) return false;  // which the driver manager refuses to send
    if (connection_.listener) told_.emplace(*connection_.listener, told.empty() ? sql : told);
    const SQLRETURN result = DriverWouldChange(sql) ? ExecuteAsParameter(sql) : ExecuteDirect(sql);
    const bool succeeded = Succeeded(result);
    // SQL_NO_DATA: the first statement counted no row, or had nothing to count.
    if (result == SQL_NO_DATA) more_ = true;
    return succeeded;
}

bool Statement::FindRowSet(std::u16string_view sql) {
    for (bool result = Execute(sql);; result = NextResult()) {
        SQLSMALLINT columns = 0;
        if (result) Require(SQLNumResultCols(Get(), &columns));
        if (columns > 0) return true;
        if (!HasMore()) return false;
    }
}

SQLRETURN Statement::ExecuteDirect(std::u16string_view sql) {
    return SQLExecDirectW(Get(), Wide(sql), static_cast<SQLINTEGER>(sql.size()));
}

// The value of a parameter is sent unit by unit. The batch runs in a scope of its own then: what
// it sets or uses does not outlast it.
SQLRETURN Statement::ExecuteAsParameter(std::u16string_view sql) {
    const std::size_t bytes = sql.size() * sizeof(char16_t);
    parameterLength_ = static_cast<SQLLEN>(bytes);
    Require(SQLBindParameter(Get(), 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WLONGVARCHAR, sql.size(),
                             0, Wide(sql), static_cast<SQLLEN>(bytes), &parameterLength_));
    return ExecuteDirect(u"{call sp_executesql(?)}");
}

bool Statement::NextResult() {
    while (more_) {
        if (Succeeded(SQLMoreResults(Get()))) return true;
    }
    return false;
}

bool Statement::Fetch() {
    const SQLRETURN result = SQLFetch(Get());
    Gather(result);
    return SQL_SUCCEEDED(result);
}

bool Statement::GetData(SQLUSMALLINT column, SQLSMALLINT cType, void* buffer, std::size_t size,
                        SQLLEN& indicator) {
    const SQLRETURN result =
        SQLGetData(Get(), column, cType, buffer, static_cast<SQLLEN>(size), &indicator);
    Gather(result);
    return SQL_SUCCEEDED(result);
}

void Statement::Require(SQLRETURN result) {
    if (SQL_SUCCEEDED(result)) return;
    Fail(ReadErrors(SQL_HANDLE_STMT, Get(), true));
}

void Statement::Finish() {
    while (NextResult()) {
    }
    if (Failed()) Fail(std::move(errors_));
    told_.reset();
}

void Statement::Fail(std::vector<Diagnostic> errors) {
    if (told_) told_->Fails(errors);
    told_.reset();
    connection_.Fail(std::move(errors));
}

}  // namespace QuillonLib::odbc
