#include "WireServer.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "Connection.h"

namespace sandbox::wire {

namespace {

// A connection and the thread that serves it.
struct Client {
    Client(Socket socket, ServerShare& share, int poller, std::uint64_t id)
        : connection(std::move(socket), share, poller, id) {}

    Connection connection;
    std::atomic<bool> finished{false};
    std::thread thread;
};

// What the poller's events carry; clients count on from the last.
constexpr std::uint64_t kListener = 0;
constexpr std::uint64_t kWakeUp = 1;
constexpr std::uint64_t kFirstClient = 2;

void Add(int poller, int handle, std::uint64_t id) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = id;
    if (::epoll_ctl(poller, EPOLL_CTL_ADD, handle, &event) != 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
    }
}

}  // namespace

class WireServer::Impl {
  public:
    explicit Impl(std::uint16_t port) : listener_(Socket::Listen(port)), port_(listener_.Port()) {}

    ~Impl() { Kill(); }

    std::uint16_t Port() const { return port_; }
    ServerShare& Share() { return share_; }
    const ServerShare& Share() const { return share_; }

    void Start() {
        const std::lock_guard lock(lifeMutex_);
        if (thread_.joinable()) return;
        if (!listener_.IsOpen()) listener_ = Socket::Listen(port_);
        poller_ = Socket(::epoll_create1(EPOLL_CLOEXEC));
        wakeUp_ = Socket(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        if (!poller_.IsOpen() || !wakeUp_.IsOpen()) {
            throw std::system_error(errno, std::generic_category(), "epoll");
        }
        Add(poller_.Handle(), listener_.Handle(), kListener);
        Add(poller_.Handle(), wakeUp_.Handle(), kWakeUp);
        stopping_ = false;
        thread_ = std::thread([this] { Listen(); });
    }

    void Kill() {
        const std::lock_guard lock(lifeMutex_);
        if (thread_.joinable()) {
            stopping_ = true;
            WakeUp();
            thread_.join();
        }
        listener_.Close();
        std::map<std::uint64_t, std::unique_ptr<Client>> clients;
        {
            const std::lock_guard clientsLock(clientsMutex_);
            clients.swap(clients_);
        }
        for (auto& [id, client] : clients)
            client->connection.Abort();
        for (auto& [id, client] : clients)
            client->thread.join();
    }

    int OpenConnections() const {
        const std::lock_guard lock(clientsMutex_);
        int open = 0;
        for (const auto& [id, client] : clients_) {
            if (!client->finished) ++open;
        }
        return open;
    }

  private:
    void WakeUp() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(wakeUp_.Handle(), &one, sizeof one);
    }

    void Listen() {
        std::array<epoll_event, 16> events{};
        while (!stopping_) {
            const int count =
                ::epoll_wait(poller_.Handle(), events.data(), static_cast<int>(events.size()), -1);
            for (int n = 0; n < count; ++n) {
                switch (const std::uint64_t id = events[static_cast<std::size_t>(n)].data.u64) {
                    case kListener:
                        Accept();
                        break;
                    case kWakeUp:
                        Reap();
                        break;
                    default:
                        Look(id);
                }
            }
        }
    }

    void Accept() {
        Socket accepted = listener_.Accept();
        if (!accepted.IsOpen()) return;
        const std::uint64_t id = next_++;
        auto client = std::make_unique<Client>(std::move(accepted), share_, poller_.Handle(), id);
        Client& started = *client;
        const std::lock_guard lock(clientsMutex_);
        clients_.emplace(id, std::move(client));
        started.thread = std::thread([this, &started] {
            started.connection.Run();
            started.finished = true;
            WakeUp();
        });
    }

    // Joins the threads of the clients that have gone.
    void Reap() {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = ::read(wakeUp_.Handle(), &count, sizeof count);
        std::vector<std::unique_ptr<Client>> gone;
        {
            const std::lock_guard lock(clientsMutex_);
            for (auto at = clients_.begin(); at != clients_.end();) {
                if (at->second->finished) {
                    gone.push_back(std::move(at->second));
                    at = clients_.erase(at);
                } else {
                    ++at;
                }
            }
        }
        for (const auto& client : gone)
            client->thread.join();
    }

    // Only this thread takes clients away while it runs, so the client stays without the lock.
    void Look(std::uint64_t id) {
        Client* client = nullptr;
        {
            const std::lock_guard lock(clientsMutex_);
            const auto found = clients_.find(id);
            if (found != clients_.end()) client = found->second.get();
        }
        if (client != nullptr) client->connection.Look();
    }

    ServerShare share_;
    Socket listener_;
    std::uint16_t port_;
    Socket poller_;
    Socket wakeUp_;
    std::mutex lifeMutex_;
    std::thread thread_;
    std::atomic<bool> stopping_{false};
    std::uint64_t next_ = kFirstClient;
    mutable std::mutex clientsMutex_;
    std::map<std::uint64_t, std::unique_ptr<Client>> clients_;
};

WireServer::WireServer(std::uint16_t port) : impl_(std::make_unique<Impl>(port)) {
}
WireServer::~WireServer() = default;

std::uint16_t WireServer::Port() const {
    return impl_->Port();
}

void WireServer::Serve(Backend& backend) {
    impl_->Share().backend = &backend;
    impl_->Start();
}

std::vector<LogEntry> WireServer::Log() const {
    return impl_->Share().journal.Entries();
}
void WireServer::ClearLog() {
    impl_->Share().journal.Clear();
}
void WireServer::AddFault(Fault fault) {
    impl_->Share().journal.AddFault(std::move(fault));
}
void WireServer::ClearFaults() {
    impl_->Share().journal.ClearFaults();
}
void WireServer::Kill() {
    impl_->Kill();
}
void WireServer::Restart() {
    impl_->Start();
}
int WireServer::OpenConnections() const {
    return impl_->OpenConnections();
}

}  // namespace sandbox::wire
