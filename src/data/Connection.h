// One login to a server, through ODBC.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/Export.h"
#include "data/Diagnostic.h"
#include "data/StatementListener.h"

namespace QuillonLib {

// Handed around as std::shared_ptr<Connection>; used by one thread at a time, but for Cancel. It
// runs one statement at a time: every operation here and Recordset::Open read all results before
// they return, so a Connection is always ready for the next one.
//
// Failures are thrown as DataError and stay readable through Errors(). The password is in no
// error text.
class QUILLON_API Connection {
  public:
    Connection();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Zero: no limit. Both are read when the next Open, or statement, begins.
    void LoginTimeout(std::chrono::seconds limit) noexcept;    // default 15 s
    void CommandTimeout(std::chrono::seconds limit) noexcept;  // default: none

    // Hears of every login and batch from now on; null: nobody does, and nothing is measured.
    void Listener(std::shared_ptr<StatementListener> listener) noexcept;

    // Throws Error ObjectOpen when already open.
    void Open(std::u16string_view connectionString);
    // As given to Open, letter for letter; it holds the password.
    const std::u16string& ConnectionString() const noexcept;

    // Runs a batch and reads all of its results, so that an error in any of its statements is
    // thrown. An error of the first statement ends the batch: whether the server has run the rest
    // of it is not known. After any other the rest runs as far as the server goes on. Rows are
    // thrown away.
    //
    // A batch that the driver would change (see BatchText.h) runs in a scope of its own, as
    // sp_executesql does: what it SETs or USEs ends with it.
    // Throws Error ObjectClosed when not open.
    void Execute(std::u16string_view sql);
    // The same for a batch that holds a secret: a listener hears `told` in place of it.
    void Execute(std::u16string_view sql, std::u16string_view told);

    // From any thread: asks the server to stop the statement that runs, if there is one. Its call
    // fails then, unless it has just come to its end; the connection stays open. A statement that
    // begins a moment later runs: whoever wants none to run asks again.
    //
    // FreeTDS (1.3) can lose the wake-up of a call that reads from the network at the very moment
    // in which it is cancelled, and the call never returns then. One that has been waiting for the
    // server is safe: give a call half a second to end by itself.
    void Cancel() noexcept;

    // Rolls an open transaction back. Nothing happens when the connection is not open.
    void Close() noexcept;

    // False from the moment a call finds that the server has gone away.
    bool IsOpen() const noexcept;

    // The diagnostics of the last call that failed; empty before the first failure. They outlive
    // Close.
    const std::vector<Diagnostic>& Errors() const noexcept;
    void ClearErrors() noexcept;

    class QUILLON_LOCAL Impl;

  private:
    friend class Recordset;
    friend class RowStream;
    std::unique_ptr<Impl> impl_;
};

}  // namespace QuillonLib
