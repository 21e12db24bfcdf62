// CREATE TABLE and ALTER TABLE: columns and constraints.

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

StmtPtr Parser::CreateTable(int line) {
    auto s = std::make_unique<CreateTableStmt>(line);
    s->table = TakeObjectName();
    NoteTemporary(s->table.name);
    TableElements(*s);
    if (TakeWord(u"ON")) TakeNameOrString();
    if (IsWord(u"TEXTIMAGE_ON")) {
        Take();
        TakeNameOrString();
    }
    if (TakeWord(u"WITH")) Versioning(*s);
    return s;
}

void Parser::TableElements(CreateTableStmt& table) {
    ExpectSymbol(u"(");
    do {
        if (IsSymbol(u")")) break;
        if (IsWord(u"PERIOD") && IsWord(u"FOR", 1)) {
            Take();
            Take();
            ExpectWord(u"SYSTEM_TIME");
            table.period = NameList();
        } else if (StartsConstraint()) {
            table.constraints.push_back(TableConstraint());
        } else {
            table.columns.push_back(Column());
        }
    } while (TakeSymbol(u","));
    ExpectSymbol(u")");
}

// (SYSTEM_VERSIONING = ON (HISTORY_TABLE = dbo.h))
void Parser::Versioning(CreateTableStmt& table) {
    ExpectSymbol(u"(");
    ExpectWord(u"SYSTEM_VERSIONING");
    ExpectSymbol(u"=");
    ExpectWord(u"ON");
    table.versioned = true;
    if (TakeSymbol(u"(")) {
        ExpectWord(u"HISTORY_TABLE");
        ExpectSymbol(u"=");
        table.history = TakeObjectName();
        ExpectSymbol(u")");
    }
    ExpectSymbol(u")");
}

// A batch that makes a temporary table twice does not compile, whatever it drops in between.
void Parser::NoteTemporary(const std::u16string& name) {
    if (!name.starts_with(u"#")) return;
    if (temporary_.insert(FoldName(name)).second) return;
    throw SqlError(2714, Format(u"There is already an object named '%1' in the database.", {name}));
}

ColumnDef Parser::Column() {
    ColumnDef c;
    c.line = Peek().line;
    c.name = TakeName();
    if (TakeWord(u"AS")) {
        c.computed = true;
        const std::size_t start = Peek().start;
        Expression();
        c.computedText = TextSince(start);
        if (c.computedText.front() != u'(') c.computedText = u"(" + c.computedText + u")";
        if (TakeWord(u"PERSISTED")) c.persisted = true;
    } else if (IsWord(u"timestamp") || IsWord(u"TIMESTAMP") || AtName() || IsWord(u"NATIONAL") ||
               IsWord(u"DOUBLE")) {
        c.type = Type();
    } else if (SameName(c.name, u"timestamp")) {
        c.type.type = Plain(TypeId::Timestamp);  // "timestamp" alone names the column, too
    } else {
        Unexpected();
    }
    ColumnOptions(c);
    return c;
}

void Parser::ColumnOptions(ColumnDef& c) {
    for (;;) {
        if (TakeWord(u"NULL")) {
            c.nullable = true;
        } else if (IsWord(u"NOT") && IsWord(u"NULL", 1)) {
            Take();
            Take();
            c.nullable = false;
        } else if (TakeWord(u"IDENTITY")) {
            c.identity = true;
            if (TakeSymbol(u"(")) {
                c.seed = TakeInteger();
                ExpectSymbol(u",");
                c.increment = TakeInteger();
                ExpectSymbol(u")");
            }
        } else if (IsWord(u"NOT") && IsWord(u"FOR", 1)) {  // NOT FOR REPLICATION
            Take();
            Take();
            TakeName();
        } else if (TakeWord(u"ROWGUIDCOL")) {
            c.rowGuid = true;
        } else if (TakeWord(u"COLLATE")) {
            c.collation = TakeName();
        } else if (TakeWord(u"SPARSE")) {
            continue;
        } else if (TakeWord(u"GENERATED")) {
            ExpectWord(u"ALWAYS");
            ExpectWord(u"AS");
            ExpectWord(u"ROW");
            c.generated = TakeWord(u"START") ? 1 : 2;
            if (c.generated == 2) ExpectWord(u"END");
            if (!c.nullable) c.nullable = false;
        } else {
            ConstraintDef constraint;
            if (TakeWord(u"CONSTRAINT")) {
                constraint.name = TakeName();
                if (IsWord(u"NULL") || IsWord(u"NOT")) continue;
                if (!ConstraintTail(constraint, &c.name)) Unexpected();
            } else if (!ConstraintTail(constraint, &c.name)) {
                return;
            }
            c.constraints.push_back(std::move(constraint));
        }
    }
}

