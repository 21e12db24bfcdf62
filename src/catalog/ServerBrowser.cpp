#include "catalog/ServerBrowser.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#endif

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <system_error>

#include "core/Error.h"
#include "core/Text.h"

namespace QuillonLib {

namespace {

constexpr auto NetworkError = static_cast<std::int32_t>(0x80004005);
constexpr std::uint8_t BroadcastRequest = 0x02;  // all instances of every machine that hears it
constexpr std::uint8_t UnicastRequest = 0x03;    // all instances of one machine
constexpr std::uint8_t Answer = 0x05;
constexpr std::u16string_view DefaultInstance = u"MSSQLSERVER";

// Answers carry names in the code page of their machine; those of instances and hosts are ASCII
// in practice, and anything else is taken for UTF-8 or Latin-1.
std::u16string TextOfAnswer(std::string_view text) {
    if (IsUtf8(text)) return FromUtf8(text);
    std::u16string wide;
    wide.reserve(text.size());
    for (const char unit : text)
        wide.push_back(static_cast<unsigned char>(unit));
    return wide;
}

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(separator, at), text.size());
        pieces.push_back(text.substr(at, end - at));
        at = end + separator.size();
    }
    return pieces;
}

std::optional<std::u16string> InstanceName(std::string_view instance) {
    const std::vector<std::string_view> fields = Split(instance, ";");
    std::map<std::u16string, std::u16string> values;
    for (std::size_t i = 0; i + 1 < fields.size(); i += 2) {
        values.emplace(FoldCase(TextOfAnswer(fields[i])), TextOfAnswer(fields[i + 1]));
    }
    const std::u16string host = values[u"servername"];
    const std::u16string name = values[u"instancename"];
    if (host.empty()) return std::nullopt;
    if (name.empty() || EqualIgnoringCase(name, DefaultInstance)) return host;
    return host + u"\\" + name;
}

#ifdef _WIN32

// Not yet asked on Windows: the system's own browser service is the caller's way there.
std::vector<std::string> AskBrowsers(const BrowserSettings&) {
    throw Error(NetworkError, u"Listing servers is not available on this platform");
}

#else

[[noreturn]] void ThrowCannotAsk(std::error_code cause) {
    throw Error(NetworkError, u"Cannot ask the network for servers: " + FromUtf8(cause.message()));
}

std::error_code LastSystemError() {
    return {errno, std::generic_category()};
}

class UdpSocket {
  public:
    UdpSocket() : descriptor_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        if (descriptor_ < 0) ThrowCannotAsk(LastSystemError());
        const int on = 1;
        setsockopt(descriptor_, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    }
    ~UdpSocket() { close(descriptor_); }
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    // An error when the network does not take it (no route, for one).
    std::error_code Send(const BrowserAddress& to) const {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(to.port);
        if (inet_pton(AF_INET, to.host.c_str(), &address.sin_addr) != 1)
            return std::make_error_code(std::errc::invalid_argument);
        const std::uint8_t request = to.broadcast ? BroadcastRequest : UnicastRequest;
        const ssize_t sent = sendto(descriptor_, &request, 1, 0,
                                    reinterpret_cast<const sockaddr*>(&address), sizeof address);
        return sent == 1 ? std::error_code() : LastSystemError();
    }

    // The next datagram, or nothing when the time is up.
    std::optional<std::string> Receive(std::chrono::milliseconds patience) const {
        pollfd wait{descriptor_, POLLIN, 0};
        if (poll(&wait, 1, static_cast<int>(patience.count())) != 1) return std::nullopt;
        std::array<char, 65536> datagram{};
        const ssize_t size = recv(descriptor_, datagram.data(), datagram.size(), 0);
        // A machine that refuses the port answers with an error: others may still answer.
        return std::string(datagram.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    }

  private:
    int descriptor_;
};

std::vector<std::string> AskBrowsers(const BrowserSettings& settings) {
    const UdpSocket socket;
    std::error_code failure;
    bool sent = false;
    for (const BrowserAddress& address : settings.addresses) {
        const std::error_code result = socket.Send(address);
        if (!result) {
            sent = true;
        } else if (!failure) {
            failure = result;
        }
    }
    if (failure && !sent) ThrowCannotAsk(failure);

    std::vector<std::string> answers;
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + settings.patience;
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        if (auto answer = socket.Receive(left)) answers.push_back(std::move(*answer));
    }
    // Answers are of use even where a part of the network could not be asked; without any, silence
    // must not pass for a network without servers.
    if (failure && answers.empty()) ThrowCannotAsk(failure);
    return answers;
}

#endif

// The text of a datagram: one byte 0x05, the length of the text in two, the text.
std::string_view TextOfDatagram(std::string_view datagram) {
    constexpr std::size_t HeaderSize = 3;
    if (datagram.size() < HeaderSize || static_cast<std::uint8_t>(datagram[0]) != Answer) return {};
    const std::size_t length = static_cast<std::uint8_t>(datagram[1]) |
                               static_cast<std::size_t>(static_cast<std::uint8_t>(datagram[2]))
                                   << 8;
    return datagram.substr(HeaderSize, length);
}

}  // namespace

std::vector<std::u16string> ParseBrowserAnswer(std::string_view text) {
    std::vector<std::u16string> names;
    for (const std::string_view instance : Split(text, ";;")) {
        if (auto name = InstanceName(instance)) names.push_back(std::move(*name));
    }
    return names;
}

std::vector<std::u16string> BrowseServers(const BrowserSettings& settings) {
    std::map<std::u16string, std::u16string> byName;  // folded name, name
    for (const std::string& datagram : AskBrowsers(settings)) {
        for (std::u16string& name : ParseBrowserAnswer(TextOfDatagram(datagram))) {
            byName.emplace(FoldCase(name), name);
        }
    }
    std::vector<std::u16string> names;
    names.reserve(byName.size());
    for (auto& [folded, name] : byName)
        names.push_back(name);
    return names;
}

}  // namespace QuillonLib
