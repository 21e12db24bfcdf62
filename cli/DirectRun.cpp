#include "cli/DirectRun.h"

#include <CLI/Error.hpp>
#include <algorithm>
#include <chrono>

#include "cli/AbandonOnInterrupt.h"
#include "cli/DirectResults.h"
#include "cli/Interrupt.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// How far all tables together have come.
class ProgressLine {
  public:
    ProgressLine(Console& console, const std::vector<std::u16string>& entries)
        : console_(console), entries_(entries) {}

    void Show(const DirectProgress& progress) {
        const std::uint64_t read = progress.rows1 + progress.rows2;
        const std::uint64_t all = std::max(read, progress.expected1 + progress.expected2);
        const double ofTable =
            all == 0 ? 0.0 : static_cast<double>(read) / static_cast<double>(all);
        const double done = static_cast<double>(progress.table) + ofTable;
        const auto pace = pace_.At(progress.allRead, progress.allExpected);
        console_.Progress(
            static_cast<int>(100 * done / static_cast<double>(entries_.size())),
            ToUtf8(entries_[progress.table]) + ": " + ProgressText(progress.allRead, "read", pace));
    }

  private:
    ReadingPace pace_;
    Console& console_;
    const std::vector<std::u16string>& entries_;
};

// "1,234,000"
std::string Grouped(std::uint64_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, ",");
    return text;
}

std::string TwoDigits(std::int64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

// "1:20", "2:01:20"
std::string TimeText(std::chrono::seconds time) {
    const std::int64_t minutes = time.count() / 60;
    const std::string seconds = ":" + TwoDigits(time.count() % 60);
    if (minutes < 60) return std::to_string(minutes) + seconds;
    return std::to_string(minutes / 60) + ":" + TwoDigits(minutes % 60) + seconds;
}

// Somebody may rely on it: on another server values can be equal by other rules.
void RequireNoThird(const ComparisonRequest& request) {
    if (!request.thirdOfTemplate) return;
    throw CLI::ValidationError(
        "the template has the queries across both databases run in " + *request.thirdOfTemplate +
        ": without --by-server there are none; name both databases on the command line if they are "
        "to be compared directly");
}

// "Identical" means something else then.
void TellLoosened(const std::string& loosened, bool resultTells, Console& console) {
    if (loosened.empty()) return;
    const std::string text = "quillon: values are compared " + loosened;
    if (resultTells) {
        console.Hint(text);
    } else {
        console.Note(text);
    }
}

}  // namespace

std::string ProgressText(std::uint64_t rows, const char* done, const ReadingPace::Reading& pace) {
    std::string text = Grouped(rows) + (rows == 1 ? " row " : " rows ") + done;
    if (pace.rowsPerSecond) text += ", " + Grouped(*pace.rowsPerSecond) + " rows/s";
    if (pace.left) text += ", " + TimeText(*pace.left) + " left";
    return text;
}

DirectRun PrepareDirect(ComparisonRequest request, const DirectChoices& choices, Console& console) {
    const AbandonOnInterrupt silent;
    RequireNoThird(request);
    DirectRun run;
    run.databases = request.databases;
    static_cast<TableLists&>(run) =
        SelectTables(request.databases, request.tables, request.excluded, console);
    run.choices = choices.Tables(run, request);
    choices.RequireIgnored(request.databases, run.tables);
    run.options = choices.Options();
    run.listing = request.listing;
    run.loosened = choices.Loosened();
    TellLoosened(run.loosened, request.resultTellsEquality, console);
    return run;
}

DirectRun PrepareDirect(const ComparisonOptions& options, Console& console) {
    return PrepareDirect(options.Request(console), options.Direct(), console);
}

std::vector<DirectTableResult> Run(const DirectRun& run, Console& console,
                                   const DifferenceHandler& handler) {
    ProgressLine progress(console, run.tables);
    DirectSink sink;
    sink.Difference = [&](const DirectDifference& difference, bool& cancel) {
        cancel = Interrupted() || (handler && handler(difference));
    };
    sink.Progress = [&](const DirectProgress& at, bool& cancel) {
        progress.Show(at);
        cancel = Interrupted();
    };
    sink.Waiting = [](bool& cancel) { cancel = Interrupted(); };
    // A worker that logs in cannot be cancelled.
    const AbandonOnInterrupt silent;
    auto results =
        CompareDirectly(*run.databases.obDB1, *run.databases.obDB2, run.choices, run.options, sink);
    console.ClearProgress();
    StopIfInterrupted();
    return results;
}

std::vector<ResultLine> Judge(const DirectRun& run, const std::vector<DirectTableResult>& results) {
    std::vector<ResultLine> lines;
    for (std::size_t i = 0; i < results.size(); ++i)
        lines.push_back(LineOf(run, i, results[i]));
    return lines;
}

int PrintResults(Console& console, const DirectRun& run,
                 const std::vector<DirectTableResult>& results) {
    const std::vector<ResultLine> lines = Judge(run, results);
    return PrintResults(console, lines,
                        TotalsOf(lines, run.onlyIn1.size() + run.onlyIn2.size(), run.loosened),
                        run.listing);
}

}  // namespace quillon
