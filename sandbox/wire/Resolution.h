// The SQL Server Resolution Protocol: tells clients which instances there are and at what ports.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Bytes.h"
#include "Socket.h"

namespace sandbox::wire {

struct Instance {
    std::u16string server;  // "HOST\INSTANCE", or "HOST" for the default instance
    std::string version;
    std::uint16_t port = 0;
};

// The instances of one process. Safe for several threads.
class Directory {
  public:
    void Add(Instance instance);
    // The answer to a datagram, or nothing where the protocol answers with silence: for what is
    // malformed and for an instance that does not exist.
    std::optional<std::string> Answer(Bytes request) const;

  private:
    mutable std::mutex mutex_;
    std::vector<Instance> instances_;
};

// Answers datagrams on 127.0.0.1 until it is destroyed.
class ResolutionService {
  public:
    // `port` 0: any free one. Throws std::system_error. `directory` outlives this object.
    ResolutionService(const Directory& directory, std::uint16_t port);
    ~ResolutionService();
    ResolutionService(const ResolutionService&) = delete;
    ResolutionService& operator=(const ResolutionService&) = delete;

    std::uint16_t Port() const { return port_; }

  private:
    void Run() const;

    const Directory& directory_;
    Socket socket_;
    std::uint16_t port_;
    Socket stop_;  // becomes readable when the service ends
    std::thread thread_;
};

}  // namespace sandbox::wire
