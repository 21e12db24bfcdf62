// What has become of one pair of a batch, and of all of them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/CompareResults.h"
#include "cli/Console.h"

namespace quillon {

enum class BatchOutcome {
    NotRun,     // the batch ended before its turn, or it is still to come
    Running,    // told in the index page alone
    BrokenOff,  // the batch ended in the middle of it
    Failed,
    Different,
    NotWhole,  // no difference found, but not everything was compared
    Identical,
};

struct BatchResult {
    std::size_t position = 0;  // in the list
    std::string name;
    std::string description;
    BatchOutcome outcome = BatchOutcome::NotRun;
    int exitCode = 0;                // as `quillon compare` would have ended; of what has been run
    std::string error;               // why nothing could be compared; else empty
    std::vector<std::string> notes;  // what `quillon compare` would have told on standard error
    std::string place1;              // SERVER/DATABASE; empty where that is not known
    std::string place2;
    std::string summary;  // "3 tables: 1 identical, 2 different", or the error
    std::string report;   // the name of its file; empty: there is none
    double seconds = 0;
    std::optional<CompareResults> results;  // until the result has been told
};

// "identical", "not-whole", "different", "failed", "broken-off", "not-run", "running".
const char* NameOf(BatchOutcome outcome);
// The same in words of people.
const char* TextOf(BatchOutcome outcome);
// The code to end with: that of a failure before that of a difference, that of a difference before
// that of what was not compared whole.
int ExitCodeOf(const std::vector<BatchResult>& results);
// "3 pairs: 1 identical, 1 different, 1 failed".
std::string LastLine(const std::vector<BatchResult>& results);

// One line for people.
void Print(Console& console, const BatchResult& result);
// One line of JSON each: docs/batch.md.
std::string JsonLineOf(const BatchResult& result);
std::string JsonLineOf(const std::vector<BatchResult>& results, const Stopwatch& watch);

}  // namespace quillon
