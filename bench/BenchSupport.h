// A table of eight mixed columns, served over TDS by a process of its own, so that what is measured
// is the client alone.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "data/ConnectionString.h"
#include "sandbox/Backend.h"
#include "sandbox/wire/WireServer.h"

namespace bench {

// Answers any batch that is a number with so many rows.
class RowSource : public sandbox::Backend {
  public:
    std::unique_ptr<sandbox::Session> Login(const sandbox::LoginRequest&) override {
        return std::make_unique<RowSession>();
    }
    std::u16string ServerName() const override { return u"BENCH"; }
    std::string Version() const override { return "10.50.6000"; }

  private:
    class RowSession : public sandbox::Session {
      public:
        void Execute(std::u16string_view batch, sandbox::ResultSink& sink,
                     const std::atomic<bool>&) override {
            std::int64_t rows = 0;
            for (const char16_t c : batch) {
                if (c >= u'0' && c <= u'9') rows = rows * 10 + (c - u'0');
            }
            if (rows == 0) {
                sink.StatementDone(std::nullopt, false, false);
                return;
            }
            SendRows(sink, rows);
        }
        std::u16string Database() const override { return u"master"; }
        int TransactionDepth() const override { return 0; }

      private:
        static void SendRows(sandbox::ResultSink& sink, std::int64_t rows) {
            using sandbox::TypeId;
            const auto column = [](const char16_t* name, TypeId id, int length = 0,
                                   int precision = 0, int scale = 0) {
                return sandbox::ColumnInfo{name,
                                           {id, length, static_cast<std::uint8_t>(precision),
                                            static_cast<std::uint8_t>(scale)},
                                           true,
                                           false,
                                           false};
            };
            sink.Columns(
                {column(u"Id", TypeId::Int), column(u"Serial", TypeId::BigInt),
                 column(u"Name", TypeId::NVarChar, 50), column(u"Code", TypeId::VarChar, 20),
                 column(u"Changed", TypeId::DateTime), column(u"Amount", TypeId::Decimal, 0, 18, 4),
                 column(u"Active", TypeId::Bit), column(u"Ratio", TypeId::Float)});
            std::vector<sandbox::Cell> cells(8);
            for (auto& cell : cells)
                cell.null = false;
            const std::u16string names =
                u"Jo\x00E3o O'Neill-\x0141uczak \x4E2D\x6587 Holding & Sons, Ltd.";
            const std::u16string codes = u"AB-1234/5678-XYZ-0001";
            for (std::int64_t i = 0; i < rows; ++i) {
                cells[0].i = i;
                cells[1].i = i * 1000003;
                cells[2].null = i % 16 == 15;
                cells[2].data = reinterpret_cast<const std::uint8_t*>(names.data() + i % 8);
                cells[2].size = static_cast<std::size_t>(16 + i % 16) * 2;
                cells[3].data = reinterpret_cast<const std::uint8_t*>(codes.data());
                cells[3].size = static_cast<std::size_t>(10 + i % 10) * 2;
                cells[4].i = 45000LL * 25920000 + i * 7919;
                cells[5].big = i * 12345 - 5000000;
                cells[6].i = i & 1;
                cells[7].d = static_cast<double>(i) / 7;
                if (!sink.Row(cells.data())) return;
            }
            sink.StatementDone(rows, true, false);
        }
    };
};

// The server process; ends with this object. Start it before any thread.
class ServerProcess {
  public:
    ServerProcess() {
        int ends[2];
        if (pipe(ends) != 0) throw std::runtime_error("pipe");
        child_ = fork();
        if (child_ < 0) throw std::runtime_error("fork");
        if (child_ == 0) Serve(ends[1]);
        close(ends[1]);
        if (read(ends[0], &port_, sizeof port_) != sizeof port_)
            throw std::runtime_error("no server");
        close(ends[0]);
    }
    ~ServerProcess() {
        kill(child_, SIGTERM);
        waitpid(child_, nullptr, 0);
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    std::u16string ConnectionString() const {
        const std::string port = std::to_string(port_);
        return QuillonLib::BuildConnectionString(
            u"127.0.0.1," + std::u16string(port.begin(), port.end()), u"master", false, u"sa",
            u"sandbox");
    }

  private:
    [[noreturn]] static void Serve(int out) {
        RowSource source;
        sandbox::wire::WireServer server;
        server.Serve(source);
        const std::uint16_t port = server.Port();
        if (write(out, &port, sizeof port) != sizeof port) _exit(1);
        for (;;)
            pause();
    }

    pid_t child_ = -1;
    std::uint16_t port_ = 0;
};

// Processor time of this process, in seconds.
inline double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Measured {
    double cpu = 0;
    double wall = 0;
};

template <class Action>
Measured Measure(const Action& action) {
    const double cpu = CpuSeconds();
    const auto begin = std::chrono::steady_clock::now();
    action();
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
    return {CpuSeconds() - cpu, wall.count()};
}

// The smallest of several runs: what the work costs without the machine's other work.
inline void KeepBest(Measured& best, const Measured& run) {
    if (best.wall == 0 || run.cpu < best.cpu) best = run;
}

}  // namespace bench
