#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "core/Text.h"

namespace QuillonLib::test {

// Takes connections on the loopback and never answers one.
class SilentServer {
  public:
    SilentServer() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
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
    ~SilentServer() { close(socket_); }
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    std::u16string Address() const { return u"127.0.0.1," + ToText(port_); }

  private:
    int socket_;
    std::uint16_t port_ = 0;
};

}  // namespace QuillonLib::test
