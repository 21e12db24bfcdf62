#include "cli/DirectRun.h"

#include <algorithm>

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
        console_.Progress(
            static_cast<int>(100 * done / static_cast<double>(entries_.size())),
            ToUtf8(entries_[progress.table]) + ": " + std::to_string(read) + " rows read");
    }

  private:
    Console& console_;
    const std::vector<std::u16string>& entries_;
};

}  // namespace

DirectRun PrepareDirect(const ComparisonRequest& request, const DirectChoices& choices,
                        Console& console) {
    const AbandonOnInterrupt silent;
    DirectRun run;
    run.databases = request.databases;
    static_cast<TableLists&>(run) =
        SelectTables(request.databases, request.tables, request.excluded, console);
    run.choices = choices.Tables(run);
    choices.RequireIgnored(request.databases, run.tables);
    run.options = choices.Options();
    run.onlyDifferent = request.onlyDifferent;
    if (!choices.Loosened().empty())
        console.Note("quillon: values are compared " + choices.Loosened());
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
        lines.push_back(
            LineOf(run.tables[i], results[i], ToUtf8(run.choices[i].where), run.options));
    return lines;
}

int PrintResults(Console& console, const DirectRun& run,
                 const std::vector<DirectTableResult>& results) {
    return PrintResults(console, Judge(run, results), run.onlyIn1.size() + run.onlyIn2.size(),
                        run.onlyDifferent);
}

}  // namespace quillon
