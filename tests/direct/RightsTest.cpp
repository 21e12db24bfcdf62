// The direct road under logins that may do little.
#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class RightsTest : public ScriptFixture {
  protected:
    RightsTest() {
        RunOnBoth(
            u"CREATE TABLE parent (id int NOT NULL PRIMARY KEY, t nvarchar(20) NULL, d text NULL)\n"
            u"CREATE TABLE child (id int NOT NULL PRIMARY KEY, p int NULL REFERENCES parent (id))\n"
            u"CREATE TABLE bag (a int NULL, b image NULL)\n"
            u"CREATE TABLE hidden (id int NOT NULL PRIMARY KEY)\n"
            u"CREATE LOGIN little WITH PASSWORD = 'l'\n"
            u"CREATE USER little FOR LOGIN little");
        RunOn1(
            u"INSERT parent VALUES (1, N'a', 'x'), (2, N'b', NULL), (3, N'only 1', 'y')\n"
            u"INSERT child VALUES (1, 3), (2, NULL)\n"
            u"INSERT bag VALUES (1, 0x01), (1, 0x01), (2, NULL)");
        RunOn2(
            u"INSERT parent VALUES (1, N'a', 'x'), (2, N'B', NULL), (4, N'only 2', 'y')\n"
            u"INSERT child VALUES (1, 4), (2, 1)\n"
            u"INSERT bag VALUES (1, 0x01), (3, NULL)");
        for (Database* database : {one.get(), two.get()}) {
            database->Username(u"little");
            database->Password(u"l");
        }
    }

    void GrantOnBoth(const std::u16string& rights) {
        for (const std::u16string_view table : {u"parent", u"child", u"bag"})
            RunOnBoth(u"GRANT " + rights + u" ON " + std::u16string(table) + u" TO little");
    }

    static Texts CountsOf(const std::vector<DirectTableResult>& results) {
        Texts counts;
        for (const DirectTableResult& r : results) {
            EXPECT_TRUE(r.complete) << ToUtf8(r.error->Description());
            std::u16string text = r.shape.table.Name + u":";
            for (const std::uint64_t n : {r.identical, r.differing, r.onlyIn1, r.onlyIn2})
                text += u" " + ToText(static_cast<std::int64_t>(n));
            counts.push_back(text);
        }
        return counts;
    }

    const std::vector<std::u16string> names{u"parent", u"child", u"bag"};
    std::vector<DirectTable> Tables() const {
        std::vector<DirectTable> tables;
        for (const std::u16string& name : names)
            tables.push_back({{u"dbo", name}, {}, {}, {}});
        return tables;
    }
};

TEST_F(RightsTest, SelectIsAllThatAComparisonTakes) {
    GrantOnBoth(u"SELECT");
    EXPECT_EQ(CountsOf(Compare(Tables())),
              (Texts{u"parent: 1 1 1 1", u"child: 0 2 0 0", u"bag: 1 0 2 1"}));
}

TEST_F(RightsTest, SelectIsAllThatASnapshotTakes) {
    RunOnBoth(u"ALTER DATABASE w SET ALLOW_SNAPSHOT_ISOLATION ON");
    GrantOnBoth(u"SELECT");
    options.snapshot = true;
    const auto results = Compare(Tables());
    EXPECT_EQ(CountsOf(results), (Texts{u"parent: 1 1 1 1", u"child: 0 2 0 0", u"bag: 1 0 2 1"}));
    for (const DirectTableResult& result : results) {
        EXPECT_EQ(result.reading1, DirectReading::Snapshot);
        EXPECT_EQ(result.reading2, DirectReading::Snapshot);
    }
}

// The script is the same as the one that an administrator gets.
TEST_F(RightsTest, SelectIsAllThatAScriptTakes) {
    GrantOnBoth(u"SELECT");
    const std::u16string script = Script(names);
    EXPECT_EQ(script.find(u"right to alter"), std::u16string::npos);
    for (Database* database : {one.get(), two.get()}) {
        database->Username(u"sa");
        database->Password(u"sandbox");
    }
    EXPECT_EQ(script, Script(names));
    EXPECT_NE(script.find(u"DELETE"), std::u16string::npos);
}

