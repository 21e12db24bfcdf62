#include "cli/ScriptRunner.h"

#include <stdexcept>

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

}  // namespace

std::vector<std::u16string> CutIntoBatches(std::u16string_view script, std::size_t linesInBatch) {
    const ScriptScanner scanner(script);
    std::vector<std::u16string> batches;
    std::size_t batchBegin = 0;
    std::size_t lines = 0;
    const auto endBatch = [&](std::size_t end) {
        const std::u16string_view batch = script.substr(batchBegin, end - batchBegin);
        if (!IsBlank(batch)) batches.emplace_back(batch);
        lines = 0;
    };
    for (std::size_t begin = 0; begin < script.size();) {
        const std::size_t end = scanner.LineEnd(begin);
        const std::size_t next = std::min(end + CrLf.size(), script.size());
        const std::u16string_view line = script.substr(begin, end - begin);
        if (line == GoLine) {
            endBatch(begin);
            batchBegin = next;
        } else if (line.starts_with(u"EXEC ") && ++lines >= linesInBatch) {
            endBatch(next);
            batchBegin = next;
        }
        begin = next;
    }
    endBatch(script.size());
    return batches;
}

void RunBatches(QuillonLib::Connection& connection, const std::vector<std::u16string>& batches) {
    for (std::size_t i = 0; i < batches.size(); ++i) {
        try {
            connection.Execute(batches[i]);
        } catch (const QuillonLib::Error& error) {
            const std::string cause = error.what();
            if (connection.IsOpen()) {
                try {
                    connection.Execute(u"IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION");
                } catch (const QuillonLib::Error&) {
                    connection.Close();  // the server rolls back what a lost connection began
                }
            }
            throw BatchFailure(cause, i + 1, batches.size());
        }
    }
}

}  // namespace quillon
