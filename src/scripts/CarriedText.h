// What keeps the text of code pages whole on its way from one database to the other. Not installed.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/CatalogFacts.h"
#include "data/Recordset.h"
#include "scripts/CallLines.h"

namespace QuillonLib {

class ColumnObject;

// The code pages of the columns of one side, each under its name with `suffix` behind it.
FieldCodePages CodePagesOf(const std::vector<ColumnFacts>& columns,
                           std::u16string_view suffix = {});

// The two sides of one direction of a script.
struct ScriptDirection {
    const std::vector<ColumnFacts>& Source;
    const std::vector<ColumnFacts>& Target;
};

// A literal of a call line becomes a parameter in the code page of the target's database before it
// becomes a cell in that of the target's column. Throws Error Comparison, with the table and the
// column in its text, where text of `lines` would be other text then. `columns` are those of the
// fields of `lines`.
void RequireCarried(const std::u16string& table, const CallLines& lines,
                    const std::vector<std::shared_ptr<ColumnObject>>& columns,
                    const ScriptDirection& direction);

}  // namespace QuillonLib
