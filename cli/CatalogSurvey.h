// What the catalogs of both databases say of the tables that are compared: more than the library's
// object model tells, for the front end must know what a comparison does not look at.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonLib.h"
#include "catalog/CatalogFacts.h"

namespace quillon {

// One table or indexed view as each database has it.
struct TableFacts {
    QuillonLib::ObjectFacts in1;
    QuillonLib::ObjectFacts in2;

    bool IsView() const { return in1.IsView || in2.IsView; }
};

// Orders names as the object model compares them: without regard to case.
struct NameLess {
    bool operator()(const std::u16string& a, const std::u16string& b) const;
};
using FactsByTable = std::map<std::u16string, TableFacts, NameLess>;

// The tables and indexed views of one database, by their entries in catalog order. Throws
// std::runtime_error that names server and database.
std::shared_ptr<QuillonLib::TableObjects> ReadTables(QuillonLib::Database& database);

// Reads the facts of tables that both databases have. A table that has gone in the meantime is
// left out. Throws as ReadTables.
FactsByTable ReadFacts(const QuillonLib::Database& obDB1, const QuillonLib::Database& obDB2,
                       const QuillonLib::TextArray& tables);

// "nvarchar(20)", "decimal(18,4)", "int".
std::string TypeText(const QuillonLib::ColumnFacts& column);

// Where both have a column, or a primary key, but declare it otherwise.
struct DeclaredDifference {
    // "type", "nullability", "collation", "identity" or "primary key"; "definition": any of the
    // first four, in one text.
    std::string what;
    std::u16string column;  // empty for a primary key
    std::string in1;        // empty where there is nothing: no identity, no primary key
    std::string in2;
};

// How the columns of a table differ between the databases, a line for each: columns that only one
// has, and common ones of another type, length, nullability or collation.
struct ColumnDrift {
    std::vector<std::string> lines;
    std::vector<DeclaredDifference> differences;
    std::vector<std::u16string> onlyIn1;  // names
    std::vector<std::u16string> onlyIn2;
};
ColumnDrift CompareColumns(const TableFacts& facts);

// Whether every value of one column can pass through a parameter declared as another without being
// cut, rounded or replaced.
bool Fits(const QuillonLib::ColumnFacts& value, const QuillonLib::ColumnFacts& parameter);

// Whether the server, which converts two types to one before it compares their values, takes only
// equal values for equal.
bool ComparedWithoutLoss(const QuillonLib::ColumnFacts& a, const QuillonLib::ColumnFacts& b);

// Why scripts and comparisons can trust, or not, that a list of columns tells rows apart: an index
// of the table promises that no two rows agree in all of them.
bool HasUniqueIndexWithin(const QuillonLib::ObjectFacts& table,
                          const std::vector<std::u16string>& columns);

}  // namespace quillon
