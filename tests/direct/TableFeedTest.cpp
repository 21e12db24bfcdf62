// The way of differences from a worker to the caller's thread.
#include "direct/TableFeed.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>

#include "core/Text.h"

namespace QuillonLib {
namespace {

FoundDifference Numbered(int number, std::size_t bytes) {
    const std::u16string text(bytes / sizeof(char16_t), u'x');
    return {DirectChange::OnlyIn1,
            DirectRow{Value(static_cast<std::int32_t>(number)), Value(std::u16string_view(text))},
            std::nullopt,
            {}};
}

std::int32_t NumberOf(const TableFeed::Item& item) {
    return (*std::get<FoundDifference>(item).row1)[0].Get<std::int32_t>();
}

// A worker that finds differences of 100,000 bytes, and how many it has got rid of.
class Worker {
  public:
    Worker(TableFeed& feed, int count)
        : thread_([this, &feed, count] {
              try {
                  for (; handed < count; ++handed)
                      feed.Found(Numbered(handed, Size));
                  feed.Close(nullptr);
              } catch (const ComparisonStopped&) {
                  stopped = true;
              }
          }) {}
    ~Worker() { Join(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void Join() {
        if (thread_.joinable()) thread_.join();
    }
    // Until it has handed so many, and for a while to see whether more follow.
    void WaitFor(int count) const {
        while (handed < count)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }

    static constexpr std::size_t Size = 100000;
    std::atomic<int> handed{0};
    std::atomic<bool> stopped{false};

  private:
    std::thread thread_;
};

// Of 8 MB in all, the half waits for the caller.
TEST(TableFeeds, MakeAWorkerThatIsAheadWait) {
    TableFeed feed;
    Worker worker(feed, 400);
    worker.WaitFor(30);
    EXPECT_LE(worker.handed, 45);
    EXPECT_EQ(NumberOf(*feed.Take()), 0);
    worker.WaitFor(60);
    EXPECT_LE(worker.handed, 90);
    for (int number = 1; number < 400; ++number)
        EXPECT_EQ(NumberOf(*feed.Take()), number);
    EXPECT_FALSE(feed.Take().has_value());
    worker.Join();
    EXPECT_EQ(worker.handed, 400);
}

TEST(TableFeeds, LetAWorkerGoThatWaits) {
    TableFeed feed;
    Worker worker(feed, 400);
    worker.WaitFor(30);
    feed.Stop();
    worker.Join();
    EXPECT_TRUE(worker.stopped);
    EXPECT_LT(worker.handed, 400);
}

// Reports of progress come where they were made, and bring what was found before them.
TEST(TableFeeds, BringSmallDifferencesAtTheNextReport) {
    TableFeed feed;
    feed.Found(Numbered(1, 10));
    DirectTableResult result;
    result.rows1 = TableFeed::ReportEvery - 1;
    feed.Read(result);
    ++result.rows2;
    feed.Read(result);
    EXPECT_EQ(NumberOf(*feed.Take()), 1);
    EXPECT_EQ(std::get<TableFeed::RowsRead>(*feed.Take()).rows1, TableFeed::ReportEvery - 1);
    feed.Found(Numbered(2, 10));
    feed.Close(nullptr);
    EXPECT_EQ(NumberOf(*feed.Take()), 2);
    EXPECT_FALSE(feed.Take().has_value());
}

TEST(TableFeeds, ThrowWhatTheWorkerClosedWithBehindAllElse) {
    TableFeed feed;
    feed.Found(Numbered(1, 10));
    feed.Close(std::make_exception_ptr(std::runtime_error("mine")));
    EXPECT_EQ(NumberOf(*feed.Take()), 1);
    EXPECT_THROW(feed.Take(), std::runtime_error);
}

}  // namespace
}  // namespace QuillonLib
