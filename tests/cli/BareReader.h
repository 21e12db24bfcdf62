// Rows read through the bare driver, with nothing of the library in between.
#pragma once

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/BareLink.h"

namespace quillon {

using BareRow = std::vector<std::optional<std::u16string>>;

// One connection. Every cell comes as the text that the driver makes of it; NULL is nothing.
class BareReader {
  public:
    explicit BareReader(const std::u16string& connectionString) : link_(connectionString) {}

    // Sorted.
    std::vector<BareRow> Read(const std::u16string& query) {
        std::vector<BareRow> rows;
        link_.ForEachRow(query, [&](SQLHSTMT statement, SQLUSMALLINT columns) {
            BareRow& row = rows.emplace_back();
            for (SQLUSMALLINT column = 1; column <= columns; ++column)
                row.push_back(Cell(statement, column));
        });
        std::sort(rows.begin(), rows.end());
        return rows;
    }

  private:
    static std::optional<std::u16string> Cell(SQLHSTMT statement, SQLUSMALLINT column) {
        char16_t text[2048];
        SQLLEN bytes = 0;
        QuillonLib::test::BareLink::Check(
            SQLGetData(statement, column, SQL_C_WCHAR, text, sizeof text, &bytes), SQL_HANDLE_STMT,
            statement);
        if (bytes == SQL_NULL_DATA) return std::nullopt;
        if (bytes < 0 || static_cast<std::size_t>(bytes) >= sizeof text) {
            throw std::runtime_error("a value is too long");
        }
        return std::u16string(text, static_cast<std::size_t>(bytes) / sizeof(char16_t));
    }

    QuillonLib::test::BareLink link_;
};

}  // namespace quillon
