#include "cli/TableSelection.h"

#include <CLI/Error.hpp>
#include <algorithm>
#include <stdexcept>

#include "cli/CatalogSurvey.h"
#include "cli/Names.h"
#include "cli/Printable.h"
#include "cli/Suggestion.h"
#include "core/TableEntry.h"

namespace quillon {

namespace {

using namespace QuillonLib;

bool Holds(const std::vector<std::u16string>& list, const std::u16string& table) {
    return std::any_of(list.begin(), list.end(), [&](const std::u16string& entry) {
        return EqualIgnoringCase(entry, table);
    });
}

// The units of the character that begins at `at`: a surrogate pair is one character.
std::size_t CharacterAt(std::u16string_view text, std::size_t at) {
    const auto is = [&](std::size_t unit, char16_t kind) {
        return unit < text.size() && (text[unit] & 0xFC00) == kind;
    };
    return is(at, 0xD800) && is(at + 1, 0xDC00) ? 2 : 1;
}

// "*" for any characters, "?" for one. Goes back to the last "*" only, which is enough.
bool MatchesWildcards(std::u16string_view pattern, std::u16string_view text) {
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t star = std::u16string_view::npos;
    std::size_t starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            star = p++;
            starText = t;
        } else if (p < pattern.size() && pattern[p] == u'?') {
            ++p;
            t += CharacterAt(text, t);
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++p;
            ++t;
        } else if (star != std::u16string_view::npos) {
            p = star + 1;
            starText += CharacterAt(text, starText);
            t = starText;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', p) == std::u16string_view::npos;
}

// The tables of both databases, each under the entry of the first that has it.
class Selector {
  public:
    Selector(const DatabaseOptions::Databases& databases, const TableObjects& tables1,
             const TableObjects& tables2)
        : databases_(databases), tables1_(tables1), tables2_(tables2) {
        for (const auto& table : tables1_)
            all_.push_back(table);
        for (const auto& table : tables2_) {
            if (!tables1_.ItemExists(table->Description())) all_.push_back(table);
        }
    }

    TableLists Select(const std::vector<TablePattern>& chosen,
                      const std::vector<TablePattern>& excluded) {
        const std::vector<std::u16string> without = Entries(excluded, "--exclude: ");
        TableLists lists;
        const auto take = [&](const std::u16string& entry) {
            const bool in1 = tables1_.ItemExists(entry);
            const bool in2 = tables2_.ItemExists(entry);
            auto& list = in1 && in2 ? lists.tables : in1 ? lists.onlyIn1 : lists.onlyIn2;
            if (!Holds(without, entry)) list.push_back(entry);
        };
        if (chosen.empty()) {
            for (const auto& table : all_)
                take(table->Description());
        } else {
            for (const std::u16string& entry : Entries(chosen, ""))
                take(entry);
        }
        return lists;
    }

  private:
    // As the catalog spells them, and each once.
    std::vector<std::u16string> Entries(const std::vector<TablePattern>& patterns,
                                        const char* option) const {
        std::vector<std::u16string> entries;
        for (const TablePattern& pattern : patterns) {
            bool any = false;
            for (const auto& table : all_) {
                if (!pattern.Matches(*table)) continue;
                any = true;
                const std::u16string entry = table->Description();
                if (!Holds(entries, entry)) entries.push_back(entry);
            }
            if (!any) ThrowNoTable(pattern, option);
        }
        return entries;
    }

