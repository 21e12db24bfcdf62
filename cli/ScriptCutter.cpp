#include "cli/ScriptCutter.h"

#include <algorithm>
#include <utility>

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

}  // namespace

bool HoldsCommit(std::u16string_view batch) {
    if (batch.find(u"COMMIT") == std::u16string_view::npos) return false;
    LineReader reader(batch);
    for (Line line; reader.Read(line);) {
        const std::size_t begin = line.text.find_first_not_of(u" \t");
        if (begin != std::u16string_view::npos && IsCommit(line.text.substr(begin))) return true;
    }
    return false;
}

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

}  // namespace quillon
