#include "cli/CancelOnInterrupt.h"

#include <chrono>

#include "cli/Interrupt.h"

namespace quillon {

namespace {

// For a call that ends by itself: see Connection::Cancel.
constexpr std::chrono::milliseconds Grace{500};

}  // namespace

CancelOnInterrupt::CancelOnInterrupt(QuillonLib::Connection& connection)
    : watcher_([this, &connection] {
          std::unique_lock lock(mutex_);
          const auto over = [this] { return over_; };
          while (!ended_.wait_for(lock, LookForSignalEvery, over)) {
              if (!Interrupted()) continue;
              if (ended_.wait_for(lock, Grace, over)) return;
              connection.Cancel();
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
