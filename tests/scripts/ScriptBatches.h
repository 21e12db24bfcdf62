// Runs a synchronization script as a query tool would, but for data that looks like a separator.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "QuillonLib.h"

namespace QuillonLib {

// The batches between lines that hold exactly "GO", outside of literals, bracketed names and "--"
// comments: data may hold such lines. Batches of white space alone are left out.
std::vector<std::u16string> BatchesOf(std::u16string_view script);

// Runs the batches in order on a connection of its own; logging out rolls back what a failure left.
// `first` is run before the second batch, inside the transaction that the first one begins.
void RunScript(const Database& on, std::u16string_view script,
               const std::vector<std::u16string>& first = {});

}  // namespace QuillonLib
