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

class Convergence : public SandboxTest {
  protected:
    struct Pair {
        std::shared_ptr<Database> one;
        std::shared_ptr<Database> two;
    };

    Pair Build(const RandomDatabases& random, const std::u16string& suffix) {
        const Pair pair{Described(u"one" + suffix), Described(u"two" + suffix)};
        Fill(random, 1, *pair.one);
        Fill(random, 2, *pair.two);
        return pair;
    }
    std::shared_ptr<Database> Described(const std::u16string& name) {
        auto database = MakeDatabase(name);
        database->CheckDependencies(true);
        return database;
    }
    void Fill(const RandomDatabases& random, int side, const Database& database) {
        server.Run(random.Script(database.DatabaseName()));
        for (const auto& insert : random.Inserts(side)) {
            server.Scalar(u"USE " + database.DatabaseName() + u" " + insert + u" SELECT 1");
        }
    }
    void Drop(const Pair& pair) {
        ASSERT_EQ(ConnectionsLeft(server), 0);
        server.Run(u"USE master\nGO\nDROP DATABASE " + pair.one->DatabaseName() +
                   u"\nGO\nDROP DATABASE " + pair.two->DatabaseName());
    }

    static std::shared_ptr<TableDifferences> Compare(const Pair& pair,
                                                     const RandomDatabases& random) {
        Utils utils;
        utils.SuppressCompareProcessErrors(true);
        return utils.CompareContents(pair.one, pair.two, pair.one, TextArray(random.Entries()), {},
                                     {});
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
            EXPECT_EQ(server.Scalar(u"SELECT COUNT(*) FROM " + table), u"1");
            EXPECT_EQ(server.Scalar(u"SELECT CAST(id AS nvarchar(9)) + CAST(doc AS nvarchar(99)) "
                                    u"FROM " +
                                    table),
                      row);
        }
    }

    void TryOne(std::uint32_t seed) {
        SCOPED_TRACE("QUILLON_SEED=" + std::to_string(seed) + " QUILLON_DATABASES=1");
        const RandomDatabases random(seed);
        const Pair first = Build(random, u"_a");
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
        Drop(first);
        if (HasFatalFailure()) return;

        const Pair fresh = Build(random, u"_b");
        const auto again = Compare(fresh, random);
        utils.GetUpdateScripts(fresh.one, fresh.two, fresh.one, again, left, right, AllRows, 0);
        Apply(left, *fresh.one, random);
        ExpectIdentical(fresh, random, *again, 1);
        CheckDocuments(fresh, random);
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
};

TEST_F(Convergence, AScriptMakesTheDatabasesEqual) {
    const std::uint32_t pairs = FromEnvironment("QUILLON_DATABASES", 60);
    const std::uint32_t begin = FromEnvironment("QUILLON_SEED", std::random_device()());
    std::cout << "QUILLON_SEED=" << begin << " QUILLON_DATABASES=" << pairs << '\n';
    for (std::uint32_t i = 0; i < pairs; ++i) {
        TryOne(begin + i);
        if (HasFailure()) break;
    }
}

}  // namespace
}  // namespace QuillonLib
