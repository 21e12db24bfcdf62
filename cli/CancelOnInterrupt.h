// A call that a signal ends although the server is silent.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "QuillonLib.h"

namespace quillon {

// While it lives, a signal that asks the program to end cancels what the connection is at: that
// call fails then.
class CancelOnInterrupt {
  public:
    explicit CancelOnInterrupt(QuillonLib::Connection& connection);
    ~CancelOnInterrupt();
    CancelOnInterrupt(const CancelOnInterrupt&) = delete;
    CancelOnInterrupt& operator=(const CancelOnInterrupt&) = delete;

  private:
    std::mutex mutex_;
    std::condition_variable ended_;
    bool over_ = false;
    std::thread watcher_;
};

}  // namespace quillon
