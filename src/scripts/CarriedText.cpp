#include "scripts/CarriedText.h"

#include <algorithm>

#include "catalog/ColumnObject.h"
#include "compare/SideColumns.h"
#include "core/Error.h"
#include "core/Text.h"
#include "data/CodePage.h"

namespace QuillonLib {

namespace {

// A code page through which the text of a column has to pass.
struct Passage {
    std::int32_t Number;           // 0: not known
    std::u16string_view WhatItIs;  // for the text of the error
    std::int32_t MaxBytes;         // -1: any number
    const CodePage* Page = CodePage::Find(Number);

    bool Takes(std::u16string_view text) const {
        if (std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; })) {
            return true;  // one byte each, in every code page
        }
        if (Page == nullptr) return false;
        const auto bytes = Page->CountBytes(text);
        return bytes && (MaxBytes < 0 || *bytes <= static_cast<std::size_t>(MaxBytes));
    }
};

// The code pages that are not those in which the source keeps the column.
std::vector<Passage> PassagesOf(const ColumnObject& column, const ScriptDirection& direction) {
    const ColumnFacts* source = FindColumn(direction.Source, column.Name());
    const ColumnFacts* target = FindColumn(direction.Target, column.Name());
    std::vector<Passage> passages;
    if (source == nullptr || target == nullptr) return passages;
    const std::int32_t own = source->CodePage;
    // The parameter has the type that the column has in database 1.
    if (IsCodePageType(column.DataType()) && (own == 0 || target->DatabaseCodePage != own)) {
        const std::int32_t room = column.DataType() == u"text" ? -1 : column.Length();
        passages.push_back(
            {target->DatabaseCodePage, u"in which the database to change keeps parameters", room});
    }
    if (target->HasCodePage() && (own == 0 || target->CodePage != own)) {
        passages.push_back({target->CodePage, u"that of the column to change", -1});
    }
    return passages;
}

[[noreturn]] void ThrowNotTaken(const std::u16string& table, const ColumnObject& column,
                                const Passage& passage) {
    const std::u16string page = passage.Number == 0 ? std::u16string(u"an unknown code page")
                                                    : u"code page " + ToText(passage.Number);
    throw Error(ErrorNumber::Comparison, std::u16string(u"No script can be written for ")
                                             .append(table)
                                             .append(u": its column [")
                                             .append(column.Name())
                                             .append(u"] holds text that is not kept in ")
                                             .append(page)
                                             .append(u", ")
                                             .append(passage.WhatItIs));
}

}  // namespace

FieldCodePages CodePagesOf(const std::vector<ColumnFacts>& columns, std::u16string_view suffix) {
    FieldCodePages pages;
    for (const ColumnFacts& column : columns) {
        if (column.CodePage != 0)
            pages.emplace(column.Name + std::u16string(suffix), column.CodePage);
    }
    return pages;
}

void RequireCarried(const std::u16string& table, const CallLines& lines,
                    const std::vector<std::shared_ptr<ColumnObject>>& columns,
                    const ScriptDirection& direction) {
    if (lines.Empty()) return;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::vector<Passage> passages = PassagesOf(*columns[i], direction);
        const std::size_t field = lines.Fields[i];
        if (passages.empty() || lines.Rows->Info(field).kind != ValueKind::String) continue;
        for (std::size_t block = 0; block < lines.Rows->BlockCount(); ++block) {
            const PackedColumn cells = lines.Rows->Column(block, field);
            for (std::size_t row = 0; row < lines.Rows->RowsInBlock(block); ++row) {
                if (cells.IsNull(row)) continue;
                for (const Passage& passage : passages) {
                    if (!passage.Takes(cells.Text(row))) ThrowNotTaken(table, *columns[i], passage);
                }
            }
        }
    }
}

}  // namespace QuillonLib
