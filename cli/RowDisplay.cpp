#include "cli/RowDisplay.h"

#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/MarkdownText.h"
#include "cli/Printable.h"
#include "cli/RowList.h"
#include "cli/RowOutput.h"
#include "cli/ShownValue.h"

namespace quillon {

namespace {

using namespace QuillonLib;
using RowCells = std::vector<TextTable::Cell>;

TextTable::Cell ShownCell(const Value& value) {
    return {Shown(value), value.IsNull() ? Colour::Dim : Colour::None};
}

// Of one of the two lines of a differing row; a cell that differs is marked with "*" and colour.
TextTable::Cell ShownCell(const Value& value, bool changed) {
    return {(changed ? "*" : "") + Shown(value), changed ? Colour::Yellow : Colour::None};
}

void PrintMarkdown(Console& console, const RowList& rows) {
    std::vector<std::vector<std::string>> cells{rows.columns};
    for (const RowCells& line : rows.lines) {
        std::vector<std::string>& texts = cells.emplace_back();
        for (const TextTable::Cell& cell : line)
            texts.push_back(cell.text);
    }
    console.PrintData(MarkdownTable(cells, std::vector<bool>(rows.columns.size(), false)) + "\n");
}

class Lists : public RowOutput {
  public:
    Lists(Console& console, bool markdown, const RowLayout& layout)
        : console_(console), markdown_(markdown), layout_(layout) {}

    void Begin(const RowsHead& head) override {
        kinds_ = head.kinds;
        limit_ = head.limit;
        loosened_ = head.loosened;
        for (const ComparedColumn& column : head.columns) {
            if (column.key) key_.insert(column.name);
        }
        titles_ = {"Identical", "Different",
                   "Only in " + ToUtf8(head.databases.obDB1->Description()),
                   "Only in " + ToUtf8(head.databases.obDB2->Description())};
    }

    void Row(const FoundRow& row) override {
        RowList& list = lists_.at(static_cast<std::size_t>(row.kind));
        const bool both = row.kind == RowKind::Different;
        if (list.columns.empty()) {
            list.both = both;
            if (both) AddColumn(list, u"");
            const SideRow& named = row.in1 ? *row.in1 : *row.in2;
            for (const RowColumn& column : *named.columns)
                AddColumn(list, column.name);
        }
        if (row.in1) AddLine(list, row, *row.in1, "1");
        if (row.in2) AddLine(list, row, *row.in2, "2");
    }

    void End(const RowsEnd& end) override {
        for (const RowKind kind : kinds_) {
            const auto index = static_cast<std::size_t>(kind);
            PrintTitle(titles_.at(index), end.shown.at(index), end.counted.at(index));
            if (end.shown.at(index) == 0) continue;
            if (markdown_) {
                PrintMarkdown(console_, lists_.at(index));
            } else {
                Print(lists_.at(index));
            }
        }
        PrintLoosened();
    }

  private:
    void PrintLoosened() {
        if (loosened_.empty()) return;
        const std::string text = "Compared " + loosened_;
        if (markdown_) {
            console_.PrintData(MarkdownText(text) + "\n");
        } else {
            console_.Print(text);
        }
    }

    void AddColumn(RowList& list, const std::u16string& name) const {
        list.columns.push_back(ToUtf8(name));
        list.key.push_back(key_.contains(name));
    }

    // As a table, unless that would not fit, or somebody wants it otherwise.
    void Print(const RowList& list) {
        const TextTable table = AsTable(list);
        const std::optional<std::size_t> width = console_.Width();
        if (layout_.vertical.value_or(width && table.Width() > *width)) {
            PrintVertically(console_, list, layout_.full, width);
        } else {
            table.PrintTo(console_);
        }
        console_.Print();
    }

    static void AddLine(RowList& list, const FoundRow& row, const SideRow& side,
                        const char* number) {
        const bool both = row.kind == RowKind::Different;
        RowCells& line = list.lines.emplace_back();
        if (both) line.push_back({number});
        for (std::size_t i = 0; i < side.values.size(); ++i) {
            line.push_back(both ? ShownCell(side.values[i], row.changed[i])
                                : ShownCell(side.values[i]));
        }
    }

    // "Different: 2 of 250", or "2 or more" where the limit was reached and nobody counted.
    void PrintTitle(const std::string& name, std::int64_t shown,
                    const std::optional<std::int64_t>& counted) {
        std::string title = Printable(name) + ": " + std::to_string(shown);
        if (limit_ > 0 && shown == limit_) {
            if (!counted) {
                title += " or more";
            } else if (*counted > shown) {
                title += " of " + std::to_string(*counted);
            }
        }
        if (markdown_) {
            console_.PrintData("**" + MarkdownText(title) + "**\n\n");
        } else {
            console_.Print(console_.Coloured(Colour::Bold, title));
        }
    }

    Console& console_;
    bool markdown_;
    RowLayout layout_;
    std::set<std::u16string> key_;  // names, as database 1 spells them
    std::vector<RowKind> kinds_;
    int limit_ = 0;
    std::string loosened_;
    std::array<std::string, 4> titles_;  // by kind
    std::array<RowList, 4> lists_;       // by kind
};

}  // namespace

std::unique_ptr<RowOutput> ListedRows(Console& console, bool markdown, const RowLayout& layout) {
    return std::make_unique<Lists>(console, markdown, layout);
}

void NoteVerdict(Console& console, const Verdict& verdict) {
    for (const std::string& line : verdict.drift)
        console.Note("quillon: " + Printable(line));
    for (const std::string& line : verdict.notCompared)
        console.Note("quillon: not compared: " + Printable(line));
}

}  // namespace quillon
