// Which tables a command is about.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "QuillonLib.h"
#include "cli/Console.h"
#include "cli/DatabaseOptions.h"

namespace quillon {

// A table as people name it, or several by "*" (any characters) and "?" (one of them). Within
// brackets both mean themselves. Without an owner the tables of dbo are meant.
class TablePattern {
  public:
    // Throws CLI::ValidationError that names what is wrong.
    explicit TablePattern(std::string_view text);
    // The one table of an entry.
    static TablePattern Exactly(const std::u16string& entry);

    // Without regard to case.
    bool Matches(const QuillonLib::TableObject& table) const;
    // For error texts: the text itself, or the entry of the one table.
    std::string Text() const;
    bool IsOneTable() const { return !entry_.empty(); }

  private:
    struct Part {
        std::u16string text;  // folded
        bool wild = false;
        bool Matches(std::u16string_view name) const;
    };
    TablePattern() = default;

    std::u16string entry_;  // of one table; else empty, and these:
    Part owner_;
    Part name_;
    std::string text_;
};

// The tables of two databases, as entries.
struct TableLists {
    std::vector<std::u16string> tables;   // that both have, in the order to show
    std::vector<std::u16string> onlyIn1;  // of those asked for, the ones that one database lacks
    std::vector<std::u16string> onlyIn2;

    bool IsOneSided(const std::u16string& table) const;
};

// Reads the catalogs and sorts the tables that are asked for: all where nothing is `chosen`, but
// those that are `excluded`. Tells of tables that one database lacks. Throws CLI::ValidationError
// for what names no table, and std::runtime_error where a catalog cannot be read or nothing is left
// to compare.
TableLists SelectTables(const DatabaseOptions::Databases& databases,
                        const std::vector<TablePattern>& chosen,
                        const std::vector<TablePattern>& excluded, Console& console);

}  // namespace quillon
