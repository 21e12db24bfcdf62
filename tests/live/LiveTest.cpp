// The library against a real server: both roads, catalog, scripts, literals. About rows, not about
// the words in which a server says things.
#include <algorithm>
#include <map>
#include <set>

#include "LiveScripts.h"

namespace QuillonLib::live {
namespace {

constexpr enShowOptions AllRows =
    cpoShowIdentical | cpoShowDifferent | cpoShowMissing | cpoShowAdditional;

const std::vector<std::u16string> Tables = {
    u"CREATE TABLE town (id int NOT NULL CONSTRAINT PK_town PRIMARY KEY, name nvarchar(40) NULL)",
    u"CREATE TABLE person (id int IDENTITY(1,1) NOT NULL CONSTRAINT PK_person PRIMARY KEY,"
    u" name nvarchar(40) NULL, town int NULL CONSTRAINT FK_person_town FOREIGN KEY REFERENCES town"
    u" (id), code varchar(20) NULL, CONSTRAINT UQ_person_code UNIQUE (code))",
    u"CREATE TABLE visit (at datetime NOT NULL, note nvarchar(100) NULL)",
};

std::vector<std::u16string> With(std::vector<std::u16string> batches,
                                 const std::vector<std::u16string>& more) {
    batches.insert(batches.end(), more.begin(), more.end());
    return batches;
}

// town: 1 the same, 2 differs, 3 only in 1, 4 only in 2; person refers to them; visit has no key.
const std::vector<std::u16string> RowsOfOne = {
    u"INSERT INTO town VALUES (1, N'Oslo')",
    u"INSERT INTO town VALUES (2, N'Lima')",
    u"INSERT INTO town VALUES (3, N'it''s')",
    u"INSERT INTO person (name, town, code) VALUES (N'Ada', 1, 'a')",
    u"INSERT INTO person (name, town, code) VALUES (N'Bo', 3, 'b')",
    u"INSERT INTO visit VALUES ('20240115 13:45:30.123', N'x')",
    u"INSERT INTO visit VALUES ('20240115 13:45:30.123', N'x')",
};
const std::vector<std::u16string> RowsOfTwo = {
    u"INSERT INTO town VALUES (1, N'Oslo')",
    u"INSERT INTO town VALUES (2, N'Rome')",
    u"INSERT INTO town VALUES (4, N'Riga')",
    u"INSERT INTO person (name, town, code) VALUES (N'Ada', 1, 'b')",
    u"INSERT INTO person (name, town, code) VALUES (N'Bob', 4, 'a')",
    u"INSERT INTO visit VALUES ('20240115 13:45:30.123', N'x')",
};

class Live : public LiveServer {
  protected:
    void SetUp() override {
        LiveServer::SetUp();
        Run(*one, With(Tables, RowsOfOne));
        Run(*two, With(Tables, RowsOfTwo));
    }

