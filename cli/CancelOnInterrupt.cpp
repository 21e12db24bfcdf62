#include "cli/CancelOnInterrupt.h"

#include <chrono>

#include "cli/Interrupt.h"

namespace quillon {

namespace {

constexpr std::chrono::milliseconds LookEvery{50};

}  // namespace

CancelOnInterrupt::CancelOnInterrupt(QuillonLib::Connection& connection)
    : watcher_([this, &connection] {
          std::unique_lock lock(mutex_);
          while (!ended_.wait_for(lock, LookEvery, [this] { return over_; })) {
              if (Interrupted()) connection.Cancel();
          }
      }) {
}

CancelOnInterrupt::~CancelOnInterrupt() {
    {
        const std::lock_guard lock(mutex_);
        over_ = true;
    }
    ended_.notify_all();
    watcher_.join();
}

}  // namespace quillon
