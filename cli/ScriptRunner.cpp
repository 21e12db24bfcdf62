#include "cli/ScriptRunner.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "cli/AbandonOnInterrupt.h"
#include "cli/CancelOnInterrupt.h"
#include "cli/Interrupt.h"
#include "data/BatchText.h"
#include "scripts/Procedures.h"

namespace quillon {

namespace {

constexpr std::u16string_view CrLf = u"\r\n";
constexpr std::u16string_view GoLine = u"GO";

// Walks over a script and knows at every line break whether it stands outside literals, comments
// and names.
class ScriptScanner {
  public:
    explicit ScriptScanner(std::u16string_view script) : script_(script) {}

    // The end of the statement-level line that begins at `from`: the position of the CR LF after
    // it that stands outside everything, or the end of the script.
    std::size_t LineEnd(std::size_t from) const {
        std::size_t at = from;
        while (at < script_.size()) {
            const std::u16string_view rest = script_.substr(at);
            if (rest.starts_with(CrLf)) return at;
            if (rest.front() == u'\'') {
                at = Behind(at + 1, u"'");
            } else if (rest.front() == u'"') {
                at = Behind(at + 1, u"\"");
            } else if (rest.front() == u'[') {
                at = BehindName(at + 1);
            } else if (rest.starts_with(u"/*")) {
                at = BehindComment(at);
            } else if (rest.starts_with(u"--")) {
                at = std::min(script_.find(CrLf, at), script_.size());
            } else {
                ++at;
            }
        }
        return script_.size();
    }

  private:
    // A doubled quote ends one literal and begins the next, which comes to the same.
    std::size_t Behind(std::size_t from, std::u16string_view end) const {
        const std::size_t found = script_.find(end, from);
        return found == std::u16string_view::npos ? script_.size() : found + end.size();
    }
    // A doubled bracket does not: behind the second, a name would be taken for statement.
    std::size_t BehindName(std::size_t from) const {
        std::size_t at = Behind(from, u"]");
        while (at < script_.size() && script_[at] == u']')
            at = Behind(at + 1, u"]");
        return at;
    }
    std::size_t BehindComment(std::size_t at) const {
        int depth = 0;
        for (; at < script_.size(); ++at) {
            const std::u16string_view rest = script_.substr(at);
            if (rest.starts_with(u"/*")) {
                ++depth;
                ++at;
            } else if (rest.starts_with(u"*/")) {
                ++at;
                if (--depth == 0) return at + 1;
            }
        }
        return script_.size();
    }

    std::u16string_view script_;
};

bool IsBlank(std::u16string_view text) {
    return text.find_first_not_of(u" \t\r\n") == std::u16string_view::npos;
}

bool IsCall(std::u16string_view line) {
    return line.starts_with(u"EXEC ");
}

bool IsCommit(std::u16string_view line) {
    return line.starts_with(u"COMMIT");
}

// A statement-level line; its end is not part of it.
struct Line {
    std::u16string_view text;
    std::size_t begin = 0;
    std::size_t next = 0;  // where the next one begins
};

class LineReader {
  public:
    explicit LineReader(std::u16string_view script) : script_(script), scanner_(script) {}

    bool Read(Line& line) {
        if (at_ >= script_.size()) return false;
        const std::size_t end = scanner_.LineEnd(at_);
        line = {script_.substr(at_, end - at_), at_, std::min(end + CrLf.size(), script_.size())};
        at_ = line.next;
        return true;
    }

  private:
    std::u16string_view script_;
    ScriptScanner scanner_;
    std::size_t at_ = 0;
};

// A batch that the driver would change runs in a scope of its own, as does a procedure: a SET in it
// ends with it, and a COMMIT in it is an error. So a run of calls with such a line gets batches of
// its own. And the COMMIT does: after most errors the server goes on with the rest of the batch.
class Cutter {
  public:
    Cutter(std::u16string_view script, std::size_t linesInBatch)
        : script_(script), linesInBatch_(linesInBatch) {}

    std::vector<std::u16string> Cut() && {
        LineReader reader(script_);
        for (Line line; reader.Read(line);) {
            if (line.text == GoLine) {
                EndBatch(line.begin, line.next);
            } else if (IsCall(line.text)) {
                TakeCall(line);
            } else if (!IsBlank(line.text)) {
                TakeOther(line);
            }
        }
        EndBatch(script_.size(), script_.size());
        return std::move(batches_);
    }

  private:
    void TakeCall(const Line& line) {
        if (run_ == 0) runBegin_ = line.begin;
        ++run_;
        ++calls_;
        if (!changed_ && QuillonLib::DriverWouldChange(line.text)) {
            CutOffRun();
            changed_ = true;
        }
        if (calls_ >= linesInBatch_) EndBatch(line.next, line.next);
    }

    void TakeOther(const Line& line) {
        if (changed_ || IsCommit(line.text)) EndBatch(line.begin, line.begin);
        run_ = 0;
    }

    void CutOffRun() {
        const std::size_t run = run_;
        EndBatch(runBegin_, runBegin_);
        calls_ = run_ = run;
    }

    void EndBatch(std::size_t end, std::size_t next) {
        const std::u16string_view batch = script_.substr(batchBegin_, end - batchBegin_);
        if (!IsBlank(batch)) batches_.emplace_back(batch);
        batchBegin_ = next;
        calls_ = run_ = 0;
        changed_ = false;
    }

    std::u16string_view script_;
    std::size_t linesInBatch_;
    std::vector<std::u16string> batches_;
    // Of the batch that is being gathered:
    std::size_t batchBegin_ = 0;
    std::size_t calls_ = 0;
    std::size_t run_ = 0;       // the calls at its end
    std::size_t runBegin_ = 0;  // only where there are some
    bool changed_ = false;      // it is a run with a line that the driver would change
};

bool HoldsCommit(std::u16string_view batch) {
    if (batch.find(u"COMMIT") == std::u16string_view::npos) return false;
    LineReader reader(batch);
    for (Line line; reader.Read(line);) {
        const std::size_t begin = line.text.find_first_not_of(u" \t");
        if (begin != std::u16string_view::npos && IsCommit(line.text.substr(begin))) return true;
    }
    return false;
}

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

}  // namespace

std::vector<std::u16string> CutIntoBatches(std::u16string_view script, std::size_t linesInBatch) {
    return Cutter(script, linesInBatch).Cut();
}

CallCounts CountCalls(std::u16string_view batch) {
    using namespace QuillonLib;
    static const std::u16string Delete = CallOf(DeleteProcedure);
    static const std::u16string Update = CallOf(UpdateProcedure);
    static const std::u16string Insert = CallOf(InsertProcedure);
    CallCounts calls;
    LineReader reader(batch);
    for (Line line; reader.Read(line);) {
        calls.deletes += line.text.starts_with(Delete) ? 1 : 0;
        calls.updates += line.text.starts_with(Update) ? 1 : 0;
        calls.inserts += line.text.starts_with(Insert) ? 1 : 0;
    }
    return calls;
}

namespace {

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
