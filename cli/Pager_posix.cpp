#include "cli/Pager.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <vector>

#include "cli/Environment.h"

namespace quillon {

namespace {

// What the shell says of a command that is not there, or cannot be run.
constexpr int CannotRun = 126;
constexpr int NotThere = 127;

// A descriptor that leads somewhere else for a time.
class Redirected {
  public:
    Redirected(int descriptor, int to)
        : descriptor_(descriptor), before_(fcntl(descriptor, F_DUPFD_CLOEXEC, 3)) {
        if (before_ >= 0) (void)dup2(to, descriptor);
    }
    ~Redirected() {
        if (before_ < 0) return;
        (void)dup2(before_, descriptor_);
        (void)close(before_);
    }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;

  private:
    int descriptor_;
    int before_;
};

// Signals that this program does not want to hear of are the pager's own business.
class OrdinarySignals {
  public:
    OrdinarySignals() {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGPIPE);
        sigaddset(&set, SIGXFSZ);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigdefault(&attributes_, &set);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
    }
    ~OrdinarySignals() { posix_spawnattr_destroy(&attributes_); }
    OrdinarySignals(const OrdinarySignals&) = delete;
    OrdinarySignals& operator=(const OrdinarySignals&) = delete;

    const posix_spawnattr_t* Get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
};

// 0 where it could not be started. It reads from the pipe; its own output is the terminal.
pid_t Spawn(const std::string& command, int pipeEnd) {
    std::string shell = "sh";
    std::string option = "-c";
    std::string line = command;
    char* const arguments[] = {shell.data(), option.data(), line.data(), nullptr};
    const OrdinarySignals signals;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnd, STDIN_FILENO);
    std::vector<char*> variables;
    for (char** variable = environ; *variable != nullptr; ++variable)
        variables.push_back(*variable);
    // less ends by itself where all fits on a screen, and leaves it there.
    std::string less = "LESS=FRX";
    if (!Environment("LESS")) variables.push_back(less.data());
    variables.push_back(nullptr);
    pid_t process = 0;
    const int failure =
        posix_spawn(&process, "/bin/sh", &actions, signals.Get(), arguments, variables.data());
    posix_spawn_file_actions_destroy(&actions);
    return failure == 0 ? process : 0;
}

class RunningPager : public Pager {
  public:
    RunningPager(pid_t process, int pipeEnd)
        : process_(process), out_(std::make_unique<Redirected>(STDOUT_FILENO, pipeEnd)) {
        if (isatty(STDERR_FILENO) == 1) err_ = std::make_unique<Redirected>(STDERR_FILENO, pipeEnd);
    }
    ~RunningPager() override { (void)End(); }

    bool Finish() override { return End(); }

  private:
    bool End() {
        if (process_ == 0) return true;
        std::cout.flush();
        if (!std::cout) Drop();
        out_.reset();
        err_.reset();
        int status = 0;
        while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
        }
        process_ = 0;
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
        return code != CannotRun && code != NotThere;
    }

    // The person has left before the end. What is still to go out goes nowhere: least of all to the
    // terminal afterwards.
    static void Drop() {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (nowhere < 0) return;
        const Redirected away(STDOUT_FILENO, nowhere);
        (void)close(nowhere);
        (void)std::fflush(stdout);
    }

    pid_t process_;
    std::unique_ptr<Redirected> out_;
    std::unique_ptr<Redirected> err_;
};

}  // namespace

std::unique_ptr<Pager> Pager::Start(const std::string& command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return nullptr;
    std::unique_ptr<Pager> pager;
    if (const pid_t process = Spawn(command, ends[0]); process != 0)
        pager = std::make_unique<RunningPager>(process, ends[1]);
    (void)close(ends[0]);
    (void)close(ends[1]);
    return pager;
}

}  // namespace quillon
