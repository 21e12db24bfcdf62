#include "cli/DemoData.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <stdexcept>
#include <vector>

#include "core/Text.h"

namespace quillon {

namespace {

using Json = nlohmann::json;

// One table's rows: texts, or nothing for NULL, in the order of the columns.
using Row = std::vector<std::optional<std::string>>;

struct Table {
    std::string name;
    std::string columns;  // as CREATE TABLE takes them
    std::vector<Row> rows;

    Row* Find(const std::string& key) {
        const auto found =
            std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row[0] == key; });
        return found == rows.end() ? nullptr : &*found;
    }
    template <typename Condition>
    void RemoveIf(Condition condition) {
        std::erase_if(rows, [&](const Row& row) { return condition(*row[0]); });
    }
};

Json ReadJson(const std::string& folder, const std::string& standard) {
    const std::string path = folder + "/iso_" + standard + ".json";
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot read " + path + " (Debian's package iso-codes)");
    return Json::parse(file).at(standard);
}

std::vector<Row> Rows(const std::string& folder, const std::string& standard,
                      const std::vector<std::string>& fields) {
    std::vector<Row> rows;
    for (const Json& entry : ReadJson(folder, standard)) {
        Row row;
        for (const std::string& field : fields) {
            const bool known = entry.contains(field);
            row.push_back(known ? std::optional(entry[field].get<std::string>()) : std::nullopt);
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

struct World {
    Table country{
        "country",
        "alpha_2 char(2) NOT NULL CONSTRAINT PK_country PRIMARY KEY, "
        "alpha_3 char(3) NOT NULL CONSTRAINT UQ_country UNIQUE, numeric_code char(3) NOT NULL, "
        "name nvarchar(100) NOT NULL, official_name nvarchar(100) NULL, "
        "common_name nvarchar(100) NULL, flag nvarchar(4) NULL",
        {}};
    Table subdivision{"subdivision",
                      "code varchar(6) NOT NULL CONSTRAINT PK_subdivision PRIMARY KEY, "
                      "country char(2) NOT NULL CONSTRAINT FK_subdivision_country REFERENCES "
                      "country (alpha_2), name nvarchar(100) NOT NULL, "
                      "type nvarchar(60) NOT NULL, parent varchar(6) NULL",
                      {}};
    Table currency{"currency",
                   "alpha_3 char(3) NOT NULL CONSTRAINT PK_currency PRIMARY KEY, "
                   "name nvarchar(100) NOT NULL, numeric_code char(3) NULL",
                   {}};
    Table script{"script",
                 "alpha_4 char(4) NOT NULL CONSTRAINT PK_script PRIMARY KEY, "
                 "name nvarchar(100) NOT NULL, numeric_code char(3) NULL",
                 {}};
    Table language{"language",
                   "alpha_3 char(3) NOT NULL CONSTRAINT PK_language PRIMARY KEY, "
                   "name nvarchar(100) NOT NULL, scope char(1) NULL, type char(1) NULL, "
                   "inverted_name nvarchar(100) NULL, alpha_2 char(2) NULL",
                   {}};
};

World ReadWorld(const std::string& folder) {
    World world;
    world.country.rows =
        Rows(folder, "3166-1",
             {"alpha_2", "alpha_3", "numeric", "name", "official_name", "common_name", "flag"});
    for (Row& row : Rows(folder, "3166-2", {"code", "name", "type", "parent"})) {
        const std::string country = row[0]->substr(0, 2);
        world.subdivision.rows.push_back({row[0], country, row[1], row[2], row[3]});
    }
    world.currency.rows = Rows(folder, "4217", {"alpha_3", "name", "numeric"});
    world.script.rows = Rows(folder, "15924", {"alpha_4", "name", "numeric"});
    world.language.rows =
        Rows(folder, "639-3", {"alpha_3", "name", "scope", "type", "inverted_name", "alpha_2"});
    return world;
}

void Rename(Table& table, const std::string& key, std::size_t column, const std::string& value) {
    if (Row* row = table.Find(key)) (*row)[column] = value;
}

// Takes the changes of the last years back.
World Earlier(World world) {
    constexpr std::size_t Name = 3;
    constexpr std::size_t OfficialName = 4;
    Rename(world.country, "TR", Name, "Turkey");  // until 2022
    Rename(world.country, "TR", OfficialName, "Republic of Turkey");
    Rename(world.country, "MK", Name, "Macedonia, the former Yugoslav Republic of");  // 2019
    Rename(world.country, "SZ", Name, "Swaziland");                                   // 2018
    Rename(world.country, "SZ", OfficialName, "Kingdom of Swaziland");
    Rename(world.country, "CV", Name, "Cape Verde");  // 2013
    // South Sudan came in 2011; in 2010 the Netherlands Antilles became three.
    const std::set<std::string> later{"SS", "BQ", "CW", "SX"};
    world.country.RemoveIf([&](const std::string& code) { return later.contains(code); });
    world.subdivision.RemoveIf(
        [&](const std::string& code) { return later.contains(code.substr(0, 2)); });
    world.country.rows.push_back({"AN", "ANT", "530", "Netherlands Antilles", std::nullopt,
                                  std::nullopt, "\U0001F1E6\U0001F1F3"});
    // Norway before its reform of 2020.
    world.subdivision.RemoveIf(
        [](const std::string& code) { return code == "NO-34" || code == "NO-42"; });
    for (const auto& [code, name] : std::map<std::string, std::string>{{"NO-04", "Hedmark"},
                                                                       {"NO-05", "Oppland"},
                                                                       {"NO-09", "Aust-Agder"},
                                                                       {"NO-10", "Vest-Agder"}}) {
        world.subdivision.rows.push_back({code, "NO", name, "County", std::nullopt});
    }
    // Currencies that were redenominated or replaced since 2015, and those they took over from.
    const std::set<std::string> newCurrencies{"SLE", "VED", "VES", "MRU", "STN", "BYN"};
    world.currency.RemoveIf([&](const std::string& code) { return newCurrencies.contains(code); });
    for (const Row& row : std::vector<Row>{{"LTL", "Lithuanian Litas", "440"},
                                           {"MRO", "Ouguiya", "478"},
                                           {"STD", "Dobra", "678"},
                                           {"BYR", "Belarussian Ruble", "974"}}) {
        if (world.currency.Find(*row[0]) == nullptr) world.currency.rows.push_back(row);
    }
    Rename(world.currency, "AZN", 1, "Azerbaijanian Manat");
    world.script.RemoveIf([](const std::string& code) { return code == "Kits" || code == "Zsye"; });
    // Moldavian was merged with Romanian in 2008.
    if (world.language.Find("mol") == nullptr) {
        world.language.rows.push_back({"mol", "Moldavian", "I", "L", std::nullopt, std::nullopt});
    }
    return world;
}

void AppendLiteral(std::u16string& sql, const std::optional<std::string>& text) {
    if (!text) {
        sql += u"NULL";
        return;
    }
    sql += u"N'";
    for (const char16_t unit : QuillonLib::FromUtf8(*text)) {
        if (unit == u'\'') sql += unit;
        sql += unit;
    }
    sql += u'\'';
}

void AppendTable(std::u16string& sql, const Table& table) {
    constexpr std::size_t RowsInStatement = 500;
    const std::u16string name = QuillonLib::FromUtf8(table.name);
    sql += u"CREATE TABLE " + name + u" (" + QuillonLib::FromUtf8(table.columns) + u")\nGO\n";
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
        const bool begins = i % RowsInStatement == 0;
        if (begins && i > 0) sql += u"\nGO\n";
        sql += begins ? u"INSERT INTO " + name + u" VALUES (" : std::u16string(u",\n(");
        for (std::size_t column = 0; column < table.rows[i].size(); ++column) {
            if (column > 0) sql += u", ";
            AppendLiteral(sql, table.rows[i][column]);
        }
        sql += u')';
    }
    sql += u"\nGO\n";
}

// An indexed view, a table without a key, and one with a column that servers cannot compare.
constexpr std::u16string_view Oddities =
    u"CREATE VIEW country_name WITH SCHEMABINDING AS SELECT alpha_2, name FROM dbo.country\nGO\n"
    u"CREATE UNIQUE CLUSTERED INDEX IX_country_name ON country_name (alpha_2)\nGO\n"
    u"CREATE TABLE import_log (standard nvarchar(20) NOT NULL, row_count int NOT NULL)\nGO\n"
    u"INSERT INTO import_log VALUES (N'ISO 3166-1', 249), (N'ISO 4217', 181)\nGO\n"
    u"CREATE TABLE source (standard varchar(10) NOT NULL CONSTRAINT PK_source PRIMARY KEY, "
    u"document xml NULL)\nGO\n"
    u"INSERT INTO source VALUES ('3166-1', N'<iso number=\"3166\" part=\"1\"/>')\nGO\n";

std::u16string ScriptOf(const std::u16string& database, const World& world) {
    std::u16string sql = u"CREATE DATABASE " + database + u"\nGO\nUSE " + database + u"\nGO\n";
    for (const Table* table :
         {&world.country, &world.subdivision, &world.currency, &world.script, &world.language}) {
        AppendTable(sql, *table);
    }
    return sql.append(Oddities);
}

}  // namespace

DemoScripts MakeDemoScripts(const std::string& folder) {
    const World world = ReadWorld(folder);
    return {ScriptOf(u"world", world), ScriptOf(u"world_stale", Earlier(world))};
}

}  // namespace quillon
