// Compares the rows of one table after the other. Not installed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "compare/Choices.h"
#include "compare/Events.h"
#include "compare/TableCatalog.h"
#include "compare/TableDifference.h"
#include "core/BoundedArray.h"
#include "data/Recordset.h"

namespace QuillonLib {

class Connection;
class Database;

// What one comparison run has opened, and how far it has come. One object serves every table of
// the run; its row sets are used again for each.
class TableComparison {
  public:
    // One of the two databases that are compared.
    struct Side {
        Database& obDB;
        std::shared_ptr<Connection> connection;
        TableCatalog catalog;
    };

    TableComparison(Side& side1, Side& side2, const Database& obDB3,
                    std::shared_ptr<Connection> connection3, const TextArray& sTables,
                    const IndexChoices& indexChoices, const ColumnChoices& columnChoices,
                    const Events& events);

    // Compares the entry at `index` of the list (counted from its lower bound) and adds its result
    // to `results`. Raises `Status` before the first and after every step.
    //
    // Throws the Error of whatever failed, with its number. From the moment at which the rows of
    // both sides have been counted its description is that of the result's `Error`; before that it
    // is error 3704, for the row sets that are closed on the way out are not open yet.
    void CompareTable(TableDifferences& results, std::int32_t index, bool& bCancel);

  private:
    struct Key;

    void Compare(TableDifference& result, const std::u16string& sTable, std::int32_t index,
                 bool& bCancel);
    Key ChooseKey(const ObjectFacts& table1, const ObjectFacts& table2, bool isView,
                  const std::u16string& sTable) const;
    void CollectColumns(TableDifference& result, const ObjectFacts& table1,
                        const ObjectFacts& table2, const Key& key,
                        const std::u16string& sTable) const;
    void CountSide(Recordset& counts, const Side& side, const std::u16string& sTable,
                   const std::u16string& name, bool& bCancel);
    void CompareRows(TableDifference& result, const std::u16string& sTable,
                     const std::u16string& columnList, const std::u16string& name, bool& bCancel);
    std::int32_t CountOnServer3(Recordset& counts, const std::u16string& sql);
    void RaiseStatus(const std::u16string& name, bool& bCancel) const;

    Side& side1_;
    Side& side2_;
    const Database& obDB3_;
    std::shared_ptr<Connection> connection3_;
    const TextArray& sTables_;
    const IndexChoices& indexChoices_;
    const ColumnChoices& columnChoices_;
    const Events& events_;

    Recordset counts1_;
    Recordset counts2_;
    Recordset union_;
    Recordset differing_;
    Recordset probe_;
    std::int32_t totalSteps_;
    std::int32_t step_ = 0;
};

}  // namespace QuillonLib
