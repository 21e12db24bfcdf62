#include "cli/BatchQueue.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace quillon {

BatchQueue::BatchQueue(std::vector<std::vector<Need>> pairs)
    : pairs_(std::move(pairs)), waiting_(pairs_.size()) {
    std::iota(waiting_.begin(), waiting_.end(), std::size_t{0});
    for (auto& needs : pairs_) {
        std::sort(needs.begin(), needs.end(),
                  [](const Need& a, const Need& b) { return a.name < b.name; });
        const auto end = std::unique(needs.begin(), needs.end(),
                                     [](const Need& a, const Need& b) { return a.name == b.name; });
        needs.erase(end, needs.end());
    }
}

bool BatchQueue::MayBegin(std::size_t pair) const {
    return std::all_of(pairs_[pair].begin(), pairs_[pair].end(), [&](const Need& need) {
        const auto taken = taken_.find(need.name);
        return taken == taken_.end() || taken->second < need.limit;
    });
}

std::optional<std::size_t> BatchQueue::Next() {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (closed_ || waiting_.empty()) return std::nullopt;
        const auto next = std::find_if(waiting_.begin(), waiting_.end(),
                                       [&](std::size_t pair) { return MayBegin(pair); });
        if (next != waiting_.end()) {
            const std::size_t pair = *next;
            waiting_.erase(next);
            for (const Need& need : pairs_[pair])
                ++taken_[need.name];
            // Those that wait for the last one have nothing to wait for any more.
            if (waiting_.empty()) changed_.notify_all();
            return pair;
        }
        changed_.wait(lock);
    }
}

void BatchQueue::Done(std::size_t pair) {
    {
        const std::lock_guard lock(mutex_);
        for (const Need& need : pairs_[pair])
            --taken_[need.name];
    }
    changed_.notify_all();
}

void BatchQueue::Close() {
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
    }
    changed_.notify_all();
}

}  // namespace quillon
