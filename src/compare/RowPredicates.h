// The predicates by which the rows of database 1 (alias T1) and database 2 (alias T2) are matched
// and told apart. Each is written in this one place, for counting and for fetching rows alike.
#pragma once

#include <string>

namespace QuillonLib {

class ColumnObjects;

// "T1.[a]=T2.[a] AND T1.[b]=T2.[b] " over the key columns; empty without one. The trailing blank
// belongs to the text.
std::u16string JoinPredicate(const ColumnObjects& columns);

// "(T1.[c]<>T2.[c]) OR (T1.[c] IS NULL AND T2.[c] IS NOT NULL) OR (...) " over the compared columns
// outside the key; empty without one. The trailing blank belongs to the text.
std::u16string DifferencePredicate(const ColumnObjects& columns);

}  // namespace QuillonLib
