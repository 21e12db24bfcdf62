#include "cli/ReportScripts.h"

#include "cli/AbandonOnInterrupt.h"
#include "cli/DirectScripts.h"
#include "cli/Interrupt.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// However short its rows are, a script of more is longer than a page may hold: each takes "1," in a
// list at least.
constexpr std::uint64_t MostDifferences = LongestScript / 2;

struct PageIsFull {};

}  // namespace

ReportScripts::ReportScripts(const DirectRun& run) : run_(run) {
    for (const int side : {1, 2}) {
        DirectScriptOptions options;
        options.target = side;
        options.guard = true;
        options.remarks = RemarksOf(run);
        writers_.push_back(std::make_unique<DirectScriptWriter>(run.Target(side), options));
    }
}

void ReportScripts::Take(const DirectDifference& found) {
    if (found.change == DirectChange::Same) return;
    ++differences_;
    if (differences_ > MostDifferences) writers_.clear();
    for (const auto& writer : writers_)
        writer->Add(found);
}

PageScript ReportScripts::Script(int side, const std::vector<DirectTableResult>& results) const {
    PageScript script;
    script.side = side;
    const auto add = [&](std::u16string_view piece) {
        StopIfInterrupted();
        if (script.text.size() + piece.size() > LongestScript) throw PageIsFull();
        script.text += piece;
    };
    try {
        const AbandonOnInterrupt silent;
        const auto tables = writers_[static_cast<std::size_t>(side - 1)]->Write(results, add);
        for (const DirectScriptTable& table : tables) {
            if (table.LeftOut()) {
                LeaveOut(table.table, ReasonOf(table.leftOut), script);
            } else {
                script.rows += table.deletes + table.updates + table.inserts;
            }
        }
        script.state = script.rows > 0 ? PageScript::State::Whole : PageScript::State::Nothing;
    } catch (const PageIsFull&) {
        script.state = PageScript::State::TooLong;
    } catch (const Error& error) {
        script.state = PageScript::State::Failed;
        script.reason = ToUtf8(error.Description());
    }
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (!results[i].complete) LeaveOut(i, "it was not compared to its end", script);
    }
    if (script.state != PageScript::State::Whole) script.text.clear();
    return script;
}

void ReportScripts::LeaveOut(std::size_t table, const std::string& reason,
                             PageScript& script) const {
    script.leftOut.push_back(ToUtf8(run_.tables[table]) + ": " + reason);
}

std::vector<PageScript> ReportScripts::Write(const std::vector<DirectTableResult>& results,
                                             const std::string& command) {
    std::vector<PageScript> scripts;
    for (const int side : {1, 2}) {
        PageScript& script = scripts.emplace_back();
        if (writers_.empty()) {
            script.side = side;
            script.state = PageScript::State::TooLong;
        } else {
            script = Script(side, results);
        }
        script.command = command + " --guard --to " + std::to_string(side) + " -o to" +
                         std::to_string(side) + ".sql";
    }
    return scripts;
}

}  // namespace quillon
