#include "tests/windows/Channel.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace sandbox::remote {

namespace {

#ifdef _WIN32
using Native = SOCKET;
constexpr int SendEnd = SD_SEND;
constexpr int NoSignal = 0;

void StartSockets() {
    static const int started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    if (started != 0) throw std::runtime_error("Winsock does not start");
}
void CloseNative(Native handle) {
    closesocket(handle);
}
#else
using Native = int;
constexpr int SendEnd = SHUT_WR;
constexpr int NoSignal = MSG_NOSIGNAL;

void StartSockets() {
}
void CloseNative(Native handle) {
    close(handle);
}
#endif

using Length = std::uint32_t;
constexpr std::size_t MostAtOnce = std::size_t{1} << 20;

// False at the end, which may come in the middle.
bool ReadAll(Native handle, void* buffer, std::size_t size) {
    auto* to = static_cast<char*>(buffer);
    while (size > 0) {
        const auto got = recv(handle, to, static_cast<int>(std::min(size, MostAtOnce)), 0);
        if (got <= 0) return false;
        to += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

void WriteAll(Native handle, const void* buffer, std::size_t size) {
    const auto* from = static_cast<const char*>(buffer);
    while (size > 0) {
        const auto sent =
            send(handle, from, static_cast<int>(std::min(size, MostAtOnce)), NoSignal);
        if (sent <= 0) throw std::runtime_error("the other side of the channel has gone");
        from += sent;
        size -= static_cast<std::size_t>(sent);
    }
}

}  // namespace

Channel::~Channel() {
    if (handle_ != None) CloseNative(static_cast<Native>(handle_));
}

Channel Channel::Connect(std::uint16_t port) {
    StartSockets();
    Channel made(static_cast<std::intptr_t>(socket(AF_INET, SOCK_STREAM, 0)));
    const auto native = static_cast<Native>(made.handle_);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const int on = 1;
    if (made.handle_ == None ||
        connect(native, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        setsockopt(native, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on),
                   sizeof on) != 0) {
        throw std::runtime_error("the host of the sandbox cannot be reached");
    }
    return made;
}

void Channel::Send(const MessageBytes& message) const {
    const auto length = static_cast<Length>(message.size());
    MessageBytes whole(sizeof length, '\0');
    std::memcpy(whole.data(), &length, sizeof length);
    whole += message;
    WriteAll(static_cast<Native>(handle_), whole.data(), whole.size());
}

std::optional<MessageBytes> Channel::Receive() const {
    Length length = 0;
    if (!ReadAll(static_cast<Native>(handle_), &length, sizeof length)) return std::nullopt;
    MessageBytes message(length, '\0');
    if (!ReadAll(static_cast<Native>(handle_), message.data(), length)) return std::nullopt;
    return message;
}

void Channel::Finish() const {
    if (handle_ == None) return;
    shutdown(static_cast<Native>(handle_), SendEnd);
    while (Receive()) {
    }
}

}  // namespace sandbox::remote
