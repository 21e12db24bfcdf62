// Databases that drift apart at random, in their schema and in their rows, and what an independent
// reading of them finds.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonLib.h"
#include "tests/cli/BareReader.h"

namespace quillon::worlds {

using QuillonLib::FromUtf8;
using QuillonLib::ToUtf8;

inline std::uint32_t FromEnvironment(const char* name, std::uint32_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise
                           : static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10));
}

struct Column {
    std::string name;
    std::string type;   // as in CREATE TABLE, or "AS ..."
    bool text = false;  // compared as the server compares text
    bool compared = true;
    bool written = true;
};

// One table as one side has it.
struct Table {
    bool exists = true;
    std::vector<Column> columns;  // the first is "id"
    enum class Key { Named, Unnamed, OtherName, UniqueConstraint, None } key = Key::Named;
    int parent = -1;

    bool HasPrimaryKey() const {
        return key == Key::Named || key == Key::Unnamed || key == Key::OtherName;
    }
    const Column* Find(const std::string& name) const {
        for (const Column& column : columns) {
            if (column.name == name) return &column;
        }
        return nullptr;
    }
};

struct World {
    std::vector<Table> sides[2];  // the same number of tables, by the same names
};

inline std::string NameOf(std::size_t table) {
    return "t" + std::to_string(table);
}

class Generator {
  public:
    explicit Generator(std::uint32_t seed) : random_(seed) {}

    World Make() {
        World world;
        const bool schemaDrifts = Chance(60);
        const int count = 1 + Below(5);
        for (int i = 0; i < count; ++i) {
            Table table = MakeTable(count);
            world.sides[0].push_back(table);
            world.sides[1].push_back(schemaDrifts ? Drifted(std::move(table)) : std::move(table));
        }
        if (!Chance(60)) rowsSeed_ = static_cast<std::uint32_t>(random_());
        return world;
    }

    // Creates and fills the tables of one side.
    std::u16string ScriptOf(const std::vector<Table>& tables, const std::string& database) {
        std::string sql = "CREATE DATABASE " + database + "\nGO\nUSE " + database + "\nGO\n";
        const bool shiftNames = Chance(50);
        if (rowsSeed_ != 0) random_.seed(rowsSeed_);
        // Names that the server makes up differ between databases, as they do in real pairs.
        if (shiftNames)
            sql += "CREATE TABLE filler (a int NOT NULL PRIMARY KEY)\nGO\nDROP TABLE filler\nGO\n";
        for (std::size_t i = 0; i < tables.size(); ++i) {
            if (tables[i].exists) sql += Definition(tables[i], NameOf(i));
        }
        std::vector<std::vector<int>> ids(tables.size());
        for (std::size_t i = 0; i < tables.size(); ++i) {
            if (tables[i].exists) sql += Rows(tables[i], NameOf(i), ids[i]);
        }
        for (std::size_t i = 0; i < tables.size(); ++i)
            sql += References(tables, i, ids);
        return FromUtf8(sql);
    }

    bool Chance(int percent) { return Below(100) < percent; }

  private:
    int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

    Table MakeTable(int count) {
        Table table;
        table.columns.push_back({"id", "int NOT NULL"});
        if (Chance(80)) table.columns.push_back({"n", "nvarchar(12) NULL", true});
        if (Chance(50)) table.columns.push_back({"i", "int NULL"});
        if (Chance(30)) table.columns.push_back({"v", "varchar(10) NULL", true});
        if (Chance(15)) table.columns.push_back({"doc", "ntext NULL", false, false});
        if (Chance(15)) table.columns.push_back({"x", "xml NULL", false, false});
        if (Chance(15)) table.columns.push_back({"ver", "timestamp", false, false, false});
        if (Chance(15)) table.columns.push_back({"comp", "AS id * 2", false, false, false});
        const int key = Below(10);
        table.key = key < 4   ? Table::Key::Named
                    : key < 7 ? Table::Key::Unnamed
                    : key < 9 ? Table::Key::UniqueConstraint
                              : Table::Key::None;
        if (Chance(50)) {
            table.columns.push_back({"pid", "int NULL"});
            table.parent = Below(count);  // itself, one before, or one behind: cycles happen
        }
        return table;
    }

    Table Drifted(Table table) {
        if (Chance(8)) table.exists = false;
        if (Chance(10)) {
            table.columns.push_back({"extra", "int NULL"});
        } else if (Chance(10) && table.columns.size() > 1) {
            const std::size_t gone =
                1 + static_cast<std::size_t>(Below(static_cast<int>(table.columns.size()) - 1));
            if (table.columns[gone].name == "pid") table.parent = -1;
            table.columns.erase(table.columns.begin() + static_cast<std::ptrdiff_t>(gone));
        }
        for (Column& column : table.columns) {
            if (column.name == "n" && Chance(15)) column.type = "nvarchar(20) NULL";
        }
        if (table.key == Table::Key::Named && Chance(20)) table.key = Table::Key::OtherName;
        if (table.HasPrimaryKey() && Chance(8)) table.key = Table::Key::None;
        if (table.key == Table::Key::UniqueConstraint && Chance(25)) table.key = Table::Key::None;
        return table;
    }

