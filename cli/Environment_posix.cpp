#include "cli/Environment.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace quillon {

std::optional<std::string> Environment(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

namespace {

constexpr std::size_t LongestLine = std::size_t{64} << 10;

// What a command prints goes through a pipe; both ends stay with this process alone.
class Pipe {
  public:
    Pipe() {
        if (pipe2(ends_, O_CLOEXEC) != 0) throw std::runtime_error("it could not be started");
    }
    ~Pipe() {
        CloseInput();
        close(ends_[0]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int Input() const { return ends_[1]; }
    void CloseInput() {
        if (ends_[1] >= 0) close(ends_[1]);
        ends_[1] = -1;
    }
    // The first line. The rest is read, too, so that nobody fails for want of a reader, but not
    // kept.
    std::string ReadLine() {
        CloseInput();
        std::string line;
        bool over = false;
        char piece[4096];
        for (;;) {
            const ssize_t size = read(ends_[0], piece, sizeof piece);
            if (size < 0 && errno == EINTR) continue;
            if (size <= 0) return line;
            const std::string_view text(piece, static_cast<std::size_t>(size));
            const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
            if (!over) line += text.substr(0, end);
            over = over || end < text.size();
            if (line.size() > LongestLine)
                throw std::runtime_error("it prints a line that is too long for a password");
        }
    }

  private:
    int ends_[2] = {-1, -1};
};

// True where it ended well.
bool WaitFor(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

std::string FirstLineOf(const std::string& command) {
    Pipe pipe;
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const arguments[] = {shell.data(), option.data(), text.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe.Input(), STDOUT_FILENO);
    pid_t process = 0;
    const int failure = posix_spawn(&process, "/bin/sh", &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("it could not be started");
    std::string line = pipe.ReadLine();
    if (!WaitFor(process)) throw std::runtime_error("it failed");
    if (line.empty()) throw std::runtime_error("it printed nothing");
    return line;
}

}  // namespace quillon
