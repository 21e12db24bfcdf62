#include "cli/LeftOut.h"

#include <algorithm>
#include <array>

#include "cli/Printable.h"
#include "cli/Verdict.h"

namespace quillon {

void NoteLeftOut(const std::vector<LeftOut>& list, Console& console) {
    for (const LeftOut& table : list)
        console.Note("quillon: left out: " + Printable(table.table) + ": " + table.reason);
}

int GravestCode(const std::vector<LeftOut>& list) {
    constexpr std::array Gravest{ExitCode::Failed, ExitCode::Different, ExitCode::NotWhole};
    for (const int code : Gravest) {
        const bool any = std::any_of(list.begin(), list.end(), [code](const LeftOut& table) {
            return table.exitCode == code;
        });
        if (any) return code;
    }
    return ExitCode::Identical;
}

}  // namespace quillon