bool Parser::StartsConstraint() {
    return IsWord(u"CONSTRAINT") || IsWord(u"PRIMARY") || IsWord(u"UNIQUE") || IsWord(u"FOREIGN") ||
           IsWord(u"CHECK") || IsWord(u"DEFAULT");
}

ConstraintDef Parser::TableConstraint() {
    ConstraintDef c;
    if (TakeWord(u"CONSTRAINT")) c.name = TakeName();
    if (!ConstraintTail(c, nullptr)) Unexpected();
    return c;
}

std::u16string Parser::DefaultText() {
    const std::size_t start = Peek().start;
    Expression();
    std::u16string text(TextSince(start));
    if (text.front() != u'(') text = u"(" + text + u")";
    return text;
}

// What follows [CONSTRAINT name]; `column`: inline at that column.
bool Parser::ConstraintTail(ConstraintDef& c, const std::u16string* column) {
    if (TakeWord(u"PRIMARY")) {
        ExpectWord(u"KEY");
        c.kind = ConstraintDef::Kind::PrimaryKey;
        c.clustered = true;
        KeyTail(c, column);
        return true;
    }
    if (TakeWord(u"UNIQUE")) {
        c.kind = ConstraintDef::Kind::Unique;
        KeyTail(c, column);
        return true;
    }
    if (IsWord(u"FOREIGN") || IsWord(u"REFERENCES")) {
        c.kind = ConstraintDef::Kind::ForeignKey;
        if (TakeWord(u"FOREIGN")) {
            ExpectWord(u"KEY");
            if (IsSymbol(u"(")) c.columns = KeyColumns();
        }
        if (c.columns.empty()) {
            if (column == nullptr) Unexpected();
            c.columns.emplace_back(*column, false);
        }
        ReferencesTail(c);
        return true;
    }
    if (TakeWord(u"CHECK")) {
        c.kind = ConstraintDef::Kind::Check;
        if (IsWord(u"NOT") && IsWord(u"FOR", 1)) {
            Take();
            Take();
            TakeName();
        }
        const std::size_t start = Peek().start;
        ExpectSymbol(u"(");
        Condition();
        ExpectSymbol(u")");
        c.text = TextSince(start);
        return true;
    }
    if (TakeWord(u"DEFAULT")) {
        c.kind = ConstraintDef::Kind::Default;
        c.text = DefaultText();
        if (column != nullptr) {
            c.forColumn = *column;
        } else {
            ExpectWord(u"FOR");
            c.forColumn = TakeName();
            if (IsWord(u"WITH") && IsWord(u"VALUES", 1)) {
                Take();
                Take();
            }
            return true;
        }
        if (IsWord(u"WITH") && IsWord(u"VALUES", 1)) {
            Take();
            Take();
        }
        return true;
    }
    return false;
}

void Parser::KeyTail(ConstraintDef& c, const std::u16string* column) {
    if (TakeWord(u"CLUSTERED")) {
        c.clustered = true;
        c.clusteredGiven = true;
    } else if (TakeWord(u"NONCLUSTERED")) {
        c.clustered = false;
        c.clusteredGiven = true;
    }
    if (IsSymbol(u"(")) {
        c.columns = KeyColumns();
    } else {
        if (column == nullptr) Unexpected();
        c.columns.emplace_back(*column, false);
    }
    c.ignoreDuplicates = IndexOptions();
}

