// What the server's catalog says of tables, views, columns and indexes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/Export.h"

namespace QuillonLib {

// Bits of IndexFacts::Type. An index carries at most one of them: the index of a primary key is
// not taken for a unique index, so that a key whose name differs between two databases is not
// chosen by mistake.
enum class IndexType : std::int32_t {
    Unique = 2,
    PrimaryKey = 0x800,
    UniqueConstraint = 0x1000,
};

struct ObjectName {
    std::u16string Owner;  // a schema, on servers that have schemas
    std::u16string Name;
};

// char, varchar or text, whose characters are bytes in a code page.
QUILLON_API bool IsCodePageType(std::u16string_view dataType);

struct ColumnFacts {
    std::u16string Name;
    std::u16string DataType;  // base type, as the server writes it
    std::int32_t Length = 0;  // characters for nchar and nvarchar, else bytes; -1 for max types
    std::int32_t NumericPrecision = 0;
    std::int32_t NumericScale = 0;
    bool Computed = false;
    bool Identity = false;
    bool AllowNulls = false;
    // The server writes it itself, and nobody else can: periods of temporal tables, columns of
    // ledgers.
    bool Generated = false;
    // xml COLUMN_SET FOR ALL_SPARSE_COLUMNS: it holds nothing of its own.
    bool ColumnSet = false;
    std::u16string Collation;   // empty for columns without one, and on SQL Server 7.0
    std::int32_t CodePage = 0;  // of char, varchar and text, 65001 being UTF-8; 0: not known, or
                                // a column of another type
    // Of the database's own collation, in which variables and parameters of those types are kept;
    // 0: not known, or no column of text.
    std::int32_t DatabaseCodePage = 0;

    bool HasCodePage() const;  // is of such a type
};

struct IndexFacts {
    std::u16string Name;
    std::int32_t Type = 0;
    std::vector<std::u16string> Columns;  // key columns, in key order

    bool Has(IndexType bit) const { return (Type & static_cast<std::int32_t>(bit)) != 0; }
};

struct ObjectFacts {
    ObjectName Object;
    bool IsView = false;
    bool IsHistory = false;            // of a temporal table: only the server writes its rows
    std::vector<ColumnFacts> Columns;  // in column order
    std::vector<IndexFacts> Indexes;   // in index-id order

    // Null when there is none.
    const IndexFacts* PrimaryKey() const;
    // The index of exactly that name if there is one, else of the name in another case.
    const IndexFacts* FindIndex(std::u16string_view name) const;
    const ColumnFacts* FindColumn(std::u16string_view name) const;  // exactly that name
};

}  // namespace QuillonLib
