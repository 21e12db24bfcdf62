// Random pairs of databases, counted a second time by a reader that shares nothing with the
// comparison: it asks for every value as bytes, through the bare driver, and looks them up in maps.
// RandomSeeds.h tells how to run more of them.
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>

#include "data/ConnectionString.h"
#include "tests/direct/RandomSeeds.h"
#include "tests/direct/ScriptFixture.h"
#include "tests/support/BareRows.h"

namespace QuillonLib {
namespace {

using test::BareRow;

// A type, values of it that no "=" takes for one another, and others that some do.
struct Sample {
    const char16_t* type;
    std::vector<const char16_t*> values;
};

const std::vector<Sample>& Samples() {
    static const std::vector<Sample> samples{
        {u"bit", {u"0", u"1"}},
        {u"int", {u"0", u"-1", u"2147483647"}},
        {u"bigint", {u"5", u"-9223372036854775808"}},
        {u"decimal(20, 4)", {u"0", u"1.5", u"-1234567890123456.7891"}},
        {u"money", {u"0.0001", u"-922337203685477.5808"}},
        {u"float", {u"0e0", u"0e0 * -1", u"1.1e0", u"1.1000000000000003e0"}},
        {u"real", {u"1.5", u"-3.25e10"}},
        {u"datetime", {u"'20240101 10:00:00.003'", u"'20240101 10:00:00.007'"}},
        {u"datetime2(7)", {u"'2024-01-01 10:00:00.0000001'", u"'0001-01-01'"}},
        {u"datetimeoffset(3)",
         {u"'2024-01-01 10:00 +01:00'", u"'2024-01-01 09:00 +00:00'",
          u"'2024-01-01 10:00 -05:00'"}},
        {u"time(3)", {u"'10:00:00.001'", u"'00:00'"}},
        {u"date", {u"'00010101'", u"'99991231'"}},
        {u"uniqueidentifier", {u"'01234567-89AB-CDEF-0123-456789ABCDEF'"}},
        {u"char(4)", {u"'ab'", u"'AB'", u"'\u00E9'", u"''"}},
        {u"varchar(20)",
         {u"'abc'", u"'ABC'", u"'abc '", u"''", u"' '", u"'it''s'",
          u"CAST(0x81FF00 AS varchar(9))"}},
        {u"varchar(max)", {u"'abc'", u"'abC'", u"REPLICATE(CAST('x' AS varchar(max)), 9000)"}},
        {u"text", {u"'abc'", u"'aBc'", u"'abc  '", u"''"}},
        {u"nchar(4)", {u"N'ab'", u"N'aB'", u"N'\u0142'"}},
        {u"nvarchar(20)", {u"N'abc'", u"N'ABC'", u"N'abc '", u"N''", u"N'\u4E2D\u6587'"}},
        {u"nvarchar(max)",
         {u"N'abc'", u"N'abC'", u"N'abc '", u"REPLICATE(CAST(N'x' AS nvarchar(max)), 5000)"}},
        {u"ntext", {u"N'abc'", u"N'Abc'", u"N'abc '"}},
        {u"binary(3)", {u"0x010203", u"0x01", u"0x00"}},
        {u"varbinary(20)", {u"0x01", u"0x0100", u"0x", u"0x010000"}},
        {u"varbinary(max)", {u"0x01", u"0x0100", u"CAST(REPLICATE('y', 8000) AS varbinary(max))"}},
        {u"image", {u"0x01", u"0x0100", u"0xFF"}},
        {u"xml", {u"N'<a/>'", u"N'<a b=\"1\"/>'", u"N'<A/>'"}},
        {u"sql_variant",
         {u"CAST(1 AS int)", u"CAST(1 AS bigint)", u"N'1'", u"'1'", u"CAST(1.50 AS decimal(9, 2))",
          u"CAST(1.5 AS decimal(9, 1))", u"CAST(2 AS int)", u"N'2'",
          u"CAST('20240101' AS datetime)", u"0x31"}},
    };
    return samples;
}

struct OpinionColumn {
    std::u16string name;
    std::u16string type;
    std::array<std::u16string, 2> collations;  // of the sides; empty: that of the database
};

std::u16string AsBytes(const OpinionColumn& column) {
    return test::AsBytes(u"[" + column.name + u"]", column.type);
}

enum class OpinionKey { Number, Text, Composite, NullableUnique, None };

struct OpinionTable {
    std::u16string name;
    OpinionKey key = OpinionKey::Number;
    std::vector<OpinionColumn> keys;
    std::vector<OpinionColumn> columns;
    bool refersToItself = false;
    bool refersInARing = false;
    bool swapsUnique = false;
};

// What a second count of one table comes to.
struct Opinion {
    std::uint64_t identical = 0, differing = 0, onlyIn1 = 0, onlyIn2 = 0;
};

class SecondOpinion : public ScriptFixture, public ::testing::WithParamInterface<unsigned> {
  protected:
    SecondOpinion() {
        random_.seed(seed_);
        MakeTables();
        for (OpinionTable& table : tables_) {
            for (OpinionColumn& column : table.keys)
                ChooseCollations(column);
            for (OpinionColumn& column : table.columns)
                ChooseCollations(column);
        }
    }

