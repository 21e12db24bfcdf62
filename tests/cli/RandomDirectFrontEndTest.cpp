// Databases on two servers drift apart at random, in their schema and in their rows; then every
// verdict, number and exit code of the program is held against what an independent reading of both
// finds, before and after either of them was brought over.
//
// QUILLON_SEED replays from one seed; QUILLON_FRONT_END_PAIRS says how many pairs are tried
// (default 25).
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/cli/RandomPairs.h"

namespace quillon {
namespace {

using namespace worlds;

struct Expected {
    bool different = false;
    bool whole = true;
    std::size_t identical = 0, differing = 0, onlyIn1 = 0, onlyIn2 = 0;

    bool InRows() const { return differing + onlyIn1 + onlyIn2 > 0; }
};

struct Judgement {
    std::map<std::string, Expected> tables;
    int exitCode = 0;
};

class RandomDirectFrontEnd : public RandomPairs {
  protected:
    RandomDirectFrontEnd() : other(otherBox.AddServer()) {}

    // Rows cut down to some columns, sorted.
    static Rows Cut(const Table& table, const Rows& rows, const std::vector<std::string>& columns) {
        Rows cut;
        for (const BareRow& row : rows) {
            BareRow& line = cut.emplace_back();
            for (const std::string& column : columns)
                line.push_back(CellOf(table, row, column));
        }
        std::sort(cut.begin(), cut.end());
        return cut;
    }

    // Row versions and computed columns aside, all columns of both are compared, whatever their
    // type.
    static std::vector<std::string> Compared(const Table& table1, const Table& table2,
                                             Expected& expected) {
        std::vector<std::string> compared;
        for (const Column& column : table1.columns) {
            if (table2.Find(column.name) == nullptr) {
                expected.different = true;
            } else if (column.written) {
                compared.push_back(column.name);
            } else {
                expected.whole = false;
            }
        }
        for (const Column& column : table2.columns) {
            if (table1.Find(column.name) == nullptr) expected.different = true;
        }
        return compared;
    }

    // Ids are the first of the columns, and told apart where both tables have a key.
    static void CountKeyed(const Rows& rows1, const Rows& rows2, Expected& expected) {
        std::map<std::u16string, BareRow> byId2;
        for (const BareRow& row : rows2)
            byId2[*row[0]] = row;
        for (const BareRow& row : rows1) {
            const auto found = byId2.find(*row[0]);
            if (found == byId2.end()) {
                ++expected.onlyIn1;
            } else {
                ++(found->second == row ? expected.identical : expected.differing);
            }
        }
        expected.onlyIn2 = rows2.size() - expected.identical - expected.differing;
    }

    static void CountBags(const Rows& rows1, const Rows& rows2, Expected& expected) {
        Rows common;
        std::set_intersection(rows1.begin(), rows1.end(), rows2.begin(), rows2.end(),
                              std::back_inserter(common));
        expected.identical = common.size();
        expected.onlyIn1 = rows1.size() - common.size();
        expected.onlyIn2 = rows2.size() - common.size();
    }

    static Expected Expect(const Table& table1, const Table& table2, const Rows& all1,
                           const Rows& all2) {
        Expected expected;
        const std::vector<std::string> compared = Compared(table1, table2, expected);
        const Rows rows1 = Cut(table1, all1, compared);
        const Rows rows2 = Cut(table2, all2, compared);
        const bool keyed = table1.key != Table::Key::None && table2.key != Table::Key::None;
        (keyed ? CountKeyed : CountBags)(rows1, rows2, expected);
        expected.different = expected.different || expected.InRows();
        return expected;
    }

    static Judgement ExpectAll(const World& world, const Contents& in1, const Contents& in2) {
        Judgement judgement;
        bool different = false;
        bool whole = true;
        for (std::size_t i = 0; i < world.sides[0].size(); ++i) {
            const Table& table1 = world.sides[0][i];
            const Table& table2 = world.sides[1][i];
            const std::string name = NameOf(i);
            different = different || table1.exists != table2.exists;
            if (!table1.exists || !table2.exists) continue;
            const Expected expected =
                Expect(table1, table2, in1.tables.at(name), in2.tables.at(name));
            different = different || expected.different;
            whole = whole && expected.whole;
            judgement.tables[name] = expected;
        }
        judgement.exitCode = different ? 1 : whole ? 0 : 3;
        return judgement;
    }

    static void CheckTable(const std::string& out, const std::string& name,
                           const Expected& expected) {
        SCOPED_TRACE(name);
        const std::vector<std::string> cells = LineOf(out, name);
        ASSERT_GE(cells.size(), 7U) << out;
        EXPECT_EQ(cells[2], std::to_string(expected.identical));
        EXPECT_EQ(cells[3], std::to_string(expected.differing));
        EXPECT_EQ(cells[4], std::to_string(expected.onlyIn1));
        EXPECT_EQ(cells[5], std::to_string(expected.onlyIn2));
        std::string verdict = cells[6];
        for (std::size_t i = 7; i < cells.size(); ++i)
            verdict += " " + cells[i];
        EXPECT_EQ(verdict, expected.InRows()    ? "different"
                           : expected.different ? "columns differ"
                           : expected.whole     ? "identical"
                                                : "no difference found");
    }

