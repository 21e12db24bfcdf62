// A table of eight mixed columns, served over TDS by a process of its own, so that what is measured
// is the client alone.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/ChildProcess.h"
#include "data/ConnectionString.h"
#include "sandbox/Backend.h"
#include "sandbox/wire/WireServer.h"

namespace bench {

// So many rows of eight mixed columns. With two sides every column stands twice, as in the row set
// of differing rows, and the sides differ in `Amount`.
inline void SendRows(sandbox::ResultSink& sink, std::int64_t rows, std::size_t sides = 1) {
    using sandbox::TypeId;
    std::vector<sandbox::ColumnInfo> columns;
    const auto add = [&](const char16_t* name, TypeId id, int length = 0, int precision = 0,
                         int scale = 0) {
        for (std::size_t side = 1; side <= sides; ++side) {
            const std::u16string suffix = sides == 1 ? u"" : side == 1 ? u"_1" : u"_2";
            columns.push_back({name + suffix,
                               {id, length, static_cast<std::uint8_t>(precision),
                                static_cast<std::uint8_t>(scale)},
                               true,
                               false,
                               false});
        }
    };
    add(u"Id", TypeId::Int);
    add(u"Serial", TypeId::BigInt);
    add(u"Name", TypeId::NVarChar, 50);
    add(u"Code", TypeId::VarChar, 20);
    add(u"Changed", TypeId::DateTime);
    add(u"Amount", TypeId::Decimal, 0, 18, 4);
    add(u"Active", TypeId::Bit);
    add(u"Ratio", TypeId::Float);
    sink.Columns(columns);
    std::vector<sandbox::Cell> cells(columns.size());
    for (auto& cell : cells)
        cell.null = false;
    const std::u16string names = u"Jo\x00E3o O'Neill-\x0141uczak \x4E2D\x6587 Holding & Sons, Ltd.";
    const std::u16string codes = u"AB-1234/5678-XYZ-0001";
    for (std::int64_t i = 0; i < rows; ++i) {
        for (std::size_t side = 0; side < sides; ++side) {
            const auto cell = [&](std::size_t column) -> sandbox::Cell& {
                return cells[column * sides + side];
            };
            cell(0).i = i;
            cell(1).i = i * 1000003;
            cell(2).null = i % 16 == 15;
            cell(2).data = reinterpret_cast<const std::uint8_t*>(names.data() + i % 8);
            cell(2).size = static_cast<std::size_t>(16 + i % 16) * 2;
            cell(3).data = reinterpret_cast<const std::uint8_t*>(codes.data());
            cell(3).size = static_cast<std::size_t>(10 + i % 10) * 2;
            cell(4).i = 45000LL * 25920000 + i * 7919;
            cell(5).big = i * 12345 - 5000000 + static_cast<std::int64_t>(side);
            cell(6).i = i & 1;
            cell(7).d = static_cast<double>(i) / 7;
        }
        if (!sink.Row(cells.data())) return;
    }
    sink.StatementDone(rows, true, false);
}

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
    };
};

// The server process; ends with this object. Start it before any thread.
class ServerProcess {
  public:
    using MakeBackend = std::function<std::unique_ptr<sandbox::Backend>()>;

    ServerProcess() : ServerProcess([] { return std::make_unique<RowSource>(); }) {}
    // `make` is called in the new process. Throws std::runtime_error when no server comes of it.
    explicit ServerProcess(const MakeBackend& make) : child_([&] { Serve(pipe_.in, make); }) {
        close(pipe_.in);
        const bool told = read(pipe_.out, &port_, sizeof port_) == sizeof port_;
        close(pipe_.out);
        if (!told) throw std::runtime_error("no server");
    }

    std::u16string Address() const {
        const std::string port = std::to_string(port_);
        return u"127.0.0.1," + std::u16string(port.begin(), port.end());
    }
    std::u16string ConnectionString() const {
        return QuillonLib::BuildConnectionString(Address(), u"master", false, u"sa", u"sandbox");
    }

  private:
    struct Pipe {
        Pipe() {
            int ends[2];
            if (pipe(ends) != 0) throw std::runtime_error("pipe");
            out = ends[0];
            in = ends[1];
        }
        int out = -1;
        int in = -1;
    };

    static void Serve(int in, const MakeBackend& make) {
        const std::unique_ptr<sandbox::Backend> source = make();
        sandbox::wire::WireServer server;
        server.Serve(*source);
        const std::uint16_t port = server.Port();
        if (write(in, &port, sizeof port) != sizeof port) throw std::runtime_error("write");
        for (;;)
            pause();
    }

    Pipe pipe_;
    ChildProcess child_;
    std::uint16_t port_ = 0;
};

// The exit status of a benchmark: 1 after an exception, which is printed.
template <class Run>
int ExitStatusOf(const Run& run) {
    try {
        return run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

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
