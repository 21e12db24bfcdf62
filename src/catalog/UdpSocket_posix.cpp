#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "catalog/UdpSocket.h"

namespace QuillonLib {

namespace {

std::error_code LastSystemError() {
    return {errno, std::generic_category()};
}

int Native(std::intptr_t handle) {
    return static_cast<int>(handle);
}

}  // namespace

UdpSocket::UdpSocket(std::error_code& failure)
    : handle_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    if (handle_ < 0) {
        failure = LastSystemError();
        return;
    }
    const int on = 1;
    setsockopt(Native(handle_), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
}

UdpSocket::~UdpSocket() {
    if (handle_ >= 0) close(Native(handle_));
}

std::error_code UdpSocket::Send(const std::string& host, std::uint16_t port,
                                std::uint8_t request) const {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1)
        return std::make_error_code(std::errc::invalid_argument);
    const ssize_t sent = sendto(Native(handle_), &request, 1, 0,
                                reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return sent == 1 ? std::error_code() : LastSystemError();
}

std::optional<std::string> UdpSocket::Receive(std::chrono::milliseconds patience) const {
    pollfd wait{Native(handle_), POLLIN, 0};
    if (poll(&wait, 1, static_cast<int>(patience.count())) != 1) return std::nullopt;
    std::array<char, 65536> datagram{};
    const ssize_t size = recv(Native(handle_), datagram.data(), datagram.size(), 0);
    // A machine that refuses the port answers with an error: others may still answer.
    return std::string(datagram.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
}

}  // namespace QuillonLib
