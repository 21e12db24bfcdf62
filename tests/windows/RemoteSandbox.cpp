// The sandbox of the test programs on Windows: every call goes to the host.
#include <utility>

#include "tests/windows/HostLink.h"

namespace sandbox {

namespace {

using remote::HostLink;
using remote::MessageBytes;
using remote::Reader;
using remote::Request;
using remote::Writer;

class RemoteServer final : public Server, private remote::ServerCalls {
  public:
    RemoteServer(HostLink& host, std::uint32_t number, std::u16string name, std::uint16_t port)
        : ServerCalls(host, number), name_(std::move(name)), port_(port) {}

    std::u16string Name() const override { return name_; }
    std::uint16_t Port() const override { return port_; }
    std::u16string Address() const override {
        const std::string digits = std::to_string(port_);
        return u"127.0.0.1," + std::u16string(digits.begin(), digits.end());
    }

    void Run(std::u16string_view script) override {
        host_.Call(std::move(Begin(Request::Run).Put(script)));
    }
    std::u16string Scalar(std::u16string_view batch) override {
        const MessageBytes answer = host_.Call(std::move(Begin(Request::Scalar).Put(batch)));
        return Reader(answer).Text();
    }

    std::vector<LogEntry> Log() const override { return ServerCalls::Log(); }
    void ClearLog() override { ServerCalls::ClearLog(); }
    void AddFault(Fault fault) override { ServerCalls::AddFault(fault); }
    void ClearFaults() override { ServerCalls::ClearFaults(); }
    void Kill() override { ServerCalls::Kill(); }
    void Restart() override { ServerCalls::Restart(); }
    int OpenConnections() const override { return ServerCalls::OpenConnections(); }

  private:
    std::u16string name_;
    std::uint16_t port_;
};

}  // namespace

class Sandbox::Impl {
  public:
    Server& AddServer(const ServerSettings& settings) {
        Writer request;
        request.Put(Request::AddServer);
        Put(request, settings);
        const MessageBytes answer = host_.Call(std::move(request));
        Reader reader(answer);
        std::u16string name = reader.Text();
        const auto port = reader.Get<std::uint16_t>();
        servers_.push_back(std::make_unique<RemoteServer>(
            host_, static_cast<std::uint32_t>(servers_.size()), std::move(name), port));
        return *servers_.back();
    }

    std::uint16_t ServeResolution(std::uint16_t port) {
        Writer request;
        request.Put(Request::ServeResolution).Put(port);
        const MessageBytes answer = host_.Call(std::move(request));
        return Reader(answer).Get<std::uint16_t>();
    }

  private:
    HostLink host_;
    std::vector<std::unique_ptr<RemoteServer>> servers_;
};

Sandbox::Sandbox() : impl_(std::make_unique<Impl>()) {
}
Sandbox::~Sandbox() = default;

Server& Sandbox::AddServer(const ServerSettings& settings) {
    return impl_->AddServer(settings);
}

std::uint16_t Sandbox::ServeResolution(std::uint16_t port) {
    return impl_->ServeResolution(port);
}

}  // namespace sandbox