    [[noreturn]] void ThrowNoTable(const TablePattern& pattern, const char* option) const {
        std::string text =
            std::string(option) + "neither " + ToUtf8(databases_.obDB1->Description()) + " nor " +
            ToUtf8(databases_.obDB2->Description()) +
            (pattern.IsOneTable() ? " has a table " : " has a table like ") + pattern.Text();
        const std::string nearest = NearestTo(pattern);
        throw CLI::ValidationError(
            text + (nearest.empty() ? TablesOfTheFirst() : "; did you mean " + nearest + "?"));
    }
    // Empty for a pattern of many tables.
    std::string NearestTo(const TablePattern& pattern) const {
        if (!pattern.IsOneTable()) return {};
        std::vector<std::string> names;
        for (const auto& table : all_)
            names.push_back(ToUtf8(FoldCase(table->Name())));
        const std::u16string typed = GetTableName(FromUtf8(pattern.Text()));
        const std::string nearest = NearestName(ToUtf8(FoldCase(typed)), names);
        const auto found = std::find(names.begin(), names.end(), nearest);
        if (nearest.empty() || found == names.end()) return {};
        return ToUtf8(all_[static_cast<std::size_t>(found - names.begin())]->Description());
    }
    std::string TablesOfTheFirst() const {
        constexpr std::int16_t Most = 20;
        std::string text = "; tables of the first:";
        std::int16_t listed = 0;
        for (const auto& table : tables1_) {
            if (listed++ == Most) return text + " and more";
            text += " " + ToUtf8(table->Description());
        }
        return text;
    }

    const DatabaseOptions::Databases& databases_;
    const TableObjects& tables1_;
    const TableObjects& tables2_;
    std::vector<std::shared_ptr<TableObject>> all_;
};

void NoteOneSided(const std::vector<std::u16string>& tables, const Database& database,
                  Console& console) {
    if (tables.empty()) return;
    std::string line = "quillon: only in " + ToUtf8(database.Description()) + ", and left out:";
    for (const std::u16string& table : tables)
        line += " " + Printable(table);
    console.Note(line);
}

}  // namespace

TablePattern::TablePattern(std::string_view text) : text_(text) {
    const WrittenTable written = ParseTable(text);
    const auto part = [](const WrittenName& name) {
        return Part{FoldCase(name.text),
                    !name.bracketed && name.text.find_first_of(u"*?") != std::u16string::npos};
    };
    owner_ = part(written.owner);
    name_ = part(written.name);
    if (owner_.wild || name_.wild) return;
    entry_ = MakeTableEntry(written.owner.text, written.name.text);
    text_ = ToUtf8(entry_);
}

TablePattern TablePattern::Exactly(const std::u16string& entry) {
    TablePattern pattern;
    pattern.entry_ = entry;
    pattern.text_ = ToUtf8(entry);
    return pattern;
}

bool TablePattern::Part::Matches(std::u16string_view name) const {
    const std::u16string folded = FoldCase(name);
    return wild ? MatchesWildcards(text, folded) : text == folded;
}

bool TablePattern::Matches(const TableObject& table) const {
    if (IsOneTable()) return EqualIgnoringCase(table.Description(), entry_);
    return owner_.Matches(table.Owner()) && name_.Matches(table.Name());
}

std::string TablePattern::Text() const {
    return text_;
}

bool TableLists::IsOneSided(const std::u16string& table) const {
    return Holds(onlyIn1, table) || Holds(onlyIn2, table);
}

TableLists SelectTables(const DatabaseOptions::Databases& databases,
                        const std::vector<TablePattern>& chosen,
                        const std::vector<TablePattern>& excluded, Console& console) {
    const auto tables1 = ReadTables(*databases.obDB1);
    const auto tables2 = ReadTables(*databases.obDB2);
    TableLists lists = Selector(databases, *tables1, *tables2).Select(chosen, excluded);
    NoteOneSided(lists.onlyIn1, *databases.obDB1, console);
    NoteOneSided(lists.onlyIn2, *databases.obDB2, console);
    // Nothing compared must not pass for nothing different.
    if (lists.tables.empty() && lists.onlyIn1.empty() && lists.onlyIn2.empty()) {
        throw std::runtime_error(
            excluded.empty() ? "neither " + ToUtf8(databases.obDB1->Description()) + " nor " +
                                   ToUtf8(databases.obDB2->Description()) + " has a table"
                             : "--exclude leaves no table to compare");
    }
    return lists;
}

}  // namespace quillon