    int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
    bool Chance(int percent) { return Below(100) < percent; }

    // Each side may have its own; bytes of a code page mean the same in all of these.
    void ChooseCollations(OpinionColumn& column) {
        static constexpr const char16_t* OfThePage[] = {
            u"Latin1_General_CI_AS", u"Latin1_General_CS_AS", u"Latin1_General_BIN",
            u"SQL_Latin1_General_CP1_CI_AS"};
        static constexpr const char16_t* OfUnicode[] = {u"Latin1_General_CI_AS", u"Czech_CS_AS",
                                                        u"Cyrillic_General_BIN", u"Japanese_CI_AS"};
        const bool wide = column.type.starts_with(u"n");
        const bool text = wide || column.type == u"text" || column.type.starts_with(u"char") ||
                          column.type.starts_with(u"varchar");
        if (!text || !Chance(60)) return;
        for (std::u16string& collation : column.collations)
            collation = wide ? OfUnicode[Below(4)] : OfThePage[Below(4)];
    }

    void MakeTables() {
        for (int number = 0; number < 4; ++number) {
            OpinionTable table;
            table.name = u"t" + ToText(number);
            table.key = static_cast<OpinionKey>(Below(5));
            // the first two may form a ring, which takes keys of one number
            if (number < 2 && Chance(40)) table.key = OpinionKey::Number;
            switch (table.key) {
                case OpinionKey::Number:
                    table.keys = {{u"id", u"int", {}}};
                    break;
                case OpinionKey::Text:
                    table.keys = {{u"id", u"nvarchar(20)", {}}};
                    break;
                case OpinionKey::Composite:
                    table.keys = {{u"id", u"varchar(10)", {}}, {u"id 2", u"datetime", {}}};
                    break;
                case OpinionKey::NullableUnique:
                    table.keys = {{u"id", u"int", {}}};
                    break;
                case OpinionKey::None:
                    break;
            }
            // few, that rows without a key be nearly alike
            const int columns = table.key == OpinionKey::None ? 1 + Below(2) : 2 + Below(6);
            for (int i = 0; i < columns; ++i)
                table.columns.push_back({u"c" + ToText(i), RandomType(table.key), {}});
            if (table.key == OpinionKey::Number) {
                table.refersToItself = Chance(40);
                table.swapsUnique = Chance(40);
            }
            tables_.push_back(std::move(table));
        }
        if (tables_[0].key == OpinionKey::Number && tables_[1].key == OpinionKey::Number &&
            Chance(60)) {
            tables_[0].refersInARing = tables_[1].refersInARing = true;
        }
        for (OpinionTable& table : tables_) {
            if (table.refersToItself) table.columns.push_back({u"parent", u"int", {}});
            if (table.refersInARing) table.columns.push_back({u"ring", u"int", {}});
            if (table.swapsUnique) table.columns.push_back({u"place", u"int", {}});
        }
    }