    static std::string Definition(const Table& table, const std::string& name) {
        std::string sql = "CREATE TABLE " + name + " (";
        for (const Column& column : table.columns)
            sql += column.name + " " + column.type + ", ";
        switch (table.key) {
            case Table::Key::Named:
                return sql + "CONSTRAINT PK_" + name + " PRIMARY KEY (id))\nGO\n";
            case Table::Key::OtherName:
                return sql + "CONSTRAINT OTHER_" + name + " PRIMARY KEY (id))\nGO\n";
            case Table::Key::Unnamed:
                return sql + "PRIMARY KEY (id))\nGO\n";
            case Table::Key::UniqueConstraint:
                return sql + "CONSTRAINT UQ_" + name + " UNIQUE (id))\nGO\n";
            case Table::Key::None:
                break;
        }
        sql.resize(sql.size() - 2);
        return sql + ")\nGO\n";
    }

    std::string Rows(const Table& table, const std::string& name, std::vector<int>& ids) {
        std::string sql;
        const bool full = Chance(50);
        for (int id = 1; id <= 6; ++id) {
            if (!full && Chance(25)) continue;
            ids.push_back(id);
            std::string columns;
            std::string values;
            for (const Column& column : table.columns) {
                if (!column.written || column.name == "pid") continue;
                columns += (columns.empty() ? "" : ", ") + column.name;
                values += (values.empty() ? "" : ", ") + ValueOf(column, id);
            }
            sql += "INSERT " + name + " (" + columns + ") VALUES (" + values + ")\nGO\n";
        }
        return sql;
    }

    // Mostly the same on both sides.
    std::string ValueOf(const Column& column, int id) {
        if (column.name == "id") return std::to_string(id);
        const int choice = Chance(70) ? id : Below(8);
        if (choice == 0) return "NULL";
        if (column.name == "x") return "N'<a>" + std::to_string(choice) + "</a>'";
        if (column.name == "i" || column.name == "extra") return std::to_string(choice * 10);
        const char* const texts[] = {"", "one", "two", "three", "ONE", "two  ", "it''s", "NULL"};
        return std::string("N'") + texts[choice % 8] + "'";
    }

    std::string References(const std::vector<Table>& tables, std::size_t number,
                           const std::vector<std::vector<int>>& ids) {
        const Table& table = tables[number];
        if (!table.exists || table.parent < 0) return {};
        const auto parent = static_cast<std::size_t>(table.parent);
        if (!tables[parent].exists || tables[parent].key == Table::Key::None) return {};
        std::string sql;
        for (const int id : ids[number]) {
            if (ids[parent].empty() || Chance(40)) continue;
            const int target =
                ids[parent][static_cast<std::size_t>(Below(static_cast<int>(ids[parent].size())))];
            sql += "UPDATE " + NameOf(number) + " SET pid = " + std::to_string(target) +
                   " WHERE id = " + std::to_string(id) + "\nGO\n";
        }
        return sql + "ALTER TABLE " + NameOf(number) + " ADD CONSTRAINT FK_" + NameOf(number) +
               " FOREIGN KEY (pid) REFERENCES " + NameOf(parent) + " (id)\nGO\n";
    }

    std::mt19937 random_;
    std::uint32_t rowsSeed_ = 0;  // of both sides, where their rows are the same
};

// The rows of one table on one side.
using Rows = std::vector<BareRow>;

struct Contents {
    std::map<std::string, Rows> tables;
};

inline std::u16string ColumnList(const Table& table) {
    std::u16string list;
    for (const Column& column : table.columns)
        list += (list.empty() ? u"" : u", ") + FromUtf8(column.name);
    return list;
}

inline Contents ReadAll(const std::vector<Table>& tables, const std::u16string& server,
                        const std::u16string& database) {
    BareReader reader(u"driver={SQL Server};server=" + server + u";database=" + database +
                      u";uid=sa;pwd=sandbox;TDS_Version=7.4");
    Contents contents;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (!tables[i].exists) continue;
        contents.tables[NameOf(i)] =
            reader.Read(u"SELECT " + ColumnList(tables[i]) + u" FROM dbo." + FromUtf8(NameOf(i)));
    }
    return contents;
}

inline std::optional<std::u16string> CellOf(const Table& table, const BareRow& row,
                                            const std::string& name) {
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        if (table.columns[i].name == name) return row[i];
    }
    ADD_FAILURE() << name;
    return std::nullopt;
}

// The cells of a table's line, without the table.
inline std::vector<std::string> LineOf(const std::string& out, const std::string& name) {
    const std::string begin = "\n[dbo].[" + name + "] ";
    const std::size_t at = out.find(begin);
    if (at == std::string::npos) return {};
    std::istringstream line(
        out.substr(at + begin.size(), out.find('\n', at + 1) - at - begin.size()));
    std::vector<std::string> cells;
    for (std::string cell; line >> cell;)
        cells.push_back(cell);
    return cells;
}

}  // namespace quillon::worlds
