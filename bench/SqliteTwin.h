// The rows of the benchmarks' tables in an SQLite file, for the tools that compare such files.
#pragma once

#include <sqlite3.h>

#include <string>

namespace bench {

// Makes a new file with table t of so many rows. `amount`: the expression of the column Amount, and
// `condition`: which rows there are, both over the row's number i. False where it cannot be made.
inline bool FillSqliteTwin(const std::string& file, std::size_t rows, const std::string& amount,
                           const std::string& condition = "1") {
    const std::string fill =
        "CREATE TABLE t (Id INTEGER PRIMARY KEY, Serial, Name, Code, Changed, Amount, Active, "
        "Ratio); WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < " +
        std::to_string(rows) +
        ") INSERT INTO t SELECT i, i * 1000003, CASE WHEN i % 16 < 15 THEN substr('João "
        "O''Neill-Łuczak 中文 Holding & Sons, Ltd.', 1 + i % 8, 16 + i % 16) END, "
        "substr('AB-1234/5678-XYZ-0001', 1, 10 + i % 10), datetime(1000000000 + i * 26, "
        "'unixepoch'), " +
        amount + ", i & 1, i / 7.0 FROM n WHERE " + condition;
    sqlite3* database = nullptr;
    const bool filled =
        sqlite3_open(file.c_str(), &database) == SQLITE_OK &&
        sqlite3_exec(database, fill.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(database);
    return filled;
}

}  // namespace bench
