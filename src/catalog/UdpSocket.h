// A socket that asks machines for what they tell in single datagrams. Not installed.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <system_error>

namespace QuillonLib {

class UdpSocket {
  public:
    // Usable unless there is a `failure`. Broadcasts are allowed.
    explicit UdpSocket(std::error_code& failure);
    ~UdpSocket();
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    // One byte to a dotted address. An error when the network does not take it (no route, for one).
    std::error_code Send(const std::string& host, std::uint16_t port, std::uint8_t request) const;

    // The next datagram, or nothing when the time is up. Empty where there was none after all.
    std::optional<std::string> Receive(std::chrono::milliseconds patience) const;

  private:
    std::intptr_t handle_;
};

}  // namespace QuillonLib
