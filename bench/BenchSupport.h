// Rows served over TDS by a process of its own, so that what is measured is the client alone.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/ChildProcess.h"
#include "bench/MixedRows.h"
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

// Processor time in seconds, of this process or of the children that it waited for.
inline double CpuSeconds(int who = RUSAGE_SELF) {
    rusage usage{};
    getrusage(who, &usage);
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

// The least of each, which need not be of one run.
inline void KeepLeast(Measured& least, const Measured& run) {
    const bool first = least.wall == 0;
    least.cpu = first ? run.cpu : std::min(least.cpu, run.cpu);
    least.wall = first ? run.wall : std::min(least.wall, run.wall);
}

inline void PrintTime(const char* name, const Measured& time, std::size_t rows) {
    std::printf("%-22s %8.3f s CPU  %8.3f s  %6.2f M rows/s\n", name, time.cpu, time.wall,
                static_cast<double>(rows) / time.wall / 1e6);
}

}  // namespace bench
