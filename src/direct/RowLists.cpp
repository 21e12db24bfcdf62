// Lists of rows that stand in a table whose columns have the types of the target's: those that a
// guarded script updates or deletes, and those of which each row changes columns of its own. Where
// every row counts by itself, the statement tells which of them it has met, so that one that is not
// as it was compared can be named: afterwards nothing else could tell it from the others, whose old
// values are gone, and beforehand it could still change.
#include <utility>

#include "catalog/Identifiers.h"
#include "core/Text.h"
#include "direct/MissedRow.h"
#include "direct/StatementText.h"
#include "direct/StatementWriter.h"

namespace QuillonLib {

// Of keys that need not be unique, one that is missing and one that is there twice make up for each
// other in a count.
bool StatementWriter::NotesMet() const {
    return style_.guard || !shape_.keyIsUnique;
}

// They hold what the columns of the target do, and are compared as those are.
std::vector<StatementWriter::ListColumn> StatementWriter::ListColumns(const Shape& shape) const {
    std::vector<ListColumn> columns;
    const auto add = [&](std::u16string name, std::size_t column, bool bytes, std::u16string null) {
        const ColumnFacts& facts = TargetFacts(column);
        std::u16string type = bytes ? u"varbinary(max)" : ListedType(facts);
        if (!bytes && !facts.Collation.empty()) type += u" COLLATE " + facts.Collation;
        columns.push_back({std::move(name), std::move(type), std::move(null)});
    };
    for (std::size_t i = 0; i < shape.conditions.size(); ++i) {
        const Condition& condition = shape.conditions[i];
        add(Numbered(u'k', i), condition.column, condition.exact, TypedNull(condition));
    }
    for (std::size_t i = 0; shape.kind == Kind::Update && i < shape.columns.size(); ++i)
        add(Numbered(u'n', i), shape.columns[i], false, TypedNull(shape.columns[i]));
    if (HasMarks(shape)) {
        const std::u16string count = ToText(static_cast<std::int64_t>(shape.columns.size()));
        columns.push_back({u"c", u"varchar(" + count + u")", u"NULL"});
    }
    return columns;
}

// The statement about the rows of the list, and the end of the script where it does not meet each
// of them once. `first`: one of them.
std::u16string StatementWriter::WriteFrom(const Shape& shape, const RowList& list,
                                          const std::vector<bool>& anyNull,
                                          const Line& first) const {
    const std::u16string write =
        shape.kind == Kind::Delete ? u"DELETE t" : u"UPDATE t SET " + Sets(shape);
    const std::u16string from = u"\r\nFROM " + table_ + u" AS t INNER JOIN " + list.source +
                                u" AS v ON " + Join(shape, anyNull);
    if (!NotesMet()) return write + from + Check(list.count, first);
    return NotingWrite(shape, list, write, from);
}

std::u16string StatementWriter::NotingWrite(const Shape& shape, const RowList& list,
                                            const std::u16string& write,
                                            const std::u16string& from) const {
    const std::u16string number = ToText(static_cast<std::int64_t>(batches_.NextName()));
    ListedRows rows{list.source, u"@met" + number, u"@row" + number, {}, list.many, style_.lists};
    for (std::size_t i = 0; i < shape_.key.size(); ++i) {
        const ColumnFacts& facts = TargetFacts(shape_.key[i]);
        rows.key.push_back({u"v." + Numbered(u'k', i), &facts, shape.conditions[i].exact,
                            facts.CodePage == facts.DatabaseCodePage});
    }
    std::u16string text = u"DECLARE " + rows.met + u" TABLE (n int)\r\n" + write +
                          u" OUTPUT v.n INTO " + rows.met + from;
    // without an index each row would be looked for in the whole table: the server has to know how
    // many there are
    if (!shape_.keyIsUnique) text += u" OPTION (RECOMPILE)";
    const std::u16string count = ToText(static_cast<std::int64_t>(list.count));
    if (shape_.keyIsUnique) {
        text += u"\r\nIF @@ROWCOUNT <> " + count;
    } else {
        const std::u16string written = u"@written" + number;
        text += u"\r\nDECLARE " + written + u" int\r\nSET " + written + u" = @@ROWCOUNT\r\nIF " +
                written + u" <> " + count + u" OR (SELECT COUNT(DISTINCT n) FROM " + rows.met +
                u") <> " + count;
    }
    text += u"\r\nBEGIN";
    text += FindMissed(rows, u"    ");
    text += u"\r\n    RAISERROR(N'" + MessageText(u"Table " + table_) + u"%s: ";
    return text.append(Failure()) + u"', 16, 1, " + rows.row +
           u")\r\n    IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n    RETURN\r\nEND";
}

void StatementWriter::WriteDeclaredList(const Shape& shape, const std::vector<Line>& lines,
                                        const std::vector<bool>& anyNull) {
    const std::u16string name = u"@rows" + ToText(static_cast<std::int64_t>(batches_.NextName()));
    InsertLists::Table table{name, {}, {}, false, style_.lists, {}};
    std::u16string declared = NotesMet() ? u"n int IDENTITY" : u"";
    for (ListColumn& column : ListColumns(shape)) {
        AppendTerm(declared, u", ", column.name + u" " + column.type + u" NULL");
        table.columns.push_back(std::move(column.name));
        table.nulls.push_back(std::move(column.null));
    }
    std::u16string text = u"DECLARE " + name + u" TABLE (" + declared + u")\r\n";
    InsertLists rows(std::move(table),
                     [&text](std::u16string_view insert) { text.append(insert).append(u"\r\n"); });
    for (const Line& line : lines) {
        InsertLists::Row cells;
        for (const Cell& cell : line.conditions)
            cells.push_back(cell.literal);
        cells.insert(cells.end(), line.values.begin(), line.values.end());
        rows.Add(std::move(cells), HasAlone(line));
    }
    rows.Flush();
    batches_.Add(text + WriteFrom(shape, {name, lines.size(), false}, anyNull, lines.front()));
}

}  // namespace QuillonLib
