// Runs sandboxes for test programs on Windows. Prints the port on 127.0.0.1 that it listens on, and
// ends with its standard input. A channel has a thread and a sandbox of its own, which end with it.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "sandbox/wire/WireServer.h"
#include "tests/windows/RemoteBackend.h"

namespace sandbox::remote {
namespace {

void Reply(const Channel& channel, bool done, Writer rest) {
    Writer reply;
    reply.Put(done);
    const MessageBytes bytes = rest.Take();
    channel.Send(reply.Bytes(bytes.data(), bytes.size()).Take());
}

// Channels over which a program waits for questions, until a wire server takes them.
class OfferedChannels {
  public:
    // Tells the program the number of its channel.
    void Add(Channel channel) {
        const std::lock_guard lock(mutex_);
        Writer number;
        number.Put(++last_);
        Reply(channel, true, std::move(number));
        offered_.emplace(last_, std::move(channel));
    }
    Channel Take(std::uint32_t number) {
        const std::lock_guard lock(mutex_);
        const auto found = offered_.find(number);
        if (found == offered_.end()) throw std::runtime_error("no such channel for callbacks");
        Channel channel = std::move(found->second);
        offered_.erase(found);
        return channel;
    }

  private:
    std::mutex mutex_;
    std::map<std::uint32_t, Channel> offered_;
    std::uint32_t last_ = 0;
};

// What one channel has made: servers of a sandbox, or one wire server.
class Held {
  public:
    explicit Held(OfferedChannels& offered) : offered_(offered) {}

    void Answer(Request request, Reader& from, Writer& to) {
        switch (request) {
            case Request::AddServer: {
                if (box_ == nullptr) box_ = std::make_unique<Sandbox>();
                servers_.push_back(&box_->AddServer(GetSettings(from)));
                to.Put(servers_.back()->Name()).Put(servers_.back()->Port());
                return;
            }
            case Request::ServeResolution:
                if (box_ == nullptr) box_ = std::make_unique<Sandbox>();
                to.Put(box_->ServeResolution(from.Get<std::uint16_t>()));
                return;
            case Request::MakeWire:
                wire_ = std::make_unique<wire::WireServer>(from.Get<std::uint16_t>());
                to.Put(wire_->Port());
                return;
            case Request::ServeWire: {
                Channel callbacks = offered_.Take(from.Get<std::uint32_t>());
                std::u16string name = from.Text();
                backend_ = std::make_unique<RemoteBackend>(std::move(callbacks), std::move(name),
                                                           from.Text<char>());
                wire_->Serve(*backend_);
                return;
            }
            default:
                break;
        }
        const auto number = from.Get<std::uint32_t>();
        if (wire_ != nullptr) {
            AnswerOf(*wire_, request, from, to);
        } else if (request == Request::Run) {
            servers_.at(number)->Run(from.Text());
        } else if (request == Request::Scalar) {
            to.Put(servers_.at(number)->Scalar(from.Text()));
        } else {
            AnswerOf(*servers_.at(number), request, from, to);
        }
    }

  private:
    template <typename AnyServer>
    static void AnswerOf(AnyServer& server, Request request, Reader& from, Writer& to) {
        switch (request) {
            case Request::Log:
                return Put(to, server.Log());
            case Request::ClearLog:
                return server.ClearLog();
            case Request::AddFault:
                return server.AddFault(GetFault(from));
            case Request::ClearFaults:
                return server.ClearFaults();
            case Request::Kill:
                return server.Kill();
            case Request::Restart:
                return server.Restart();
            case Request::OpenConnections:
                to.Put(server.OpenConnections());
                return;
            default:
                throw std::runtime_error("no such request");
        }
    }

    OfferedChannels& offered_;
    std::unique_ptr<Sandbox> box_;
    std::vector<Server*> servers_;
    std::unique_ptr<RemoteBackend> backend_;  // outlives the server
    std::unique_ptr<wire::WireServer> wire_;
};

void Attend(Channel channel, OfferedChannels& offered) {
    Held held(offered);
    while (const auto message = channel.Receive()) {
        Reader from(*message);
        Writer to;
        const auto request = from.Get<Request>();
        if (request == Request::OfferCallbacks) {
            offered.Add(std::move(channel));
            return;
        }
        bool done = true;
        try {
            held.Answer(request, from, to);
        } catch (const std::exception& failure) {
            done = false;
            to = Writer();
            to.Put(std::string(failure.what()));
        }
        Reply(channel, done, std::move(to));
    }
}

int Listen(std::uint16_t& port) {
    const int listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    if (listening < 0 || bind(listening, name, size) != 0 || listen(listening, SOMAXCONN) != 0 ||
        getsockname(listening, name, &size) != 0) {
        return -1;
    }
    port = ntohs(address.sin_port);
    return listening;
}

}  // namespace
}  // namespace sandbox::remote

int main() {
    using namespace sandbox::remote;
    static OfferedChannels offered;
    std::uint16_t port = 0;
    const int listening = Listen(port);
    if (listening < 0) {
        std::perror("cannot listen");
        return 1;
    }
    std::printf("%u\n", static_cast<unsigned>(port));
    std::fflush(stdout);
    std::thread([listening] {
        for (;;) {
            const int accepted = accept(listening, nullptr, nullptr);
            if (accepted < 0) continue;
            std::thread([accepted] {
                try {
                    Attend(Channel(accepted), offered);
                } catch (const std::exception&) {
                    // The program has gone in the middle of an answer.
                }
            }).detach();
        }
    }).detach();
    while (std::getchar() != EOF) {
    }
    std::_Exit(0);
}
