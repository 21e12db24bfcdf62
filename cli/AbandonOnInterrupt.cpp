#include "cli/AbandonOnInterrupt.h"

#include <atomic>
#include <chrono>
#include <iostream>
#include <string>
#include <utility>

#include "cli/Interrupt.h"
#include "cli/InterruptState.h"

namespace quillon {

namespace {

std::atomic<int> keepingOrder = 0;
std::atomic<const char*> outcomeSoFar = nullptr;

}  // namespace

AbandonOnInterrupt::AbandonOnInterrupt(std::function<void()> leave,
                                       std::chrono::milliseconds patience)
    : leave_(std::move(leave)), patience_(patience), watcher_([this] { Watch(); }) {
}

AbandonOnInterrupt::~AbandonOnInterrupt() {
    {
        const std::lock_guard lock(mutex_);
        over_ = true;
    }
    ended_.notify_all();
    watcher_.join();
}

void AbandonOnInterrupt::Watch() {
    std::unique_lock lock(mutex_);
    const auto over = [this] { return over_; };
    while (!ended_.wait_for(lock, LookForSignalEvery, over)) {
        if (!Interrupted() || keepingOrder > 0) continue;
        if (ended_.wait_for(lock, patience_, over)) return;
        Abandon();  // with the lock
    }
}

void AbandonOnInterrupt::Abandon() noexcept {
    if (leave_) leave_();
    if (const char* const outcome = outcomeSoFar)
        std::cerr << std::string("quillon: ") + outcome + '\n';
    std::cout.flush();
    EndProcess(InterruptExitCode());
}

InOrderFirst::InOrderFirst() noexcept {
    ++keepingOrder;
}

InOrderFirst::~InOrderFirst() {
    --keepingOrder;
}

OutcomeSoFar::OutcomeSoFar(const char* text) noexcept {
    outcomeSoFar = text;
}

OutcomeSoFar::~OutcomeSoFar() {
    outcomeSoFar = nullptr;
}

}  // namespace quillon
