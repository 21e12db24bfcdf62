// Databases of one random schema, in two collations, whose rows differ at random: scripts of
// statements make either agree with the other, to the byte, as the server itself reads them.
#include <algorithm>
#include <iostream>

#include "LiveScripts.h"
#include "data/ConnectionString.h"
#include "tests/convergence/RandomDatabases.h"
#include "tests/direct/RandomSeeds.h"
#include "tests/support/BareRows.h"

namespace QuillonLib::live {
namespace {

class RandomLive : public LiveServer, public ::testing::WithParamInterface<unsigned> {
  protected:
    // Both databases anew.
    void Make(const RandomDatabases& random) {
        DropMade();
        one = MakeRandom(random, u"one", random.Collation(), 1);
        two = MakeRandom(random, u"two", random.OtherCollation(), 2);
    }

    static std::vector<DirectTable> Tables(const RandomDatabases& random) {
        std::vector<DirectTable> tables;
        for (const auto& table : random.WrittenTables()) {
            std::u16string name = table.name.substr(table.name.rfind(u'[') + 1);
            name.pop_back();
            tables.push_back({{u"dbo", name}, {}, {}, {}});
        }
        return tables;
    }

    // Of all tables, as bytes, through the bare driver: nothing of the comparison has a part in it.
    static std::vector<std::vector<test::BareRow>> RowsOf(const RandomDatabases& random,
                                                          const Database& database) {
        std::vector<std::vector<test::BareRow>> all;
        for (const auto& table : random.WrittenTables()) {
            std::u16string fields;
            for (const auto& [name, type] : table.columns)
                fields += (fields.empty() ? u"" : u", ") + test::AsBytes(name, type);
            all.push_back(
                test::ReadBareRows(BuildConnectionString(database.Server(), database.DatabaseName(),
                                                         database.NTSecurity(), database.Username(),
                                                         database.Password()),
                                   u"SELECT " + fields + u" FROM " + table.name));
            std::sort(all.back().begin(), all.back().end());
        }
        return all;
    }

  private:
    std::shared_ptr<Database> MakeRandom(const RandomDatabases& random,
                                         const std::u16string& suffix,
                                         const std::u16string& collation, int side) {
        const std::u16string name = Named(suffix);
        const auto connection = Open(u"master");
        constexpr std::u16string_view End = u"\nGO\n";
        const std::u16string script = random.Script(name, collation);
        for (std::size_t begin = 0; begin < script.size();) {
            const std::size_t end = script.find(End, begin);
            connection->Execute(script.substr(begin, end - begin));
            begin = end + End.size();
        }
        for (const std::u16string& batch : random.Inserts(side))
            connection->Execute(batch);
        return Described(name);
    }
};

TEST_P(RandomLive, ScriptsOfStatementsConvergeToTheByte) {
    const RandomDatabases random(GetParam());
    const bool utf8 = random.Collation().ends_with(u"_UTF8");
    if (!Since(utf8 ? 15 : 10)) {
        std::cout << "left out: seed " << GetParam() << " has types or a collation that this "
                  << "server lacks\n";
        return;
    }
    for (const int target : {2, 1}) {
        SCOPED_TRACE(target);
        Make(random);
        const auto rows1 = RowsOf(random, *one);
        const auto rows2 = RowsOf(random, *two);
        DirectScriptOptions options;
        options.target = target;
        options.guard = GetParam() % 2 == 0;
        const std::u16string script = DirectScriptOf(*one, *two, Tables(random), options);
        Apply(script, target == 2 ? *two : *one);
        const auto& wanted = target == 2 ? rows1 : rows2;
        EXPECT_EQ(RowsOf(random, *one), wanted);
        EXPECT_EQ(RowsOf(random, *two), wanted);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomLive, ::testing::ValuesIn(Seeds(6)));

}  // namespace
}  // namespace QuillonLib::live