    // Of whole rows, "=" takes some of these for others.
    std::u16string RandomType(OpinionKey key) {
        static constexpr const char16_t* Alike[] = {u"varbinary(20)", u"varbinary(max)", u"image",
                                                    u"varchar(20)", u"sql_variant"};
        if (key == OpinionKey::None && Chance(50)) return Alike[Below(5)];
        return Samples()[static_cast<std::size_t>(Below(static_cast<int>(Samples().size())))].type;
    }

    std::u16string CreateTable(const OpinionTable& table, std::size_t side) const {
        const auto typeOf = [side](const OpinionColumn& column) {
            const std::u16string& collation = column.collations[side];
            return column.type + (collation.empty() ? u"" : u" COLLATE " + collation);
        };
        std::u16string sql = u"CREATE TABLE " + table.name + u" (", key;
        for (const OpinionColumn& column : table.keys) {
            const bool nullable = table.key == OpinionKey::NullableUnique;
            sql += u"[" + column.name + u"] " + typeOf(column) +
                   (nullable ? u" NULL, " : u" NOT NULL, ");
            key += (key.empty() ? u"[" : u", [") + column.name + u"]";
        }
        for (const OpinionColumn& column : table.columns) {
            const bool references = column.name == u"parent";
            sql += u"[" + column.name + u"] " + typeOf(column) + u" NULL" +
                   (references ? u" REFERENCES " + table.name + u" (id), " : u", ");
        }
        if (table.key == OpinionKey::NullableUnique) return sql + u"UNIQUE (" + key + u"))\nGO\n";
        if (table.swapsUnique) sql += u"UNIQUE (place), ";
        if (!key.empty()) return sql + u"PRIMARY KEY (" + key + u"))\nGO\n";
        return sql.substr(0, sql.size() - 2) + u")\nGO\n";
    }

    std::u16string Schema(std::size_t side) const {
        std::u16string sql = u"CREATE DATABASE opinion\nGO\nUSE opinion\nGO\n";
        for (const OpinionTable& table : tables_)
            sql += CreateTable(table, side);
        if (tables_[0].refersInARing) {
            sql +=
                u"ALTER TABLE t0 ADD FOREIGN KEY (ring) REFERENCES t1 (id)\nGO\n"
                u"ALTER TABLE t1 ADD FOREIGN KEY (ring) REFERENCES t0 (id)\nGO\n";
        }
        return sql;
    }

    static std::vector<std::u16string> KeyLiterals(const OpinionTable& table, int row) {
        static constexpr const char16_t* Letters[] = {u"a", u"B", u"-", u"z", u"_"};
        const std::u16string text = Letters[row % 5] + ToText(row);
        switch (table.key) {
            case OpinionKey::Number:
                return {ToText(row * 3 - 20)};
            case OpinionKey::Text:
                return {u"N'" + text + (row % 3 == 0 ? u"\u0142'" : u"'")};
            case OpinionKey::Composite:
                return {u"'" + std::u16string(Letters[row / 3 % 5]) + ToText(row / 3) + u"'",
                        u"'20240101 10:00:00.00" + std::u16string(row % 3 == 0   ? u"0'"
                                                                  : row % 3 == 1 ? u"3'"
                                                                                 : u"7'")};
            case OpinionKey::NullableUnique:
                return {row == 0 ? std::u16string(u"NULL") : ToText(row - 5)};
            case OpinionKey::None:
                break;
        }
        return {};
    }

    std::u16string RandomLiteral(const std::u16string& type) {
        if (Chance(20)) return u"NULL";
        for (const Sample& sample : Samples()) {
            if (type == sample.type)
                return sample.values[static_cast<std::size_t>(
                    Below(static_cast<int>(sample.values.size())))];
        }
        return u"NULL";
    }

    struct Rows {
        std::vector<std::vector<std::u16string>> inserts;  // literals of keys and columns
        std::vector<std::u16string> ids;                   // the first key of each
    };

    // Unique on each side, and taken by another row of the other.
    static std::u16string PlaceOf(int row, int side) {
        return ToText(side == 0 ? row : (row * 7 + 3) % 53);
    }

