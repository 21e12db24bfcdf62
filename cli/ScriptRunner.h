// Runs a synchronization script on a database.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonLib.h"
#include "cli/ScriptCutter.h"

namespace quillon {

// A batch that failed, and why. What the script had done by then has been rolled back.
struct BatchFailure : std::runtime_error {
    BatchFailure(const std::string& what, std::size_t number, std::size_t count)
        : std::runtime_error(what), batch(number), batches(count) {}
    std::size_t batch;  // from 1
    std::size_t batches;
};

// How the transaction ended is not known: the connection was lost, or the call failed, while the
// batch ran that ends it, or it ended before that batch. The server may have committed everything
// or nothing. what() is the cause.
struct OutcomeUnknown : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The batches of a script, wherever they are kept.
class BatchSource {
  public:
    virtual ~BatchSource() = default;
    virtual std::size_t Count() const = 0;
    virtual std::u16string Batch(std::size_t number) = 0;  // from 0
    // Called before each batch, on the connection that has run those before it. May throw the
    // library's Error: then no further batch is run.
    virtual void Look(QuillonLib::Connection& /*connection*/, std::size_t /*number*/) {}
};

// Runs the batches of one transaction in order on one connection, asking for @@TRANCOUNT before
// each: a line that begins with COMMIT, blanks aside, ends the transaction when that is 1. After a
// failure the transaction is rolled back, here or by the server, and BatchFailure is thrown; only
// where that is not certain, OutcomeUnknown. The connection may be closed then. A signal that asks
// the program to end cancels the batch that runs, unless that ends the transaction: everything is
// rolled back, and Interruption thrown.
void RunBatches(QuillonLib::Connection& connection, BatchSource& batches);
void RunBatches(QuillonLib::Connection& connection, const std::vector<std::u16string>& batches);

}  // namespace quillon
