#include "cli/BatchQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace quillon {
namespace {

using namespace std::chrono_literals;

TEST(BatchQueueTest, GivesPairsInTheirOrder) {
    BatchQueue queue({{}, {}, {}});
    EXPECT_EQ(queue.Next(), 0u);
    EXPECT_EQ(queue.Next(), 1u);
    EXPECT_EQ(queue.Next(), 2u);
    EXPECT_EQ(queue.Next(), std::nullopt);
}

TEST(BatchQueueTest, APairWhoseServerIsBusyLetsOthersGoBefore) {
    BatchQueue queue({{{"a", 1}, {"b", 1}}, {{"b", 1}, {"c", 1}}, {{"c", 1}}});
    EXPECT_EQ(queue.Next(), 0u);
    EXPECT_EQ(queue.Next(), 2u);
    auto second = std::async(std::launch::async, [&] { return queue.Next(); });
    queue.Done(0);
    EXPECT_EQ(second.wait_for(50ms), std::future_status::timeout) << "c is still taken";
    queue.Done(2);
    EXPECT_EQ(second.get(), 1u);
}

TEST(BatchQueueTest, BothDatabasesOnOneServerCountOnce) {
    BatchQueue queue({{{"a", 2}, {"a", 2}}, {{"a", 2}, {"a", 2}}, {{"a", 2}}});
    EXPECT_EQ(queue.Next(), 0u);
    EXPECT_EQ(queue.Next(), 1u);
    auto third = std::async(std::launch::async, [&] { return queue.Next(); });
    EXPECT_EQ(third.wait_for(50ms), std::future_status::timeout);
    queue.Done(1);
    EXPECT_EQ(third.get(), 2u);
}

TEST(BatchQueueTest, ClosingEndsTheWait) {
    BatchQueue queue({{{"a", 1}}, {{"a", 1}}});
    EXPECT_EQ(queue.Next(), 0u);
    auto waiting = std::async(std::launch::async, [&] { return queue.Next(); });
    queue.Close();
    EXPECT_EQ(waiting.get(), std::nullopt);
}

TEST(BatchQueueTest, WhoWaitsForTheLastPairIsLetGo) {
    BatchQueue queue({{{"a", 1}}, {{"a", 1}}});
    EXPECT_EQ(queue.Next(), 0u);
    auto one = std::async(std::launch::async, [&] { return queue.Next(); });
    auto two = std::async(std::launch::async, [&] { return queue.Next(); });
    queue.Done(0);
    const auto first = one.get();
    const auto second = two.get();
    EXPECT_TRUE((first == 1u && !second) || (second == 1u && !first));
}

// Many threads: no limit is ever passed, and every pair is run once.
TEST(BatchQueueTest, HoldsItsLimitsWithManyThreads) {
    std::vector<std::vector<BatchQueue::Need>> pairs;
    for (int i = 0; i < 200; ++i)
        pairs.push_back({{"s" + std::to_string(i % 3), 2}, {"s" + std::to_string(i % 5), 2}});
    const auto needs = pairs;
    BatchQueue queue(std::move(pairs));
    std::atomic<int> taken[5] = {};
    std::atomic<int> most = 0;
    std::atomic<int> run = 0;
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([&] {
                while (const auto pair = queue.Next()) {
                    const std::size_t a = *pair % 3;
                    const std::size_t b = *pair % 5;
                    for (const std::size_t server : a == b ? std::vector{a} : std::vector{a, b}) {
                        const int now = ++taken[server];
                        for (int seen = most;
                             now > seen && !most.compare_exchange_weak(seen, now);) {
                        }
                    }
                    std::this_thread::sleep_for(100us);
                    for (const std::size_t server : a == b ? std::vector{a} : std::vector{a, b})
                        --taken[server];
                    ++run;
                    queue.Done(*pair);
                }
            });
        }
    }
    EXPECT_EQ(run, 200);
    EXPECT_LE(most, 2);
}

}  // namespace
}  // namespace quillon
