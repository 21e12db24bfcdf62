#include <algorithm>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <string>

#include "catalog/Login.h"
#include "cli/CommandOptions.h"
#include "cli/DirectScripts.h"
#include "cli/Printable.h"
#include "cli/Roads.h"
#include "cli/SpooledScript.h"
#include "cli/SyncEnding.h"

namespace quillon {

namespace {

using namespace QuillonLib;

std::vector<TableChanges> Planned(const DirectRun& run, const DirectScripts& scripts, int side) {
    std::vector<TableChanges> plan;
    for (const DirectScriptTable& table : scripts.Written(side)) {
        if (table.LeftOut()) continue;
        const DirectTableResult& result = scripts.Results()[table.table];
        plan.push_back({ToUtf8(run.tables[table.table]), table.deletes, table.updates,
                        table.inserts, std::max(result.rows1, result.rows2)});
    }
    return plan;
}

// " in 2.5 s (400 rows/s)", as far as a time so short says something.
std::string PaceText(std::uint64_t rows, std::chrono::duration<double> time) {
    const auto tenths = std::llround(10 * time.count());
    if (tenths == 0) return " in less than 0.1 s";
    const auto rate = std::llround(static_cast<double>(rows) / time.count());
    return " in " + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s (" +
           std::to_string(rate) + " rows/s)";
}

void PrintPaces(const DirectRun& run, const DirectScripts& scripts, int side,
                const SpooledScript& script, Console& console) {
    console.Print();
    for (const DirectScriptTable& table : scripts.Written(side)) {
        const auto time = script.Times().find(table.table);
        if (table.LeftOut() || time == script.Times().end()) continue;
        const std::uint64_t rows = table.deletes + table.updates + table.inserts;
        console.Print(ToUtf8(run.tables[table.table]) + ": " + std::to_string(rows) +
                      (rows == 1 ? " row" : " rows") + PaceText(rows, time->second));
    }
}

// "[dbo].[a], [dbo].[b]"; empty for a batch that is about no table.
std::string TablesOf(const SpooledScript& script, std::size_t batch, const DirectRun& run) {
    std::string text;
    for (const std::size_t table : script.TablesOf(batch))
        text += (text.empty() ? "" : ", ") + Printable(run.tables[table]);
    return text;
}

// How far the script has come: rows, by the length of their statements, and how fast.
class WritingProgress {
  public:
    WritingProgress(const DirectRun& run, const std::vector<DirectScriptTable>& tables,
                    const SpooledScript& script, Console& console)
        : run_(run), tables_(tables), script_(script), console_(console) {
        for (const DirectScriptTable& table : tables_)
            all_ += RowsOf(table);
    }

    // Before a batch is run.
    void Show(std::size_t batch) {
        double rows = 0;
        for (const DirectScriptTable& table : tables_) {
            rows += static_cast<double>(RowsOf(table)) * script_.DoneBefore(batch, table.table);
        }
        const auto written = std::min(all_, static_cast<std::uint64_t>(std::llround(rows)));
        const std::string tables = TablesOf(script_, batch, run_);
        console_.Progress(static_cast<int>(100 * batch / script_.Count()),
                          "batch " + std::to_string(batch + 1) + " of " +
                              std::to_string(script_.Count()) + ": " +
                              ProgressText(written, "written", pace_.At(written, all_)) +
                              (tables.empty() ? "" : ": " + tables));
    }

  private:
    static std::uint64_t RowsOf(const DirectScriptTable& table) {
        return table.LeftOut() ? 0 : table.deletes + table.updates + table.inserts;
    }

    const DirectRun& run_;
    const std::vector<DirectScriptTable>& tables_;
    const SpooledScript& script_;
    Console& console_;
    ReadingPace pace_;
    std::uint64_t all_ = 0;
};

std::string FailureText(const BatchFailure& failure, const std::string& tables,
                        const Database& target) {
    std::string cause = failure.what();
    std::erase(cause, '\r');
    return "batch " + std::to_string(failure.batch) + " of " + std::to_string(failure.batches) +
           (tables.empty() ? "" : ", about " + tables + ",") + " failed in " +
           ToUtf8(target.Description()) + ", and everything was rolled back:\n" + cause;
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
    scripts.Write(
        side, [&](std::u16string_view piece) { script.Add(piece); },
        [&](std::size_t table) { script.BeginTable(table); });
    NoteLeftOut(scripts.NotBroughtOver(), console);
    const std::uint64_t rows = scripts.RowsWritten(side);
    if (rows == 0) {
        console.Print("Nothing that a script can do.");
        return before;
    }
    const std::vector<TableChanges> plan = Planned(run, scripts, side);
    PrintPlan(plan, console);
    options.limits.Require(plan);
    SyncEnding ending(target, rows, console,
                      [&] { return PrintResults(console, run, Run(run, console)); });
    if (options.dryRun) return options.comparison.Accepted(ending.EndDryRun());
    if (!ending.MayChange(options.yes)) return ExitCode::Failed;
    WritingProgress progress(run, scripts.Written(side), script, console);
    script.progress = [&](std::size_t number) { progress.Show(number); };
    const auto begin = std::chrono::steady_clock::now();
    const auto connection = LogInToChange(target);
    try {
        RunBatches(*connection, script);
    } catch (const BatchFailure& failure) {
        throw std::runtime_error(
            FailureText(failure, TablesOf(script, failure.batch - 1, run), target));
    } catch (const OutcomeUnknown& unknown) {
        return ending.LookAgain(unknown);
    }
    connection->Close();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    console.ClearProgress();
    PrintPaces(run, scripts, side, script, console);
    return options.comparison.Accepted(ending.Committed(PaceText(rows, time)));
}

}  // namespace quillon
