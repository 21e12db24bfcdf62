#include "cli/BatchRun.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <new>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "cli/BatchIndex.h"
#include "cli/BatchPair.h"
#include "cli/BatchQueue.h"
#include "cli/BatchResult.h"
#include "cli/Interrupt.h"
#include "cli/Paths.h"
#include "core/WholeFile.h"

namespace quillon {

namespace {

using namespace QuillonLib;
using namespace std::chrono_literals;

// Looked at so often that a signal is told before anything that waits for a server is abandoned.
constexpr auto AskEvery = 50ms;
constexpr auto IndexEvery = 1s;

std::string ListOfNames(const std::vector<const BatchResult*>& results) {
    std::string text;
    for (const BatchResult* result : results)
        text += (text.empty() ? "[" : ", [") + result->name + "]";
    return text;
}

class BatchRun {
  public:
    BatchRun(const BatchOptions& options, std::vector<BatchSetup> setups, Console& console)
        : options_(options), console_(console), setups_(std::move(setups)) {
        const std::vector<std::string> names = ReportNames(setups_);
        for (std::size_t i = 0; i < setups_.size(); ++i) {
            if (!options_.slice.Has(i)) continue;
            pairs_.push_back({&setups_[i], names[i], std::nullopt, options_.telling.Quiet()});
            BatchResult& result = results_.emplace_back();
            result.position = i;
            result.name = setups_[i].name;
            result.description = setups_[i].description;
        }
        finished_.reserve(pairs_.size());
    }

    int Run() {
        MakeFolder();
        WriteIndex();
        for (std::size_t at = 0; at < pairs_.size(); ++at)
            Prepare(at);
        RunAll();
        WriteIndex();
        if (options_.json) {
            console_.PrintData(JsonLineOf(results_, watch_));
        } else {
            console_.Print(LastLine(results_));
        }
        console_.Flush();
        StopIfInterrupted();
        return ExitCodeOf(results_);
    }

  private:
    std::filesystem::path InFolder(const std::string& name) const {
        return PathOf(options_.reports) / PathOf(name);
    }
    void MakeFolder() const {
        if (options_.reports.empty()) return;
        std::error_code failure;
        std::filesystem::create_directories(PathOf(options_.reports), failure);
        if (failure) {
            throw std::runtime_error("the folder " + options_.reports +
                                     " cannot be made: " + failure.message());
        }
    }
    void WriteIndex() {
        if (options_.reports.empty()) return;
        WriteWholeFile(InFolder(IndexName(options_.slice)),
                       IndexPage(results_, options_.file, options_.slice, watch_));
        indexWritten_ = std::chrono::steady_clock::now();
    }

    // Logins are made here, in the order of the list: a password may be asked for.
    void Prepare(std::size_t at) {
        if (Interrupted()) throw Interruption("nothing was compared");
        BatchResult& result = results_[at];
        try {
            pairs_[at].request = pairs_[at].setup->options.Request(console_);
            const auto& databases = pairs_[at].request->databases;
            result.place1 = ToUtf8(databases.obDB1->Description());
            result.place2 = ToUtf8(databases.obDB2->Description());
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            Fail(result, error.what());
        }
    }

    void RunAll() {
        std::vector<std::size_t> ready;
        std::vector<std::vector<BatchQueue::Need>> needs;
        for (std::size_t at = 0; at < pairs_.size(); ++at) {
            if (!pairs_[at].request) {
                Tell(results_[at]);
                continue;
            }
            ready.push_back(at);
            needs.push_back(NeedsOf(pairs_[at], static_cast<std::size_t>(options_.perServer)));
        }
        BatchQueue queue(std::move(needs));
        working_ = std::min(static_cast<std::size_t>(options_.jobs), ready.size());
        std::vector<std::jthread> workers;
        const CloseAtEnd close{queue};
        for (std::size_t i = working_; i > 0; --i)
            workers.emplace_back([&] { Work(queue, ready); });
        Follow(queue);
    }
    // Declared behind the workers, who are waited for once nothing more can begin: where the pairs
    // can no longer be told, those that wait need not run.
    struct CloseAtEnd {
        BatchQueue& queue;
        ~CloseAtEnd() { queue.Close(); }
    };

