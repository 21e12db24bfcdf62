// What a direct comparison says of a table and of its rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "catalog/CatalogFacts.h"
#include "core/Error.h"
#include "data/Value.h"

namespace QuillonLib {

// A column that is compared: one that both sides have.
struct DirectColumn {
    ColumnFacts side1;
    ColumnFacts side2;
    bool key = false;
};

// One row, a Value for each column of the table's shape, as the server holds it:
//   char, varchar, text   Bytes: those of the column's code page
//   sql_variant           Bytes: see direct/VariantCell.h
//   all other types       as in a Recordset
using DirectRow = std::vector<Value>;

enum class DirectOmission : std::uint8_t {
    OnlyIn1,  // the other side has no column of that name
    OnlyIn2,
    Computed,       // on either side
    Generated,      // on either side: only the server writes it (periods of temporal tables)
    ColumnSet,      // on either side: it shows the sparse columns, which are compared themselves
    RowVersion,     // timestamp, on either side: the server's own count of changes
    NotChosen,      // the caller has named others
    Ignored,        // by the caller's word, whichever side has it
    NotComparable,  // the types hold no common value without loss, or cannot be read
};

// A column that is not compared.
struct DirectOmitted {
    std::u16string name;
    DirectOmission why = DirectOmission::OnlyIn1;
    std::u16string reason;  // of NotComparable: a sentence
};

enum class DirectDriftKind : std::uint8_t {
    Type,         // name, length, precision or scale
    Nullability,  // NULL, NOT NULL
    Collation,
    Identity,
    PrimaryKey,  // the columns of the primary keys
};

// A way in which the declarations of a table differ.
struct DirectDrift {
    DirectDriftKind kind = DirectDriftKind::Type;
    std::u16string column;  // empty for PrimaryKey
    std::u16string side1;   // as declared: "varchar(10)", "NOT NULL", "[a], [b]" ...
    std::u16string side2;
};

// What is compared of a table, and how its rows are matched.
struct DirectShape {
    ObjectName table;                   // as side 1 spells it
    ObjectName table2;                  // as side 2 does
    bool view = false;                  // an indexed view, on either side
    std::vector<DirectColumn> columns;  // in the order of side 1
    std::vector<std::size_t> key;       // positions in `columns`, in key order; empty: no key
    // The server keeps the key unique on both sides; else it is the caller's word.
    bool keyIsUnique = false;
    std::vector<DirectOmitted> omitted;
    std::vector<DirectDrift> drift;
};

enum class DirectChange : std::uint8_t {
    Differs,
    OnlyIn1,
    OnlyIn2,
    Same,  // only where the options ask for it
};

// Valid as long as the callback that it is handed to.
struct DirectDifference {
    std::size_t table;  // position in the list of tables
    const DirectShape& shape;
    DirectChange change;
    const DirectRow* row1;             // null where the row is only in 2, and beside Same's row2
    const DirectRow* row2;             // null where the row is only in 1
    const std::vector<bool>& changed;  // by column; of Differs only, else empty
};

enum class DirectReading : std::uint8_t {
    Committed,  // READ COMMITTED; also where a snapshot was asked for that the database refuses
    Snapshot,   // the whole table as it was at one moment
};

struct DirectTableResult {
    DirectShape shape;
    // The servers' own counts of rows before they were read, conditions left aside; 0: not known.
    std::uint64_t expected1 = 0;
    std::uint64_t expected2 = 0;
    DirectReading reading1 = DirectReading::Committed;
    DirectReading reading2 = DirectReading::Committed;
    std::uint64_t rows1 = 0;
    std::uint64_t rows2 = 0;
    std::uint64_t identical = 0;
    std::uint64_t differing = 0;
    std::uint64_t onlyIn1 = 0;
    std::uint64_t onlyIn2 = 0;
    std::vector<std::uint64_t> changedCells;  // by column of the shape
    // Compared to the end. If not, because of `error` or because the caller had enough, what was
    // counted and told is true of no more than the rows that were read, and says nothing of the
    // table.
    bool complete = false;
    std::optional<Error> error;
    // Of `error`: the side whose server, or whose rows, it came from, 1 or 2. 0 where it is about
    // both, or about neither.
    int failedSide = 0;

    bool Same() const { return complete && differing + onlyIn1 + onlyIn2 == 0; }
};

// How far the reading of a table has come.
struct DirectProgress {
    std::size_t table;  // position in the list of tables
    const ObjectName& name;
    std::uint64_t rows1;
    std::uint64_t rows2;
    std::uint64_t expected1;  // as in the result
    std::uint64_t expected2;
    // Of all tables together, on both sides, with those that are being read ahead: see ReadingPace.
    std::uint64_t allRead;
    // How many they will be, by the servers' counts. Absent where one of these is not known, or not
    // yet, or has turned out too low, and where a condition chooses rows.
    std::optional<std::uint64_t> allExpected;
};

}  // namespace QuillonLib
