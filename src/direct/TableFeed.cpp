#include "direct/TableFeed.h"

#include <utility>

namespace QuillonLib {

namespace {

constexpr std::size_t Room = std::size_t{8} << 20;  // bytes of rows, about

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
    Push(std::move(difference), size);
}

void TableFeed::Read(const DirectTableResult& result) {
    if (stopped_.load(std::memory_order_relaxed)) throw ComparisonStopped();
    if ((result.rows1 + result.rows2) % ReportEvery != 0) return;
    Push(RowsRead{result.rows1, result.rows2}, sizeof(RowsRead));
}

void TableFeed::Push(Item item, std::size_t size) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return held_ < Room || stopped_; });
    if (stopped_) throw ComparisonStopped();
    items_.emplace_back(std::move(item), size);
    held_ += size;
    changed_.notify_all();
}

void TableFeed::Close(std::exception_ptr failure) {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    failure_ = std::move(failure);
    changed_.notify_all();
}

bool TableFeed::Await(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [this] { return !items_.empty() || closed_; });
}

std::optional<TableFeed::Item> TableFeed::Take() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !items_.empty() || closed_; });
    if (items_.empty()) {
        if (failure_ != nullptr) std::rethrow_exception(failure_);
        return std::nullopt;
    }
    Item item = std::move(items_.front().first);
    held_ -= items_.front().second;
    items_.pop_front();
    changed_.notify_all();
    return item;
}

void TableFeed::Stop() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
}

}  // namespace QuillonLib
