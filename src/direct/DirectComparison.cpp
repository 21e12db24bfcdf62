#include "direct/DirectComparison.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "catalog/Database.h"
#include "core/Error.h"
#include "direct/SideReader.h"
#include "direct/TableFeed.h"
#include "direct/TableRun.h"

namespace QuillonLib {

namespace {

constexpr std::chrono::milliseconds AskEvery{100};

void RequireSense(const DirectOptions& options) {
    if (options.equality.floatDigits < 0 || options.equality.floatDigits > 17) {
        throw Error(ErrorNumber::InvalidArgument, u"Floats have 1 to 17 digits, or 0 for all.");
    }
    if (options.jobs < 1 || options.jobs > 64) {
        throw Error(ErrorNumber::InvalidArgument, u"From 1 to 64 tables can be read side by side.");
    }
}

// Workers take the tables in their order, so that the first table that is not done is always in
// work, and nobody waits for one that is not.
class Workers {
  public:
    explicit Workers(const DirectJob& job)
        : job_(job),
          facts1_(job.tables, job.database1.DatabaseName()),
          facts2_(job.tables, job.database2.DatabaseName()),
          results_(job.tables.size()) {
        for (std::size_t i = 0; i < job.tables.size(); ++i)
            feeds_.emplace_back(job.options.sameRows);
    }
    ~Workers() { Stop(); }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    // Throws the Error of the first worker's logins.
    void Start() {
        auto first = std::make_unique<TableRunner>(job_, facts1_, facts2_);
        first->Connect();
        jobs_ = std::min(static_cast<std::size_t>(job_.options.jobs), job_.tables.size());
        for (std::size_t i = 0; i < jobs_; ++i) {
            runners_.push_back(i == 0 ? std::move(first)
                                      : std::make_unique<TableRunner>(job_, facts1_, facts2_));
            threads_.emplace_back([this, &mine = *runners_.back()] { Work(mine); });
        }
    }

    TableFeed& Feed(std::size_t table) { return feeds_[table]; }

    struct Totals {
        std::uint64_t read = 0;
        std::optional<std::uint64_t> expected;
    };
    Totals ReadTotals() {
        Totals totals{0, 0};
        for (std::size_t i = 0; i < feeds_.size(); ++i) {
            const TableFeed::Level level = feeds_[i].ReadSoFar();
            totals.read += level.rows;
            const std::optional<std::uint64_t> all =
                level.finished ? std::optional(level.rows) : Expected(i, level.rows);
            totals.expected =
                totals.expected && all ? std::optional(*totals.expected + *all) : std::nullopt;
        }
        return totals;
    }
    const DirectTableResult& Result(std::size_t table) const { return results_[table]; }

    void Stop() {
        for (TableFeed& feed : feeds_)
            feed.Stop();
        CancelCalls();
        for (std::thread& thread : threads_)
            thread.join();
        threads_.clear();
        ended_ = 0;
        runners_.clear();
    }

    std::vector<DirectTableResult> TakeResults() {
        Stop();
        return std::move(results_);
    }

  private:
    std::optional<std::uint64_t> Expected(std::size_t table, std::uint64_t read) {
        if (!job_.tables[table].where.empty()) return std::nullopt;
        const std::optional<std::uint64_t> rows1 = facts1_.Counted(table);
        const std::optional<std::uint64_t> rows2 = facts2_.Counted(table);
        if (!rows1 || !rows2 || *rows1 + *rows2 < read) return std::nullopt;
        return *rows1 + *rows2;
    }

    // Again and again: a worker may just be about to begin its next call.
    void CancelCalls() {
        std::unique_lock lock(mutex_);
        while (
            !changed_.wait_for(lock, CancelEvery, [this] { return ended_ == threads_.size(); })) {
            for (const auto& runner : runners_)
                runner->Cancel();
        }
    }

    void Work(TableRunner& runner) {
        WorkThrough(runner);
        const std::lock_guard lock(mutex_);
        ++ended_;
        changed_.notify_all();
    }

