// The most memory that a process had in use, measured in a process of its own.
#pragma once

#include <sys/mman.h>

#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "ChildProcess.h"

namespace bench {

inline double PeakBytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kilobytes = 0;
        if (word == "VmHWM:" && status >> kilobytes) return kilobytes * 1024;
    }
    return 0;
}

// Sets the peak back to what is in use now.
inline void ForgetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

// What `work` found out in a new process. Throws std::runtime_error when that one failed.
template <class Findings>
Findings InChild(const std::function<void(Findings&)>& work) {
    static_assert(std::is_trivially_copyable_v<Findings>, "parent and child share its memory");
    auto* shared = static_cast<Findings*>(
        mmap(nullptr, sizeof(Findings), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    *shared = {};
    const int status = ChildProcess([&] { work(*shared); }).Wait();
    const Findings findings = *shared;
    munmap(shared, sizeof(Findings));
    if (status != 0) throw std::runtime_error("a measured process failed");
    return findings;
}

}  // namespace bench
