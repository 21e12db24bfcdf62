// Which batches the driver would not send as they stand.
#pragma once

#include <string_view>

namespace QuillonLib {

// True for a batch that holds
//  - a NUL: the driver ends the batch there, and runs what precedes it;
//  - half a surrogate pair: the same, with an error;
//  - "?" or "{" where the driver looks for parameters and escapes: outside quotes and comments. In
//    T-SQL that is only the rest of a nested comment, for the driver takes a comment to end at the
//    first "*/".
// Such a batch is handed to the driver as the value of a parameter.
bool DriverWouldChange(std::u16string_view batch);

}  // namespace QuillonLib
