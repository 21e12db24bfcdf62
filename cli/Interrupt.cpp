#include "cli/Interrupt.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string_view>

namespace quillon {

namespace {

constexpr int ExitCodeOfSignal = 128;

std::atomic<int> signalThatCame = 0;
static_assert(std::atomic<int>::is_always_lock_free, "read and written by a signal handler");

// Only what a signal handler may call.
void OnSignal(int signal) {
    const int savedErrno = errno;
    int none = 0;
    if (signalThatCame.compare_exchange_strong(none, signal)) {
        constexpr std::string_view Text =
            "\nquillon: interrupted; ending as soon as everything is in order (once more: at "
            "once)\n";
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, Text.data(), Text.size());
    } else {
        std::signal(signal, SIG_DFL);
        raise(signal);  // pending until the handler returns
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

}  // namespace

InterruptWatch::InterruptWatch() {
    signalThatCame = 0;
    Watch(SIGINT, beforeInt_);
    Watch(SIGTERM, beforeTerm_);
}

InterruptWatch::~InterruptWatch() {
    sigaction(SIGINT, &beforeInt_, nullptr);
    sigaction(SIGTERM, &beforeTerm_, nullptr);
}

bool Interrupted() noexcept {
    return signalThatCame != 0;
}

int InterruptExitCode() noexcept {
    const int signal = signalThatCame;
    return signal == 0 ? 0 : ExitCodeOfSignal + signal;
}

void StopIfInterrupted() {
    if (Interrupted()) throw Interruption();
}

}  // namespace quillon
