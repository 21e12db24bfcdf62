// The comparison of one table, and what its columns are said to be.
#pragma once

#include <string>

#include "ComparisonFixture.h"

namespace QuillonLib {

class TableComparisonFixture : public ComparisonFixture {
  protected:
    static constexpr const char16_t* Keyed =
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, a int NOT NULL, "
        u"b nvarchar(10) NULL)";

    static const ColumnObject& Column(const TableDifference& result, const char16_t* name) {
        return *result.Columns()->Item(name);
    }

    // The names of all columns, of those of the key, and of those that are marked as not compared.
    static Texts Names(const TableDifference& result) {
        return NamesWhere(result, [](const ColumnObject&) { return true; });
    }
    static Texts KeyColumns(const TableDifference& result) {
        return NamesWhere(result, [](const ColumnObject& column) { return column.PrimaryKey(); });
    }
    static Texts Uncompared(const TableDifference& result) {
        return NamesWhere(result,
                          [](const ColumnObject& column) { return column.CannotCompare(); });
    }

  private:
    template <class Condition>
    static Texts NamesWhere(const TableDifference& result, const Condition& holds) {
        Texts names;
        for (const auto& column : *result.Columns()) {
            if (holds(*column)) names.push_back(column->Name());
        }
        return names;
    }
};

}  // namespace QuillonLib
