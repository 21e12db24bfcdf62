// The property that everything else serves: after the script has run, nothing differs.
//
// QUILLON_SEED replays from one seed; QUILLON_DATABASES says how many pairs are tried (default 60).
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>

#include "RandomDatabases.h"
#include "cli/ScriptRunner.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {
namespace {

constexpr enShowOptions AllRows =
    cpoShowIdentical | cpoShowDifferent | cpoShowMissing | cpoShowAdditional;

std::uint32_t FromEnvironment(const char* name, std::uint32_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise
                           : static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
}

// A server that knows UTF-8.
sandbox::ServerSettings Modern() {
    sandbox::ServerSettings settings;
    settings.name = u"MODERN";
    settings.version = "15.0.2000";
    return settings;
}

class Convergence : public SandboxTest {
  protected:
    struct Pair {
        std::shared_ptr<Database> one;
        std::shared_ptr<Database> two;
    };

    // `written`: the side that a script is for. What it held before is kept in a third database.
    Pair Build(const RandomDatabases& random, const std::u16string& suffix, int written) {
        const Pair pair{Described(u"one" + suffix), Described(u"two" + suffix)};
        Fill(random, 1, *pair.one);
        Fill(random, 2, *pair.two);
        Fill(random, written, *Described(u"before"));
        return pair;
    }
    std::shared_ptr<Database> Described(const std::u16string& name) {
        auto database = MakeDatabase(modern, name);
        database->CheckDependencies(true);
        return database;
    }
    void Fill(const RandomDatabases& random, int side, const Database& database) {
        modern.Run(random.Script(database.DatabaseName()));
        // Values hold lines of "GO" too, so this is no script; and each batch would log in.
        std::u16string batch = u"USE " + database.DatabaseName();
        for (const auto& insert : random.Inserts(side))
            batch += u'\n' + insert;
        modern.Scalar(batch + u"\nSELECT 1");
    }
    void Drop(const Pair& pair) {
        ASSERT_EQ(ConnectionsLeft(modern), 0);
        modern.Run(u"USE master\nGO\nDROP DATABASE " + pair.one->DatabaseName() +
                   u"\nGO\nDROP DATABASE " + pair.two->DatabaseName() +
                   u"\nGO\nDROP DATABASE before");
    }

    static std::shared_ptr<TableDifferences> Compare(const Pair& pair,
                                                     const RandomDatabases& random) {
        return Compare(pair, random.Entries());
    }
    static std::shared_ptr<TableDifferences> Compare(const Pair& pair,
                                                     const std::vector<std::u16string>& entries) {
        Utils utils;
        utils.SuppressCompareProcessErrors(true);
        return utils.CompareContents(pair.one, pair.two, pair.one, TextArray(entries), {}, {});
    }

    static std::shared_ptr<Connection> Open(const Database& database) {
        auto connection = std::make_shared<Connection>();
        connection->Open(u"driver={SQL Server};server=" + database.Server() + u";database=" +
                         database.DatabaseName() + u";uid=sa;pwd=sandbox");
        return connection;
    }

    // Runs a script; where a constraint stands in the way, again with foreign keys suspended inside
    // one transaction.
    static void Apply(const std::u16string& script, const Database& target,
                      const RandomDatabases& random) {
        const auto batches = quillon::CutIntoBatches(script, 1000);
        try {
            quillon::RunBatches(*Open(target), batches);
            return;
        } catch (const quillon::BatchFailure& failure) {
            ASSERT_NE(std::string(failure.what()).find("constraint"), std::string::npos)
                << failure.what() << "\nin batch " << failure.batch << ":\n"
                << ToUtf8(batches[failure.batch - 1]).substr(0, 3000);
        }
        std::vector<std::u16string> suspended{u"BEGIN TRANSACTION"};
        for (const auto& table : random.TableNames()) {
            suspended.push_back(u"ALTER TABLE " + table + u" NOCHECK CONSTRAINT ALL");
        }
        suspended.insert(suspended.end(), batches.begin(), batches.end());
        for (const auto& table : random.TableNames()) {
            suspended.push_back(u"ALTER TABLE " + table + u" WITH CHECK CHECK CONSTRAINT ALL");
        }
        suspended.emplace_back(u"COMMIT");
        try {
            quillon::RunBatches(*Open(target), suspended);
        } catch (const quillon::BatchFailure& failure) {
            FAIL() << failure.what() << "\nwith constraints suspended, in batch " << failure.batch
                   << ":\n"
                   << ToUtf8(suspended[failure.batch - 1]).substr(0, 3000);
        }
    }

