#include "../Sandbox.h"

#include <string>
#include <utility>

#include "../Engine.h"
#include "Resolution.h"
#include "Script.h"
#include "WireServer.h"

namespace sandbox {

namespace {

std::u16string AddressOf(std::uint16_t port) {
    const std::string digits = std::to_string(port);
    return u"127.0.0.1," + std::u16string(digits.begin(), digits.end());
}

class SandboxServer : public Server {
  public:
    SandboxServer(EngineHost& host, const ServerSettings& settings) : wire_(settings.port) {
        EngineSettings engine;
        engine.name = settings.name;
        engine.version = settings.version;
        engine.user = settings.user;
        engine.password = settings.password;
        engine.integratedLogin = settings.integratedLogin;
        engine.address = AddressOf(wire_.Port());
        backend_ = host.AddServer(engine);
        login_.user = settings.user;
        login_.password = settings.password;
        wire_.Serve(*backend_);
    }

    ~SandboxServer() override { wire_.Kill(); }

    std::u16string Name() const override { return backend_->ServerName(); }
    std::uint16_t Port() const override { return wire_.Port(); }
    std::u16string Address() const override { return AddressOf(wire_.Port()); }

    void Run(std::u16string_view script) override { wire::RunScript(*backend_, login_, script); }
    std::u16string Scalar(std::u16string_view batch) override {
        return wire::RunScalar(*backend_, login_, batch);
    }

    std::vector<LogEntry> Log() const override { return wire_.Log(); }
    void ClearLog() override { wire_.ClearLog(); }
    void AddFault(Fault fault) override { wire_.AddFault(std::move(fault)); }
    void ClearFaults() override { wire_.ClearFaults(); }
    void Kill() override { wire_.Kill(); }
    void Restart() override { wire_.Restart(); }
    int OpenConnections() const override { return wire_.OpenConnections(); }

    wire::Instance AsInstance() const {
        return {backend_->ServerName(), backend_->Version(), wire_.Port()};
    }

  private:
    wire::WireServer wire_;
    std::unique_ptr<Backend> backend_;
    LoginRequest login_;
};

}  // namespace

class Sandbox::Impl {
  public:
    Server& AddServer(const ServerSettings& settings) {
        servers_.push_back(std::make_unique<SandboxServer>(host_, settings));
        directory_.Add(servers_.back()->AsInstance());
        return *servers_.back();
    }

    std::uint16_t ServeResolution(std::uint16_t port) {
        resolution_ = std::make_unique<wire::ResolutionService>(directory_, port);
        return resolution_->Port();
    }

  private:
    EngineHost host_;  // outlives the servers
    std::vector<std::unique_ptr<SandboxServer>> servers_;
    wire::Directory directory_;
    std::unique_ptr<wire::ResolutionService> resolution_;
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