void Parser::ReferencesTail(ConstraintDef& c) {
    ExpectWord(u"REFERENCES");
    c.references = TakeObjectName();
    if (IsSymbol(u"(")) c.referencedColumns = NameList();
    for (;;) {
        if (IsWord(u"NOT") && IsWord(u"FOR", 1)) {
            Take();
            Take();
            TakeName();
            continue;
        }
        if (!IsWord(u"ON") || !(IsWord(u"DELETE", 1) || IsWord(u"UPDATE", 1))) return;
        Take();
        const bool onDelete = SameName(Take().text, u"DELETE");
        if (TakeWord(u"CASCADE")) {
            (onDelete ? c.deleteCascade : c.updateCascade) = true;
        } else if (TakeWord(u"SET")) {
            if (TakeWord(u"DEFAULT")) {
                (onDelete ? c.deleteSetDefault : c.updateSetDefault) = true;
            } else {
                ExpectWord(u"NULL");
                (onDelete ? c.deleteSetNull : c.updateSetNull) = true;
            }
        } else {
            ExpectWord(u"NO");
            ExpectWord(u"ACTION");
        }
    }
}

std::vector<std::pair<std::u16string, bool>> Parser::KeyColumns() {
    std::vector<std::pair<std::u16string, bool>> columns;
    ExpectSymbol(u"(");
    do {
        std::u16string name = TakeName();
        const bool descending = TakeWord(u"DESC");
        if (!descending) TakeWord(u"ASC");
        columns.emplace_back(std::move(name), descending);
    } while (TakeSymbol(u","));
    ExpectSymbol(u")");
    return columns;
}

std::vector<std::u16string> Parser::NameList() {
    std::vector<std::u16string> names;
    ExpectSymbol(u"(");
    do {
        names.push_back(TakeName());
    } while (TakeSymbol(u","));
    ExpectSymbol(u")");
    return names;
}

// WITH (FILLFACTOR = 90, ...), WITH FILLFACTOR = 90, ON [PRIMARY]: storage only, but for
// IGNORE_DUP_KEY, which is what is returned.
bool Parser::IndexOptions() {
    bool ignoreDuplicates = false;
    if (IsWord(u"WITH") && (IsSymbol(u"(", 1) || IsWord(u"FILLFACTOR", 1) ||
                            IsWord(u"PAD_INDEX", 1) || IsWord(u"DROP_EXISTING", 1))) {
        Take();
        const bool parenthesised = TakeSymbol(u"(");
        do {
            const bool duplicates = SameName(Take().text, u"IGNORE_DUP_KEY");
            std::u16string value = u"ON";
            if (TakeSymbol(u"=")) value = Take().text;
            if (duplicates) ignoreDuplicates = SameName(value, u"ON");
        } while (TakeSymbol(u","));
        if (parenthesised) ExpectSymbol(u")");
    }
    if (IsWord(u"ON") && (Peek(1).kind == TokenKind::Name || IsWord(u"PRIMARY", 1))) {
        Take();
        Take();
    }
    return ignoreDuplicates;
}

void Parser::AlterTableAdd(AlterTableStmt& s) {
    do {
        if (StartsConstraint()) {
            s.constraints.push_back(TableConstraint());
        } else {
            s.columns.push_back(Column());
        }
    } while (TakeSymbol(u","));
}

StmtPtr Parser::AlterTable(int line) {
    using Action = AlterTableStmt::Action;
    auto s = std::make_unique<AlterTableStmt>(line);
    s->table = TakeObjectName();
    if (IsWord(u"WITH")) {
        Take();
        s->withCheckGiven = true;
        s->withCheck = TakeWord(u"CHECK");
        if (!s->withCheck) ExpectWord(u"NOCHECK");
    }
    if (TakeWord(u"ADD")) {
        AlterTableAdd(*s);
        return s;
    }
    if (IsWord(u"CHECK") || IsWord(u"NOCHECK")) {
        s->action = Action::Check;
        s->enable = SameName(Take().text, u"CHECK");
        ExpectWord(u"CONSTRAINT");
        if (TakeWord(u"ALL")) return s;
        do {
            s->names.push_back(TakeName());
        } while (TakeSymbol(u","));
        return s;
    }
    if (TakeWord(u"ALTER")) {
        ExpectWord(u"COLUMN");
        s->action = Action::AlterColumn;
        ColumnDef c;
        c.name = TakeName();
        c.type = Type();
        ColumnOptions(c);
        s->columns.push_back(std::move(c));
        return s;
    }
    ExpectWord(u"DROP");
    s->action = Action::DropConstraints;
    if (TakeWord(u"COLUMN")) {
        s->action = Action::DropColumns;
    } else {
        TakeWord(u"CONSTRAINT");
    }
    do {
        s->names.push_back(TakeName());
    } while (TakeSymbol(u","));
    return s;
}

}  // namespace sandbox::engine
