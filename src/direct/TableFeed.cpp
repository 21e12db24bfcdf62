#include "direct/TableFeed.h"

#include <iterator>
#include <utility>

namespace QuillonLib {

namespace {

// Bytes of rows, about: that wait, and as many are in the hands of the caller.
constexpr std::size_t MaxWaitingBytes = std::size_t{4} << 20;
constexpr std::size_t HandedAtOnce = std::size_t{64} << 10;

std::size_t SizeOf(const std::optional<DirectRow>& row) {
    if (!row) return 0;
    std::size_t size = row->size() * sizeof(Value);
    for (const Value& value : *row) {
        if (value.Kind() == ValueKind::String) {
            size += value.Get<std::u16string>().size() * sizeof(char16_t);
        } else if (value.Kind() == ValueKind::Bytes) {
            size += value.Get<ByteArray>().size();
        }
    }
    return size;
}

}  // namespace

void TableFeed::Found(FoundDifference difference) {
    const std::size_t size =
        sizeof(FoundDifference) + SizeOf(difference.row1) + SizeOf(difference.row2);
    Keep(std::move(difference), size);
    if (size_ >= HandedAtOnce) Hand();
}

void TableFeed::Look() const {
    if (stopped_.load(std::memory_order_relaxed)) throw ComparisonStopped();
}

void TableFeed::Read(const DirectTableResult& result) {
    Look();
    const std::uint64_t rows = result.rows1 + result.rows2;
    if (rows % ReportEvery != 0) return;
    rows_ = rows;
    Keep(RowsRead{result.rows1, result.rows2}, sizeof(Item));
    Hand();
}

void TableFeed::Keep(Item item, std::size_t size) {
    found_.push_back(std::move(item));
    size_ += size;
}

void TableFeed::Hand() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return held_ < MaxWaitingBytes || stopped_; });
    if (stopped_) throw ComparisonStopped();
    Append();
}

// Under the lock.
void TableFeed::Append() {
    std::move(found_.begin(), found_.end(), std::back_inserter(items_));
    found_.clear();
    held_ += std::exchange(size_, 0);
    changed_.notify_all();
}

void TableFeed::Finish(std::uint64_t rows) {
    rows_ = rows;
    finished_ = true;
}

TableFeed::Level TableFeed::ReadSoFar() const {
    const bool finished = finished_;  // first: the rows are all of them then
    return {rows_, finished};
}

void TableFeed::Close(std::exception_ptr failure) {
    const std::lock_guard lock(mutex_);
    Append();
    closed_ = true;
    failure_ = std::move(failure);
}

bool TableFeed::Await(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [this] { return !items_.empty() || closed_; });
}

std::optional<TableFeed::Item> TableFeed::Take() {
    if (told_ == taken_.size()) {
        taken_.clear();
        told_ = 0;
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !items_.empty() || closed_; });
        if (items_.empty()) {
            if (failure_ != nullptr) std::rethrow_exception(failure_);
            return std::nullopt;
        }
        std::swap(taken_, items_);
        held_ = 0;
        changed_.notify_all();
    }
    return std::move(taken_[told_++]);
}

void TableFeed::Stop() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
}

}  // namespace QuillonLib
