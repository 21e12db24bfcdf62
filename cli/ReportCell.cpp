#include "cli/ReportCell.h"

#include <algorithm>
#include <optional>
#include <string>

#include "cli/ValueText.h"
#include "direct/ReadableCell.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// How much of what is alike is kept in front of what differs.
constexpr std::size_t Context = 500;

std::optional<std::u16string> TextOf(const ColumnFacts& column, const Value& cell) {
    const Value readable = ReadableCell(column, cell);
    if (readable.IsNull()) return std::nullopt;
    return PlainText(readable, column.DataType);
}

bool IsHigh(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

void WriteText(JsonWriter& json, const std::optional<std::u16string>& text, std::size_t from) {
    if (!text) {
        json.Null();
        return;
    }
    from = std::min(from, text->size());
    if (from == 0 && text->size() <= LongestShown) {
        json.Text(*text);
        return;
    }
    std::u16string_view shown = std::u16string_view(*text).substr(from, LongestShown);
    if (from + shown.size() < text->size() && IsHigh(shown.back())) shown.remove_suffix(1);
    json.BeginObject().Name("t").Text(shown);
    json.Name("from").Number(static_cast<std::int64_t>(from));
    json.Name("of").Number(static_cast<std::int64_t>(text->size())).EndObject();
}

// Where both are cut in front.
std::size_t CutOf(const std::u16string& text1, const std::u16string& text2) {
    if (std::max(text1.size(), text2.size()) <= LongestShown) return 0;
    const auto differ = std::mismatch(text1.begin(), text1.end(), text2.begin(), text2.end()).first;
    const auto alike = static_cast<std::size_t>(differ - text1.begin());
    if (alike <= Context) return 0;
    const std::size_t cut = alike - Context;
    return IsHigh(text1[cut - 1]) ? cut - 1 : cut;
}

}  // namespace

void WriteCell(JsonWriter& json, const ColumnFacts& column, const Value& cell) {
    WriteText(json, TextOf(column, cell), 0);
}

void WriteCells(JsonWriter& json1, JsonWriter& json2, const DirectColumn& column,
                const Value& cell1, const Value& cell2) {
    const auto text1 = TextOf(column.side1, cell1);
    const auto text2 = TextOf(column.side2, cell2);
    const std::size_t cut = text1 && text2 ? CutOf(*text1, *text2) : 0;
    WriteText(json1, text1, cut);
    WriteText(json2, text2, cut);
}

}  // namespace quillon
