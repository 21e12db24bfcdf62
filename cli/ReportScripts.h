// The scripts that a report carries, as far as a page can hold them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/DirectRun.h"
#include "direct/DirectScript.h"

namespace quillon {

// Of a script in a page, in UTF-16 units.
inline constexpr std::size_t LongestScript = 200'000;

struct PageScript {
    enum class State : std::uint8_t {
        Whole,
        TooLong,  // for a page
        Nothing,  // that a script could do
        Failed,
    };
    int side = 0;  // the database that it changes
    State state = State::Nothing;
    std::uint64_t rows = 0;  // that it changes, of Whole
    std::u16string text;     // of Whole
    std::string reason;      // of Failed
    std::string command;     // that writes it into a file
    // Tables that differ, or may differ, and that it does not bring over, each with the reason; of
    // Whole and Nothing.
    std::vector<std::string> leftOut;
};

// Gathers the differences of a comparison for the scripts of both databases, guarded ones, and
// keeps nothing more where they are certain to be too long.
class ReportScripts {
  public:
    // `run` must outlive the object.
    explicit ReportScripts(const DirectRun& run);

    // Throws Error FileAccess where there is no room for it.
    void Take(const QuillonLib::DirectDifference& found);
    // One for each database; what hinders it is told in it. Throws Interruption. `command`: what
    // writes such a script, but for --to and -o.
    std::vector<PageScript> Write(const std::vector<QuillonLib::DirectTableResult>& results,
                                  const std::string& command);

  private:
    PageScript Script(int side, const std::vector<QuillonLib::DirectTableResult>& results) const;
    void LeaveOut(std::size_t table, const std::string& reason, PageScript& script) const;

    const DirectRun& run_;
    std::vector<std::unique_ptr<QuillonLib::DirectScriptWriter>> writers_;  // 1 and 2; else none
    std::uint64_t differences_ = 0;
};

}  // namespace quillon