    // The rows of both sides: most of them alike, some with a cell or two of another value.
    void MakeRows(const OpinionTable& table, Rows (&sides)[2]) {
        const int count = 5 + Below(40);
        const int rate = Chance(50) ? 2 : 40;  // in percent: runs of rows that are alike, or none
        for (int row = 0; row < count; ++row) {
            std::vector<std::u16string> values = KeyLiterals(table, row);
            const std::size_t keys = values.size();
            for (const OpinionColumn& column : table.columns)
                values.push_back(IsLater(column) ? u"NULL" : RandomLiteral(column.type));
            for (int side = 0; side < 2; ++side) {
                if (side == 1 && Chance(rate)) {
                    const auto changed = keys + static_cast<std::size_t>(
                                                    Below(static_cast<int>(table.columns.size())));
                    const OpinionColumn& column = table.columns[changed - keys];
                    if (!IsLater(column)) values[changed] = RandomLiteral(column.type);
                }
                if (table.swapsUnique) values.back() = PlaceOf(row, side);
                if (Chance(rate / 3)) continue;
                if (keys > 0) sides[side].ids.push_back(values[0]);
                sides[side].inserts.push_back(values);
                if (keys == 0 && Chance(rate / 2)) sides[side].inserts.push_back(values);
            }
        }
    }
    static bool IsLater(const OpinionColumn& column) {
        return column.name == u"parent" || column.name == u"ring";
    }

    void Fill(sandbox::Server& on, const std::vector<Rows>& all) {
        std::u16string sql = u"USE opinion\nGO\n";
        for (std::size_t t = 0; t < tables_.size(); ++t) {
            for (const auto& values : all[t].inserts) {
                sql += u"INSERT " + tables_[t].name + u" VALUES (";
                for (std::size_t i = 0; i < values.size(); ++i)
                    sql += (i == 0 ? u"" : u", ") + values[i];
                sql += u")\nGO\n";
            }
        }
        for (std::size_t t = 0; t < tables_.size(); ++t) {
            if (tables_[t].refersToItself)
                Refer(sql, tables_[t], u"parent", all[t].ids, all[t].ids);
            if (tables_[t].refersInARing)
                Refer(sql, tables_[t], u"ring", all[t].ids, all[1 - t].ids);
        }
        on.Run(sql);
    }
    // References to rows of this side, other ones than on the other.
    void Refer(std::u16string& sql, const OpinionTable& table, const std::u16string& column,
               const Texts& ids, const Texts& targets) {
        for (const std::u16string& id : ids) {
            if (targets.empty() || Chance(30)) continue;
            const auto target = static_cast<std::size_t>(Below(static_cast<int>(targets.size())));
            sql += u"UPDATE " + table.name + u" SET " + column + u" = " + targets[target] +
                   u" WHERE id = " + id + u"\nGO\n";
        }
    }
    // Key, values, and how often: more than once without a key only.
    using Contents = std::map<std::pair<BareRow, BareRow>, int>;

    Contents Read(const sandbox::Server& on, const OpinionTable& table) const {
        std::u16string fields;
        std::size_t keyFields = 0;
        for (const OpinionColumn& column : table.keys) {
            fields += (fields.empty() ? u"" : u", ") + AsBytes(column);
            ++keyFields;
        }
        for (const OpinionColumn& column : table.columns)
            fields += (fields.empty() ? u"" : u", ") + AsBytes(column);
        const std::u16string login =
            BuildConnectionString(on.Address(), u"opinion", false, u"sa", u"sandbox");
        Contents contents;
        for (BareRow& row :
             test::ReadBareRows(login, u"SELECT " + fields + u" FROM " + table.name)) {
            const auto values = row.begin() + static_cast<std::ptrdiff_t>(keyFields);
            ++contents[{BareRow(row.begin(), values), BareRow(values, row.end())}];
        }
        return contents;
    }

