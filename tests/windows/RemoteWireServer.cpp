// The wire side of the sandbox for the test programs on Windows: the host speaks to the clients and
// asks this program for the answers to their batches.
#include <map>
#include <optional>
#include <thread>
#include <utility>

#include "sandbox/wire/WireServer.h"
#include "tests/windows/HostLink.h"

namespace sandbox::wire {

namespace {

using remote::Callback;
using remote::Event;
using remote::HostLink;
using remote::MessageBytes;
using remote::Reader;
using remote::Request;
using remote::Writer;

// Writes down what an answer consists of. The host plays it back, and stops where the client has
// gone: here every row is taken.
class RecordingSink final : public ResultSink {
  public:
    explicit RecordingSink(Writer& to) : to_(to) {}

    void Columns(const std::vector<ColumnInfo>& columns) override {
        to_.Put(Event::Columns);
        Put(to_, columns);
        width_ = columns.size();
    }
    bool Row(const Cell* cells) override {
        to_.Put(Event::Row);
        for (std::size_t i = 0; i < width_; ++i)
            Put(to_, cells[i]);
        return true;
    }
    void StatementDone(std::optional<std::int64_t> count, bool isSelect, bool error) override {
        to_.Put(Event::StatementDone).Put(count.has_value()).Put(count.value_or(0));
        to_.Put(isSelect).Put(error);
    }
    void Say(const Message& message) override {
        to_.Put(Event::Say);
        Put(to_, message);
    }
    void DatabaseChanged(const std::u16string& from, const std::u16string& to) override {
        to_.Put(Event::DatabaseChanged).Put(from).Put(to);
    }

  private:
    Writer& to_;
    std::size_t width_ = 0;
};

// The sessions of a backend, for the host.
class Answers {
  public:
    explicit Answers(Backend& backend) : backend_(backend) {}

    MessageBytes Answer(const MessageBytes& question) {
        Reader from(question);
        Writer to;
        switch (from.Get<Callback>()) {
            case Callback::Login:
                Login(from, to);
                break;
            case Callback::Execute:
                Execute(from, to, &Session::Execute);
                break;
            case Callback::ExecuteInScope:
                Execute(from, to, &Session::ExecuteInScope);
                break;
            case Callback::EndSession:
                sessions_.erase(from.Get<std::uint32_t>());
                break;
        }
        return to.Take();
    }

  private:
    void Login(Reader& from, Writer& to) {
        try {
            auto session = backend_.Login(remote::GetLogin(from));
            to.Put(true).Put(++last_);
            State(*session, to);
            sessions_[last_] = std::move(session);
        } catch (const LoginRefused& refusal) {
            to.Put(false);
            Put(to, refusal.message);
        }
    }

    void Execute(Reader& from, Writer& to, decltype(&Session::Execute) run) {
        const std::atomic<bool> cancelled = false;
        Session& session = *sessions_.at(from.Get<std::uint32_t>());
        RecordingSink sink(to);
        (session.*run)(from.Text(), sink, cancelled);
        to.Put(Event::End);
        State(session, to);
    }

    static void State(const Session& session, Writer& to) {
        to.Put(session.Database()).Put(session.TransactionDepth());
    }

    Backend& backend_;
    std::map<std::uint32_t, std::unique_ptr<Session>> sessions_;
    std::uint32_t last_ = 0;
};

}  // namespace

class WireServer::Impl : public remote::ServerCalls {
  public:
    explicit Impl(std::uint16_t port) : Impl(std::make_unique<HostLink>(), port) {}
    ~Impl() {
        link_.reset();  // the host ends its sessions, and with them the callbacks
        if (thread_.joinable()) thread_.join();
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    std::uint16_t Port() const { return port_; }

    void Serve(Backend& backend) {
        Writer offer;
        offer.Put(Request::OfferCallbacks);
        callbacks_ = std::make_unique<HostLink>();
        const MessageBytes number = callbacks_->Call(std::move(offer));
        thread_ = std::thread([this, &backend] {
            Answers answers(backend);
            while (const auto question = callbacks_->Raw().Receive())
                callbacks_->Raw().Send(answers.Answer(*question));
        });
        Writer request;
        request.Put(Request::ServeWire).Put(Reader(number).Get<std::uint32_t>());
        host_.Call(std::move(request.Put(backend.ServerName()).Put(backend.Version())));
    }

  private:
    Impl(std::unique_ptr<HostLink> link, std::uint16_t port)
        : ServerCalls(*link, 0), link_(std::move(link)) {
        Writer request;
        request.Put(Request::MakeWire).Put(port);
        const MessageBytes answer = host_.Call(std::move(request));
        port_ = Reader(answer).Get<std::uint16_t>();
    }

    std::unique_ptr<HostLink> link_;
    std::unique_ptr<HostLink> callbacks_;
    std::thread thread_;
    std::uint16_t port_ = 0;
};

WireServer::WireServer(std::uint16_t port) : impl_(std::make_unique<Impl>(port)) {
}
WireServer::~WireServer() = default;

std::uint16_t WireServer::Port() const {
    return impl_->Port();
}
void WireServer::Serve(Backend& backend) {
    impl_->Serve(backend);
}
std::vector<LogEntry> WireServer::Log() const {
    return impl_->Log();
}
void WireServer::ClearLog() {
    impl_->ClearLog();
}
void WireServer::AddFault(Fault fault) {
    impl_->AddFault(fault);
}
void WireServer::ClearFaults() {
    impl_->ClearFaults();
}
void WireServer::Kill() {
    impl_->Kill();
}
void WireServer::Restart() {
    impl_->Restart();
}
int WireServer::OpenConnections() const {
    return impl_->OpenConnections();
}

}  // namespace sandbox::wire
