// The result of comparing one table, and the collection of them that a comparison returns.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "catalog/ColumnObject.h"
#include "core/Export.h"
#include "core/ObjectCollection.h"

namespace QuillonLib {

struct SideColumns;

// A table that failed has the fields set as far as the comparison came, and Error.
class QUILLON_API TableDifference {
  public:
    // The columns that both databases have, with their flags. Never null.
    std::shared_ptr<ColumnObjects> Columns() const { return columns_; }
    // The table entry, "[owner].[name]".
    const std::u16string& Name() const { return name_; }
    // A key was found to match rows by. Without one only the row counts of each side are known.
    bool HasPrimaryKey() const { return hasPrimaryKey_; }
    // A common column cannot be compared for its type or because it is computed.
    bool HasDodgyColumns() const { return hasDodgyColumns_; }
    // Both row counts equal that of the union.
    bool Identical() const { return identical_; }
    std::int32_t RecordsIn1() const { return recordsIn1_; }
    std::int32_t RecordsIn2() const { return recordsIn2_; }
    // Distinct rows, over the compared columns, in both tables together.
    std::int32_t RecordsInUnion() const { return recordsInUnion_; }
    // Rows that match on the key but differ in a compared column.
    std::int32_t RecordsDiffering() const { return recordsDiffering_; }
    // A common column is an identity column in database 1.
    bool HasIdentity() const { return hasIdentity_; }
    // "Error comparing " and the cause, when the table failed; else empty.
    const std::u16string& Error() const { return error_; }
    // A view in either database.
    bool IsView() const { return isView_; }

  private:
    friend class TableComparison;
    friend struct SideColumns;

    void SetName(std::u16string_view value) { name_ = value; }
    void SetHasPrimaryKey(bool value) { hasPrimaryKey_ = value; }
    void SetHasDodgyColumns(bool value) { hasDodgyColumns_ = value; }
    void SetIdentical(bool value) { identical_ = value; }
    void SetRecordsIn1(std::int32_t value) { recordsIn1_ = value; }
    void SetRecordsIn2(std::int32_t value) { recordsIn2_ = value; }
    void SetRecordsInUnion(std::int32_t value) { recordsInUnion_ = value; }
    void SetRecordsDiffering(std::int32_t value) { recordsDiffering_ = value; }
    void SetHasIdentity(bool value) { hasIdentity_ = value; }
    void SetError(std::u16string_view value) { error_ = value; }
    void SetIsView(bool value) { isView_ = value; }

    std::shared_ptr<ColumnObjects> columns_ = std::make_shared<ColumnObjects>();
    std::u16string name_;
    bool hasDodgyColumns_ = false;
    bool hasPrimaryKey_ = false;
    std::int32_t recordsIn1_ = 0;
    std::int32_t recordsIn2_ = 0;
    bool identical_ = false;
    std::int32_t recordsInUnion_ = 0;
    std::int32_t recordsDiffering_ = 0;
    bool hasIdentity_ = false;
    std::u16string error_;
    bool isView_ = false;
    std::shared_ptr<const SideColumns> sides_;
};

// Results in the order of the table list; the key of each is its table entry.
class QUILLON_API TableDifferences : public ObjectCollection<TableDifference> {
  public:
    // A new, empty result. Error 457 when the key is taken.
    std::shared_ptr<TableDifference> Add() { return AddItem(std::make_shared<TableDifference>()); }
    std::shared_ptr<TableDifference> Add(std::u16string_view vKey) {
        return AddItem(std::make_shared<TableDifference>(), vKey);
    }
    // Error 5 when absent.
    void Remove(std::u16string_view vKey) { RemoveItem(vKey); }
    void Remove(std::int64_t vPosition) { RemoveItem(vPosition); }
};

}  // namespace QuillonLib