    void Work(BatchQueue& queue, const std::vector<std::size_t>& ready) noexcept {
        while (const auto next = queue.Next()) {
            const std::size_t at = ready[*next];
            BatchResult result;
            {
                const std::lock_guard lock(mutex_);
                // What was told not to be run is not.
                if (stopped_) break;
                results_[at].outcome = BatchOutcome::Running;
                pageIsOld_ = true;
                result = results_[at];
            }
            RunPair(pairs_[at], ReportOf(pairs_[at]), result);
            {
                const std::lock_guard lock(mutex_);
                results_[at] = std::move(result);
                pageIsOld_ = true;
                finished_.push_back(at);
            }
            changed_.notify_all();
            queue.Done(*next);
        }
        {
            const std::lock_guard lock(mutex_);
            --working_;
        }
        changed_.notify_all();
    }
    ReportChoice ReportOf(const BatchPair& pair) const {
        ReportChoice report;
        report.limit = options_.reportLimit;
        if (!options_.reports.empty()) report.file = NameOf(InFolder(pair.report));
        return report;
    }

    // Tells of each pair that ends, until no worker is left.
    void Follow(BatchQueue& queue) {
        for (bool last = false; !last;) {
            std::vector<std::size_t> finished;
            {
                std::unique_lock lock(mutex_);
                changed_.wait_for(lock, AskEvery,
                                  [&] { return !finished_.empty() || working_ == 0; });
                finished.swap(finished_);
                finished_.reserve(pairs_.size());
                last = working_ == 0;
            }
            for (const std::size_t at : finished)
                Tell(results_[at]);
            if (Interrupted() && !stopped_) Stop(queue);
            FollowOnPage();
            if (!last) ShowProgress();
        }
        console_.ClearProgress();
    }
    // Whatever has changed reaches the page within IndexEvery, also where nothing else changes for
    // hours.
    void FollowOnPage() {
        const std::lock_guard lock(mutex_);
        if (!pageIsOld_ || std::chrono::steady_clock::now() - indexWritten_ < IndexEvery) return;
        pageIsOld_ = false;
        WriteIndex();
    }
    void ShowProgress() {
        const std::lock_guard lock(mutex_);
        const std::vector<const BatchResult*> running = Of(BatchOutcome::Running);
        const std::size_t left = running.size() + Of(BatchOutcome::NotRun).size();
        const std::size_t done = results_.size() - left;
        console_.Progress(static_cast<int>(100 * done / results_.size()),
                          std::to_string(done) + " of " + std::to_string(results_.size()) + ": " +
                              ListOfNames(running));
    }
    // A signal has come: what runs notices that by itself, nothing else begins. Called within a
    // second, after which AbandonOnInterrupt may end the process.
    void Stop(BatchQueue& queue) {
        queue.Close();
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        if (const auto running = Of(BatchOutcome::Running); !running.empty())
            console_.Note("quillon: ends in the middle of " + ListOfNames(running));
        if (const auto waiting = Of(BatchOutcome::NotRun); !waiting.empty())
            console_.Note("quillon: not run: " + ListOfNames(waiting));
        if (options_.json) {
            for (const BatchResult* waiting : Of(BatchOutcome::NotRun))
                console_.PrintData(JsonLineOf(*waiting));
            console_.Flush();
        }
        // The last chance, where a server does not let go of what runs.
        WriteIndex();
    }
    // Of a result that no worker writes to any more.
    void Tell(BatchResult& result) {
        for (const std::string& note : result.notes) {
            constexpr std::string_view Own = "quillon: ";
            const std::string text = note.starts_with(Own) ? note.substr(Own.size()) : note;
            console_.Note("quillon: [" + result.name + "] " + text);
        }
        if (options_.json) {
            console_.PrintData(JsonLineOf(result));
        } else {
            Print(console_, result);
        }
        console_.Flush();
        result.results.reset();
    }
    std::vector<const BatchResult*> Of(BatchOutcome outcome) const {
        std::vector<const BatchResult*> found;
        for (const BatchResult& result : results_) {
            if (result.outcome == outcome) found.push_back(&result);
        }
        return found;
    }

    const BatchOptions& options_;
    Console& console_;
    Stopwatch watch_;
    std::vector<BatchSetup> setups_;  // the whole list
    std::vector<BatchPair> pairs_;    // those of the slice
    std::chrono::steady_clock::time_point indexWritten_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<BatchResult> results_;   // by pair
    std::vector<std::size_t> finished_;  // that have not been told yet
    bool pageIsOld_ = true;              // a result may have changed since the page was written
    std::size_t working_ = 0;            // threads
    bool stopped_ = false;               // written by the thread that follows alone
};

}  // namespace

int RunBatch(const BatchOptions& options, Console& console) {
    options.telling.Apply(console);
    return BatchRun(options, ReadBatchFile(options.file, options.config), console).Run();
}

}  // namespace quillon
