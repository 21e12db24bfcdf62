#include "Journal.h"

#include <utility>

namespace sandbox::wire {

void Journal::Add(LogEntry entry) {
    const std::lock_guard lock(mutex_);
    entries_.push_back(std::move(entry));
}

std::vector<LogEntry> Journal::Entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
}

void Journal::Clear() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
}

void Journal::AddFault(Fault fault) {
    const std::lock_guard lock(mutex_);
    faults_.push_back(std::move(fault));
}

void Journal::ClearFaults() {
    const std::lock_guard lock(mutex_);
    faults_.clear();
}

std::vector<Fault> Journal::Strike(std::u16string_view batch) {
    const std::lock_guard lock(mutex_);
    std::vector<Fault> struck;
    std::erase_if(faults_, [&](Fault& fault) {
        if (batch.find(fault.contains) == std::u16string_view::npos) return false;
        if (--fault.nth > 0) return false;
        struck.push_back(std::move(fault));
        return true;
    });
    return struck;
}

}  // namespace sandbox::wire
