// What clients sent to a server, and the faults that wait for it. Safe for several threads.
#pragma once

#include <mutex>
#include <string_view>
#include <vector>

#include "../Sandbox.h"

namespace sandbox::wire {

class Journal {
  public:
    void Add(LogEntry entry);
    std::vector<LogEntry> Entries() const;
    void Clear();

    void AddFault(Fault fault);
    void ClearFaults();
    // Counts the batch against every fault that waits for such a one, and takes out those that it
    // completes.
    std::vector<Fault> Strike(std::u16string_view batch);

  private:
    mutable std::mutex mutex_;
    std::vector<LogEntry> entries_;
    std::vector<Fault> faults_;
};

}  // namespace sandbox::wire
