// Scripts run in process, without a client.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "../Backend.h"

namespace sandbox::wire {

// The batches of a script: what stands between lines that hold nothing but GO, in any case, and
// perhaps a count. A batch of blanks is left out; a counted one comes so many times.
std::vector<std::u16string_view> SplitScript(std::u16string_view script);

// Runs the batches one after another on one login. Throws std::runtime_error with the batch and
// the server's message at the first error.
void RunScript(Backend& backend, const LoginRequest& login, std::u16string_view script);

// The first field of the first row of the batch as CellText() writes it; "" without a row. Throws
// as RunScript().
std::u16string RunScalar(Backend& backend, const LoginRequest& login, std::u16string_view batch);

}  // namespace sandbox::wire
