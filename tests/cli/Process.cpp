#include "tests/cli/Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

namespace quillon {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto Patience = 2min;

std::string ContentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool Comes(const fs::path& file, const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (std::chrono::steady_clock::now() < end) {
        if (ContentOf(file).find(text) != std::string::npos) return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

// What execve takes; lives as long as the strings.
std::vector<char*> Pointers(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (std::string& text : strings)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Environment(const std::map<std::string, std::string>& changes) {
    std::vector<std::string> environment;
    for (char** at = environ; *at != nullptr; ++at) {
        const std::string entry = *at;
        const std::string name = entry.substr(0, entry.find('='));
        if (!changes.contains(name) && name != "ODBCSYSINI") environment.push_back(entry);
    }
    for (const auto& [name, value] : changes) {
        if (!value.empty()) environment.push_back(name + "=" + value);
    }
    return environment;
}

// A limit would cut the counters, too, that a process writes when it ends in a build that counts
// which lines run, and all processes add to the same files: such a process gets files of its own,
// new ones that nobody reads.
std::map<std::string, std::string> WithOwnCounters(std::map<std::string, std::string> changes,
                                                   const fs::path& folder) {
    const fs::path counters = folder / "counters";
    fs::remove_all(counters);
    changes["GCOV_PREFIX"] = counters.string();
    changes["GCOV_ERROR_FILE"] = "/dev/null";
    return changes;
}

void Connect(posix_spawn_file_actions_t& actions, int number, const std::string& path, int flags) {
    if (path == "closed") {
        posix_spawn_file_actions_addclose(&actions, number);
    } else if (path.starts_with("fd:")) {
        posix_spawn_file_actions_adddup2(&actions, std::stoi(path.substr(3)), number);
    } else {
        posix_spawn_file_actions_addopen(&actions, number, path.c_str(), flags, 0600);
    }
}

}  // namespace

Process::Process(const fs::path& folder, const std::vector<std::string>& arguments,
                 const Streams& streams, const std::map<std::string, std::string>& environment)
    : out_(streams.out.empty() ? (folder / "out").string() : streams.out),
      err_(streams.err.empty() ? (folder / "err").string() : streams.err) {
    std::vector<std::string> argv{QUILLON_PROGRAM};
    if (streams.blocks > 0) {
        const std::string limit = "ulimit -f " + std::to_string(streams.blocks);
        argv.insert(argv.begin(), {"/bin/sh", "-c", limit + "; exec \"$0\" \"$@\""});
    }
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables =
        Environment(streams.blocks > 0 ? WithOwnCounters(environment, folder) : environment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    Connect(actions, 0, streams.in.empty() ? "/dev/null" : streams.in, O_RDWR);
    Connect(actions, 1, out_, O_WRONLY | O_CREAT | O_TRUNC);
    Connect(actions, 2, err_, O_WRONLY | O_CREAT | O_TRUNC);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A shell that starts the tests in the background lets them ignore SIGQUIT.
    sigset_t quit;
    sigemptyset(&quit);
    sigaddset(&quit, SIGQUIT);
    posix_spawnattr_setsigdefault(&attributes, &quit);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF);
    const int failure = posix_spawn(&pid_, argv.front().c_str(), &actions, &attributes,
                                    Pointers(argv).data(), Pointers(variables).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(failure, 0) << QUILLON_PROGRAM;
    if (failure != 0) pid_ = -1;
}

Process::~Process() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void Process::Signal(int signal) const {
    ASSERT_GT(pid_, 0);
    ASSERT_EQ(kill(pid_, signal), 0);
}

bool Process::Says(const std::string& text) const {
    return Comes(err_, text);
}

bool Process::Prints(const std::string& text) const {
    return Comes(out_, text);
}

int Process::Wait() {
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (pid_ > 0 && std::chrono::steady_clock::now() < end) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
        }
        std::this_thread::sleep_for(5ms);
    }
    ADD_FAILURE() << "the process does not end";
    return -1000;
}

std::string Process::Out() const {
    return ContentOf(out_);
}

std::string Process::Err() const {
    return ContentOf(err_);
}

Terminal::Terminal() : person_(posix_openpt(O_RDWR | O_NOCTTY)) {
    EXPECT_EQ(grantpt(person_), 0);
    EXPECT_EQ(unlockpt(person_), 0);
    path_ = ptsname(person_);
    line_ = open(path_.c_str(), O_RDWR | O_NOCTTY);
}

Terminal::~Terminal() {
    close(line_);
    close(person_);
}

void Terminal::Type(const std::string& keys) const {
    ASSERT_EQ(write(person_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

void Terminal::Resize(unsigned short columns) const {
    winsize size{};
    size.ws_row = 24;
    size.ws_col = columns;
    EXPECT_EQ(ioctl(line_, TIOCSWINSZ, &size), 0);
}

void Terminal::Drain() {
    for (pollfd ready{person_, POLLIN, 0}; poll(&ready, 1, 0) > 0;) {
        char piece[1000];
        const ssize_t size = read(person_, piece, sizeof piece);
        if (size <= 0) return;
        shown_.append(piece, static_cast<std::size_t>(size));
    }
}

bool Terminal::Echoes() const {
    termios settings{};
    EXPECT_EQ(tcgetattr(line_, &settings), 0);
    return (settings.c_lflag & ECHO) != 0;
}

bool Terminal::Shows(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (shown_.find(text) == std::string::npos) {
        pollfd ready{person_, POLLIN, 0};
        if (poll(&ready, 1, 100) > 0) {
            char piece[1000];
            const ssize_t size = read(person_, piece, sizeof piece);
            if (size > 0) shown_.append(piece, static_cast<std::size_t>(size));
        }
        if (std::chrono::steady_clock::now() > end) return false;
    }
    return true;
}

}  // namespace quillon
