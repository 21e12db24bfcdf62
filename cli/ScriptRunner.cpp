#include "cli/ScriptRunner.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "cli/AbandonOnInterrupt.h"
#include "cli/CancelOnInterrupt.h"
#include "cli/Interrupt.h"

namespace quillon {

namespace {

std::int32_t OpenTransactions(QuillonLib::Connection& connection) {
    // A Recordset shares its connection; this one is gone before the caller's.
    const std::shared_ptr<QuillonLib::Connection> borrowed(std::shared_ptr<void>(), &connection);
    QuillonLib::Recordset rows;
    rows.Open(u"SELECT @@TRANCOUNT", borrowed);
    return rows.Fields(std::size_t{0}).Value().Get<std::int32_t>();
}

// A server that does not even answer that a batch is cancelled has gone away, or its network has:
// it rolls back what a lost connection began.
class GivenUpOnInterrupt {
  private:
    static constexpr std::chrono::seconds Patience{5};
    OutcomeSoFar outcome_{
        "the server is silent, and the connection was given up: it rolls everything back"};
    AbandonOnInterrupt silent_{{}, Patience};
};

// Whether it is certain, after a failure, that nothing remains of the transaction. `mayHaveEnded`:
// the batch that failed was to end it, and may have done so.
bool RollBack(QuillonLib::Connection& connection, bool mayHaveEnded) {
    try {
        if (mayHaveEnded) {
            if (OpenTransactions(connection) == 0) return false;
            mayHaveEnded = false;
        }
        const GivenUpOnInterrupt lost;
        connection.Execute(u"IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION");
    } catch (const QuillonLib::Error&) {
        connection.Close();  // the server rolls back what a lost connection began
        return !mayHaveEnded;
    }
    return true;
}

class VectorSource : public BatchSource {
  public:
    explicit VectorSource(const std::vector<std::u16string>& batches) : batches_(batches) {}
    std::size_t Count() const override { return batches_.size(); }
    std::u16string Batch(std::size_t number) override { return batches_[number]; }

  private:
    const std::vector<std::u16string>& batches_;
};

[[noreturn]] void ThrowRolledBack() {
    throw Interruption("everything was rolled back");
}

// One run, and what it has come to.
class BatchRun {
  public:
    BatchRun(QuillonLib::Connection& connection, BatchSource& batches)
        : connection_(connection), batches_(batches) {}

    void Run() {
        for (std::size_t i = 0; i < batches_.Count(); ++i) {
            if (Interrupted()) {
                RollBack(connection_, /*mayHaveEnded=*/false);
                ThrowRolledBack();
            }
            RunOne(i);
        }
    }

  private:
    void RunOne(std::size_t number) {
        bool ends = false;
        try {
            std::optional<CancelOnInterrupt> watch;
            watch.emplace(connection_);
            std::optional<GivenUpOnInterrupt> lost;
            lost.emplace();
            const std::int32_t open = Look();
            batches_.Look(connection_, number);
            const std::u16string batch = batches_.Batch(number);
            ends = open == 1 && HoldsCommit(batch);
            if (ends) {
                watch.reset();  // cancelled, a COMMIT could have happened or not
                lost.reset();
            }
            connection_.Execute(batch);
            if (number + 1 == batches_.Count() && !ends && Look() > 0) {
                throw QuillonLib::Error(QuillonLib::ErrorNumber::DataAccess,
                                        u"The script leaves its transaction open.");
            }
        } catch (const QuillonLib::Error& error) {
            const std::string cause = error.what();
            if (!RollBack(connection_, ends)) throw OutcomeUnknown(cause);
            if (Interrupted()) ThrowRolledBack();
            throw BatchFailure(cause, number + 1, batches_.Count());
        }
    }

    std::int32_t Look() {
        const std::int32_t open = OpenTransactions(connection_);
        if (begun_ && open == 0) {
            throw OutcomeUnknown("The transaction ended before its COMMIT.");
        }
        begun_ = open > 0;
        return open;
    }

    QuillonLib::Connection& connection_;
    BatchSource& batches_;
    bool begun_ = false;
};

}  // namespace

void RunBatches(QuillonLib::Connection& connection, BatchSource& batches) {
    BatchRun(connection, batches).Run();
}

void RunBatches(QuillonLib::Connection& connection, const std::vector<std::u16string>& batches) {
    VectorSource source(batches);
    RunBatches(connection, source);
}

}  // namespace quillon
