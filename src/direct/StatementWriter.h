// The INSERT, UPDATE and DELETE statements of one table. Not installed.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "direct/BatchWriter.h"
#include "direct/DirectResult.h"
#include "direct/InsertLists.h"
#include "direct/SqlText.h"

namespace QuillonLib {

struct StatementStyle {
    bool lists = true;  // the server knows lists of rows (SQL Server 2008)
    bool guard = false;
    // A unique index of the target drops rows that it has: each is inserted, and named, by itself.
    bool dropsDuplicates = false;
};

// The columns of one statement for rows of which not all change the same ones.
struct TogetherColumns {
    std::vector<std::size_t> columns;
    std::vector<bool> some;  // of each: there are rows that do not change it
};

class StatementWriter {
  public:
    // `target`: the side that is changed. All must outlive the object. Throws NotCarried as
    // ColumnLiterals does, from every call that takes a row.
    StatementWriter(const DirectShape& shape, int target, const StatementStyle& style,
                    BatchWriter& batches);
    StatementWriter(const StatementWriter&) = delete;
    StatementWriter& operator=(const StatementWriter&) = delete;

    // Rows gather until they are many, or until Flush.

    // `withoutValue`: columns that are NULL for the time being.
    void Insert(const DirectRow& source, const std::vector<std::size_t>& withoutValue);
    // The row of the target's side. `emptied`: columns that are NULL by now.
    void Delete(const DirectRow& row, const std::vector<std::size_t>& emptied);
    // Sets columns of the row that the target has to what they are in the other's.
    void Update(const DirectRow& row, const DirectRow& source,
                const std::vector<std::size_t>& columns);
    // The same with one statement for all rows until Flush, however many: they may swap values that
    // have to be unique. `together`: the same for all of them, and not empty. What is not `changed`
    // of a row keeps the value that it has when the statement runs.
    void UpdateTogether(const DirectRow& row, const DirectRow& source,
                        const TogetherColumns& together, const std::vector<bool>& changed);
    // Sets columns to NULL.
    void Empty(const DirectRow& row, const std::vector<std::size_t>& columns);
    // Sets columns that are NULL by now.
    void Complete(const DirectRow& source, const std::vector<std::size_t>& columns);
    void Flush();

    // "[owner].[table]", doubled brackets within.
    const std::u16string& Table() const { return table_; }
    bool WritesIdentity() const;

  private:
    struct Cell {
        std::u16string literal;
        bool null = false;
        bool alone = false;  // must not share a list
    };
    // One row of a statement: the cells of its conditions, then those that it sets or inserts.
    struct Line {
        std::vector<Cell> conditions;
        std::vector<std::u16string> values;
    };
    // A column in a condition.
    struct Condition {
        std::size_t column = 0;
        bool exact = false;  // by its bytes and their number, a sql_variant by its base type, too
        // Where not 0: it holds for rows only that are marked at this place, from 1.
        std::size_t mark = 0;
        bool operator<(const Condition& other) const {
            return std::tie(column, exact, mark) < std::tie(other.column, other.exact, other.mark);
        }
    };
    enum class Kind { Delete, Update, Empty };
    struct Shape {
        Kind kind = Kind::Delete;
        std::vector<Condition> conditions;
        std::vector<std::size_t> columns;
        // Of each column: a row is set only where its mark says so. Empty: there are no marks.
        std::vector<bool> some;
        bool operator<(const Shape& other) const;
    };
    // A column of a table that holds the rows of a statement.
    struct ListColumn {
        std::u16string name;
        std::u16string type;
        std::u16string null;  // with a type
    };
    // What holds the rows of a statement.
    struct RowList {
        std::u16string source;  // what stands behind FROM, before AS
        std::size_t count = 0;
        bool many = false;  // more than a list may have
    };
    // A row of UpdateTogether that has not been written yet.
    struct Pending {
        DirectRow row;
        DirectRow source;
        std::vector<bool> changed;
        Shape shape;
        Line line;
        bool alone = false;
    };
    // Rows of UpdateTogether in temporary tables, of which each holds some columns of every row.
    struct Waiting {
        Shape shape;
        std::vector<std::u16string> tables;
        std::vector<InsertLists> rows;  // of each table
        std::vector<bool> anyNull;      // of each condition
        Line first;
        RowList list;
    };

    const ColumnFacts& TargetFacts(std::size_t column) const;
    bool ByBytes(std::size_t column) const;
    void AddConditions(Shape& shape, const DirectRow& row, bool ofTarget,
                       const std::vector<std::size_t>& guarded) const;
    static bool HasMarks(const Shape& shape);
    static std::size_t MarkOf(const Shape& shape, std::size_t column);
    static std::u16string Marks(const Shape& shape, const std::vector<bool>& changed);
    Line MakeLine(const Shape& shape, const DirectRow& row, bool ofTarget) const;
    Cell ConditionCell(const Condition& condition, const DirectRow& row, bool ofTarget) const;
    // Whether a condition must not share a list.
    static bool HasAlone(const Line& line);
    void Take(const Shape& shape, Line line, bool alone);
    void Write(const Shape& shape, const std::vector<Line>& lines);
    void WriteList(const Shape& shape, const std::vector<Line>& lines);
    void WriteSingle(const Shape& shape, const Line& line);
    bool NotesMet() const;
    std::vector<ListColumn> ListColumns(const Shape& shape) const;
    std::u16string WriteFrom(const Shape& shape, const RowList& list,
                             const std::vector<bool>& anyNull, const Line& first) const;
    std::u16string NotingWrite(const Shape& shape, const RowList& list, const std::u16string& write,
                               const std::u16string& from) const;
    void WriteDeclaredList(const Shape& shape, const std::vector<Line>& lines,
                           const std::vector<bool>& anyNull);
    void DeleteWhole(const DirectRow& row);
    void MakeInserts();
    std::function<void(std::u16string_view)> ToBatches() const;
    Line MakeUpdate(const Shape& shape, const DirectRow& row, const DirectRow& source,
                    const std::vector<bool>& changed, bool& alone) const;
    std::u16string NewValue(std::size_t column, const DirectRow& source,
                            const std::vector<bool>& changed, bool& alone) const;
    bool FitsOneList() const;
    void MakeWaiting(const TogetherColumns& together);
    void MakeTables(const std::vector<ListColumn>& columns);
    void AddWaiting(const DirectRow& row, const DirectRow& source,
                    const std::vector<bool>& changed);
    void FlushTogether();
    std::u16string Sets(const Shape& shape) const;
    std::u16string OwnValue(std::size_t column) const;
    std::u16string Join(const Shape& shape, const std::vector<bool>& anyNull) const;
    std::u16string LeftSide(const Condition& condition, const std::u16string& prefix) const;
    std::u16string Check(std::size_t expected, const Line& first) const;
    std::u16string_view Failure() const;
    // `which`: "key (5)", or empty.
    std::u16string Check(std::size_t expected, std::u16string_view which,
                         std::u16string_view failure) const;
    std::u16string TypedNull(std::size_t column) const;
    std::u16string TypedNull(const Condition& condition) const;

    const DirectShape& shape_;
    int target_;
    StatementStyle style_;
    BatchWriter& batches_;
    std::u16string table_;
    std::vector<ColumnLiterals> ofSource_;  // what the source's cells are in the target
    std::vector<ColumnLiterals> ofTarget_;
    std::map<Shape, std::vector<Line>> groups_;
    std::size_t gathered_ = 0;  // characters
    std::optional<InsertLists> inserts_;
    std::vector<Pending> pending_;
    std::optional<Waiting> waiting_;
};

}  // namespace QuillonLib
