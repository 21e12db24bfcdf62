#include <winsock2.h>
// after winsock2.h
#include <ws2tcpip.h>

#include <array>

#include "catalog/UdpSocket.h"

namespace QuillonLib {

namespace {

constexpr auto None = static_cast<std::intptr_t>(INVALID_SOCKET);

std::error_code LastSystemError() {
    return {WSAGetLastError(), std::system_category()};
}

SOCKET Native(std::intptr_t handle) {
    return static_cast<SOCKET>(handle);
}

}  // namespace

UdpSocket::UdpSocket(std::error_code& failure) : handle_(None) {
    WSADATA data;
    if (const int error = WSAStartup(MAKEWORD(2, 2), &data); error != 0) {
        failure = {error, std::system_category()};
        return;
    }
    handle_ = static_cast<std::intptr_t>(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
    if (handle_ == None) {
        failure = LastSystemError();
        WSACleanup();
        return;
    }
    const int on = 1;
    setsockopt(Native(handle_), SOL_SOCKET, SO_BROADCAST, reinterpret_cast<const char*>(&on),
               sizeof on);
}

UdpSocket::~UdpSocket() {
    if (handle_ == None) return;
    closesocket(Native(handle_));
    WSACleanup();
}

std::error_code UdpSocket::Send(const std::string& host, std::uint16_t port,
                                std::uint8_t request) const {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1)
        return std::make_error_code(std::errc::invalid_argument);
    const int sent = sendto(Native(handle_), reinterpret_cast<const char*>(&request), 1, 0,
                            reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return sent == 1 ? std::error_code() : LastSystemError();
}

std::optional<std::string> UdpSocket::Receive(std::chrono::milliseconds patience) const {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(Native(handle_), &readable);
    const auto milliseconds = static_cast<long>(patience.count());
    timeval limit{milliseconds / 1000, milliseconds % 1000 * 1000};
    if (select(0, &readable, nullptr, nullptr, &limit) != 1) return std::nullopt;
    std::array<char, 65536> datagram{};
    const int size = recv(Native(handle_), datagram.data(), static_cast<int>(datagram.size()), 0);
    // A machine that refuses the port answers with an error: others may still answer.
    return std::string(datagram.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
}

}  // namespace QuillonLib
