// Which columns a script carries, and in what order. Not installed.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/Options.h"

namespace QuillonLib {

class ColumnObject;
class ColumnObjects;

// Not a computed column, not a timestamp; nor, with cpoIgnoreReplCols, "msrepl_tran_version" in any
// case.
bool IsScriptColumn(const ColumnObject& column, enShowOptions enOptions);

// The script columns of a result, in collection order: column number n is parameter "@P" + n.
std::vector<std::shared_ptr<ColumnObject>> ScriptColumns(const ColumnObjects& columns,
                                                         enShowOptions enOptions);

// The name of the first key column that scripts cannot carry; empty when there is none. Without
// it, the rows that a call line means could not be told from others.
std::u16string KeyColumnOutsideScripts(const ColumnObjects& columns, enShowOptions enOptions);

}  // namespace QuillonLib
