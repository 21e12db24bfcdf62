// What a database holds, as one session sees it. The truth lives in tables inside the database's
// own file, so it rolls back with everything else; objects are read when they are first asked for
// and kept until the catalog's version moves.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "sandbox/Backend.h"
#include "sandbox/engine/storage/Host.h"
#include "sandbox/engine/storage/Storage.h"
#include "sandbox/engine/syntax/Ast.h"

namespace sandbox::engine {

struct ColumnMeta {
    int id = 0;
    std::u16string name;
    SqlType type;
    int userType = 0;
    bool nullable = true;
    bool identity = false;
    std::int64_t seed = 1, increment = 1;
    bool computed = false, persisted = false, rowGuid = false;
    std::u16string text;  // computed: the expression
    int defaultId = 0;
    std::u16string defaultText;
    int generated = 0;  // 1 ROW START, 2 ROW END of the period

    std::string Sql() const { return "c" + std::to_string(id); }
};

struct IndexColumn {
    int columnId = 0;
    bool descending = false;
    bool included = false;
};

struct IndexMeta {
    int id = 0;
    std::u16string name;
    bool clustered = false, unique = false, primaryKey = false, uniqueConstraint = false;
    std::u16string filter;          // as the catalog tells it; empty: none
    bool ignoreDuplicates = false;  // IGNORE_DUP_KEY
    std::vector<IndexColumn> columns;
};

struct ForeignKeyMeta {
    int id = 0;
    std::u16string name;
    int childId = 0, parentId = 0;
    std::vector<std::pair<int, int>> columns;  // child column, parent column
    int onDelete = 0, onUpdate = 0;            // 0 no action, 1 cascade, 2 set null, 3 set default
    bool disabled = false, notTrusted = false;
};

struct CheckMeta {
    int id = 0;
    std::u16string name, text;
    int columnId = 0;
    bool disabled = false, notTrusted = false;
};

struct TableMeta {
    int id = 0;
    int schemaId = 1;
    std::u16string schema, name;
    char16_t type = u'U';  // U, V
    std::string storage;   // SQLite table of a U
    std::u16string text;   // CREATE VIEW
    bool schemaBound = false;
    int historyId = 0;  // the table that keeps old rows of this one
    int historyOf = 0;  // the table whose old rows these are
    std::vector<ColumnMeta> columns;
    std::vector<IndexMeta> indexes;
    std::vector<ForeignKeyMeta> foreignKeys;  // of this table
    std::vector<ForeignKeyMeta> references;   // of other tables to this one
    std::vector<CheckMeta> checks;

    const ColumnMeta* Find(std::u16string_view column) const;
    const ColumnMeta* FindById(int column) const;
    const ColumnMeta* Identity() const;
    std::u16string FullName() const { return schema + u"." + name; }
};
using TablePtr = std::shared_ptr<const TableMeta>;

struct ProcedureMeta {
    int id = 0;
    std::u16string schema, name, text;
    std::shared_ptr<CreateProcedureStmt> definition;
};
using ProcedurePtr = std::shared_ptr<const ProcedureMeta>;

// A row of the object table.
struct ObjectMeta {
    int id = 0, schemaId = 1, parentId = 0;
    std::u16string name;
    std::u16string type;  // "U", "V", "P", "PK", "UQ", "F", "C", "D", "S"
    bool shipped = false, disabled = false, notTrusted = false;
    int onDelete = 0, onUpdate = 0;
    bool schemaBound = false;
};

class Catalog {
  public:
    Catalog(Store& store, DatabasePtr file) : store_(store), file_(std::move(file)) {}

    const DatabasePtr& File() const { return file_; }
    std::string Prefix() const { return file_->Alias() + "."; }

    // Creates the catalog's tables in a fresh file; in the transaction that is open, or in its own.
    void Create(bool inTransaction = false);
    // Whether they are there: a rollback takes them, too.
    bool IsThere();
    // Drops what it kept when another session has changed the catalog. Returns true when it did.
    bool Refresh();
    // To be called after every change of the catalog.
    void Changed();
    // Forgets everything (after a rollback).
    void Forget();
    std::uint64_t Generation() const { return generation_; }

    std::optional<int> SchemaId(std::u16string_view name);
    std::u16string SchemaName(int id);
    std::optional<ObjectMeta> Find(std::u16string_view schema, std::u16string_view name);
    std::optional<ObjectMeta> FindById(int id);
    TablePtr Table(int id);
    ProcedurePtr Procedure(int id);
    // Ids of the tables or views that depend on an object.
    std::vector<int> Dependents(int id);

    // Names a database's objects are looked up in when no schema is given.
    static constexpr std::u16string_view kDefaultSchema = u"dbo";

  private:
    void LoadColumns(TableMeta& table);
    void LoadIndexes(TableMeta& table);
    void LoadConstraints(TableMeta& table);
    std::vector<ForeignKeyMeta> LoadForeignKeys(const char* column, int id);

    Store& store_;
    DatabasePtr file_;
    std::int64_t version_ = -1;
    std::uint64_t generation_ = 0;
    std::unordered_map<std::u16string, std::optional<ObjectMeta>> byName_;
    std::unordered_map<int, std::optional<ObjectMeta>> byId_;
    std::unordered_map<int, TablePtr> tables_;
    std::unordered_map<int, ProcedurePtr> procedures_;
    std::unordered_map<std::u16string, std::optional<int>> schemas_;
};

// Object types of the two generations of catalogs: "U " and USER_TABLE.
std::u16string_view TypeDescription(std::u16string_view type);

}  // namespace sandbox::engine
