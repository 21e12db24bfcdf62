// Calls that nobody can cancel: a login to a server that takes the connection and never answers, or
// a query that the library makes for itself.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace quillon {

// While it lives, a signal that asks the program to end does so when `patience` is over, whatever
// the thread that made this is at: the process ends, with the exit code of the signal. For work
// that leaves nothing to be put in order but what `leave` does, which is called then, in another
// thread, while this object's end is held up.
class AbandonOnInterrupt {
  public:
    explicit AbandonOnInterrupt(std::function<void()> leave = {},
                                std::chrono::milliseconds patience = std::chrono::seconds(1));
    ~AbandonOnInterrupt();
    AbandonOnInterrupt(const AbandonOnInterrupt&) = delete;
    AbandonOnInterrupt& operator=(const AbandonOnInterrupt&) = delete;

  private:
    void Watch();
    void Abandon() noexcept;

    std::function<void()> leave_;
    std::chrono::milliseconds patience_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool over_ = false;
    std::thread watcher_;
};

// While one lives, nothing is abandoned: its owner has something to put in order at its end.
class InOrderFirst {
  public:
    InOrderFirst() noexcept;
    ~InOrderFirst();
    InOrderFirst(const InOrderFirst&) = delete;
    InOrderFirst& operator=(const InOrderFirst&) = delete;
};

// While it lives, whoever is told that the program ends is told this, too: what has become of the
// command's work. One at a time.
class OutcomeSoFar {
  public:
    explicit OutcomeSoFar(const char* text) noexcept;  // text that stays
    ~OutcomeSoFar();
    OutcomeSoFar(const OutcomeSoFar&) = delete;
    OutcomeSoFar& operator=(const OutcomeSoFar&) = delete;
};

}  // namespace quillon
