#include "cli/Names.h"

#include <CLI/Error.hpp>
#include <algorithm>

#include "core/TableEntry.h"
#include "core/Text.h"

namespace quillon {

namespace {

using QuillonLib::FromUtf8;
using QuillonLib::ToUtf8;

[[noreturn]] void ThrowBadName(std::string_view text, const char* form) {
    throw CLI::ValidationError("'" + std::string(text) + "' is not " + form);
}

// Cuts a text at every `separator` that stands outside brackets.
std::vector<std::string_view> Cut(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    std::size_t begin = 0;
    bool inBrackets = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (inBrackets) {
            inBrackets = c != ']';  // a doubled one opens again at once
        } else if (c == '[' || (c == ']' && at > 0 && text[at - 1] == ']')) {
            inBrackets = true;
        } else if (c == separator) {
            pieces.push_back(text.substr(begin, at - begin));
            begin = at + 1;
        }
    }
    pieces.push_back(text.substr(begin));
    return pieces;
}

// The name in brackets, or the text itself. Nothing where the brackets do not close.
std::u16string Unbracketed(std::string_view text) {
    if (!text.starts_with('[')) return FromUtf8(text);
    if (text.size() < 3 || !text.ends_with(']')) return {};
    std::string name;
    const std::string_view inner = text.substr(1, text.size() - 2);
    for (std::size_t at = 0; at < inner.size(); ++at) {
        if (inner[at] == ']' && (++at == inner.size() || inner[at] != ']')) return {};
        name += inner[at];
    }
    return FromUtf8(name);
}

[[noreturn]] void ThrowBadChoice(std::string_view text, const char* option, const char* form) {
    throw CLI::ValidationError(std::string(option) + ": '" + std::string(text) + "' is not " +
                               form);
}

// What precedes and what follows the first "=" outside brackets. A text without one is about the
// only table, where there is one.
std::pair<std::string_view, std::string_view> SplitChoice(std::string_view text, const char* option,
                                                          const char* form, std::string_view only) {
    const std::string_view table = Cut(text, '=').front();
    if (!only.empty() && table.size() == text.size() && !text.empty()) return {only, text};
    if (table.empty() || table.size() + 1 >= text.size()) ThrowBadChoice(text, option, form);
    return {table, text.substr(table.size() + 1)};
}

}  // namespace

WrittenTable ParseTable(std::string_view text) {
    const char* const form = "a table: name, owner.name or [owner].[name]";
    const std::vector<std::string_view> parts = Cut(text, '.');
    if (parts.size() > 2) ThrowBadName(text, form);
    const auto read = [](std::string_view part) {
        return WrittenName{Unbracketed(part), part.starts_with('[')};
    };
    WrittenTable table{{u"dbo"}, read(parts.back())};
    if (parts.size() == 2) table.owner = read(parts.front());
    if (table.name.text.empty() || table.owner.text.empty()) ThrowBadName(text, form);
    return table;
}

std::u16string ToTableEntry(std::string_view text) {
    const WrittenTable table = ParseTable(text);
    return QuillonLib::MakeTableEntry(table.owner.text, table.name.text);
}

TableChoice ParseTableChoice(std::string_view text, const char* option, std::string_view only) {
    const char* const form = only.empty() ? "TABLE=NAME" : "NAME or TABLE=NAME";
    const auto [table, name] = SplitChoice(text, option, form, only);
    const std::u16string chosen = Unbracketed(name);
    if (chosen.empty()) ThrowBadChoice(text, option, form);
    return {ToTableEntry(table), chosen};
}

TableText ParseTableText(std::string_view text, const char* option, const char* form) {
    const auto [table, rest] = SplitChoice(text, option, form, {});
    return {ToTableEntry(table), std::string(rest)};
}

ColumnsChoice ParseColumnsChoice(std::string_view text, const char* option, std::string_view only) {
    const char* const form =
        only.empty() ? "TABLE=NAME,NAME,..." : "NAME,NAME,... or TABLE=NAME,NAME,...";
    const auto [table, list] = SplitChoice(text, option, form, only);
    ColumnsChoice choice{ToTableEntry(table), {}};
    for (const std::string_view name : Cut(list, ',')) {
        choice.columns.push_back(Unbracketed(name));
        if (choice.columns.back().empty()) ThrowBadChoice(text, option, form);
    }
    return choice;
}

QuillonLib::ObjectName NameOfEntry(std::u16string_view entry) {
    const std::size_t cut = entry.find(u"].[");
    if (cut == entry.npos || !entry.starts_with(u'[') || !entry.ends_with(u']'))
        return {QuillonLib::GetTableOwner(entry), QuillonLib::GetTableName(entry)};
    const std::size_t name = cut + 3;
    return {std::u16string(entry.substr(1, cut - 1)),
            std::u16string(entry.substr(name, entry.size() - 1 - name))};
}

std::string ListOf(const std::vector<std::u16string>& names) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) list += i + 1 == names.size() ? " and " : ", ";
        list += "[" + ToUtf8(names[i]) + "]";
    }
    return list;
}

}  // namespace quillon
