// What a client is measured under: with huge pages or without, on any processor or on one.
#pragma once

#include <sched.h>
#include <sys/prctl.h>

#include <cstdio>
#include <functional>
#include <stdexcept>

#include "ChildProcess.h"

namespace bench {

struct Conditions {
    bool hugePages = true;
    bool pinned = false;
};

// For this process and those that it starts.
inline void Apply(const Conditions& conditions) {
    if (!conditions.hugePages && prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0) != 0)
        throw std::runtime_error("huge pages cannot be switched off");
    if (!conditions.pinned) return;
    cpu_set_t all;
    sched_getaffinity(0, sizeof all, &all);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (!CPU_ISSET(processor, &all)) continue;
        CPU_SET(processor, &one);
        break;
    }
    if (sched_setaffinity(0, sizeof one, &one) != 0)
        throw std::runtime_error("the process cannot be pinned");
}

// Runs `measure` once under each of the four, in a process of its own; the status to exit with is 1
// where one of them returns another than 0. Servers are started before, and see nothing of it.
inline int UnderEachCondition(const std::function<int()>& measure) {
    int status = 0;
    for (const Conditions conditions :
         {Conditions{true, false}, {true, true}, {false, false}, {false, true}}) {
        std::printf("\n-- %s, %s\n", conditions.hugePages ? "huge pages" : "no huge pages",
                    conditions.pinned ? "one processor" : "any processor");
        ChildProcess client([&] {
            Apply(conditions);
            if (measure() != 0) throw std::runtime_error("(a bar was missed)");
        });
        if (client.Wait() != 0) status = 1;
    }
    return status;
}

}  // namespace bench
