#include "CancelWatch.h"

#include <sys/epoll.h>

#include "Packets.h"

namespace sandbox::wire {

// Every event disarms the watch. Between batches it is armed for nothing, which costs at most one
// event when the connection ends.
CancelWatch::CancelWatch(const Socket& socket, int poller, std::uint64_t id)
    : socket_(socket), poller_(poller), id_(id) {
    epoll_event event{};
    event.events = EPOLLONESHOT;
    event.data.u64 = id_;
    ::epoll_ctl(poller_, EPOLL_CTL_ADD, socket_.Handle(), &event);
}

CancelWatch::~CancelWatch() {
    ::epoll_ctl(poller_, EPOLL_CTL_DEL, socket_.Handle(), nullptr);
}

void CancelWatch::Arm(std::uint32_t events) {
    epoll_event event{};
    event.events = events | EPOLLONESHOT;
    event.data.u64 = id_;
    ::epoll_ctl(poller_, EPOLL_CTL_MOD, socket_.Handle(), &event);
}

void CancelWatch::Begin() {
    {
        const std::lock_guard lock(mutex_);
        running_ = true;
        attention_ = false;
        cancelled_ = aborted_;
    }
    Arm(EPOLLIN | EPOLLRDHUP);
}

bool CancelWatch::End() {
    Arm(0);
    const std::lock_guard lock(mutex_);
    running_ = false;
    return attention_;
}

void CancelWatch::Look() {
    const std::lock_guard lock(mutex_);
    // A batch that has ended meanwhile must not be taken for the next one.
    if (!running_) return;
    std::uint8_t first = 0;
    switch (socket_.Peek(first)) {
        case Socket::Waiting::Nothing:
            return;
        case Socket::Waiting::Data:
            attention_ = first == static_cast<std::uint8_t>(PacketType::Attention);
            if (attention_) cancelled_ = true;
            return;
        case Socket::Waiting::End:
            cancelled_ = true;
            return;
    }
}

void CancelWatch::Abort() {
    const std::lock_guard lock(mutex_);
    aborted_ = true;
    cancelled_ = true;
}

}  // namespace sandbox::wire
