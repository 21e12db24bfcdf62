// A small SQL Server stand-in on loopback: several named servers in one process, each with its
// databases, reached by any client that speaks TDS 7.1 to 7.4.
//
//   sandbox::Sandbox box;
//   sandbox::Server& server = box.AddServer();
//   server.Run(u"CREATE DATABASE world\nGO\nUSE world\nGO\nCREATE TABLE t (a int)");
//   ... connect to server.Address(), "127.0.0.1,<port>", as sa / sandbox ...
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Backend.h"

namespace sandbox {

struct ServerSettings {
    std::u16string name = u"SANDBOX";
    std::string version = "10.50.6000";
    std::u16string user = u"sa";
    std::u16string password = u"sandbox";
    bool integratedLogin = true;
    std::uint16_t port = 0;  // 0: any free port
};

// One login or batch that a client sent, as it arrived.
struct LogEntry {
    int session = 0;          // 1, 2, 3 ... in the order of logins
    std::u16string database;  // current database when the batch arrived
    std::u16string batch;     // empty for a login
    std::u16string user;      // of a login
};

// What a Fault does to the batch that it strikes.
enum class FaultKind {
    Error,           // answer with `message` in place of running the batch
    ErrorAfterRows,  // run the batch, then end its rows with `message` after `rows` rows
    Drop,            // close the connection in place of an answer
    DropAfterRows,   // run the batch and close the connection after `rows` rows
    Delay,           // run the batch after `delay`
};

struct Fault {
    FaultKind kind = FaultKind::Error;
    std::u16string contains{};  // strikes batches that hold this text (empty: every batch)
    int nth = 1;                // the n-th such batch from now on, counted from 1
    Message message{};
    int rows = 0;
    std::chrono::milliseconds delay{0};
};

class Server {
  public:
    virtual ~Server() = default;

    virtual std::u16string Name() const = 0;
    virtual std::uint16_t Port() const = 0;
    virtual std::u16string Address() const = 0;  // "127.0.0.1,<port>"

    // Runs a script with "GO" lines in process, as sa, unlogged and untouched by faults.
    // Throws std::runtime_error with the batch and the server's message at the first error.
    virtual void Run(std::u16string_view script) = 0;
    // The first field of the first row of one batch, as text ("" for NULL and without a row); for
    // tests. All digits are there: money has four decimals, a date is "2024-01-15", a datetime
    // "2024-01-15 13:45:30.123", binary "0x00FF". Throws as Run() does.
    virtual std::u16string Scalar(std::u16string_view batch) = 0;

    virtual std::vector<LogEntry> Log() const = 0;
    virtual void ClearLog() = 0;

    virtual void AddFault(Fault fault) = 0;
    virtual void ClearFaults() = 0;

    // Kill: closes the listening socket and every connection at once, as a crash would (open
    // transactions roll back). Restart listens again on the same port with the same databases.
    virtual void Kill() = 0;
    virtual void Restart() = 0;
    virtual int OpenConnections() const = 0;
};

class Sandbox {
  public:
    Sandbox();
    ~Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    // Starts listening on 127.0.0.1. The Server lives as long as the Sandbox.
    Server& AddServer(const ServerSettings& settings = {});

    // Answers the SQL Server Resolution Protocol on 127.0.0.1 for all servers; returns the UDP
    // port (`port` 0: any free one).
    std::uint16_t ServeResolution(std::uint16_t port = 0);

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace sandbox
