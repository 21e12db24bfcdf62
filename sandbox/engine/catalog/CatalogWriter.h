// Writes into the catalog's tables. Each function leaves the rows of one object complete.
#pragma once

#include "sandbox/engine/catalog/Catalog.h"
#include "sandbox/engine/catalog/Context.h"

namespace sandbox::engine {

struct NewObject {
    int id = 0;
    int schemaId = 1;
    std::u16string name;
    std::u16string type;
    int parentId = 0;
    std::u16string text;
    std::string storage;
    bool disabled = false, notTrusted = false, bound = false, autoNamed = false;
    int referencedId = 0;
    int onDelete = 0, onUpdate = 0;
    int columnId = 0;
    int indexId = 0;
};

class CatalogWriter {
  public:
    CatalogWriter(Context& context, Catalog& catalog) : context_(context), catalog_(catalog) {}

    // Throws 2714 when the name is taken.
    void CheckName(const std::u16string& name, int schemaId);
    void AddObject(const NewObject& object);
    void AddSchema(std::u16string_view name);
    // And the schema of its name. `login` empty: of none.
    void AddUser(std::u16string_view name, std::u16string_view login);
    void AddColumn(int table, const ColumnMeta& column);
    void AddIndex(int table, const IndexMeta& index);
    void AddForeignKeyColumns(int constraint, int table, int referenced,
                              const std::vector<std::pair<int, int>>& columns);
    void AddDependency(int id, int on);
    void LinkHistory(int table, int history);
    void RemoveObject(int id);  // and its columns, indexes, constraints, dependencies
    void RemoveColumns(int table);
    void RemoveIndex(int table, int index);

    // "PK__customers__1A2B3C4D"
    std::u16string AutoName(std::u16string_view prefix, std::u16string_view table, int id);

  private:
    static constexpr int kClusteredIndex = 1;

    Statement& Cached(const char* sql);
    void AddHeap(int object);  // of a table; nothing for other objects

    Context& context_;
    Catalog& catalog_;
};

}  // namespace sandbox::engine
