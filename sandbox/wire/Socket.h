// One TCP socket, closed when the object goes away.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace sandbox::wire {

class Socket {
  public:
    Socket() = default;
    explicit Socket(int handle) : handle_(handle) {}
    Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
    Socket& operator=(Socket&& other) noexcept;
    ~Socket() { Close(); }

    // A socket listening on 127.0.0.1 (`port` 0: any free one). Throws std::system_error.
    static Socket Listen(std::uint16_t port);
    // A UDP socket bound to 127.0.0.1. Throws std::system_error.
    static Socket Datagram(std::uint16_t port);

    int Handle() const { return handle_; }
    bool IsOpen() const { return handle_ >= 0; }
    std::uint16_t Port() const;

    // The next waiting connection, not open when there is none.
    Socket Accept() const;

    // False when the peer has gone before all was read or written.
    bool Read(std::span<std::uint8_t> buffer) const;
    bool Write(std::span<iovec> pieces) const;

    // What the next Read would begin with, without waiting.
    enum class Waiting { Nothing, Data, End };
    Waiting Peek(std::uint8_t& first) const;

    // Wakes every thread that reads from or writes to the socket; the handle stays taken.
    void Shutdown() const;
    void Close();

  private:
    int handle_ = -1;
};

}  // namespace sandbox::wire
