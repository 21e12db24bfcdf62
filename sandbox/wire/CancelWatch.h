// Notices while a batch runs that its client wants it to stop: an attention packet arrives, or
// the connection ends. The thread of the connection runs the batch; the thread that listens for
// new connections looks after the watched sockets.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "Socket.h"

namespace sandbox::wire {

class CancelWatch {
  public:
    // `poller` is an epoll handle; its events carry `id`.
    CancelWatch(const Socket& socket, int poller, std::uint64_t id);
    ~CancelWatch();
    CancelWatch(const CancelWatch&) = delete;
    CancelWatch& operator=(const CancelWatch&) = delete;

    const std::atomic<bool>& Cancelled() const { return cancelled_; }

    // Around a batch. End() says whether an attention packet waits to be read.
    void Begin();
    bool End();

    // From the listening thread: something happened on the socket.
    void Look();
    // From any thread: stop what runs and whatever may come.
    void Abort();

  private:
    void Arm(std::uint32_t events);

    const Socket& socket_;
    int poller_;
    std::uint64_t id_;
    std::mutex mutex_;
    bool running_ = false;
    bool aborted_ = false;
    bool attention_ = false;
    std::atomic<bool> cancelled_{false};
};

}  // namespace sandbox::wire
