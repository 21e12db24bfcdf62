// What people are told beside rows.
#pragma once

#include "cli/Console.h"
#include "cli/Verdict.h"

namespace quillon {

// What the rows that are shown do not tell.
void NoteVerdict(Console& console, const Verdict& verdict);

}  // namespace quillon
