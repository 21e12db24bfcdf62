// The library's own way to fill catalog objects. Callers of the library see them read-only, so
// this header is not installed.
#pragma once

#include <memory>
#include <string_view>

#include "catalog/CatalogFacts.h"
#include "catalog/ColumnObject.h"
#include "catalog/Dependencies.h"
#include "catalog/IndexObject.h"
#include "catalog/TableObject.h"

namespace QuillonLib {

struct CatalogBuilder {
    // The catalog's own form of a column: name and computed flag only.
    static void AddCatalogColumn(ColumnObjects& columns, const ColumnFacts& facts);
    // A column with everything that comparisons and scripts need to know.
    static std::shared_ptr<ColumnObject> AddFullColumn(ColumnObjects& columns,
                                                       const ColumnFacts& facts);
    static void SetAllowNulls(ColumnObject& column, bool allowNulls) {
        column.allowNulls_ = allowNulls;
    }

    static void AddIndex(IndexObjects& indexes, const IndexFacts& facts);

    static std::shared_ptr<TableObject> AddTable(TableObjects& tables, const ObjectName& name,
                                                 bool isView, const LoginData& login,
                                                 std::u16string_view database);

    static void AddDependency(Dependencies& dependencies, std::u16string_view sName) {
        dependencies.AddDependency(sName);
    }
};

}  // namespace QuillonLib
