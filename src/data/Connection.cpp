#include "data/Connection.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

#include "core/Text.h"
#include "data/ConnectionString.h"
#include "data/FreeTds.h"
#include "data/Odbc.h"

namespace QuillonLib {

namespace {

// ODBC counts its characters in 16 bits; the rest is room for what the driver needs added.
constexpr std::size_t MaxConnectionString = 32000;

// The size of packets to ask for, which the server may refuse. Rows come by the million, and each
// packet costs the client four calls of the system. Not larger, because an encrypted packet has to
// fit into a record of 16 KiB.
constexpr SQLULEN PacketSize = 16000;

// Left to find the version of the protocol itself, FreeTDS tries one after the other, each for the
// whole login time-out, and waits without end for a server that answers none. Every server since
// 2000 takes the newest version and answers with its own; for an older one the driver's own
// variable names another.
std::u16string ProtocolVersion() {
    return std::getenv("TDSVER") ? u"" : u"TDS_Version=7.4;";
}

// FreeTDS takes both from the text alone. In front, where no value before them is left open, and
// where the text's own choice, which comes later, wins.
std::u16string AdaptToFreeTds(const std::u16string& connectionString) {
    return ProtocolVersion() + u"PacketSize=" + ToText(PacketSize) + u";" +
           AdaptConnectionString(connectionString);
}

}  // namespace

void Connection::Impl::Open(std::u16string_view text) {
    if (open) {
        throw Error(ErrorNumber::ObjectOpen, u"Operation is not allowed when the object is open.");
    }
    if (text.size() > MaxConnectionString) {
        throw Error(ErrorNumber::InvalidArgument, u"The connection string is too long.");
    }
    connectionString = text;
    environment = odbc::Environment(SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.Get(), SQL_ATTR_ODBC_VERSION, odbc::AsPointer(SQL_OV_ODBC3), 0);
    link = odbc::Link(environment.Get());
    std::optional<ToldStatement> told;
    if (listener) told.emplace(*listener);
    try {
        Connect();
    } catch (...) {
        if (told) told->Fails(errors);
        Close();
        throw;
    }
}

void Connection::Impl::Connect() {
    SQLSetConnectAttr(link.Get(), SQL_ATTR_LOGIN_TIMEOUT,
                      odbc::AsPointer(static_cast<SQLULEN>(loginTimeout.count())), 0);
    const bool isFreeTds = odbc::IsFreeTds(environment.Get(), connectionString);
    if (!isFreeTds)
        SQLSetConnectAttr(link.Get(), SQL_ATTR_PACKET_SIZE, odbc::AsPointer(PacketSize), 0);
    const std::u16string adapted = isFreeTds ? AdaptToFreeTds(connectionString) : connectionString;
    const SQLRETURN result = SQLDriverConnectW(link.Get(), nullptr, odbc::Wide(adapted),
                                               static_cast<SQLSMALLINT>(adapted.size()), nullptr, 0,
                                               nullptr, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(result)) Fail(odbc::ReadErrors(SQL_HANDLE_DBC, link.Get(), true));
    open = true;
    lost = false;
}

void Connection::Impl::Close() noexcept {
    if (open) SQLDisconnect(link.Get());
    open = false;
    lost = false;
    link = odbc::Link();
    environment = odbc::Environment();
}

void Connection::Impl::RequireOpen() const {
    if (!open) {
        throw Error(ErrorNumber::ObjectClosed,
                    u"Operation is not allowed when the object is closed.");
    }
    if (lost) {
        throw Error(ErrorNumber::DataAccess, u"The connection to the server has been lost.");
    }
}

void Connection::Impl::Fail(std::vector<Diagnostic> diagnostics) {
    if (diagnostics.empty()) diagnostics.push_back(odbc::SilentError());
    const auto tellsOfLoss = [](const Diagnostic& d) { return d.sqlState.starts_with("08"); };
    lost = open && (lost || ServerIsGone() ||
                    std::any_of(diagnostics.begin(), diagnostics.end(), tellsOfLoss));
    errors = diagnostics;
    throw DataError(std::move(diagnostics));
}

bool Connection::Impl::ServerIsGone() const noexcept {
    SQLUINTEGER dead = SQL_CD_FALSE;
    SQLGetConnectAttr(link.Get(), SQL_ATTR_CONNECTION_DEAD, &dead, SQL_IS_UINTEGER, nullptr);
    return dead == SQL_CD_TRUE;
}

void Connection::Impl::Begins(SQLHSTMT statement) {
    const std::lock_guard lock(runningMutex_);
    running_ = statement;
}

void Connection::Impl::Ends(SQLHSTMT statement) noexcept {
    const std::lock_guard lock(runningMutex_);
    if (running_ == statement) running_ = SQL_NULL_HSTMT;
}

void Connection::Impl::Cancel() noexcept {
    const std::lock_guard lock(runningMutex_);
    if (running_ != SQL_NULL_HSTMT) SQLCancel(running_);
}

Connection::Connection() : impl_(std::make_unique<Impl>()) {
}
Connection::~Connection() {
    Close();
}

void Connection::LoginTimeout(std::chrono::seconds limit) noexcept {
    impl_->loginTimeout = limit;
}
void Connection::CommandTimeout(std::chrono::seconds limit) noexcept {
    impl_->commandTimeout = limit;
}

void Connection::Listener(std::shared_ptr<StatementListener> listener) noexcept {
    impl_->listener = std::move(listener);
}

void Connection::Open(std::u16string_view connectionString) {
    impl_->Open(connectionString);
}

const std::u16string& Connection::ConnectionString() const noexcept {
    return impl_->connectionString;
}

void Connection::Execute(std::u16string_view sql) {
    Execute(sql, sql);
}

void Connection::Execute(std::u16string_view sql, std::u16string_view told) {
    odbc::Statement statement(*impl_);
    statement.Execute(sql, told);
    statement.Finish();
}

void Connection::Cancel() noexcept {
    impl_->Cancel();
}

void Connection::Close() noexcept {
    impl_->Close();
}
bool Connection::IsOpen() const noexcept {
    return impl_->open && !impl_->lost;
}
const std::vector<Diagnostic>& Connection::Errors() const noexcept {
    return impl_->errors;
}
void Connection::ClearErrors() noexcept {
    impl_->errors.clear();
}

}  // namespace QuillonLib
