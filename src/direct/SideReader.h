// Reads one side of a table ahead of those who compare it. Not installed.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "data/RowStream.h"

namespace QuillonLib {

class Connection;

// Only a server that is silent has its query cancelled: see Connection::Cancel.
inline constexpr std::chrono::milliseconds CancelEvery{500};

// One query at a time, on a thread of its own, so that both servers work and both connections
// deliver while rows are compared. What is ready and not yet taken is bounded. All calls come from
// one thread.
class SideReader {
  public:
    // What it fails with is a SideFailure, unless `side` is 0.
    explicit SideReader(int side = 0) : side_(side) {}
    ~SideReader();
    SideReader(const SideReader&) = delete;
    SideReader& operator=(const SideReader&) = delete;

    // Sends the query, and does not wait for its answer. From here to the end of the rows, or to
    // Stop, the connection belongs to the reader. No other query may be under way.
    void Start(std::u16string sql, std::shared_ptr<Connection> connection);

    // The reader of the other side of the table. What it fails with ends a wait for rows here, too:
    // they would be of no use.
    void Beside(SideReader& other) noexcept { other_ = &other; }

    // As RowStream::Next; throws what running the query threw, too.
    std::shared_ptr<const RowBlock> Next();

    // Lets go of the rest, behind the block that is being read; the query of a server that is
    // silent is cancelled.
    void Stop() noexcept;

  private:
    using Block = std::shared_ptr<const RowBlock>;

    void ThrowFailure();
    void Work();
    void ReadAll(RowStream& rows);
    bool Hand(Block block);

    const int side_;
    std::mutex mutex_;
    std::condition_variable changed_;
    SideReader* other_ = nullptr;
    std::thread thread_;  // made for the first query
    bool quit_ = false;
    // Of the query under way.
    std::u16string sql_;
    std::shared_ptr<Connection> connection_;  // null: there is none
    std::deque<Block> ready_;
    std::size_t held_ = 0;  // bytes of `ready_`
    std::exception_ptr failure_;
    std::atomic<bool> failed_ = false;  // there is a `failure_`
    bool stopped_ = false;
};

}  // namespace QuillonLib
