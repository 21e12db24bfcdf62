#include "sandbox/Engine.h"
#include "sandbox/engine/catalog/Context.h"
#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/storage/Host.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox {
namespace {

using engine::Context;
using engine::DatabasePtr;
using engine::Executor;
using engine::Format;
using engine::ServerState;

class EngineSession : public Session {
  public:
    EngineSession(ServerState& server, const DatabasePtr& database, const LoginRequest& request)
        : context_(server, database) {
        RegisterFunctions(context_);
        context_.user = request.user.empty() ? server.settings.user : request.user;
        context_.hostName = request.host;
        context_.application = request.application;
        context_.spid = ++server.host->spids;
        context_.administrator = request.integrated || server.IsAdministrator(request.user);
        RequireAccess(context_, context_.Open(database));
    }

    ~EngineSession() override {
        try {
            Executor::RollbackAll(context_);
        } catch (...) {  // closing the connection rolls back in any case
        }
    }

    void Execute(std::u16string_view batch, ResultSink& sink,
                 const std::atomic<bool>& cancelled) override {
        // The sink may throw (the client is gone): the batch ends, the session stays usable.
        Executor(context_, sink, cancelled).RunBatch(batch);
    }
    void ExecuteInScope(std::u16string_view batch, ResultSink& sink,
                        const std::atomic<bool>& cancelled) override {
        Executor(context_, sink, cancelled).RunBatchInScope(batch);
    }

    std::u16string Database() const override { return context_.current->name; }
    int TransactionDepth() const override { return context_.transactionDepth; }

  private:
    Context context_;
};

class EngineBackend : public Backend {
  public:
    explicit EngineBackend(ServerState& server) : server_(server) {}

    std::unique_ptr<Session> Login(const LoginRequest& request) override {
        const bool accepted = request.integrated
                                  ? server_.settings.integratedLogin
                                  : server_.AcceptsLogin(request.user, request.password);
        if (!accepted) {
            Refuse(18456, 14, Format(u"Login failed for user '%1'.", {request.user}));
        }
        const std::u16string name = request.database.empty() ? u"master" : request.database;
        const DatabasePtr database = server_.Find(name);
        if (!database) RefuseDatabase(name);
        try {
            return std::make_unique<EngineSession>(server_, database, request);
        } catch (const engine::SqlError& error) {
            if (error.message.number != NoUserOfDatabase) throw;
            RefuseDatabase(name);
        }
    }

    std::u16string ServerName() const override { return server_.settings.name; }
    std::string Version() const override { return server_.settings.version; }

  private:
    static constexpr std::int32_t NoUserOfDatabase = 916;

    [[noreturn]] void RefuseDatabase(std::u16string_view name) const {
        Refuse(4060, 11,
               Format(server_.major >= 9
                          ? u"Cannot open database \"%1\" requested by the login. The login failed."
                          : u"Cannot open database requested in login '%1'. Login fails.",
                      {name}));
    }
    [[noreturn]] static void Refuse(std::int32_t number, std::uint8_t severity,
                                    std::u16string text) {
        Message message;
        message.number = number;
        message.severity = severity;
        message.text = std::move(text);
        throw LoginRefused(std::move(message));
    }

    ServerState& server_;
};

}  // namespace

class EngineHost::Impl {
  public:
    engine::HostState state;
};

EngineHost::EngineHost() : impl_(std::make_unique<Impl>()) {
}
EngineHost::~EngineHost() = default;

std::unique_ptr<Backend> EngineHost::AddServer(const EngineSettings& settings) {
    return std::make_unique<EngineBackend>(impl_->state.AddServer(settings));
}

}  // namespace sandbox
