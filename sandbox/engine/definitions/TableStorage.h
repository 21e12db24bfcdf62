// How a table lives in SQLite: its columns, its indexes, its triggers.
#pragma once

#include <string>

#include "sandbox/engine/catalog/Context.h"

namespace sandbox::engine {

// CREATE TABLE for a table's columns under its storage name.
std::string TableSql(Context& context, Catalog& catalog, const TableMeta& table);

// A unique index also keeps NULL unique: nullable key columns are indexed through an expression.
void CreateStorageIndex(Context& context, Catalog& catalog, const TableMeta& table,
                        const IndexMeta& index);
void DropStorageIndex(Context& context, Catalog& catalog, const TableMeta& table,
                      const IndexMeta& index);
// Behind an INSERT: the rows that indexes with IGNORE_DUP_KEY drop. Empty without such.
std::string IgnoredConflicts(const TableMeta& table);
// The unique index that SQLite's message ("o5.c1, o5.c2" or "index 'x'") speaks of.
const IndexMeta* FindViolatedIndex(const TableMeta& table, const std::string& detail);

// The triggers check CHECK constraints and note keys for foreign keys.
void DropTriggers(Store& store, Catalog& catalog, const TableMeta& table);
void CreateTriggers(Context& context, Catalog& catalog, const TableMeta& table);
void RebuildTriggers(Context& context, Catalog& catalog, int tableId);

// The expression of what the server writes into a column of a period: 1 its start, 2 its end.
std::u16string PeriodText(const ColumnMeta& column, int generated);

// An expression over the columns of a table, for generated columns and CHECK. `alias` ("NEW.") goes
// before each column; `condition`: a truth value.
std::string TableExpression(Context& context, const TableMeta& table, std::u16string_view text,
                            const std::string& alias, bool condition, SqlType* type,
                            bool* nullable);

}  // namespace sandbox::engine
