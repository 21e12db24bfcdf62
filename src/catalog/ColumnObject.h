// One column of a table or view, and the collection of them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/Export.h"
#include "core/ObjectCollection.h"

namespace QuillonLib {

// The catalog of a Database fills only Name and Computed; a comparison fills the rest for the
// columns of its results. PrimaryKey and CannotCompare are the caller's to change.
class QUILLON_API ColumnObject {
  public:
    const std::u16string& Name() const { return name_; }

    // Part of the key by which rows are matched.
    bool PrimaryKey() const { return primaryKey_; }
    void PrimaryKey(bool value) { primaryKey_ = value; }

    // The values are not compared. A key column takes part in a comparison all the same.
    bool CannotCompare() const { return cannotCompare_; }
    void CannotCompare(bool value) { cannotCompare_ = value; }

    // The server's name of the type, in lower case as the server gives it. For a column of a
    // user-defined type it is the name of the base type.
    const std::u16string& DataType() const { return dataType_; }
    // In characters for nchar and nvarchar, else in bytes; -1 for the max types.
    std::int32_t Length() const { return length_; }
    bool Computed() const { return computed_; }
    std::int32_t NumericScale() const { return numericScale_; }
    std::int32_t NumericPrecision() const { return numericPrecision_; }
    bool AllowNulls() const { return allowNulls_; }

  private:
    friend struct CatalogBuilder;

    std::u16string name_;
    std::u16string dataType_;
    std::int32_t length_ = 0;
    std::int32_t numericScale_ = 0;
    std::int32_t numericPrecision_ = 0;
    bool primaryKey_ = false;
    bool cannotCompare_ = false;
    bool computed_ = false;
    bool allowNulls_ = false;
};

// Columns by name, in the order of the catalog.
class QUILLON_API ColumnObjects : public ObjectCollection<ColumnObject> {
  public:
    // "[a], [b], [c]": every column that is compared or belongs to the key. Names are bracketed
    // as they stand; empty when no column qualifies.
    std::u16string ColumnList() const;

  private:
    friend struct CatalogBuilder;
    std::shared_ptr<ColumnObject> AddColumn(std::u16string_view vKey);
};

}  // namespace QuillonLib
