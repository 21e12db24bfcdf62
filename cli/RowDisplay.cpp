#include "cli/RowDisplay.h"

#include "cli/Printable.h"
#include "cli/ShownValue.h"

namespace quillon {

TextTable::Cell ShownCell(const QuillonLib::Value& value) {
    return {Shown(value), value.IsNull() ? Colour::Dim : Colour::None};
}

TextTable::Cell ShownCell(const QuillonLib::Value& value, bool changed) {
    return {(changed ? "*" : "") + Shown(value), changed ? Colour::Yellow : Colour::None};
}

void PrintRowList(Console& console, const RowList& rows, int limit) {
    std::string title = Printable(rows.title) + ": " + std::to_string(rows.shown);
    if (limit > 0 && rows.shown == limit) {
        if (rows.total < 0) {
            title += " or more";
        } else if (rows.total > rows.shown) {
            title += " of " + std::to_string(rows.total);
        }
    }
    console.Print(console.Coloured(Colour::Bold, title));
    if (rows.shown == 0) return;
    TextTable table(std::vector<TextTable::Align>(rows.columns.size(), TextTable::Align::Left));
    RowCells heading;
    for (const std::string& column : rows.columns)
        heading.push_back({column});
    table.AddRow(std::move(heading));
    for (const RowCells& line : rows.lines)
        table.AddRow(line);
    table.PrintTo(console);
    console.Print();
}

void NoteVerdict(Console& console, const Verdict& verdict) {
    for (const std::string& line : verdict.drift)
        console.Note("quillon: " + Printable(line));
    for (const std::string& line : verdict.notCompared)
        console.Note("quillon: not compared: " + Printable(line));
}

}  // namespace quillon