    // False for the last worker: the tables that are left are its own to fail.
    bool LeaveToOthers() {
        const std::lock_guard lock(mutex_);
        if (left_ + 1 == jobs_) return false;
        ++left_;
        return true;
    }

    void WorkThrough(TableRunner& runner) {
        for (;;) {
            // before a table is taken, which another worker can compare
            if (!runner.TryConnect() && LeaveToOthers()) return;
            const std::size_t table = next_++;
            if (table >= job_.tables.size()) return;
            try {
                runner.Run(table, results_[table], feeds_[table]);
                feeds_[table].Finish(results_[table].rows1 + results_[table].rows2);
                feeds_[table].Close(nullptr);
            } catch (const ComparisonStopped&) {
                feeds_[table].Close(nullptr);
                return;
            } catch (...) {
                feeds_[table].Close(std::current_exception());
                return;
            }
        }
    }

    const DirectJob& job_;
    FactsAhead facts1_;
    FactsAhead facts2_;
    std::vector<DirectTableResult> results_;
    std::deque<TableFeed> feeds_;
    std::atomic<std::size_t> next_ = 0;
    std::vector<std::unique_ptr<TableRunner>> runners_;
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t jobs_ = 0;
    std::size_t ended_ = 0;
    std::size_t left_ = 0;  // workers that have no connection
};

// Hands the items of one table to the caller's handlers. True: one of them wants no more.
class Teller {
  public:
    Teller(const DirectSink& sink, Workers& workers, std::size_t table)
        : sink_(sink), workers_(workers), result_(workers.Result(table)), table_(table) {}

    bool operator()(const FoundDifference& found) const {
        bool cancel = false;
        if (sink_.Difference) {
            sink_.Difference(
                {table_, result_.shape, found.change, found.row1 ? &*found.row1 : nullptr,
                 found.row2 ? &*found.row2 : nullptr, found.changed},
                cancel);
        }
        return cancel;
    }
    bool operator()(const TableFeed::RowsRead& read) const {
        bool cancel = false;
        if (sink_.Progress) {
            const Workers::Totals all = workers_.ReadTotals();
            sink_.Progress({table_, result_.shape.table, read.rows1, read.rows2, result_.expected1,
                            result_.expected2, all.read, all.expected},
                           cancel);
        }
        return cancel;
    }
    bool operator()(const DirectTableResult& result) const {
        bool cancel = false;
        if (sink_.Table) sink_.Table(table_, result, cancel);
        return cancel;
    }

  private:
    const DirectSink& sink_;
    Workers& workers_;
    const DirectTableResult& result_;
    std::size_t table_;
};

// While the feed is empty the caller is asked whether it still waits.
bool EndsWaiting(TableFeed& feed, const DirectSink& sink) {
    bool cancel = false;
    while (!cancel && !feed.Await(AskEvery)) {
        if (sink.Waiting) sink.Waiting(cancel);
    }
    return cancel;
}

bool TellDifferences(TableFeed& feed, const Teller& tell, const DirectSink& sink) {
    for (;;) {
        if (EndsWaiting(feed, sink)) return true;
        const auto item = feed.Take();
        if (!item) return false;
        if (std::visit(tell, *item)) return true;
    }
}

}  // namespace

std::vector<DirectTableResult> CompareDirectly(const Database& database1, const Database& database2,
                                               const std::vector<DirectTable>& tables,
                                               const DirectOptions& options,
                                               const DirectSink& sink) {
    RequireSense(options);
    const DirectJob job{database1, database2, tables, options};
    Workers workers(job);
    workers.Start();
    std::size_t told = 0;
    for (bool cancelled = false; !cancelled && told < tables.size();) {
        const DirectTableResult& result = workers.Result(told);
        const Teller tell(sink, workers, told);
        cancelled = TellDifferences(workers.Feed(told), tell, sink);
        if (cancelled) break;
        ++told;
        cancelled = tell(result);
    }
    std::vector<DirectTableResult> results = workers.TakeResults();
    // A worker may have been ahead: what the caller has not heard of is not done.
    for (std::size_t i = told; i < results.size(); ++i)
        results[i].complete = false;
    return results;
}

}  // namespace QuillonLib
