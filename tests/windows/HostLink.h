// A channel to the host, and its calls. QUILLON_SANDBOX_PORT in the environment tells the port.
#pragma once

#include <mutex>

#include "tests/windows/Messages.h"

namespace sandbox::remote {

class HostLink {
  public:
    HostLink();
    ~HostLink();
    HostLink(const HostLink&) = delete;
    HostLink& operator=(const HostLink&) = delete;

    // What the host answers. Throws std::runtime_error with the host's text where it failed.
    MessageBytes Call(Writer request);

    const Channel& Raw() const { return channel_; }

  private:
    std::mutex mutex_;
    Channel channel_;
};

// The calls to one server of a channel, which the sandbox and the wire server have in common.
class ServerCalls {
  public:
    ServerCalls(HostLink& host, std::uint32_t number) : host_(host), number_(number) {}

    std::vector<LogEntry> Log() const;
    void ClearLog() const { Call(Request::ClearLog); }
    void AddFault(const Fault& fault) const;
    void ClearFaults() const { Call(Request::ClearFaults); }
    void Kill() const { Call(Request::Kill); }
    void Restart() const { Call(Request::Restart); }
    int OpenConnections() const;

  protected:
    Writer Begin(Request request) const;
    MessageBytes Call(Request request) const { return host_.Call(Begin(request)); }

    HostLink& host_;

  private:
    std::uint32_t number_;
};

}  // namespace sandbox::remote
