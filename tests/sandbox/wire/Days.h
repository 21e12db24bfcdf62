#pragma once

#include <cstdint>

namespace sandbox::wire {

constexpr std::int64_t kDay = 864'000'000'000;  // in 100 ns
constexpr std::int64_t kJanuary = 738'899;      // 2024-01-15 in days since 0001-01-01

}  // namespace sandbox::wire
