// Two servers with databases of one random schema, in two collations, whose rows differ at random:
// every difference is written, and none is left. RandomSeeds.h tells how to run more of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/convergence/RandomDatabases.h"
#include "tests/direct/RandomSeeds.h"
#include "tests/direct/ScriptFixture.h"

#ifndef _WIN32
#include "data/ConnectionString.h"
#include "tests/support/BareRows.h"
#endif

namespace QuillonLib {
namespace {

class RandomDirect : public ScriptFixture, public ::testing::WithParamInterface<unsigned> {
  protected:
    // Servers that know UTF-8.
    static sandbox::ServerSettings Modern() {
        sandbox::ServerSettings settings;
        settings.name = u"MODERN";
        settings.version = "15.0.2000";
        return settings;
    }

    // Runs without a look at lines "GO": data may hold them.
    static void RunBatch(const Database& database, const std::u16string& batch) {
        OpenConnection(database)->Execute(batch);
    }

    std::vector<DirectTable> Tables(const std::vector<std::u16string>& entries) {
        std::vector<DirectTable> tables;
        for (const std::u16string& entry : entries) {
            const auto object = one->Tables()->Item(entry);
            if (object->IsView()) continue;
            tables.push_back({{object->Owner(), object->Name()}, {}, {}, {}});
        }
        return tables;
    }

#ifndef _WIN32
    // All values as bytes, through the bare driver: nothing of the comparison has a part in it.
    static std::vector<test::BareRow> BareRowsOf(const sandbox::Server& on,
                                                 const std::u16string& database,
                                                 const RandomDatabases::WrittenTable& table) {
        std::u16string fields;
        for (const auto& [name, type] : table.columns)
            fields += (fields.empty() ? u"" : u", ") + test::AsBytes(name, type);
        auto rows = test::ReadBareRows(
            BuildConnectionString(on.Address(), database, false, u"sa", u"sandbox"),
            u"SELECT " + fields + u" FROM " + table.name);
        std::sort(rows.begin(), rows.end());
        return rows;
    }
    // Those that differ between the sides.
    Texts TablesApart(const RandomDatabases& random, const std::u16string& database) const {
        Texts apart;
        for (const auto& table : random.WrittenTables()) {
            if (BareRowsOf(modern1, database, table) != BareRowsOf(modern2, database, table))
                apart.push_back(table.name);
        }
        return apart;
    }
    // Those in which something was found, and those that are written to.
    static void ExpectFound(const Texts& apart, const std::vector<DirectTableResult>& results) {
        Texts found;
        for (const DirectTableResult& result : results) {
            if (result.differing + result.onlyIn1 + result.onlyIn2 == 0) continue;
            const bool documents = result.shape.table.Name == u"documents";
            found.push_back((documents ? u"[dbo].[" : u"[") + result.shape.table.Name + u"]");
        }
        EXPECT_EQ(found, apart);
    }
#endif

    // Single seeds may differ in nothing.
    static void TearDownTestSuite() {
        EXPECT_GT(foundInAll, 0U);
    }
    static inline std::size_t foundInAll = 0;

    sandbox::Sandbox box1, box2;
    sandbox::Server& modern1 = box1.AddServer(Modern());
    sandbox::Server& modern2 = box2.AddServer(Modern());
};

TEST_P(RandomDirect, ConvergeInBothDirections) {
    const std::uint32_t seed = GetParam();
    SCOPED_TRACE("QUILLON_TEST_SEED=" + std::to_string(seed));
    const RandomDatabases random(seed);
    for (const int target : {2, 1}) {
        scripted.target = target;
        scripted.guard = (seed + static_cast<std::uint32_t>(target)) % 2 == 0;
        const std::u16string name = u"random" + ToText(target);
        modern1.Run(random.Script(name));
        modern2.Run(random.Script(name, random.OtherCollation()));
        one = MakeDatabase(modern1, name);
        two = MakeDatabase(modern2, name);
        for (const int side : {1, 2}) {
            std::u16string rows;  // in one batch: each logs in
            for (const std::u16string& insert : random.Inserts(side))
                rows += insert + u'\n';
            RunBatch(side == 1 ? *one : *two, rows);
        }

        const std::vector<DirectTable> tables = Tables(random.Entries());
        DirectScriptWriter writer(target == 1 ? *one : *two, scripted);
        std::size_t found = 0;
        sink.Difference = [&](const DirectDifference& difference, bool&) {
            ++found;
            writer.Add(difference);
        };
        const auto results = CompareDirectly(*one, *two, tables, options, sink);
        for (const DirectTableResult& result : results) {
            ASSERT_TRUE(result.complete)
                << ToUtf8(result.shape.table.Name + u": " + result.error->Description());
        }
        foundInAll += found;
#ifndef _WIN32
        ExpectFound(TablesApart(random, name), results);
#endif
        std::u16string script;
        writer.Write(results, [&](std::u16string_view piece) { script += piece; });
        EXPECT_EQ(Run(script, target), Texts{}) << ToUtf8(script.substr(0, 20000));

        Texts left;
        sink.Difference = [&](const DirectDifference& difference, bool&) {
            left.push_back(difference.shape.table.Name + u" " + Shown(difference));
        };
        for (const DirectTableResult& result : CompareDirectly(*one, *two, tables, options, sink)) {
            EXPECT_TRUE(result.Same()) << ToUtf8(result.shape.table.Name);
        }
        EXPECT_EQ(left, Texts{});
#ifndef _WIN32
        EXPECT_EQ(TablesApart(random, name), Texts{});
#endif
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomDirect, ::testing::ValuesIn(Seeds(12)));

}  // namespace
}  // namespace QuillonLib
