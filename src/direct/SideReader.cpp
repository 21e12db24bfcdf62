#include "direct/SideReader.h"

#include <chrono>
#include <utility>

#include "data/Connection.h"
#include "direct/SideFailure.h"

namespace QuillonLib {

namespace {

// Bytes of blocks that may wait: enough to read on while the other side is behind, and little
// enough to be in the processor's cache when they are taken.
constexpr std::size_t Room = std::size_t{256} << 10;

constexpr std::chrono::milliseconds LookEvery{100};

}  // namespace

SideReader::~SideReader() {
    Stop();
    {
        const std::lock_guard lock(mutex_);
        quit_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
}

void SideReader::Start(std::u16string sql, std::shared_ptr<Connection> connection) {
    const std::lock_guard lock(mutex_);
    if (!thread_.joinable()) thread_ = std::thread([this] { Work(); });
    failure_ = nullptr;
    failed_ = false;
    stopped_ = false;
    sql_ = std::move(sql);
    connection_ = std::move(connection);
    changed_.notify_all();
}

std::shared_ptr<const RowBlock> SideReader::Next() {
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, LookEvery,
                              [this] { return !ready_.empty() || connection_ == nullptr; })) {
        if (other_ != nullptr) other_->ThrowFailure();
    }
    if (ready_.empty()) {
        if (failure_ != nullptr) std::rethrow_exception(failure_);
        return nullptr;
    }
    Block block = std::move(ready_.front());
    ready_.pop_front();
    held_ -= block->MemoryUsed();
    changed_.notify_all();
    return block;
}

void SideReader::ThrowFailure() {
    if (!failed_) return;
    const std::lock_guard lock(mutex_);
    if (failure_ != nullptr) std::rethrow_exception(failure_);
}

void SideReader::Stop() noexcept {
    std::unique_lock lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
    // Again and again: the reader may just be about to begin its next call.
    while (!changed_.wait_for(lock, CancelEvery, [this] { return connection_ == nullptr; }))
        connection_->Cancel();
    ready_.clear();
    held_ = 0;
}

void SideReader::Work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return connection_ != nullptr || quit_; });
        if (quit_) return;
        const std::shared_ptr<Connection> connection = connection_;
        lock.unlock();
        std::exception_ptr failure;
        try {
            RowStream rows(sql_, connection);
            ReadAll(rows);
        } catch (const Error& error) {
            failure = std::current_exception();
            try {
                if (side_ != 0) failure = std::make_exception_ptr(SideFailure(error, side_));
            } catch (...) {  // there is no memory for more
            }
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        failure_ = std::move(failure);
        failed_ = failure_ != nullptr;
        connection_ = nullptr;
        changed_.notify_all();
    }
}

void SideReader::ReadAll(RowStream& rows) {
    while (Block block = rows.Next()) {
        if (!Hand(std::move(block))) return;
    }
}

// False: nobody wants more.
bool SideReader::Hand(Block block) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return held_ < Room || stopped_; });
    if (stopped_) return false;
    held_ += block->MemoryUsed();
    ready_.push_back(std::move(block));
    changed_.notify_all();
    return true;
}

}  // namespace QuillonLib
