// Lists of rows that a guarded script updates or deletes. They stand in a table variable, and the
// statement tells which of them it has met, so that one that is not as it was compared can be
// named: afterwards nothing else could tell it from the others, whose old values are gone, and
// beforehand it could still change.
#include <utility>

#include "catalog/Identifiers.h"
#include "core/Text.h"
#include "direct/MissedRow.h"
#include "direct/StatementText.h"
#include "direct/StatementWriter.h"

namespace QuillonLib {

// Its columns are declared as those of the target, so that they hold what those do, and are
// compared as those are.
InsertLists::Table StatementWriter::LinesTable(const Shape& shape, std::u16string name,
                                               std::u16string& declared) const {
    InsertLists::Table table{std::move(name), {}, {}, false, style_.lists, {}};
    const auto add = [&](std::u16string own, std::size_t column, bool bytes, std::u16string null) {
        const ColumnFacts& facts = TargetFacts(column);
        std::u16string type = bytes ? u"varbinary(max)" : DeclaredType(facts);
        if (!bytes && !facts.Collation.empty()) type += u" COLLATE " + facts.Collation;
        AppendTerm(declared, u", ", own + u" " + type + u" NULL");
        table.columns.push_back(std::move(own));
        table.nulls.push_back(std::move(null));
    };
    if (style_.guard) declared = u"n int IDENTITY";
    for (std::size_t i = 0; i < shape.conditions.size(); ++i) {
        const Condition& condition = shape.conditions[i];
        add(Numbered(u'k', i), condition.column, condition.exact, TypedNull(condition));
    }
    for (std::size_t i = 0; shape.kind == Kind::Update && i < shape.columns.size(); ++i)
        add(Numbered(u'n', i), shape.columns[i], false, TypedNull(shape.columns[i]));
    return table;
}

// What follows the rows in `table`: the statement, and the end of the script where it does not meet
// each of them once.
std::u16string StatementWriter::GuardedWrite(const Shape& shape, const std::u16string& table,
                                             const std::vector<bool>& anyNull, std::size_t expected,
                                             bool many) const {
    const std::u16string number = ToText(static_cast<std::int64_t>(batches_.NextName()));
    ListedRows rows{table, u"@met" + number, u"@row" + number, {}, many, style_.lists};
    for (std::size_t i = 0; i < shape_.key.size(); ++i) {
        const ColumnFacts& facts = TargetFacts(shape_.key[i]);
        rows.key.push_back({u"v." + Numbered(u'k', i), &facts, shape.conditions[i].exact,
                            facts.CodePage == facts.DatabaseCodePage});
    }
    std::u16string text = u"DECLARE " + rows.met + u" TABLE (n int)\r\n";
    text += shape.kind == Kind::Delete ? u"DELETE t" : u"UPDATE t SET " + Sets(shape);
    text += u" OUTPUT v.n INTO " + rows.met + u"\r\nFROM " + table_ + u" AS t INNER JOIN " + table +
            u" AS v ON " + Join(shape, anyNull);
    // without an index each row would be looked for in the whole table: the server has to know how
    // many there are
    if (!shape_.keyIsUnique) text += u" OPTION (RECOMPILE)";
    const std::u16string count = ToText(static_cast<std::int64_t>(expected));
    if (shape_.keyIsUnique) {
        text += u"\r\nIF @@ROWCOUNT <> " + count;
    } else {  // one that is missing and one that is there twice would make up for each other
        const std::u16string written = u"@written" + number;
        text += u"\r\nDECLARE " + written + u" int\r\nSET " + written + u" = @@ROWCOUNT\r\nIF " +
                written + u" <> " + count + u" OR (SELECT COUNT(DISTINCT n) FROM " + rows.met +
                u") <> " + count;
    }
    text += u"\r\nBEGIN";
    text += FindMissed(rows, u"    ");
    return text + u"\r\n    RAISERROR(N'" + MessageText(u"Table " + table_) +
           u"%s: a row is not as it was compared.', 16, 1, " + rows.row +
           u")\r\n    IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n    RETURN\r\nEND";
}

void StatementWriter::WriteGuardedList(const Shape& shape, const std::vector<Line>& lines,
                                       const std::vector<bool>& anyNull) {
    const std::u16string name = u"@rows" + ToText(static_cast<std::int64_t>(batches_.NextName()));
    std::u16string declared;
    InsertLists::Table table = LinesTable(shape, name, declared);
    std::u16string text = u"DECLARE " + name + u" TABLE (" + declared + u")\r\n";
    InsertLists rows(std::move(table),
                     [&text](std::u16string_view insert) { text.append(insert).append(u"\r\n"); });
    for (const Line& line : lines) {
        InsertLists::Row cells;
        bool alone = false;
        for (const Cell& cell : line.conditions) {
            cells.push_back(cell.literal);
            alone = alone || cell.alone;
        }
        cells.insert(cells.end(), line.values.begin(), line.values.end());
        rows.Add(std::move(cells), alone);
    }
    rows.Flush();
    batches_.Add(text + GuardedWrite(shape, name, anyNull, lines.size(), false));
}

}  // namespace QuillonLib
