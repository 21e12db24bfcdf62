#include "Resolution.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace sandbox::wire {

namespace {

constexpr std::uint8_t kBroadcast = 0x02;
constexpr std::uint8_t kUnicast = 0x03;
constexpr std::uint8_t kOneInstance = 0x04;
constexpr char kResponse = 0x05;
constexpr std::size_t kLongestName = 32;
constexpr std::size_t kLongestResponse = 65'000;

struct Names {
    std::string host;
    std::string instance;
};

// The protocol is one of bytes; what is not ASCII in a name shows as "?".
std::string Narrow(std::u16string_view text) {
    std::string narrow;
    for (const char16_t unit : text)
        narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
    return narrow;
}

Names NamesOf(const Instance& instance) {
    const std::string all = Narrow(instance.server);
    const std::size_t backslash = all.find('\\');
    if (backslash == std::string::npos) return {all, "MSSQLSERVER"};
    return {all.substr(0, backslash), all.substr(backslash + 1)};
}

std::string Entry(const Instance& instance) {
    const Names names = NamesOf(instance);
    return "ServerName;" + names.host + ";InstanceName;" + names.instance +
           ";IsClustered;No;Version;" + instance.version + ";tcp;" + std::to_string(instance.port) +
           ";;";
}

char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool SameName(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, Upper, Upper);
}

// The name that a request for one instance holds, with or without a NUL behind it; empty when it
// is malformed.
std::string_view AskedName(Bytes request) {
    std::string_view name(reinterpret_cast<const char*>(request.data()) + 1, request.size() - 1);
    if (!name.empty() && name.back() == '\0') name.remove_suffix(1);
    if (name.size() > kLongestName || name.find('\0') != std::string_view::npos) return {};
    return name;
}

std::string Response(const std::string& data) {
    std::string response(1, kResponse);
    response += static_cast<char>(data.size() & 0xFF);
    response += static_cast<char>(data.size() >> 8);
    return response + data;
}

}  // namespace

void Directory::Add(Instance instance) {
    const std::lock_guard lock(mutex_);
    instances_.push_back(std::move(instance));
}

std::optional<std::string> Directory::Answer(Bytes request) const {
    if (request.empty()) return std::nullopt;
    const std::lock_guard lock(mutex_);
    std::string data;
    switch (request[0]) {
        case kBroadcast:
        case kUnicast:
            if (request.size() != 1) return std::nullopt;
            for (const Instance& instance : instances_) {
                const std::string entry = Entry(instance);
                if (data.size() + entry.size() <= kLongestResponse) data += entry;
            }
            break;
        case kOneInstance: {
            const std::string_view name = AskedName(request);
            const auto found = std::ranges::find_if(instances_, [name](const Instance& instance) {
                return SameName(NamesOf(instance).instance, name);
            });
            if (name.empty() || found == instances_.end()) return std::nullopt;
            data = Entry(*found);
            break;
        }
        default:
            return std::nullopt;
    }
    if (data.empty()) return std::nullopt;
    return Response(data);
}

ResolutionService::ResolutionService(const Directory& directory, std::uint16_t port)
    : directory_(directory),
      socket_(Socket::Datagram(port)),
      port_(socket_.Port()),
      stop_(::eventfd(0, EFD_CLOEXEC)) {
    if (!stop_.IsOpen()) throw std::system_error(errno, std::generic_category(), "eventfd");
    thread_ = std::thread([this] { Run(); });
}

ResolutionService::~ResolutionService() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(stop_.Handle(), &one, sizeof one);
    thread_.join();
}

void ResolutionService::Run() const {
    std::array<pollfd, 2> waiting = {pollfd{socket_.Handle(), POLLIN, 0},
                                     pollfd{stop_.Handle(), POLLIN, 0}};
    std::array<std::uint8_t, 1024> request{};
    for (;;) {
        if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) return;
        if ((waiting[1].revents & POLLIN) != 0) return;
        if ((waiting[0].revents & POLLIN) == 0) continue;
        sockaddr_in client{};
        socklen_t size = sizeof client;
        auto* address = reinterpret_cast<sockaddr*>(&client);
        const ssize_t got = ::recvfrom(socket_.Handle(), request.data(), request.size(),
                                       MSG_DONTWAIT, address, &size);
        if (got <= 0) continue;
        if (const std::optional<std::string> answer =
                directory_.Answer(Bytes(request).first(static_cast<std::size_t>(got)))) {
            ::sendto(socket_.Handle(), answer->data(), answer->size(), MSG_NOSIGNAL, address, size);
        }
    }
}

}  // namespace sandbox::wire
