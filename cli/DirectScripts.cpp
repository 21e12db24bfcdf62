#include "cli/DirectScripts.h"

#include <algorithm>
#include <optional>

#include "cli/AbandonOnInterrupt.h"
#include "cli/DirectResults.h"
#include "cli/Interrupt.h"
#include "cli/Printable.h"

namespace quillon {

namespace {

using namespace QuillonLib;

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += (text.empty() ? "" : "; ") + Printable(line);
    return text;
}

}  // namespace

std::vector<std::u16string> RemarksOf(const DirectRun& run) {
    std::vector<std::u16string> remarks;
    if (!run.loosened.empty())
        remarks.push_back(u"Values were compared " + FromUtf8(run.loosened) + u".");
    for (const std::u16string& column : run.options.ignoredColumns) {
        remarks.push_back(u"Not compared, but where rows are matched by it: column [" + column +
                          u"]");
    }
    for (std::size_t i = 0; i < run.choices.size(); ++i) {
        const DirectTable& choice = run.choices[i];
        if (!choice.where.empty()) {
            remarks.push_back(u"Of " + run.tables[i] + u" only rows were compared that meet: " +
                              choice.where);
        }
        if (choice.comparedColumns.empty()) continue;
        std::u16string columns;
        for (const std::u16string& column : choice.comparedColumns)
            columns += (columns.empty() ? u"[" : u", [") + column + u"]";
        remarks.push_back(u"Of " + run.tables[i] +
                          u" only its key and these columns were compared: " + columns);
    }
    return remarks;
}

std::string ReasonOf(DirectLeftOut why) {
    switch (why) {
        case DirectLeftOut::No:
            break;
        case DirectLeftOut::View:
            return "it is a view: its rows follow from its tables";
        case DirectLeftOut::History:
            return "only the server writes the history of a temporal table";
        case DirectLeftOut::LosesColumns:
            return "its rows have no key, and columns that are not compared would lose their "
                   "values; --key names columns that match rows";
    }
    return {};
}

DirectScripts::DirectScripts(const DirectRun& run, const std::vector<int>& sides, bool guard,
                             Console& console)
    : run_(run) {
    const bool conditions =
        std::any_of(run.choices.begin(), run.choices.end(),
                    [](const DirectTable& table) { return !table.where.empty(); });
    if (conditions) {
        console.Hint(
            "quillon: --where: a row that meets the condition in one database alone counts as "
            "missing in the other, and is deleted or inserted");
    }
    for (const int side : sides) {
        DirectScriptOptions options;
        options.target = side;
        options.guard = guard;
        options.remarks = RemarksOf(run);
        Script& script = scripts_.emplace_back();
        script.side = side;
        script.writer = std::make_unique<DirectScriptWriter>(run.Target(side), options);
    }
    results_ = Run(run, console, [this](const DirectDifference& difference) {
        for (const Script& script : scripts_)
            script.writer->Add(difference);
        return false;
    });
}

const DirectScripts::Script& DirectScripts::Of(int side) const {
    return scripts_.front().side == side ? scripts_.front() : scripts_.back();
}

void DirectScripts::Write(int side, const std::function<void(std::u16string_view)>& out,
                          const std::function<void(std::size_t)>& begins,
                          const std::function<void()>& leave) {
    Script& script = scripts_.front().side == side ? scripts_.front() : scripts_.back();
    // The catalog of the target is read before the first piece.
    std::optional<AbandonOnInterrupt> silent;
    silent.emplace(leave);
    const auto stoppable = [&](std::u16string_view piece) {
        silent.reset();
        StopIfInterrupted();
        out(piece);
    };
    script.written = script.writer->Write(results_, stoppable, begins);
}

const std::vector<DirectScriptTable>& DirectScripts::Written(int side) const {
    return Of(side).written;
}

std::uint64_t DirectScripts::RowsWritten(int side) const {
    std::uint64_t rows = 0;
    for (const DirectScriptTable& table : Of(side).written) {
        if (!table.LeftOut()) rows += table.deletes + table.updates + table.inserts;
    }
    return rows;
}

std::vector<std::u16string> DirectScripts::TablesWritten(int side) const {
    std::vector<std::u16string> tables;
    for (const DirectScriptTable& table : Of(side).written) {
        if (!table.LeftOut()) tables.push_back(run_.tables[table.table]);
    }
    return tables;
}

std::vector<LeftOut> DirectScripts::NotBroughtOver() const {
    const AbandonOnInterrupt silent;
    std::vector<LeftOut> list;
    const std::vector<ResultLine> lines = Judge(run_, results_);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].verdict.kind == Verdict::Kind::Failed) {
            list.push_back({run_.tables[i], lines[i].error, ExitCode::Failed});
        } else {
            LeaveOutTable(i, lines[i].verdict, list);
        }
    }
    for (const auto* side : {&run_.onlyIn1, &run_.onlyIn2}) {
        for (const std::u16string& table : *side)
            list.push_back({table, "only one database has it", ExitCode::Different});
    }
    return list;
}

void DirectScripts::LeaveOutTable(std::size_t table, const Verdict& verdict,
                                  std::vector<LeftOut>& list) const {
    const std::u16string& entry = run_.tables[table];
    std::vector<std::string> parts = OneSidedColumns(results_[table]);
    const bool oneSided = !parts.empty();
    parts.insert(parts.end(), verdict.notCompared.begin(), verdict.notCompared.end());
    if (!parts.empty()) {
        list.push_back({entry, "not whole: " + Joined(parts),
                        oneSided ? ExitCode::Different : ExitCode::NotWhole});
    }
    for (const DirectLeftOut why :
         {DirectLeftOut::View, DirectLeftOut::History, DirectLeftOut::LosesColumns}) {
        if (!LeavesOut(table, why)) continue;
        list.push_back({entry, ReasonOf(why),
                        why == DirectLeftOut::View ? CodeOfView(table) : ExitCode::Different});
    }
}

bool DirectScripts::LeavesOut(std::size_t table, DirectLeftOut why) const {
    return std::any_of(scripts_.begin(), scripts_.end(), [&](const Script& script) {
        return std::any_of(script.written.begin(), script.written.end(),
                           [&](const DirectScriptTable& each) {
                               return each.leftOut == why && each.table == table;
                           });
    });
}

// A view agrees by itself where one of its tables is brought over.
int DirectScripts::CodeOfView(std::size_t table) const {
    const std::vector<std::u16string> written = TablesWritten(scripts_.front().side);
    const auto parents =
        run_.databases.obDB1->Tables()->Item(run_.tables[table])->ParentDependencies();
    const bool follows = std::any_of(parents->begin(), parents->end(), [&](const auto& parent) {
        return std::any_of(written.begin(), written.end(), [&](const std::u16string& entry) {
            return EqualIgnoringCase(entry, parent->Name());
        });
    });
    return follows ? ExitCode::Identical : ExitCode::Different;
}

}  // namespace quillon
