// What a script does not bring over.
#pragma once

#include <string>
#include <vector>

#include "cli/Console.h"

namespace quillon {

// A table that differs, or may differ, and that a script does not bring over, or not whole.
struct LeftOut {
    std::u16string table;
    std::string reason;
    int exitCode;  // that it asks for (Verdict.h)
};

void NoteLeftOut(const std::vector<LeftOut>& list, Console& console);

// The gravest exit code that something left out asks for; 0 when nothing was.
int GravestCode(const std::vector<LeftOut>& list);

}  // namespace quillon
