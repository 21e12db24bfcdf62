#include "cli/BatchPair.h"

#include <chrono>
#include <exception>
#include <new>
#include <utility>

#include "cli/Interrupt.h"
#include "cli/Verdict.h"
#include "compare/LinkedServers.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// One name for a server, whatever its case and whether the port is written that goes without
// saying.
std::string ServerName(const Database& database) {
    std::string name = ToUtf8(FoldCase(database.Server()));
    constexpr std::string_view Port = ",1433";
    if (name.ends_with(Port)) name.resize(name.size() - Port.size());
    return name;
}

BatchOutcome OutcomeOf(const CompareResults& results) {
    switch (ExitCodeOf(results.All())) {
        case ExitCode::Identical:
            return BatchOutcome::Identical;
        case ExitCode::Different:
            return BatchOutcome::Different;
        case ExitCode::NotWhole:
            return BatchOutcome::NotWhole;
        default:
            return BatchOutcome::Failed;
    }
}

void Compare(const BatchPair& pair, const ReportChoice& report, BatchResult& result) {
    Console background(result.notes);
    if (pair.quiet) background.BeQuiet();
    CompareResults found = CompareWhole(pair.setup->options, *pair.request, report, background);
    if (!report.file.empty()) result.report = pair.report;
    result.outcome = OutcomeOf(found);
    result.exitCode = found.exitCode;
    result.summary = LastLine(found.All());
    result.results = std::move(found);
}

}  // namespace

void Fail(BatchResult& result, const std::string& why) {
    result.outcome = BatchOutcome::Failed;
    result.exitCode = ExitCode::Failed;
    result.error = result.summary = why;
}

std::vector<BatchQueue::Need> NeedsOf(const BatchPair& pair, std::size_t perServer) {
    const auto& [obDB1, obDB2, obDB3] = pair.request->databases;
    std::vector<BatchQueue::Need> needs = {{"server " + ServerName(*obDB1), perServer},
                                           {"server " + ServerName(*obDB2), perServer}};
    if (!pair.setup->options.ByServer()) return needs;
    needs.push_back({"server " + ServerName(*obDB3), perServer});
    // Linked servers have the same names for every comparison.
    if (!IsOnServerOf(*obDB1, *obDB3) || !IsOnServerOf(*obDB2, *obDB3))
        needs.push_back({"linked servers of " + ServerName(*obDB3), 1});
    return needs;
}

void RunPair(const BatchPair& pair, const ReportChoice& report, BatchResult& result) noexcept {
    const auto begun = std::chrono::steady_clock::now();
    try {
        Compare(pair, report, result);
    } catch (const Interruption&) {
        result.outcome = BatchOutcome::BrokenOff;
    } catch (const std::bad_alloc&) {
        Fail(result, "there is not enough memory");
    } catch (const std::exception& error) {
        Fail(result, error.what());
    }
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
}

}  // namespace quillon