    // No order of whole tables serves a ring: its one-table scripts run inside one transaction in
    // which its foreign keys rest, and are checked at its end.
    static void BringRingOver(const Pair& pair, const RandomDatabases& random, int written) {
        if (!random.HasRing()) return;
        const auto& entries = RandomDatabases::RingTables();
        std::u16string script = u"BEGIN TRANSACTION\r\n";
        for (const auto& entry : entries)
            script += u"ALTER TABLE " + entry + u" NOCHECK CONSTRAINT ALL\r\n";
        const auto before = Compare(pair, entries);
        for (const auto& result : *before) {
            CheckCounts(pair, result);
            Utils utils;
            std::shared_ptr<Recordset> equal, different, right, left;
            std::u16string toTwo, toOne;
            utils.GetRecordsets(pair.one, pair.two, pair.one, result, equal, different, right, left,
                                toTwo, toOne, AllRows, 0);
            script += written == 2 ? toTwo : toOne;
        }
        for (const auto& entry : entries)
            script += u"GO\r\nALTER TABLE " + entry + u" WITH CHECK CHECK CONSTRAINT ALL\r\n";
        script += u"GO\r\nCOMMIT TRANSACTION\r\n";
        const Database& target = written == 2 ? *pair.two : *pair.one;
        ASSERT_NO_THROW(quillon::RunBatches(*Open(target), quillon::CutIntoBatches(script, 1000)));
        const auto after = Compare(pair, entries);
        for (const auto& result : *after)
            EXPECT_TRUE(result->Identical()) << ToUtf8(result->Name());
    }

    static std::int64_t CountOf(const std::shared_ptr<Recordset>& rows) {
        return rows == nullptr ? 0 : static_cast<std::int64_t>(rows->RecordCount());
    }

    static void CheckCounts(const Pair& pair, const std::shared_ptr<TableDifference>& result) {
        Utils utils;
        std::shared_ptr<Recordset> equal, different, right, left;
        std::u16string toTwo, toOne;
        utils.GetRecordsets(pair.one, pair.two, pair.one, result, equal, different, right, left,
                            toTwo, toOne, AllRows, 0);
        const std::int64_t identical = CountOf(equal);
        const std::int64_t differing = result->RecordsDiffering();
        EXPECT_EQ(CountOf(different), differing);
        EXPECT_EQ(result->RecordsIn1(), identical + differing + CountOf(right));
        EXPECT_EQ(result->RecordsIn2(), identical + differing + CountOf(left));
        EXPECT_EQ(result->RecordsInUnion(),
                  identical + 2 * differing + CountOf(right) + CountOf(left));
    }

    static bool IsKeyed(const TableDifference& result) {
        return result.Error().empty() && result.HasPrimaryKey();
    }

    static void CheckMirror(const TableDifferences& there, const TableDifferences& back) {
        ASSERT_EQ(there.Count(), back.Count());
        for (std::int32_t i = 1; i <= there.Count(); ++i) {
            const auto a = there.Item(i);
            const auto b = back.Item(i);
            EXPECT_EQ(a->RecordsIn1(), b->RecordsIn2());
            EXPECT_EQ(a->RecordsIn2(), b->RecordsIn1());
            EXPECT_EQ(a->RecordsInUnion(), b->RecordsInUnion());
            EXPECT_EQ(a->RecordsDiffering(), b->RecordsDiffering());
            EXPECT_EQ(a->Identical(), b->Identical());
        }
    }

    // Rows of tables that get no script are left alone.
    static std::vector<std::int32_t> CountsWithoutScript(const TableDifferences& results,
                                                         int side) {
        std::vector<std::int32_t> counts;
        for (const auto& result : results) {
            if (IsKeyed(*result)) continue;
            counts.push_back(side == 1 ? result->RecordsIn1() : result->RecordsIn2());
        }
        return counts;
    }

    // A table with xml fails, and it alone.
    static void CheckError(const TableDifference& result) {
        const bool fails = result.Name() == RandomDatabases::Documents;
        EXPECT_EQ(ToUtf8(result.Error()),
                  fails ? "Error comparing [dbo].[documents]\r\n[FreeTDS][SQL Server]The data type "
                          "xml cannot be used as an operand to the UNION, INTERSECT or EXCEPT "
                          "operators because it is not comparable."
                        : "");
    }

    // Neither script touches it.
    void CheckDocuments(const Pair& pair, const RandomDatabases& random) {
        if (!random.HasDocuments()) return;
        for (const auto& [database, row] :
             {std::pair(pair.one, u"1<side>1</side>"), std::pair(pair.two, u"2<side>2</side>")}) {
            const std::u16string table =
                database->DatabaseName() + u"." + std::u16string(RandomDatabases::Documents);
            EXPECT_EQ(modern.Scalar(u"SELECT COUNT(*) FROM " + table), u"1");
            EXPECT_EQ(modern.Scalar(u"SELECT CAST(id AS nvarchar(9)) + CAST(doc AS nvarchar(99)) "
                                    u"FROM " +
                                    table),
                      row);
        }
    }