TEST_F(RightsTest, ATableOutOfSightIsToldAndTheOthersGoOn) {
    GrantOnBoth(u"SELECT");
    std::vector<DirectTable> tables = Tables();
    tables.insert(tables.begin() + 1, DirectTable{{u"dbo", u"hidden"}, {}, {}, {}});
    const auto results = Compare(tables);
    ASSERT_EQ(results.size(), 4U);
    ASSERT_TRUE(results[1].error);
    EXPECT_EQ(results[1].error->Number(), ErrorNumber::ItemNotFound);
    EXPECT_NE(results[1].error->Description().find(u"hidden"), std::u16string::npos);
    EXPECT_FALSE(results[1].complete);
    for (const std::size_t other : {0U, 2U, 3U})
        EXPECT_TRUE(results[other].complete);
}

// It is in the catalog because of another right.
TEST_F(RightsTest, ATableThatMayNotBeReadIsToldByTheServersWords) {
    RunOnBoth(u"GRANT SELECT ON parent TO little");
    RunOn1(u"GRANT INSERT ON bag TO little");
    RunOn2(u"GRANT SELECT ON bag TO little");
    const auto results =
        Compare({{{u"dbo", u"bag"}, {}, {}, {}}, {{u"dbo", u"parent"}, {}, {}, {}}});
    ASSERT_TRUE(results.at(0).error);
    EXPECT_NE(results[0].error->Description().find(
                  u"The SELECT permission was denied on the object 'bag', database 'w'"),
              std::u16string::npos)
        << ToUtf8(results[0].error->Description());
    EXPECT_FALSE(results[0].complete);
    EXPECT_TRUE(results[1].complete);
}

TEST_F(RightsTest, WritingTakesTheFourRightsAndNoMore) {
    GrantOnBoth(u"SELECT, INSERT, UPDATE, DELETE");
    scripted.guard = true;
    ExpectToConverge(names);
    scripted.target = 1;
    RunOn1(u"INSERT parent VALUES (9, N'again', NULL) UPDATE child SET p = 9 DELETE bag");
    ExpectToConverge(names);
    EXPECT_EQ(server.Scalar(u"USE w SELECT COUNT(*) FROM parent"), u"3");
}

TEST_F(RightsTest, WithoutOneOfTheFourNothingIsWritten) {
    const Texts rights{u"INSERT", u"UPDATE", u"DELETE"};
    GrantOnBoth(u"SELECT, INSERT, UPDATE, DELETE");
    const std::u16string script = Script(names);
    for (const std::u16string& right : rights) {
        RunOn2(u"DENY " + right + u" TO little");
        const Texts errors = Run(script);
        ASSERT_FALSE(errors.empty()) << ToUtf8(right);
        EXPECT_NE(errors.front().find(u"The " + right + u" permission was denied"),
                  std::u16string::npos)
            << ToUtf8(errors.front());
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM parent WHERE id = 4 AND t = N'only 2'"), u"1");
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM child WHERE p IN (1, 4)"), u"2");
        EXPECT_EQ(On2(u"SELECT COUNT(*) FROM bag"), u"2");
        RunOn2(u"REVOKE " + right + u" FROM little");
    }
    EXPECT_EQ(Run(script), Texts{});
}

// SET IDENTITY_INSERT is a right of its own; the script's head says so.
TEST_F(RightsTest, IdentitiesTakeAlterOnTheirTable) {
    RunOnBoth(
        u"CREATE TABLE i (id int IDENTITY NOT NULL PRIMARY KEY, v int NULL)\n"
        u"GRANT SELECT, INSERT, UPDATE, DELETE ON i TO little");
    RunOn1(u"INSERT i (v) VALUES (10)");
    const std::u16string script = Script({u"i"});
    EXPECT_NE(script.find(u"\r\n-- Takes the right to alter [dbo].[i]\r\n"), std::u16string::npos)
        << ToUtf8(script);
    const Texts errors = Run(script);
    ASSERT_FALSE(errors.empty());
    EXPECT_NE(errors.front().find(u"you do not have permissions"), std::u16string::npos);
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM i"), u"0");
    RunOn2(u"GRANT ALTER ON i TO little");
    ExpectToConverge({u"i"});
    EXPECT_EQ(On2(u"SELECT v FROM i WHERE id = 1"), u"10");
}

}  // namespace
}  // namespace QuillonLib
