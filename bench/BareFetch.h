// A client with nothing between it and the driver: what a read costs at the least.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/BareLink.h"

namespace bench {

inline void Expect(SQLRETURN result, const char* what) {
    if (!SQL_SUCCEEDED(result)) throw std::runtime_error(std::string(what) + " failed");
}

inline SQLWCHAR* Wide(const std::u16string& text) {
    return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text.data()));
}

struct BareColumn {
    SQLSMALLINT cType;
    std::size_t width;  // bytes of a cell's buffer
};

// The columns of MixedRows, as a Recordset asks for them.
inline constexpr BareColumn MixedColumns[] = {
    {SQL_C_SLONG, 4},           {SQL_C_SBIGINT, 8}, {SQL_C_BINARY, 100}, {SQL_C_WCHAR, 42},
    {SQL_C_TYPE_TIMESTAMP, 16}, {SQL_C_CHAR, 48},   {SQL_C_BIT, 1},      {SQL_C_DOUBLE, 8}};

// One login. Asks for packets of the driver's own size unless `text` names another.
class BareConnection {
  public:
    explicit BareConnection(const std::u16string& text) : link_(text) {}

    // Fetches in blocks and forgets; returns the number of rows. `copies`: so often does each
    // column stand in the row set, one beside the other.
    std::size_t Fetch(const std::u16string& batch, std::span<const BareColumn> columns,
                      int copies = 1) {
        SQLHSTMT statement = nullptr;
        Expect(SQLAllocHandle(SQL_HANDLE_STMT, link_.Handle(), &statement), "statement");
        Expect(SQLExecDirectW(statement, Wide(batch), static_cast<SQLINTEGER>(batch.size())),
               "execute");
        SQLULEN fetched = 0;
        SQLSetStmtAttr(statement, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(BlockRows),
                       0);
        SQLSetStmtAttr(statement, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
        std::vector<std::unique_ptr<char[]>> cells;
        std::vector<std::vector<SQLLEN>> indicators;
        for (const BareColumn& column : columns) {
            for (int copy = 0; copy < copies; ++copy) {
                cells.push_back(std::make_unique<char[]>(column.width * BlockRows));
                indicators.emplace_back(BlockRows);
                Expect(SQLBindCol(statement, static_cast<SQLUSMALLINT>(cells.size()), column.cType,
                                  cells.back().get(), static_cast<SQLLEN>(column.width),
                                  indicators.back().data()),
                       "bind");
            }
        }
        std::size_t rows = 0;
        while (SQL_SUCCEEDED(SQLFetch(statement)))
            rows += fetched;
        SQLFreeHandle(SQL_HANDLE_STMT, statement);
        return rows;
    }

  private:
    static constexpr std::size_t BlockRows = 1024;

    QuillonLib::test::BareLink link_;
};

}  // namespace bench
