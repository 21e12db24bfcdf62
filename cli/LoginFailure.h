// What can be said of a login that failed, where the driver says next to nothing.
#pragma once

#include <string>

#include "QuillonLib.h"

namespace quillon {

// To stand on a line of its own behind the text of `error`, with which a login to `database`, or
// what came after it, has failed; empty where there is nothing to add. It tells what is likely, not
// what is known: of a server that does not encrypt FreeTDS says no more than that it could not
// connect.
std::string LikelyCause(const QuillonLib::Database& database, const QuillonLib::Error& error);

}  // namespace quillon
