// The temporary procedures that a script calls once for each row. Not installed.
#pragma once

#include <string>
#include <string_view>

#include "core/Options.h"

namespace QuillonLib {

class TableDifference;

inline constexpr std::u16string_view UpdateProcedure = u"prcTmp_QVX_Update";
inline constexpr std::u16string_view InsertProcedure = u"prcTmp_QVX_Insert";
inline constexpr std::u16string_view DeleteProcedure = u"prcTmp_QVX_Delete";

// The definitions, each with its own batches and ending in "GO" and a line end. A parameter for
// every script column, in column order; the delete procedure has those of the key only. Names are
// bracketed as they stand.
struct ProcedureDefinitions {
    std::u16string Update;
    std::u16string Insert;
    std::u16string Delete;
};

ProcedureDefinitions DefineProcedures(const TableDifference& obTableDifference,
                                      enShowOptions enOptions);

// "EXEC name " and "DROP PROCEDURE name".
std::u16string CallOf(std::u16string_view procedure);
std::u16string DropOf(std::u16string_view procedure);

}  // namespace QuillonLib
