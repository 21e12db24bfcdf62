// Scripts of direct comparisons, and what they leave out.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "cli/DirectRun.h"
#include "cli/LeftOut.h"
#include "direct/DirectScript.h"

namespace quillon {

// What the head of a script says of the comparison: which rows and columns nobody looked at, and
// where equality was looser.
std::vector<std::u16string> RemarksOf(const DirectRun& run);

// Why the table is left out, as a sentence; empty where it is not.
std::string ReasonOf(QuillonLib::DirectLeftOut why);

// Compares, and gathers what scripts for one or both databases need.
class DirectScripts {
  public:
    // Throws as Run does.
    DirectScripts(const DirectRun& run, const std::vector<int>& sides, bool guard,
                  Console& console);

    const std::vector<QuillonLib::DirectTableResult>& Results() const { return results_; }

    // The script for one of the databases, once each. `out` gets it line by line;
    // `begins` as with DirectScriptWriter::Write. Throws as that does, and Interruption. `leave`:
    // what is to be put in order, in another thread, where a signal ends the program before the
    // first line because a server is silent.
    void Write(int side, const std::function<void(std::u16string_view)>& out,
               const std::function<void(std::size_t table)>& begins = {},
               const std::function<void()>& leave = {});

    // Of the scripts that have been written: what they do to their tables.
    const std::vector<QuillonLib::DirectScriptTable>& Written(int side) const;
    std::uint64_t RowsWritten(int side) const;
    std::vector<std::u16string> TablesWritten(int side) const;
    // What they do not bring over. Throws the library's Error.
    std::vector<LeftOut> NotBroughtOver() const;

  private:
    struct Script {
        int side = 0;
        std::unique_ptr<QuillonLib::DirectScriptWriter> writer;
        std::vector<QuillonLib::DirectScriptTable> written;
    };
    const Script& Of(int side) const;
    void LeaveOutTable(std::size_t table, const Verdict& verdict, std::vector<LeftOut>& list) const;
    bool LeavesOut(std::size_t table, QuillonLib::DirectLeftOut why) const;
    int CodeOfView(std::size_t table) const;

    const DirectRun& run_;
    std::vector<Script> scripts_;
    std::vector<QuillonLib::DirectTableResult> results_;
};

}  // namespace quillon
