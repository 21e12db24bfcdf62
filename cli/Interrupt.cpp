#include "cli/Interrupt.h"

#include <array>
#include <atomic>

#include "cli/InterruptState.h"

namespace quillon {

namespace {

constexpr int ExitCodeOfSignal = 128;

std::atomic<int> signalThatCame = 0;
static_assert(std::atomic<int>::is_always_lock_free, "read and written by a signal handler");

std::array<std::atomic<LastAction>, 4> lastActions;
static_assert(std::atomic<LastAction>::is_always_lock_free, "read by a signal handler");

}  // namespace

bool NoteInterrupt(int signal) noexcept {
    int none = 0;
    return signalThatCame.compare_exchange_strong(none, signal);
}

void ForgetInterrupt() noexcept {
    signalThatCame = 0;
}

void RunLastActions() noexcept {
    for (const auto& slot : lastActions) {
        if (const LastAction action = slot) action();
    }
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

void BeforeEndingAtOnce(LastAction action) {
    for (auto& slot : lastActions) {
        LastAction none = nullptr;
        if (slot == action || slot.compare_exchange_strong(none, action)) return;
    }
}

}  // namespace quillon
