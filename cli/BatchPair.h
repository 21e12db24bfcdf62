// One pair of a batch: what it takes while it runs, and running it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/BatchFile.h"
#include "cli/BatchQueue.h"
#include "cli/BatchResult.h"
#include "cli/CompareRun.h"

namespace quillon {

// A pair as it can be compared.
struct BatchPair {
    const BatchSetup* setup = nullptr;
    std::string report;  // the name of its file
    // Absent where the login cannot be had, or the template.
    std::optional<ComparisonRequest> request;
    bool quiet = false;  // no notes of what is only good to know
};

// The servers that it takes part of, so many pairs at once each. The pair has a request.
std::vector<BatchQueue::Need> NeedsOf(const BatchPair& pair, std::size_t perServer);

// Compares, and adds what comes of it to `result`. Nothing is thrown: a failure is in the result.
void RunPair(const BatchPair& pair, const ReportChoice& report, BatchResult& result) noexcept;

// Makes it the result of a pair of which nothing could be compared.
void Fail(BatchResult& result, const std::string& why);

}  // namespace quillon
