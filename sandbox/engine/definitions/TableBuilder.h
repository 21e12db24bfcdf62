// CREATE TABLE and ALTER TABLE: columns and constraints, in the catalog and in SQLite.
#pragma once

#include <string>
#include <vector>

#include "sandbox/engine/catalog/CatalogWriter.h"
#include "sandbox/engine/catalog/Context.h"
#include "sandbox/engine/syntax/Ast.h"

namespace sandbox::engine {

inline bool IsKey(const ConstraintDef& c) {
    return c.kind == ConstraintDef::Kind::PrimaryKey || c.kind == ConstraintDef::Kind::Unique;
}

class TableBuilder {
  public:
    TableBuilder(Context& context, Catalog& catalog)
        : context_(context), catalog_(catalog), writer_(context, catalog) {}

    void Create(const CreateTableStmt& stmt, int schemaId) {
        Create(stmt, schemaId, stmt.table.name);
    }
    void Create(const CreateTableStmt& stmt, int schemaId, const std::u16string& name);
    // ALTER TABLE; `table` is read again after each step.
    void Add(int table, const AlterTableStmt& stmt);
    void AlterColumn(int table, const AlterTableStmt& stmt);
    void DropColumns(int table, const AlterTableStmt& stmt);
    void DropConstraints(int table, const AlterTableStmt& stmt);
    void Enable(int table, const AlterTableStmt& stmt);
    void AddIndex(const TableMeta& table, IndexMeta index);
    void Drop(const TableMeta& table);

  private:
    CollationId CollationOfColumn(const ColumnDef& def, const SqlType& type) const;
    void CheckPeriod(const CreateTableStmt& stmt, const TableMeta& table) const;
    void Store(const TableMeta& table);
    void CreateHistory(const CreateTableStmt& stmt, const TableMeta& table);
    ColumnMeta MakeColumn(const ColumnDef& def, int id, const TableMeta& table);
    void AddConstraint(int table, const ConstraintDef& def, const std::u16string* column,
                       bool check);
    void AddKey(const TableMeta& table, const ConstraintDef& def);
    void AddForeignKey(const TableMeta& table, const ConstraintDef& def,
                       const std::u16string* column, bool check);
    void AddCheck(const TableMeta& table, const ConstraintDef& def, const std::u16string* column,
                  bool check);
    void AddDefault(const TableMeta& table, const ConstraintDef& def);
    std::u16string ConstraintName(const ConstraintDef& def, std::u16string_view prefix,
                                  const TableMeta& table, int id);
    // Writes new columns: a new SQLite table, the rows copied. `values` gives the SQL for each
    // column.
    void Rebuild(const TableMeta& before, std::vector<ColumnMeta> columns,
                 const std::vector<std::string>& values);
    void ValidateForeignKey(const TableMeta& table, const ForeignKeyMeta& key);
    void ValidateCheck(const TableMeta& table, const CheckMeta& check);
    void SetState(int constraint, bool disabled, bool notTrusted);
    int NextIndexId(const TableMeta& table, bool clustered);
    TablePtr Reload(int table);

    Context& context_;
    Catalog& catalog_;
    CatalogWriter writer_;
};

}  // namespace sandbox::engine
