#include "cli/RowList.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "cli/CharacterClass.h"
#include "cli/Interrupt.h"
#include "cli/Printable.h"
#include "core/Text.h"

namespace quillon {

namespace {

using Cell = TextTable::Cell;

constexpr std::size_t LeastWidth = 24;   // of a value, however narrow the terminal
constexpr std::size_t LongestName = 30;  // of a column, beside its value
constexpr std::string_view Gap = "...";

// A text as its characters, which a terminal shows in none, one or two places each.
std::vector<char32_t> CharactersOf(const std::string& text) {
    const std::u16string units = QuillonLib::FromUtf8(text);
    std::vector<char32_t> characters;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t point = units[i];
        const bool pair = point >= 0xD800 && point <= 0xDBFF && i + 1 < units.size();
        if (pair) point = 0x10000 + ((point - 0xD800) << 10) + (char32_t{units[++i]} - 0xDC00);
        characters.push_back(point);
    }
    return characters;
}

std::string TextOf(const std::vector<char32_t>& characters, std::size_t from, std::size_t to) {
    std::u16string units;
    for (std::size_t i = from; i < to; ++i) {
        const char32_t point = characters[i];
        if (point < 0x10000) {
            units += static_cast<char16_t>(point);
        } else {
            units += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        }
    }
    return QuillonLib::ToUtf8(units);
}

// The end of what fits into so many places from there on.
std::size_t EndOf(const std::vector<char32_t>& characters, std::size_t from, std::size_t places) {
    std::size_t end = from;
    while (end < characters.size()) {
        const auto width = static_cast<std::size_t>(TerminalWidth(characters[end]));
        if (width > places) break;
        places -= width;
        ++end;
    }
    return end;
}

// The beginning of what fits into so many places up to the end.
std::size_t BeginOf(const std::vector<char32_t>& characters, std::size_t places) {
    std::size_t begin = characters.size();
    while (begin > 0) {
        const auto width = static_cast<std::size_t>(TerminalWidth(characters[begin - 1]));
        if (width > places) break;
        places -= width;
        --begin;
    }
    return begin;
}

// Where two texts begin to differ.
std::size_t FirstDifference(const std::string& text1, const std::string& text2) {
    const std::vector<char32_t> one = CharactersOf(text1);
    const std::vector<char32_t> two = CharactersOf(text2);
    return static_cast<std::size_t>(
        std::mismatch(one.begin(), one.end(), two.begin(), two.end()).first - one.begin());
}

// One row, or the two of a differing one, as lines of name, side and value.
class RowWriter {
  public:
    RowWriter(const RowList& rows, bool full, std::optional<std::size_t> width)
        : rows_(rows), full_(full) {
        if (width && !full) width_ = ValueWidth(*width);
    }

    // `line`: the first of the row.
    void Print(Console& console, std::size_t line) const {
        TextTable table(std::vector<TextTable::Align>(rows_.both ? 3 : 2, TextTable::Align::Left));
        table.HasNoHeading();
        for (std::size_t i = rows_.both ? 1 : 0; i < rows_.columns.size(); ++i) {
            if (rows_.both) {
                AddPair(table, i, rows_.lines[line][i], rows_.lines[line + 1][i]);
            } else {
                const Cell& cell = rows_.lines[line][i];
                table.AddRow({Name(i), {Cut(Printable(cell.text), 0), cell.colour}});
            }
        }
        table.PrintTo(console);
    }

  private:
    Cell Name(std::size_t column) const { return {ShortName(rows_.columns[column])}; }

    static std::string ShortName(const std::string& name) {
        return CutToWidth(Printable(name), LongestName);
    }

    // What the longest name that may stand beside it leaves, so that all rows are cut alike.
    std::size_t ValueWidth(std::size_t width) const {
        std::size_t names = 0;
        for (const std::string& name : rows_.columns)
            names = std::max(names, DisplayWidth(ShortName(name)));
        const std::size_t beside = names + 2 + (rows_.both ? 3 : 0);
        return width > beside + LeastWidth ? width - beside : LeastWidth;
    }

    std::string Cut(const std::string& text, std::size_t at) const {
        return width_ ? CutToWidth(text, *width_, at) : text;
    }

    void AddPair(TextTable& table, std::size_t column, const Cell& cell1, const Cell& cell2) const {
        const bool changed = cell1.colour == Colour::Yellow;
        if (!changed && !full_ && !rows_.key[column]) return;
        if (cell1.text == cell2.text) {
            table.AddRow({Name(column), {}, {Cut(Printable(cell1.text), 0), cell1.colour}});
            return;
        }
        const std::string text1 = Printable(cell1.text);
        const std::string text2 = Printable(cell2.text);
        const std::size_t at = width_ ? FirstDifference(text1, text2) : 0;
        table.AddRow({Name(column), {"1"}, {Cut(text1, at), cell1.colour}});
        table.AddRow({{}, {"2"}, {Cut(text2, at), cell2.colour}});
    }

    const RowList& rows_;
    bool full_;
    std::optional<std::size_t> width_;  // of values
};

}  // namespace

TextTable AsTable(const RowList& rows) {
    TextTable table(std::vector<TextTable::Align>(rows.columns.size(), TextTable::Align::Left));
    std::vector<Cell> heading;
    for (const std::string& column : rows.columns)
        heading.push_back({column});
    table.AddRow(std::move(heading));
    for (const std::vector<Cell>& line : rows.lines)
        table.AddRow(line);
    return table;
}

void PrintVertically(Console& console, const RowList& rows, bool full,
                     std::optional<std::size_t> width) {
    const RowWriter writer(rows, full, width);
    const std::size_t step = rows.both ? 2 : 1;
    for (std::size_t line = 0; line < rows.lines.size(); line += step) {
        StopIfInterrupted();
        const std::string number = std::to_string(line / step + 1);
        console.Print(console.Coloured(Colour::Dim, "-- " + number + " --"));
        writer.Print(console, line);
    }
}

std::string CutToWidth(const std::string& text, std::size_t width, std::size_t at) {
    width = std::max(width, LeastWidth);
    if (DisplayWidth(text) <= width) return text;
    const std::vector<char32_t> characters = CharactersOf(text);
    const std::string gap =
        std::string(Gap) + "(" + std::to_string(characters.size()) + ")" + std::string(Gap);
    const std::size_t room = width > gap.size() ? width - gap.size() : 1;
    const std::size_t head = EndOf(characters, 0, room - room / 2);
    const std::size_t tail = BeginOf(characters, room / 2);
    if (at < head || at >= tail)
        return TextOf(characters, 0, head) + gap + TextOf(characters, tail, characters.size());
    // What differs stands a quarter behind the beginning.
    const std::size_t begin = at - std::min(at, room / 4);
    const std::size_t whole = EndOf(characters, begin, room);
    if (whole == characters.size()) return gap + TextOf(characters, begin, whole);
    const std::size_t end = EndOf(characters, begin, room > Gap.size() ? room - Gap.size() : 1);
    return gap + TextOf(characters, begin, end) + std::string(Gap);
}

}  // namespace quillon
