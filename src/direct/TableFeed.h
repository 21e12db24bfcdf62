// What a worker finds in one table, on its way to the caller's thread. Not installed.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <variant>
#include <vector>

#include "direct/Outlet.h"

namespace QuillonLib {

// Thrown by the calls of a worker when the comparison ends before it: no Error.
struct ComparisonStopped {};

// Differences wait here until it is their table's turn. A worker that is ahead of its turn waits as
// soon as they fill a room, so that memory stays bounded whatever differs. They change hands some
// at a time, at the latest with a report of progress: one by one they would cost more than to find
// them.
class TableFeed : public Outlet {
  public:
    struct RowsRead {
        std::uint64_t rows1 = 0;
        std::uint64_t rows2 = 0;
    };
    using Item = std::variant<FoundDifference, RowsRead>;

    // Rows between two reports of progress: a fixed number, so that reports come at the same rows
    // every time.
    static constexpr std::uint64_t ReportEvery = 10000;

    explicit TableFeed(bool wantsSame = false) : wantsSame_(wantsSame) {}

    // The worker's calls.
    void Found(FoundDifference difference) override;
    bool WantsSame() const override { return wantsSame_; }
    void Look() const override;
    void Read(const DirectTableResult& result) override;
    // All rows of the table that have been read; before Close.
    void Finish(std::uint64_t rows);
    // The last call: the table is done, or `failure`, if there is any, ends the comparison.
    void Close(std::exception_ptr failure);

    // The caller's. Whether Take need not wait, as soon as that is so, but no later than after
    // `limit`.
    bool Await(std::chrono::milliseconds limit);
    // Take waits for the next item; absent after the last one. Throws what the worker
    // closed with.
    std::optional<Item> Take();
    void Stop();

    // How many rows have been read, as far as the worker has told, on any thread; and whether they
    // are all.
    struct Level {
        std::uint64_t rows = 0;
        bool finished = false;
    };
    Level ReadSoFar() const;

  private:
    void Keep(Item item, std::size_t size);
    void Hand();
    void Append();

    // The worker's.
    std::vector<Item> found_;
    std::size_t size_ = 0;  // bytes of `found_`

    const bool wantsSame_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Item> items_;
    std::size_t held_ = 0;  // bytes of `items_`
    bool closed_ = false;
    std::exception_ptr failure_;
    std::atomic<bool> stopped_ = false;
    std::atomic<std::uint64_t> rows_ = 0;
    std::atomic<bool> finished_ = false;

    // The caller's.
    std::vector<Item> taken_;
    std::size_t told_ = 0;  // of `taken_`
};

}  // namespace QuillonLib
