#include "cli/CompareRun.h"

#include <optional>
#include <vector>

#include "cli/DirectRun.h"
#include "cli/Report.h"
#include "cli/ReportScripts.h"

namespace quillon {

namespace {

CompareResults CompareWholeDirect(const ComparisonOptions& options,
                                  const ComparisonRequest& request, const ReportChoice& choice,
                                  Console& console) {
    CompareResults results;
    const DirectRun run = PrepareDirect(request, options.Direct(), console);
    results.databases = run.databases;
    results.tables = run;
    results.listing = run.listing;
    results.loosened = run.loosened;
    std::optional<Report> report;
    std::optional<ReportScripts> scripts;
    if (!choice.file.empty()) report.emplace(choice.file, choice.limit);
    if (report && !choice.scriptCommand.empty()) scripts.emplace(run);
    const auto found = Run(run, console, [&](const QuillonLib::DirectDifference& difference) {
        if (report) report->Take(difference);
        if (scripts) scripts->Take(difference);
        return false;
    });
    results.lines = Judge(run, found);
    results.exitCode = options.Accepted(ExitCodeOf(results.All()));
    if (report) {
        report->Finish(results, scripts ? scripts->Write(found, choice.scriptCommand)
                                        : std::vector<PageScript>());
    }
    return results;
}

CompareResults CompareWholeByServer(const ComparisonOptions& options,
                                    const ComparisonRequest& request, const ReportChoice& choice,
                                    Console& console) {
    CompareResults results;
    const auto comparison = Prepare(request, console);
    const LinkedServerCleanup cleanup(*comparison, console);
    results.databases = comparison->databases;
    results.byServer = true;
    results.tables = *comparison;
    results.listing = comparison->listing;
    results.lines = Judge(*comparison, *Run(*comparison, console));
    results.exitCode = options.Accepted(ExitCodeOf(results.All()));
    if (!choice.file.empty()) Report(choice.file, choice.limit).Finish(results, {});
    NoteFailuresAcrossServers(console, *comparison, results.lines);
    return results;
}

}  // namespace

CompareResults CompareWhole(const ComparisonOptions& options, const ComparisonRequest& request,
                            const ReportChoice& report, Console& console) {
    return options.ByServer() ? CompareWholeByServer(options, request, report, console)
                              : CompareWholeDirect(options, request, report, console);
}

}  // namespace quillon
