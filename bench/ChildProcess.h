// Processes that a benchmark starts: none of them outlives it.
#pragma once

#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>

namespace bench {

// Runs `work` in a process of its own. The kernel kills that one when this process ends, be it by a
// signal, an exception that nobody catches, or exit(). Start it from the main thread.
class ChildProcess {
  public:
    // After an exception of `work`, which is printed, the process ends with status 1.
    explicit ChildProcess(const std::function<void()>& work) {
        const pid_t parent = getpid();
        std::fflush(nullptr);  // or what is buffered would be printed twice
        pid_ = fork();
        if (pid_ < 0) throw std::runtime_error("fork");
        if (pid_ == 0) Run(work, parent);
    }
    // Kills it where it still runs.
    ~ChildProcess() {
        if (pid_ <= 0) return;
        kill(pid_, SIGKILL);
        Wait();
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Waits for its end; as waitpid tells it, 0 after a success.
    int Wait() {
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return status;
    }

  private:
    [[noreturn]] static void Run(const std::function<void()>& work, pid_t parent) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(1);  // it ended before it could be told
        try {
            work();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            _exit(1);
        }
        std::fflush(nullptr);
        _exit(0);
    }

    pid_t pid_ = -1;
};

}  // namespace bench
