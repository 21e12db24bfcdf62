#include "tests/windows/HostLink.h"

#include <cstdlib>

namespace sandbox::remote {

namespace {

std::uint16_t PortOfHost() {
    const char* const port = std::getenv("QUILLON_SANDBOX_PORT");
    if (port == nullptr) throw std::runtime_error("QUILLON_SANDBOX_PORT names no host");
    return static_cast<std::uint16_t>(std::stoi(port));
}

}  // namespace

HostLink::HostLink() : channel_(Channel::Connect(PortOfHost())) {
}

// Servers are gone when this returns.
HostLink::~HostLink() {
    channel_.Finish();
}

MessageBytes HostLink::Call(Writer request) {
    const std::lock_guard lock(mutex_);
    channel_.Send(request.Take());
    auto answer = channel_.Receive();
    if (!answer) throw std::runtime_error("the host of the sandbox has gone");
    Reader reader(*answer);
    if (!reader.Get<bool>()) throw std::runtime_error(reader.Text<char>());
    answer->erase(answer->begin());
    return std::move(*answer);
}

Writer ServerCalls::Begin(Request request) const {
    Writer writer;
    writer.Put(request).Put(number_);
    return writer;
}

std::vector<LogEntry> ServerCalls::Log() const {
    const MessageBytes answer = Call(Request::Log);
    Reader reader(answer);
    return GetLog(reader);
}

void ServerCalls::AddFault(const Fault& fault) const {
    Writer writer = Begin(Request::AddFault);
    Put(writer, fault);
    host_.Call(std::move(writer));
}

int ServerCalls::OpenConnections() const {
    const MessageBytes answer = Call(Request::OpenConnections);
    return Reader(answer).Get<int>();
}

}  // namespace sandbox::remote