    // A script leaves out what only one side has, and what cannot be compared.
    static int ExpectedScriptCode(const World& world, const Judgement& judgement) {
        bool oneSided = false;
        bool whole = true;
        for (std::size_t i = 0; i < world.sides[0].size(); ++i) {
            const Table& table1 = world.sides[0][i];
            const Table& table2 = world.sides[1][i];
            const auto found = judgement.tables.find(NameOf(i));
            oneSided = oneSided || table1.exists != table2.exists;
            if (found == judgement.tables.end()) continue;
            whole = whole && found->second.whole;
            Expected columns;
            Compared(table1, table2, columns);
            oneSided = oneSided || columns.different;
        }
        return oneSided ? 1 : whole ? 0 : 3;
    }

    // Rows without a key go and come again to change: they stay where columns that only their own
    // side has would not come back.
    static bool StaysAsItIs(const Table& to, const Table& from, std::size_t gone) {
        const bool keyed = to.key != Table::Key::None && from.key != Table::Key::None;
        return !keyed && gone > 0 &&
               std::any_of(to.columns.begin(), to.columns.end(), [&](const Column& column) {
                   return column.written && from.Find(column.name) == nullptr;
               });
    }

    // The rows of both sides agree in all columns that are compared; a table that did not differ is
    // as it was in every column, its row versions among them.
    static void CheckRows(const World& world, const Judgement& before, const Contents& source,
                          const Contents& old, const Contents& now, std::size_t target) {
        for (const auto& [name, expected] : before.tables) {
            SCOPED_TRACE(name);
            const auto number = static_cast<std::size_t>(std::stoi(name.substr(1)));
            const Table& to = world.sides[target][number];
            const Table& from = world.sides[1 - target][number];
            const bool stays =
                StaysAsItIs(to, from, target == 0 ? expected.onlyIn1 : expected.onlyIn2);
            if (stays || !expected.InRows()) {
                EXPECT_EQ(now.tables.at(name), old.tables.at(name));
            }
            if (stays) continue;
            Expected ignored;
            const std::vector<std::string> columns = Compared(from, to, ignored);
            EXPECT_EQ(Cut(to, now.tables.at(name), columns),
                      Cut(from, source.tables.at(name), columns));
        }
    }

    void CheckSync(const World& world, const Judgement& before, const Contents& in1,
                   const Contents& in2, std::size_t target, bool guard) {
        SCOPED_TRACE("target " + std::to_string(target + 1) + (guard ? " guarded" : ""));
        const Outcome outcome =
            Call({"sync", left, right, "--user", "sa", "--to", std::to_string(target + 1), "--yes",
                  guard ? "--guard" : "--no-guard"});
        const Contents new1 = ReadAll(world.sides[0], server.Address(), u"r");
        const Contents new2 = ReadAll(world.sides[1], other.Address(), u"r");
        EXPECT_EQ((target == 0 ? new2 : new1).tables, (target == 0 ? in2 : in1).tables)
            << "the other side was changed";
        if (outcome.exitCode == 2) {
            EXPECT_NE(outcome.err.find("everything was rolled back"), std::string::npos)
                << outcome.err;
            EXPECT_NE(outcome.err.find("constraint"), std::string::npos) << outcome.err;
            EXPECT_EQ((target == 0 ? new1 : new2).tables, (target == 0 ? in1 : in2).tables);
            ++refused_;
            return;
        }
        const Judgement after = ExpectAll(world, new1, new2);
        EXPECT_EQ(outcome.exitCode, after.exitCode) << outcome.out << outcome.err;
        if (target == 0) {
            CheckRows(world, before, in2, in1, new1, target);
        } else {
            CheckRows(world, before, in1, in2, new2, target);
        }
        ++brought_;
    }

    void Try(std::uint32_t seed) override {
        Generator generator(seed);
        const World world = generator.Make();
        const std::u16string script1 = generator.ScriptOf(world.sides[0], "r");
        const std::u16string script2 = generator.ScriptOf(world.sides[1], "r");
        left = ToUtf8(server.Address()) + "/r";
        right = ToUtf8(other.Address()) + "/r";
        for (const std::size_t target : {std::size_t{1}, std::size_t{0}}) {
            server.Run(script1);
            other.Run(script2);
            const Contents in1 = ReadAll(world.sides[0], server.Address(), u"r");
            const Contents in2 = ReadAll(world.sides[1], other.Address(), u"r");
            const Judgement judgement = ExpectAll(world, in1, in2);
            const Outcome compared =
                Call({"compare", left, right, "--user", "sa", "--jobs", target == 0 ? "1" : "3"});
            EXPECT_EQ(compared.exitCode, judgement.exitCode) << compared.out << compared.err;
            for (const auto& [name, expected] : judgement.tables)
                CheckTable(compared.out, name, expected);
            const Outcome script = Call({"script", left, right, "--user", "sa", "-o", File("s.sql"),
                                         "--to", std::to_string(target + 1)});
            EXPECT_EQ(script.exitCode, ExpectedScriptCode(world, judgement)) << script.err;
            CheckSync(world, judgement, in1, in2, target, generator.Chance(50));
            ++codes_[judgement.exitCode];
            ASSERT_EQ(ConnectionsLeft(server), 0);
            ASSERT_EQ(ConnectionsLeft(other), 0);
            server.Run(u"USE master\nGO\nDROP DATABASE r");
            other.Run(u"USE master\nGO\nDROP DATABASE r");
        }
    }

    sandbox::Sandbox otherBox;
    sandbox::Server& other;
};

TEST_F(RandomDirectFrontEnd, NeverSaysMoreThanIndependentReadingFinds) {
    TryAll(", each twice", " brought over", " refused by constraints");
}

}  // namespace
}  // namespace quillon