    // Every cell of a code page holds the bytes of its counterpart, or those that it held before
    // (texts may be equal for a comparison whose bytes are not, and some types are not compared).
    // Read by the sandbox itself.
    void CheckBytes(const RandomDatabases& random, const Database& source, const Database& target) {
        for (const auto& table : random.PageTables()) {
            const auto join = [&](const char16_t* a, const char16_t* b) {
                std::u16string on;
                for (const auto& key : table.keys)
                    on +=
                        (on.empty() ? u"" : u" AND ") + std::u16string(a) + key + u" = " + b + key;
                return on;
            };
            for (const auto& [column, isText] : table.columns) {
                const auto bytes = [&, &name = column, text = isText](const std::u16string& of) {
                    const std::u16string cell = of + name;
                    return u"CAST(" + (text ? u"CAST(" + cell + u" AS varchar(max))" : cell) +
                           u" AS varbinary(max))";
                };
                const auto same = [&](const char16_t* a, const char16_t* b) {
                    return u"(" + bytes(a) + u" = " + bytes(b) + u" OR (" + a + column +
                           u" IS NULL AND " + b + column + u" IS NULL))";
                };
                const std::u16string from = u".dbo." + table.name;
                EXPECT_EQ(
                    modern.Scalar(u"SELECT COUNT(*) FROM " + source.DatabaseName() + from +
                                  u" s INNER JOIN " + target.DatabaseName() + from + u" t ON " +
                                  join(u"s.", u"t.") + u" WHERE NOT " + same(u"s.", u"t.") +
                                  u" AND NOT EXISTS (SELECT 1 FROM before" + from + u" b WHERE " +
                                  join(u"b.", u"t.") + u" AND " + same(u"b.", u"t.") + u")"),
                    u"0")
                    << ToUtf8(table.name + u"." + column);
                ++cellsChecked;
            }
        }
    }

    void TryOne(std::uint32_t seed) {
        SCOPED_TRACE("QUILLON_SEED=" + std::to_string(seed) + " QUILLON_DATABASES=1");
        const RandomDatabases random(seed);
        const Pair first = Build(random, u"_a", 2);
        const auto results = Compare(first, random);
        CheckMirror(*results, *Compare({first.two, first.one}, random));
        for (const auto& result : *results) {
            SCOPED_TRACE(ToUtf8(result->Name()));
            CheckError(*result);
            if (IsKeyed(*result)) CheckCounts(first, result);
        }

        Utils utils;
        std::u16string left;
        std::u16string right;
        utils.GetUpdateScripts(first.one, first.two, first.one, results, left, right, AllRows, 0);
        Apply(right, *first.two, random);
        ExpectIdentical(first, random, *results, 2);
        CheckDocuments(first, random);
        CheckBytes(random, *first.one, *first.two);
        BringRingOver(first, random, 2);
        rings += random.HasRing() ? 1 : 0;
        Drop(first);
        if (HasFatalFailure()) return;

        const Pair fresh = Build(random, u"_b", 1);
        const auto again = Compare(fresh, random);
        utils.GetUpdateScripts(fresh.one, fresh.two, fresh.one, again, left, right, AllRows, 0);
        Apply(left, *fresh.one, random);
        ExpectIdentical(fresh, random, *again, 1);
        CheckDocuments(fresh, random);
        CheckBytes(random, *fresh.two, *fresh.one);
        BringRingOver(fresh, random, 1);
        Drop(fresh);
    }

    static void ExpectIdentical(const Pair& pair, const RandomDatabases& random,
                                const TableDifferences& before, int written) {
        const auto after = Compare(pair, random);
        for (const auto& result : *after) {
            CheckError(*result);
            if (!IsKeyed(*result)) continue;
            EXPECT_TRUE(result->Identical()) << ToUtf8(result->Name());
        }
        EXPECT_EQ(CountsWithoutScript(*after, written), CountsWithoutScript(before, written));
    }

    sandbox::Server& modern = box.AddServer(Modern());
    int cellsChecked = 0;  // columns whose bytes were looked at
    int rings = 0;         // pairs with tables that refer to each other
};

TEST_F(Convergence, AScriptMakesTheDatabasesEqual) {
    const std::uint32_t pairs = FromEnvironment("QUILLON_DATABASES", 60);
    const std::uint32_t begin = FromEnvironment("QUILLON_SEED", std::random_device()());
    std::cout << "QUILLON_SEED=" << begin << " QUILLON_DATABASES=" << pairs << '\n';
    for (std::uint32_t i = 0; i < pairs; ++i) {
        TryOne(begin + i);
        if (HasFailure()) break;
    }
    std::cout << "columns of code pages: " << cellsChecked << ", rings: " << rings << '\n';
    if (pairs >= 20) {
        EXPECT_GT(cellsChecked, 20);
        EXPECT_GT(rings, 0);
    }
}

}  // namespace
}  // namespace QuillonLib
