#include "Socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace sandbox::wire {

namespace {

[[noreturn]] void ThrowLastError(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

Socket Bound(int type, std::uint16_t port) {
    Socket made(::socket(AF_INET, type | SOCK_CLOEXEC, 0));
    if (!made.IsOpen()) ThrowLastError("socket");
    if ((type & SOCK_STREAM) != 0) {
        // Restart() takes the same port again while old connections linger in TIME_WAIT.
        const int on = 1;
        ::setsockopt(made.Handle(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (::bind(made.Handle(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ThrowLastError("bind");
    }
    return made;
}

}  // namespace

Socket& Socket::operator=(Socket&& other) noexcept {
    if (this != &other) {
        Close();
        handle_ = std::exchange(other.handle_, -1);
    }
    return *this;
}

Socket Socket::Listen(std::uint16_t port) {
    Socket made = Bound(SOCK_STREAM | SOCK_NONBLOCK, port);
    if (::listen(made.Handle(), SOMAXCONN) != 0) ThrowLastError("listen");
    return made;
}

Socket Socket::Datagram(std::uint16_t port) {
    return Bound(SOCK_DGRAM, port);
}

std::uint16_t Socket::Port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (::getsockname(handle_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        ThrowLastError("getsockname");
    }
    return ntohs(address.sin_port);
}

Socket Socket::Accept() const {
    Socket accepted(::accept4(handle_, nullptr, nullptr, SOCK_CLOEXEC));
    if (accepted.IsOpen()) {
        const int on = 1;
        ::setsockopt(accepted.Handle(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    return accepted;
}

bool Socket::Read(std::span<std::uint8_t> buffer) const {
    while (!buffer.empty()) {
        const ssize_t got = ::recv(handle_, buffer.data(), buffer.size(), MSG_WAITALL);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        buffer = buffer.subspan(static_cast<std::size_t>(got));
    }
    return true;
}

bool Socket::Write(std::span<iovec> pieces) const {
    constexpr std::size_t kMostPieces = 512;
    while (!pieces.empty()) {
        msghdr message{};
        message.msg_iov = pieces.data();
        message.msg_iovlen = std::min(pieces.size(), kMostPieces);
        const ssize_t sent = ::sendmsg(handle_, &message, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0) return false;
        auto left = static_cast<std::size_t>(sent);
        while (!pieces.empty() && left >= pieces.front().iov_len) {
            left -= pieces.front().iov_len;
            pieces = pieces.subspan(1);
        }
        if (left > 0) {
            pieces.front().iov_base = static_cast<std::uint8_t*>(pieces.front().iov_base) + left;
            pieces.front().iov_len -= left;
        }
    }
    return true;
}

Socket::Waiting Socket::Peek(std::uint8_t& first) const {
    const ssize_t got = ::recv(handle_, &first, 1, MSG_PEEK | MSG_DONTWAIT);
    if (got > 0) return Waiting::Data;
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) {
        return Waiting::Nothing;
    }
    return Waiting::End;
}

void Socket::Shutdown() const {
    if (IsOpen()) ::shutdown(handle_, SHUT_RDWR);
}

void Socket::Close() {
    if (IsOpen()) ::close(std::exchange(handle_, -1));
}

}  // namespace sandbox::wire
