// The row sets behind one table's result, and the pieces of the scripts that remove the
// differences. Not installed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/Options.h"
#include "scripts/CallLines.h"
#include "scripts/Procedures.h"

namespace QuillonLib {

class Connection;
class Database;
class Recordset;
class TableDifference;

// Null where the option flag that asks for it is not set. `Different` is null, too, for a table
// that has no compared column outside its key.
struct DifferenceRowsets {
    std::shared_ptr<Recordset> Equal;
    std::shared_ptr<Recordset> Different;
    std::shared_ptr<Recordset> Right;
    std::shared_ptr<Recordset> Left;
};

// Sets one after the other; after a failure the rest is as it was.
void OpenDifferenceRowsets(const Database& obDB1, const Database& obDB2, const Database& obDB3,
                           const TableDifference& obTableDifference, enShowOptions enOptions,
                           std::int32_t lRecords, const std::shared_ptr<Connection>& connection3,
                           DifferenceRowsets& rowsets);

// The call lines of one direction.
struct DirectionCalls {
    CallLines Deletes;
    CallLines Updates;
    CallLines Inserts;
};

// Both directions share the row sets: their updates come from the same rows, and the rows that one
// inserts are those that the other deletes.
struct ScriptPieces {
    ProcedureDefinitions Procedures;
    DirectionCalls Right;  // to be run on database 2
    DirectionCalls Left;   // to be run on database 1
};

// All pieces are empty for a view. Rows are read from first to last, wherever the row sets stand.
// Error 0x80040002 when there are rows but a key column is one that scripts cannot carry.
ScriptPieces BuildScriptPieces(const TableDifference& obTableDifference,
                               const DifferenceRowsets& rowsets, enShowOptions enOptions);

// About as many characters as the call lines of one direction have.
std::size_t ExpectedLength(const DirectionCalls& calls);

}  // namespace QuillonLib
