// Messages between a test program on Windows and the host that runs the sandbox for it: one TCP
// connection on the loopback, each message behind its length.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace sandbox::remote {

using MessageBytes = std::string;

class Channel {
  public:
    static constexpr std::intptr_t None = -1;

    Channel() = default;
    explicit Channel(std::intptr_t handle) : handle_(handle) {}
    Channel(Channel&& other) noexcept : handle_(std::exchange(other.handle_, None)) {}
    Channel& operator=(Channel&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Channel();

    // To 127.0.0.1. Throws std::runtime_error.
    static Channel Connect(std::uint16_t port);

    // Throws std::runtime_error when the other side has gone.
    void Send(const MessageBytes& message) const;
    // Absent at the end.
    std::optional<MessageBytes> Receive() const;

    // Tells the other side that nothing more comes, and waits until it has gone too.
    void Finish() const;

  private:
    std::intptr_t handle_ = None;
};

}  // namespace sandbox::remote
