#pragma once

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <cstdint>
#include <stdexcept>
#include <string>

#include "core/Text.h"

namespace QuillonLib::test {

#ifdef _WIN32
using ListeningSocket = SOCKET;

inline ListeningSocket OpenSocket() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) throw std::runtime_error("Winsock does not start");
    return socket(AF_INET, SOCK_STREAM, 0);
}
inline void CloseSocket(ListeningSocket handle) {
    closesocket(handle);
    WSACleanup();
}
#else
using ListeningSocket = int;

inline ListeningSocket OpenSocket() {
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}
inline void CloseSocket(ListeningSocket handle) {
    close(handle);
}
#endif

// Takes connections on the loopback and never answers one.
class SilentServer {
  public:
    SilentServer() : socket_(OpenSocket()) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const name = reinterpret_cast<sockaddr*>(&address);
        if (bind(socket_, name, size) != 0 || listen(socket_, 8) != 0 ||
            getsockname(socket_, name, &size) != 0) {
            throw std::runtime_error("no socket to listen on");
        }
        port_ = ntohs(address.sin_port);
    }
    ~SilentServer() { CloseSocket(socket_); }
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    std::u16string Address() const { return u"127.0.0.1," + ToText(port_); }

  private:
    ListeningSocket socket_;
    std::uint16_t port_ = 0;
};

}  // namespace QuillonLib::test
