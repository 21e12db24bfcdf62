// Two servers that know nothing of each other, a database "w" on each, and a comparison of them
// that notes what it is told.
#pragma once

#include <string>
#include <vector>

#include "direct/DirectComparison.h"
#include "tests/support/Holds.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {

// "a", "NULL", "0x00FF": a cell as the tests write it.
inline std::u16string ShownCell(const Value& value) {
    if (value.IsNull()) return u"NULL";
    if (value.Kind() != ValueKind::Bytes) return DefaultText(value);
    std::u16string text = u"0x";
    for (const std::uint8_t byte : value.Get<ByteArray>()) {
        for (const int digit : {byte / 16, byte % 16})
            text.push_back(u"0123456789ABCDEF"[digit]);
    }
    return text;
}

inline std::u16string ShownRow(const DirectRow& row) {
    std::u16string text;
    for (const Value& value : row)
        text += (text.empty() ? u"" : u"|") + ShownCell(value);
    return text;
}

// "1: a|b", "2: a|b", "= a|b", "a|b -> a|c (2)" with the changed columns counted from 1.
inline std::u16string Shown(const DirectDifference& difference) {
    if (difference.change == DirectChange::Same) return u"= " + ShownRow(*difference.row2);
    if (difference.change == DirectChange::OnlyIn1) return u"1: " + ShownRow(*difference.row1);
    if (difference.change == DirectChange::OnlyIn2) return u"2: " + ShownRow(*difference.row2);
    std::u16string columns;
    for (std::size_t i = 0; i < difference.changed.size(); ++i) {
        if (difference.changed[i]) {
            columns += (columns.empty() ? u"" : u",") + ToText(static_cast<std::int64_t>(i) + 1);
        }
    }
    return ShownRow(*difference.row1) + u" -> " + ShownRow(*difference.row2) + u" (" + columns +
           u")";
}

using Texts = std::vector<std::u16string>;

class DirectFixture : public SandboxTest {
  protected:
    DirectFixture() : server2(other.AddServer()) {
        server.Run(u"CREATE DATABASE w");
        server2.Run(u"CREATE DATABASE w");
        one = MakeDatabase(server, u"w");
        two = MakeDatabase(server2, u"w");
        sink.Difference = [this](const DirectDifference& difference, bool&) {
            differences.push_back(Shown(difference));
        };
    }

    void RunOn1(const std::u16string& sql) { server.Run(u"USE w\nGO\n" + sql); }
    void RunOn2(const std::u16string& sql) { server2.Run(u"USE w\nGO\n" + sql); }
    void RunOnBoth(const std::u16string& sql) {
        RunOn1(sql);
        RunOn2(sql);
    }

    // Makes room for the table of the next case.
    void DropOnBoth(const std::u16string& table) {
        RunOnBoth(u"IF OBJECT_ID('" + table + u"') IS NOT NULL DROP TABLE " + table);
    }

    std::vector<DirectTableResult> Compare(const std::vector<DirectTable>& tables) {
        differences.clear();
        return CompareDirectly(*one, *two, tables, options, sink);
    }
    DirectTableResult CompareOne(DirectTable table) { return Compare({std::move(table)}).at(0); }
    DirectTableResult CompareOne(const std::u16string& name = u"t") {
        return CompareOne(DirectTable{{u"dbo", name}, {}, {}, {}});
    }

    sandbox::Sandbox other;
    sandbox::Server& server2;
    std::shared_ptr<Database> one;
    std::shared_ptr<Database> two;
    DirectOptions options;
    DirectSink sink;
    Texts differences;
};

}  // namespace QuillonLib
