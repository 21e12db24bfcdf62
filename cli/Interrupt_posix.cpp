#include "cli/Interrupt.h"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string_view>

#include "cli/InterruptState.h"

namespace quillon {

namespace {

std::atomic<bool> noteIsTerminal = false;

void EndAtOnce(int signal) {
    RunLastActions();
    (void)std::signal(signal, SIG_DFL);
    (void)raise(signal);  // pending until the handler returns
}

// Only what a signal handler may call.
void OnSignal(int signal) {
    const int savedErrno = errno;
    if (NoteInterrupt(signal)) {
        // Behind the "^C" that a terminal shows.
        constexpr std::string_view Text =
            "\nquillon: interrupted; ending as soon as everything is in order (once more: at "
            "once)\n";
        const std::string_view shown = Text.substr(noteIsTerminal ? 0 : 1);
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, shown.data(), shown.size());
    } else {
        EndAtOnce(signal);
    }
    errno = savedErrno;
}

void Watch(int signal, struct sigaction& before) {
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN) return;
    struct sigaction noting {};
    noting.sa_handler = OnSignal;
    sigemptyset(&noting.sa_mask);
    // Neither handler interrupts the other. Calls to the system go on: a driver that is interrupted
    // in the middle of an answer would take its connection for broken.
    sigaddset(&noting.sa_mask, SIGINT);
    sigaddset(&noting.sa_mask, SIGTERM);
    noting.sa_flags = SA_RESTART;
    sigaction(signal, &noting, nullptr);
}

// Holds the two signals back while it lives.
class SignalsHeld {
  public:
    SignalsHeld() {
        sigset_t signals{};
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals, &before_);
    }
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;
    const sigset_t* Before() const { return &before_; }

  private:
    sigset_t before_{};
};

}  // namespace

class InterruptWatch::Before {
  public:
    Before() {
        Watch(SIGINT, onInt_);
        Watch(SIGTERM, onTerm_);
    }
    ~Before() {
        sigaction(SIGINT, &onInt_, nullptr);
        sigaction(SIGTERM, &onTerm_, nullptr);
    }
    Before(const Before&) = delete;
    Before& operator=(const Before&) = delete;

  private:
    struct sigaction onInt_ {};
    struct sigaction onTerm_ {};
};

void EndProcess(int exitCode) noexcept {
    RunLastActions();
    _exit(exitCode);
}

InterruptWatch::InterruptWatch() {
    ForgetInterrupt();
    noteIsTerminal = isatty(STDERR_FILENO) == 1;
    before_ = std::make_unique<Before>();
}

InterruptWatch::~InterruptWatch() {
    before_.reset();
    ForgetInterrupt();
}

void WaitForInput(int descriptor) {
    // A signal that comes between the question and the wait must end the wait.
    const SignalsHeld held;
    pollfd input{descriptor, POLLIN, 0};
    do {
        StopIfInterrupted();
    } while (ppoll(&input, 1, nullptr, held.Before()) < 0 && errno == EINTR);
}

}  // namespace quillon