    static Opinion Count(const Contents& side1, const Contents& side2, bool keyed) {
        Opinion opinion;
        std::map<BareRow, int> alone1, alone2;  // by key
        const auto tally = [](const Contents& mine, const Contents& others,
                              std::map<BareRow, int>& alone) {
            std::uint64_t common = 0;
            for (const auto& [row, times] : mine) {
                const auto other = others.find(row);
                const int shared = other == others.end() ? 0 : std::min(times, other->second);
                common += static_cast<std::uint64_t>(shared);
                if (times > shared) alone[row.first] += times - shared;
            }
            return common;
        };
        opinion.identical = tally(side1, side2, alone1);
        tally(side2, side1, alone2);
        for (const auto& [key, times] : alone1) {
            const bool both = keyed && alone2.count(key) > 0;
            (both ? opinion.differing : opinion.onlyIn1) += static_cast<std::uint64_t>(times);
        }
        for (const auto& [key, times] : alone2) {
            if (!keyed || alone1.count(key) == 0)
                opinion.onlyIn2 += static_cast<std::uint64_t>(times);
        }
        return opinion;
    }

    // A single pair may differ in nothing.
    static void TearDownTestSuite() {
        EXPECT_GT(inAll.identical, 0U);
        EXPECT_GT(inAll.differing, 0U);
        EXPECT_GT(inAll.onlyIn1, 0U);
        EXPECT_GT(inAll.onlyIn2, 0U);
    }
    static void Add(const Opinion& opinion) {
        inAll.identical += opinion.identical;
        inAll.differing += opinion.differing;
        inAll.onlyIn1 += opinion.onlyIn1;
        inAll.onlyIn2 += opinion.onlyIn2;
    }
    static inline Opinion inAll;

    const unsigned seed_ = GetParam();
    std::mt19937 random_;
    std::vector<OpinionTable> tables_;
};

TEST_P(SecondOpinion, CountsTheSameAndFindsNothingLeft) {
    SCOPED_TRACE("QUILLON_TEST_SEED=" + std::to_string(seed_));
    std::vector<Rows> rows[2];
    for (const OpinionTable& table : tables_) {
        Rows sides[2];
        MakeRows(table, sides);
        rows[0].push_back(sides[0]);
        rows[1].push_back(sides[1]);
    }
    sandbox::Server* const servers[] = {&server, &server2};
    for (std::size_t side = 0; side < 2; ++side) {
        servers[side]->Run(Schema(side));
        Fill(*servers[side], rows[side]);
    }
    one = MakeDatabase(server, u"opinion");
    two = MakeDatabase(server2, u"opinion");

    std::vector<DirectTable> list;
    for (const OpinionTable& table : tables_)
        list.push_back({{u"dbo", table.name}, {}, {}, {}});
    scripted.guard = seed_ % 2 == 0;
    DirectScriptWriter writer(*two, scripted);
    sink.Difference = [&](const DirectDifference& difference, bool&) { writer.Add(difference); };
    const auto results = CompareDirectly(*one, *two, list, options, sink);
    for (std::size_t t = 0; t < tables_.size(); ++t) {
        SCOPED_TRACE(ToUtf8(CreateTable(tables_[t], 0) + CreateTable(tables_[t], 1)));
        ASSERT_TRUE(results[t].complete) << ToUtf8(results[t].error->Description());
        EXPECT_TRUE(results[t].shape.omitted.empty());
        const bool keyed = tables_[t].key != OpinionKey::None;
        EXPECT_EQ(results[t].shape.key.empty(), !keyed);
        const Opinion opinion = Count(Read(server, tables_[t]), Read(server2, tables_[t]), keyed);
        Add(opinion);
        EXPECT_EQ(results[t].identical, opinion.identical);
        EXPECT_EQ(results[t].differing, opinion.differing);
        EXPECT_EQ(results[t].onlyIn1, opinion.onlyIn1);
        EXPECT_EQ(results[t].onlyIn2, opinion.onlyIn2);
    }

    std::u16string script;
    writer.Write(results, [&](std::u16string_view piece) { script += piece; });
    EXPECT_EQ(Run(script), Texts{}) << ToUtf8(script.substr(0, 20000));
    for (const OpinionTable& table : tables_) {
        EXPECT_EQ(Read(server, table), Read(server2, table))
            << ToUtf8(CreateTable(table, 1) + script.substr(0, 20000));
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, SecondOpinion, ::testing::ValuesIn(Seeds(32)));

}  // namespace
}  // namespace QuillonLib
