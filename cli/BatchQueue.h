// Which pair of a batch comes next.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

// Gives pairs to several threads: in the order of the list, but one whose servers are all busy
// waits for its turn while others go before it. From any thread.
class BatchQueue {
  public:
    // What a pair takes while it runs, each by a name, and how many pairs may have it at once.
    struct Need {
        std::string name;
        std::size_t limit = 1;  // at least 1
    };

    // The pairs to come, by what each needs; a name given twice counts once.
    explicit BatchQueue(std::vector<std::vector<Need>> pairs);

    // Waits for a pair that may begin now; absent when all have begun or the queue was closed.
    std::optional<std::size_t> Next();
    // To be called for each pair that Next gave.
    void Done(std::size_t pair);
    // No other pair begins.
    void Close();

  private:
    bool MayBegin(std::size_t pair) const;

    std::vector<std::vector<Need>> pairs_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::size_t> waiting_;
    std::map<std::string, std::size_t> taken_;
    bool closed_ = false;
};

}  // namespace quillon
