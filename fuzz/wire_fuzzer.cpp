// Any bytes from a client: the sandbox answers or closes the connection. The first byte says
// whether they come before a login or behind one.
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "sandbox/wire/Connection.h"

namespace {

using namespace sandbox;

// A row for every batch.
class OneRow : public Session {
  public:
    void Execute(std::u16string_view batch, ResultSink& sink, const std::atomic<bool>&) override {
        depth_ = batch.starts_with(u"BEGIN") ? 1 : 0;
        ColumnInfo column;
        column.type.id = TypeId::NVarChar;
        column.type.length = -1;
        sink.Columns({column});
        Cell cell;
        cell.null = false;
        cell.data = reinterpret_cast<const std::uint8_t*>(batch.data());
        cell.size = batch.size() * 2;
        if (sink.Row(&cell)) sink.StatementDone(1, true, false);
    }
    std::u16string Database() const override { return u"master"; }
    int TransactionDepth() const override { return depth_; }

  private:
    int depth_ = 0;
};

class OneRowBackend : public Backend {
  public:
    std::unique_ptr<Session> Login(const LoginRequest&) override {
        return std::make_unique<OneRow>();
    }
    std::u16string ServerName() const override { return u"FUZZ"; }
    std::string Version() const override { return "11.0.7001"; }
};

void Little(std::string& out, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i)
        out += static_cast<char>(value >> (8 * i));
}

// A packet of a LOGIN7 of version 7.4 without any names.
std::string Login() {
    constexpr std::uint32_t kHead = 94;
    std::string body;
    Little(body, kHead, 4);
    Little(body, 0x74000004, 4);
    Little(body, 4096, 4);
    body += std::string(kHead - body.size(), '\0');
    for (std::size_t at = 36; at < kHead; at += 4) {
        if (at == 72) at += 6;  // the client's address stands between
        body[at] = static_cast<char>(kHead);
    }
    std::string packet = {0x10, 0x01, 0x00, static_cast<char>(body.size() + 8), 0, 0, 1, 0};
    return packet + body;
}

void Drain(int handle) {
    char buffer[4096];
    while (read(handle, buffer, sizeof buffer) > 0) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    static const int poller = epoll_create1(0);
    std::string sent = (*data & 1) != 0 ? Login() : std::string();
    sent.append(reinterpret_cast<const char*>(data + 1), size - 1);
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) std::abort();
    std::thread client([&] {
        for (std::size_t at = 0; at < sent.size();) {
            const ssize_t n = send(ends[0], sent.data() + at, sent.size() - at, MSG_NOSIGNAL);
            if (n <= 0) break;
            at += static_cast<std::size_t>(n);
        }
        shutdown(ends[0], SHUT_WR);
        Drain(ends[0]);
    });
    OneRowBackend backend;
    wire::ServerShare share;
    share.backend = &backend;
    {
        wire::Connection connection(wire::Socket(ends[1]), share, poller, 1);
        connection.Run();
    }
    client.join();
    close(ends[0]);
    return 0;
}
