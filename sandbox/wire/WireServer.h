// One server on the loopback: listens, and gives each client a thread of its own.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "../Backend.h"
#include "../Sandbox.h"

namespace sandbox::wire {

class WireServer {
  public:
    // Takes the port (0: any free one). Clients can connect, and wait until Serve() is called.
    // Throws std::system_error.
    explicit WireServer(std::uint16_t port = 0);
    ~WireServer();
    WireServer(const WireServer&) = delete;
    WireServer& operator=(const WireServer&) = delete;

    std::uint16_t Port() const;

    // `backend` outlives this object.
    void Serve(Backend& backend);

    std::vector<LogEntry> Log() const;
    void ClearLog();
    void AddFault(Fault fault);
    void ClearFaults();

    // See Server. After Kill() no session is left.
    void Kill();
    void Restart();
    int OpenConnections() const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace sandbox::wire
