// The types of columns by what their values are. Not installed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

// Two columns of one class can hold equal values.
enum class CellClass : std::uint8_t {
    Exact,     // bit, integers, decimal, money
    Float,     // real, float
    Moment,    // date, smalldatetime, datetime, datetime2
    Time,      // time
    Offset,    // datetimeoffset
    Guid,      // uniqueidentifier
    Bytes,     // binary, varbinary, image
    PageText,  // char, varchar, text
    WideText,  // nchar, nvarchar, ntext
    Xml,
    Variant,
};

struct TypeClass {
    CellClass cells = CellClass::Exact;
    bool integer = false;  // bit to bigint
    bool money = false;
    bool legacyLong = false;  // text, ntext, image: no part of a comparison on the server
};

// Absent for a type that this road cannot read: timestamp, a type of the CLR, one without a name.
std::optional<TypeClass> ClassifyType(const ColumnFacts& column);

// "varchar(10)", "nvarchar(max)", "decimal(9, 2)", "datetime2(3)", "int": as in a declaration.
std::u16string DeclaredType(const ColumnFacts& column);

// That of a column that keeps any value of the other as it is, and compares it alike, but that can
// put it outside of the row, which has 8,060 bytes, and that expressions take: "varchar(10)" of
// char(10), "nvarchar(max)" of ntext. The values of char, nchar and binary are filled up already.
std::u16string ListedType(const ColumnFacts& column);

}  // namespace QuillonLib
