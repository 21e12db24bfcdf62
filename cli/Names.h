// Names as people write them on a command line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "catalog/CatalogFacts.h"

namespace quillon {

struct WrittenName {
    std::u16string text;
    bool bracketed = false;
};
// A table, "name", "owner.name" or with brackets. Without an owner it is dbo's. A bracket within
// brackets is doubled. Throws CLI::ValidationError that names what is wrong.
struct WrittenTable {
    WrittenName owner;
    WrittenName name;
};
WrittenTable ParseTable(std::string_view text);
// The same as a table entry.
std::u16string ToTableEntry(std::string_view text);
// The two names of an entry. The library cuts at the first point; this cuts between the brackets,
// so that an owner's name may hold points.
QuillonLib::ObjectName NameOfEntry(std::u16string_view entry);

// Choices: `option` is what an error names. For a command that is about one table alone, `only` is
// that table as it was typed, and "TABLE=" may be left out; else it is empty.
//
// "TABLE=NAME": what is chosen for one table.
struct TableChoice {
    std::u16string table;  // a table entry
    std::u16string name;
};
TableChoice ParseTableChoice(std::string_view text, const char* option, std::string_view only = {});

// "TABLE=TEXT": whatever follows, as it stands.
struct TableText {
    std::u16string table;  // a table entry
    std::string text;
};
TableText ParseTableText(std::string_view text, const char* option, const char* form);

// "TABLE=A,B,...", names with a comma in them in brackets.
struct ColumnsChoice {
    std::u16string table;  // a table entry
    std::vector<std::u16string> columns;
};
ColumnsChoice ParseColumnsChoice(std::string_view text, const char* option,
                                 std::string_view only = {});

// "a, b and c", each in the brackets that the server writes.
std::string ListOf(const std::vector<std::u16string>& names);

}  // namespace quillon
