#include <chrono>
#include <cmath>
#include <stdexcept>
#include <string>

#include "catalog/Login.h"
#include "cli/CommandOptions.h"
#include "cli/DirectScripts.h"
#include "cli/Printable.h"
#include "cli/Roads.h"
#include "cli/ScriptPlan.h"
#include "cli/SpooledScript.h"
#include "cli/SyncEnding.h"

namespace quillon {

namespace {

using namespace QuillonLib;

void PrintPlan(const DirectRun& run, const DirectScripts& scripts, int side, Console& console) {
    console.Print();
    for (const DirectScriptTable& table : scripts.Written(side)) {
        if (table.view) continue;
        console.Print(ToUtf8(run.tables[table.table]) + ": to delete " +
                      std::to_string(table.deletes) + ", to update " +
                      std::to_string(table.updates) + ", to insert " +
                      std::to_string(table.inserts));
    }
    console.Flush();
}

// The time that a script takes, and how far it has come.
class Pace {
  public:
    Pace(std::uint64_t rows, Console& console) : rows_(rows), console_(console) {}

    void Show(std::size_t done, std::size_t count) const {
        const double part = static_cast<double>(done) / static_cast<double>(count);
        console_.Progress(static_cast<int>(100 * part),
                          "batch " + std::to_string(done + 1) + " of " + std::to_string(count));
    }
    // " in 2.5 s (400 rows/s)"
    std::string Text() const {
        const auto tenths = std::chrono::duration_cast<std::chrono::milliseconds>(
                                std::chrono::steady_clock::now() - begin_)
                                .count() /
                            100;
        std::string text =
            " in " + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
        if (tenths == 0) return text;
        const auto rate = static_cast<std::uint64_t>(
            std::llround(10.0 * static_cast<double>(rows_) / static_cast<double>(tenths)));
        return text + " (" + std::to_string(rate) + " rows/s)";
    }

  private:
    const std::uint64_t rows_;
    Console& console_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

std::string FailureText(const BatchFailure& failure, const Database& target) {
    std::string cause = failure.what();
    std::erase(cause, '\r');
    return "batch " + std::to_string(failure.batch) + " of " + std::to_string(failure.batches) +
           " failed in " + ToUtf8(target.Description()) + ", and everything was rolled back:\n" +
           cause;
}

}  // namespace

int SyncDirect(const SyncOptions& options, Console& console) {
    const DirectRun run = PrepareDirect(options.comparison, console);
    const int side = options.Side();
    const Database& target = run.Target(side);
    DirectScripts scripts(run, {side}, options.guard, console);
    const int before = PrintResults(console, run, scripts.Results());
    if (NothingToDo(before, console)) return options.comparison.Accepted(before);
    SpooledScript script;
    scripts.Write(side, [&](std::u16string_view piece) { script.Add(piece); });
    NoteLeftOut(scripts.NotBroughtOver(), console);
    const std::uint64_t rows = scripts.RowsWritten(side);
    if (rows == 0) {
        console.Print("Nothing that a script can do.");
        return before;
    }
    NoteCascades(scripts.TablesWritten(side), target, console);
    PrintPlan(run, scripts, side, console);
    SyncEnding ending(target, rows, console,
                      [&] { return PrintResults(console, run, Run(run, console)); });
    if (!ending.MayChange(options.yes)) return ExitCode::Failed;
    const Pace pace(rows, console);
    script.progress = [&](std::size_t done, std::size_t count) { pace.Show(done, count); };
    const auto connection = OpenConnection(target);
    try {
        RunBatches(*connection, script);
    } catch (const BatchFailure& failure) {
        throw std::runtime_error(FailureText(failure, target));
    } catch (const OutcomeUnknown& unknown) {
        return ending.LookAgain(unknown);
    }
    connection->Close();
    const std::string text = pace.Text();
    console.ClearProgress();
    return options.comparison.Accepted(ending.Committed(text));
}

}  // namespace quillon