    std::shared_ptr<TableDifferences> ByServer() const {
        Utils utils;
        return utils.CompareContents(
            one, two, one, TextArray({u"[dbo].[town]", u"[dbo].[person]", u"[dbo].[visit]"}), {},
            {});
    }
    static std::vector<DirectTable> AllTables() {
        std::vector<DirectTable> tables(3);
        tables[0].name = {u"dbo", u"town"};
        tables[1].name = {u"dbo", u"person"};
        tables[2].name = {u"dbo", u"visit"};
        return tables;
    }
    std::vector<DirectTableResult> Directly(const DirectSink& sink = {}) const {
        return CompareDirectly(*one, *two, AllTables(), {}, sink);
    }
};

TEST_F(Live, TheCatalogIsRead) {
    const auto tables = one->Tables();
    ASSERT_TRUE(tables->ItemExists(u"dbo", u"person"));
    const auto person = tables->Item(u"[dbo].[person]");
    std::vector<std::u16string> names;
    for (const auto& column : *person->Columns())
        names.push_back(column->Name());
    EXPECT_EQ(names, (std::vector<std::u16string>{u"id", u"name", u"town", u"code"}));
    std::map<std::u16string, bool> indexes;
    for (const auto& index : *person->Indexes())
        indexes[index->Name()] = index->PrimaryKey();
    EXPECT_EQ(indexes,
              (std::map<std::u16string, bool>{{u"PK_person", true}, {u"UQ_person_code", false}}));
    EXPECT_TRUE(person->ParentDependencies()->ItemExists(u"[dbo].[town]"));
    EXPECT_TRUE(tables->Item(u"[dbo].[town]")->ChildDependencies()->ItemExists(u"[dbo].[person]"));
}

TEST_F(Live, DatabasesAreFound) {
    Utils utils;
    const auto names = utils.AvailableDatabases(one->Server(), one->Username(), one->Password());
    ASSERT_TRUE(names.has_value());
    for (const auto& database : {one, two}) {
        EXPECT_NE(std::find(names->Items.begin(), names->Items.end(), database->DatabaseName()),
                  names->Items.end());
    }
}

TEST_F(Live, AServerCompares) {
    const auto results = ByServer();
    const auto town = results->Item(u"[dbo].[town]");
    EXPECT_EQ(town->RecordsIn1(), 3);
    EXPECT_EQ(town->RecordsIn2(), 3);
    EXPECT_EQ(town->RecordsInUnion(), 5);
    EXPECT_EQ(town->RecordsDiffering(), 1);
    EXPECT_FALSE(town->Identical());
    const auto visit = results->Item(u"[dbo].[visit]");
    EXPECT_FALSE(visit->HasPrimaryKey());
    EXPECT_EQ(visit->RecordsIn1(), 2);
    EXPECT_EQ(visit->RecordsIn2(), 1);
}

TEST_F(Live, RowSetsHoldTheRows) {
    const auto results = ByServer();
    Utils utils;
    std::shared_ptr<Recordset> equal, different, right, left;
    std::u16string toTwo, toOne;
    utils.GetRecordsets(one, two, one, results->Item(u"[dbo].[town]"), equal, different, right,
                        left, toTwo, toOne, AllRows, 0);
    ASSERT_EQ(equal->RecordCount(), 1U);
    EXPECT_EQ(equal->Fields(u"name").Value(), Value(u"Oslo"));
    ASSERT_EQ(different->RecordCount(), 1U);
    EXPECT_EQ(different->Fields(u"name_1").Value(), Value(u"Lima"));
    EXPECT_EQ(different->Fields(u"name_2").Value(), Value(u"Rome"));
    ASSERT_EQ(right->RecordCount(), 1U);
    EXPECT_EQ(right->Fields(u"name").Value(), Value(u"it's"));
    ASSERT_EQ(left->RecordCount(), 1U);
    EXPECT_EQ(left->Fields(u"name").Value(), Value(u"Riga"));
}

// Deletes come first there, so the child is moved away from a parent that goes beforehand.
TEST_F(Live, ScriptsOfCallsConverge) {
    Run(*two, {u"UPDATE person SET town = 1, code = 'c' WHERE id = 2"});
    for (const bool second : {true, false}) {
        Utils utils;
        std::u16string toOne, toTwo;
        utils.GetUpdateScripts(one, two, one, ByServer(), toOne, toTwo, AllRows, 0);
        if (second) {
            Run(*two, {u"UPDATE person SET code = 'n' + CAST(id AS varchar(9))"});
            Apply(toTwo, *two);
        } else {
            Apply(toOne, *one);
        }
        const auto results = ByServer();
        EXPECT_TRUE(results->Item(u"[dbo].[town]")->Identical());
        EXPECT_TRUE(results->Item(u"[dbo].[person]")->Identical());
        Run(*one, {u"UPDATE town SET name = N'changed' WHERE id = 1"});
    }
}

TEST_F(Live, RowsAreComparedDirectly) {
    std::set<std::u16string> changed;
    DirectSink sink;
    sink.Difference = [&](const DirectDifference& row, bool&) {
        for (std::size_t i = 0; i < row.changed.size(); ++i) {
            if (row.changed[i]) changed.insert(row.shape.columns[i].side1.Name);
        }
    };
    const auto results = Directly(sink);
    for (const DirectTableResult& result : results)
        ASSERT_FALSE(result.error) << result.error->what();
    EXPECT_EQ(results[0].identical, 1U);
    EXPECT_EQ(results[0].differing, 1U);
    EXPECT_EQ(results[0].onlyIn1, 1U);
    EXPECT_EQ(results[0].onlyIn2, 1U);
    EXPECT_EQ(results[1].differing, 2U);
    EXPECT_EQ(results[2].onlyIn1, 1U);
    EXPECT_EQ(changed, (std::set<std::u16string>{u"name", u"town", u"code"}));
}

// The persons swap values of a unique column, and one moves away from a town that goes.
TEST_F(Live, ScriptsOfStatementsConverge) {
    for (const bool guard : {false, true}) {
        for (const int target : {2, 1}) {
            SCOPED_TRACE(target + (guard ? 10 : 0));
            DirectScriptOptions options;
            options.target = target;
            options.guard = guard;
            const auto& database = target == 2 ? *two : *one;
            Apply(DirectScriptOf(*one, *two, AllTables(), options), database);
            for (const DirectTableResult& result : Directly())
                EXPECT_TRUE(result.Same()) << ToUtf8(result.shape.table.Name);
            Run(*one, {u"UPDATE person SET code = code + 'x', name = N'new'"});
            Run(*two, {u"DELETE person WHERE id = 2",
                       u"IF NOT EXISTS (SELECT 1 FROM town WHERE id = 9) "
                       u"INSERT INTO town VALUES (9, N'nine')"});
        }
    }
}

// What somebody changed since is not overwritten: the server refuses the whole script.
TEST_F(Live, AGuardHolds) {
    DirectScriptOptions options;
    options.guard = true;
    const std::u16string script = DirectScriptOf(*one, *two, AllTables(), options);
    Run(*two, {u"UPDATE town SET name = N'meanwhile' WHERE id = 2"});
    EXPECT_THROW(Apply(script, *two), quillon::BatchFailure);
    EXPECT_EQ(Scalar(*two, u"SELECT name FROM town WHERE id = 2"), u"meanwhile");
    EXPECT_EQ(Scalar(*two, u"SELECT COUNT(*) FROM town WHERE id = 3"), u"0");
}

// One row of each type: the script's literal for a value is that value, byte for byte.
class Literals : public LiveServer {
  protected:
    struct Cell {
        std::u16string type;
        std::u16string value;  // in SQL
        int since = 9;
    };
    static std::vector<Cell> Cells() {
        return {
            {u"bit", u"1"},
            {u"tinyint", u"255"},
            {u"smallint", u"-32768"},
            {u"int", u"-2147483648"},
            {u"bigint", u"-9223372036854775808"},
            {u"decimal(38,10)", u"-1234567890123456789012345678.0123456789"},
            {u"numeric(5,0)", u"99999"},
            {u"money", u"-922337203685477.5808"},
            {u"smallmoney", u"214748.3647"},
            {u"float", u"4.9406564584124654E-310"},
            {u"float", u"0.1E0"},
            {u"real", u"3.4028235E38"},
            {u"datetime", u"'17530101 00:00:00.003'"},
            {u"datetime", u"'99991231 23:59:59.997'"},
            {u"smalldatetime", u"'20790606 23:59'"},
            {u"date", u"'00010101'", 10},
            {u"time(7)", u"'23:59:59.9999999'", 10},
            {u"datetime2(7)", u"'99991231 23:59:59.9999999'", 10},
            {u"datetime2(0)", u"'20240115 13:45:30'", 10},
            {u"datetimeoffset(7)", u"'2024-01-15 13:45:30.1234567 -14:00'", 10},
            {u"char(5)", u"'a'''"},
            {u"varchar(30)", u"'two' + CHAR(13) + CHAR(10) + 'lines'"},
            {u"varchar(30)", u"'$(x)' + CHAR(0) + '%s'"},
            {u"varchar(max)", u"REPLICATE(CAST('long ' AS varchar(max)), 2000)"},
            {u"text", u"'text'"},
            {u"nchar(5)", u"NCHAR(8364)"},
            {u"nvarchar(30)", u"NCHAR(55357) + NCHAR(56832) + NCHAR(55357)"},
            {u"nvarchar(30)", u"N'blank at the end '"},
            {u"nvarchar(max)", u"REPLICATE(CAST(NCHAR(1047) AS nvarchar(max)), 9000)"},
            {u"ntext", u"N'ntext'"},
            {u"binary(4)", u"0x00FF"},
            {u"varbinary(30)", u"0x00FF00"},
            {u"varbinary(max)",
             u"CAST(REPLICATE(CAST('b' AS varchar(max)), 9000) AS "
             u"varbinary(max))"},
            {u"image", u"0x0102"},
            {u"uniqueidentifier", u"'6F9619FF-8B86-D011-B42D-00C04FC964FF'"},
            {u"xml", u"N'<a b=\"c\">d</a>'"},
            {u"sql_variant", u"CAST(1.50 AS decimal(9,2))"},
            {u"sql_variant", u"N'text'"},
        };
    }
};

TEST_F(Literals, CarryEveryType) {
    int row = 0;
    for (const Cell& cell : Cells()) {
        if (!Since(cell.since)) {
            std::cout << "left out: " << ToUtf8(cell.type) << ", which this server lacks\n";
            continue;
        }
        const std::u16string table = u"t" + ToText(++row);
        const std::u16string create =
            u"CREATE TABLE " + table + u" (id int NOT NULL PRIMARY KEY, c " + cell.type + u" NULL)";
        Run(*one, {create, u"INSERT INTO " + table + u" VALUES (1, " + cell.value + u")",
                   u"INSERT INTO " + table + u" VALUES (2, NULL)"});
        Run(*two, {create});
    }
    std::vector<DirectTable> tables(static_cast<std::size_t>(row));
    for (int i = 0; i < row; ++i)
        tables[static_cast<std::size_t>(i)].name = {u"dbo", u"t" + ToText(i + 1)};
    Apply(DirectScriptOf(*one, *two, tables, {}), *two);

    // The server looks itself: the same bytes of the same type.
    int at = 0;
    for (const Cell& cell : Cells()) {
        if (!Since(cell.since)) continue;
        const std::u16string table = u"t" + ToText(++at);
        SCOPED_TRACE(ToUtf8(cell.type + u" " + cell.value));
        std::u16string bytes = u"CAST(c AS varbinary(max))";
        if (cell.type == u"text") bytes = u"CAST(CAST(c AS varchar(max)) AS varbinary(max))";
        if (cell.type == u"ntext") bytes = u"CAST(CAST(c AS nvarchar(max)) AS varbinary(max))";
        if (cell.type == u"xml") bytes = u"CAST(CAST(c AS nvarchar(max)) AS varbinary(max))";
        if (cell.type == u"sql_variant") {
            bytes =
                u"CAST(CAST(SQL_VARIANT_PROPERTY(c, 'BaseType') AS nvarchar(40)) + "
                u"CAST(c AS nvarchar(200)) AS varbinary(max))";
        }
        const std::u16string plain = u"SELECT " + bytes + u" FROM " + table + u" WHERE id = 1";
        Recordset first, second;
        first.Open(plain, Open(one->DatabaseName()));
        second.Open(plain, Open(two->DatabaseName()));
        ASSERT_EQ(second.RecordCount(), 1U);
        EXPECT_FALSE(first.Fields(0).IsNull());
        EXPECT_EQ(first.Fields(0).Value(), second.Fields(0).Value());
        EXPECT_EQ(Scalar(*two, u"SELECT COUNT(*) FROM " + table + u" WHERE id = 2 AND c IS NULL"),
                  u"1");
    }
}

}  // namespace
}  // namespace QuillonLib::live
