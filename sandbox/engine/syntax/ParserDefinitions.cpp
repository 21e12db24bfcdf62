#include <algorithm>
#include <iterator>

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
namespace {

void TooLarge(std::u16string_view type, std::int64_t size, std::u16string_view most) {
    throw SqlError(131,
                   Format(u"The size (%1) given to the type '%2' exceeds the maximum allowed for "
                          u"any data type (%3).",
                          {ToText(size), type, most}),
                   15);
}

}  // namespace

TypeSpec Parser::Type() {
    TypeSpec spec;
    if (!AtName()) {
        if (!IsWord(u"NATIONAL") && !IsWord(u"DOUBLE")) Unexpected();
        if (TakeWord(u"DOUBLE")) {
            ExpectWord(u"PRECISION");
            spec.type = Plain(TypeId::Float);
            return spec;
        }
        Take();
        spec.name = u"n" + TakeName();
    } else {
        spec.name = TakeName();
        if (TakeSymbol(u".")) spec.name = TakeName();  // sys.int, dbo.mytype
    }
    const auto found = TypeByName(spec.name);
    if (!found) {
        spec.known = false;
        return spec;
    }
    spec.type = *found;
    const TypeId id = spec.type.id;
    spec.lengthGiven = SameName(spec.name, u"sysname");
    if (TakeWord(u"VARYING")) {
        spec.type.id = id == TypeId::Char    ? TypeId::VarChar
                       : id == TypeId::NChar ? TypeId::NVarChar
                                             : TypeId::VarBinary;
    }
    if (!IsSymbol(u"(")) return spec;
    Take();
    spec.lengthGiven = true;
    if (TakeWord(u"MAX")) {
        const TypeId v = spec.type.id;
        if (v != TypeId::VarChar && v != TypeId::NVarChar && v != TypeId::VarBinary)
            ThrowSyntax(u"max");
        spec.type.length = -1;
        ExpectSymbol(u")");
        return spec;
    }
    const std::int64_t first = TakeInteger();
    if (IsDecimal(id)) {
        if (first < 1 || first > 38) {
            throw SqlError(2750, Format(u"Column or parameter #1: Specified column precision %1 is "
                                        u"greater than the maximum precision of 38.",
                                        {ToText(first)}));
        }
        spec.type.precision = static_cast<std::uint8_t>(first);
        if (TakeSymbol(u",")) {
            const std::int64_t scale = TakeInteger();
            if (scale < 0 || scale > first) {
                throw SqlError(183,
                               u"The scale (" + ToText(scale) +
                                   u") for column or parameter must be within the range 0 to " +
                                   ToText(first) + u".",
                               15);
            }
            spec.type.scale = static_cast<std::uint8_t>(scale);
        }
    } else if (id == TypeId::Float) {
        if (first < 1 || first > 53) {
            throw SqlError(2716, u"Invalid precision for type float.");
        }
        if (first <= 24) spec.type.id = TypeId::Real;
    } else if (id == TypeId::Time || id == TypeId::DateTime2 || id == TypeId::DateTimeOffset) {
        if (first > 7) {
            throw SqlError(1002, Format(u"Line 1: Specified scale %1 is invalid.", {ToText(first)}),
                           15);
        }
        spec.type.scale = static_cast<std::uint8_t>(first);
    } else if (IsCharacter(id) || IsBinary(id)) {
        if (IsLob(id) || id == TypeId::Timestamp) {
            throw SqlError(2716,
                           Format(u"Column, parameter, or variable #1: Cannot specify a column "
                                  u"width on data type %1.",
                                  {TypeName(id)}));
        }
        const int most = IsUnicode(id) ? 4000 : 8000;
        if (first < 1) {
            throw SqlError(1001,
                           Format(u"Line 1: Length or precision specification %1 is invalid.",
                                  {ToText(first)}),
                           15);
        }
        if (first > most) TooLarge(TypeName(id), first, ToText(most));
        spec.type.length = static_cast<int>(first);
    } else {
        throw SqlError(2716,
                       Format(u"Column, parameter, or variable #1: Cannot specify a column width "
                              u"on data type %1.",
                              {TypeName(id)}));
    }
    ExpectSymbol(u")");
    return spec;
}

StmtPtr Parser::CreateStatement() {
    const Token create = Take();
    const int line = create.line;
    if (TakeWord(u"DATABASE")) return CreateDatabase(line);
    if (TakeWord(u"TABLE")) return CreateTable(line);
    if (TakeWord(u"VIEW")) return CreateView(line, create.start, false);
    if (TakeWord(u"PROCEDURE") || TakeWord(u"PROC")) {
        return CreateProcedure(line, create.start, false);
    }
    if (TakeWord(u"LOGIN")) return CreateLogin(line);
    if (TakeWord(u"USER")) return CreateUser(line);
    if (TakeWord(u"SCHEMA")) {
        auto s = std::make_unique<SimpleStmt>(StmtKind::CreateSchema, line);
        s->name = TakeName();
        if (TakeWord(u"AUTHORIZATION")) TakeName();
        return s;
    }
    bool unique = TakeWord(u"UNIQUE");
    const bool clustered = TakeWord(u"CLUSTERED");
    if (!clustered) TakeWord(u"NONCLUSTERED");
    ExpectWord(u"INDEX");
    return CreateIndex(line, unique, clustered);
}

StmtPtr Parser::CreateDatabase(int line) {
    auto s = std::make_unique<CreateDatabaseStmt>(line);
    s->name = TakeName();
    if (TakeWord(u"COLLATE")) s->collation = TakeName();
    return s;
}

StmtPtr Parser::CreateTable(int line) {
    auto s = std::make_unique<CreateTableStmt>(line);
    s->table = TakeObjectName();
    NoteTemporary(s->table.name);
    ExpectSymbol(u"(");
    do {
        if (IsSymbol(u")")) break;
        if (IsWord(u"PERIOD") && IsWord(u"FOR", 1)) {
            Take();
            Take();
            ExpectWord(u"SYSTEM_TIME");
            s->period = NameList();
        } else if (StartsConstraint()) {
            s->constraints.push_back(TableConstraint());
        } else {
            s->columns.push_back(Column());
        }
    } while (TakeSymbol(u","));
    ExpectSymbol(u")");
    if (TakeWord(u"ON")) TakeNameOrString();
    if (IsWord(u"TEXTIMAGE_ON")) {
        Take();
        TakeNameOrString();
    }
    if (TakeWord(u"WITH")) Versioning(*s);
    return s;
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
            ExpectWord(u"NULL");
            (onDelete ? c.deleteSetNull : c.updateSetNull) = true;
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

namespace {

std::u16string Bracketed(const std::u16string& name) {
    std::u16string text = u"[";
    for (const char16_t unit : name)
        text.append(unit == u']' ? 2 : 1, unit);
    return text + u"]";
}

bool IsConstant(const Expr& e) {
    return e.kind == ExprKind::Literal || (e.kind == ExprKind::Unary && IsConstant(*e.args[0]));
}

}  // namespace

// A constant as the catalog writes it: numbers in parentheses.
std::u16string Parser::FilterConstant(const CreateIndexStmt& index) {
    const std::size_t start = Peek().start;
    const bool text = Peek().kind == TokenKind::String;
    const ExprPtr constant = Additive();
    if (!IsConstant(*constant)) RefuseFilter(index);
    const std::u16string written(TextSince(start));
    return text ? written : u"(" + written + u")";
}

void Parser::RefuseFilter(const CreateIndexStmt& index) {
    throw SqlError(10735,
                   Format(u"Incorrect WHERE clause for filtered index '%1' on table '%2'.",
                          {index.name, index.table.Text()}),
                   15);
}

// Conjunctions only, each of one column with constants.
std::u16string Parser::IndexFilter(const CreateIndexStmt& index) {
    std::u16string filter;
    int open = 0;
    do {
        while (TakeSymbol(u"("))
            ++open;
        filter += (filter.empty() ? u"(" : u" AND ") + Bracketed(TakeName());
        if (TakeWord(u"IS")) {
            filter += TakeWord(u"NOT") ? u" IS NOT NULL" : u" IS NULL";
            ExpectWord(u"NULL");
        } else if (TakeWord(u"IN")) {
            ExpectSymbol(u"(");
            filter += u" IN (" + FilterConstant(index);
            while (TakeSymbol(u","))
                filter += u", " + FilterConstant(index);
            ExpectSymbol(u")");
            filter += u")";
        } else {
            const std::u16string comparison(Take().text);
            static constexpr std::u16string_view Known[] = {u"=", u"<>", u"!=", u">", u">=",
                                                            u"<", u"<=", u"!>", u"!<"};
            if (std::find(std::begin(Known), std::end(Known), comparison) == std::end(Known)) {
                RefuseFilter(index);
            }
            filter += comparison + FilterConstant(index);
        }
        while (open > 0 && TakeSymbol(u")"))
            --open;
    } while (TakeWord(u"AND"));
    if (open > 0 || IsWord(u"OR")) RefuseFilter(index);
    return filter + u")";
}

StmtPtr Parser::CreateIndex(int line, bool unique, bool clustered) {
    auto s = std::make_unique<CreateIndexStmt>(line);
    s->unique = unique;
    s->clustered = clustered;
    s->name = TakeName();
    ExpectWord(u"ON");
    s->table = TakeObjectName();
    s->columns = KeyColumns();
    if (TakeWord(u"INCLUDE")) s->included = NameList();
    if (TakeWord(u"WHERE")) s->filter = IndexFilter(*s);
    s->ignoreDuplicates = IndexOptions();
    return s;
}

StmtPtr Parser::CreateView(int line, std::size_t start, bool alter) {
    auto s = std::make_unique<CreateViewStmt>(line);
    s->alter = alter;
    s->name = TakeObjectName();
    if (IsSymbol(u"(")) s->columns = NameList();
    if (TakeWord(u"WITH")) {
        do {
            if (TakeWord(u"SCHEMABINDING")) {
                s->schemaBinding = true;
            } else if (!TakeWord(u"ENCRYPTION") && !TakeWord(u"VIEW_METADATA")) {
                Unexpected();
            }
        } while (TakeSymbol(u","));
    }
    ExpectWord(u"AS");
    s->query = QueryExpression(true);
    if (!s->query->orderBy.empty() && !s->query->top) {
        throw SqlError(1033,
                       u"The ORDER BY clause is invalid in views, inline functions, derived "
                       u"tables, subqueries, and common table expressions, unless TOP or FOR XML "
                       u"is also specified.",
                       15);
    }
    if (IsWord(u"WITH") && IsWord(u"CHECK", 1)) {
        Take();
        Take();
        ExpectWord(u"OPTION");
    }
    TakeSymbol(u";");
    if (!AtEnd()) Unexpected();
    s->text = TextSince(start);
    return s;
}

Parameter Parser::ProcedureParameter() {
    Parameter p;
    if (Peek().kind != TokenKind::Variable) Unexpected();
    p.name = Take().text;
    TakeWord(u"AS");
    p.type = Type();
    if (TakeSymbol(u"=")) {
        ExecArgument a = Argument();
        if (a.kind != ExecArgument::Kind::Literal) Unexpected();
        p.hasDefault = true;
        p.value = std::move(a.value);
        p.valueType = a.type;
        p.valueTyped = a.typed;
    }
    if (IsWord(u"OUTPUT") || IsWord(u"OUT")) {
        Take();
        p.output = true;
    }
    return p;
}

StmtPtr Parser::CreateProcedure(int line, std::size_t start, bool alter) {
    auto s = std::make_unique<CreateProcedureStmt>(line);
    s->alter = alter;
    s->name = TakeObjectName();
    const bool parenthesised = TakeSymbol(u"(");
    if (Peek().kind == TokenKind::Variable) {
        do {
            s->parameters.push_back(ProcedureParameter());
        } while (TakeSymbol(u","));
    }
    if (parenthesised) ExpectSymbol(u")");
    if (TakeWord(u"WITH")) {
        do {
            if (!TakeWord(u"RECOMPILE") && !TakeWord(u"ENCRYPTION")) Unexpected();
        } while (TakeSymbol(u","));
    }
    ExpectWord(u"AS");
    if (AtEnd()) Unexpected();
    while (!AtEnd()) {
        if (TakeSymbol(u";")) continue;
        s->body.push_back(Statement(false));
    }
    s->text = text_.substr(start);
    return s;
}

StmtPtr Parser::AlterStatement() {
    const Token alter = Take();
    if (TakeWord(u"DATABASE")) return AlterDatabase(alter.line);
    if (TakeWord(u"TABLE")) return AlterTable(alter.line);
    if (TakeWord(u"VIEW")) return CreateView(alter.line, alter.start, true);
    if (TakeWord(u"PROCEDURE") || TakeWord(u"PROC")) {
        return CreateProcedure(alter.line, alter.start, true);
    }
    Unexpected();
}

StmtPtr Parser::AlterDatabase(int line) {
    auto s = std::make_unique<AlterDatabaseStmt>(line);
    s->name = TakeName();
    ExpectWord(u"SET");
    if (TakeWord(u"COMPATIBILITY_LEVEL")) {
        ExpectSymbol(u"=");
        s->compatibility = static_cast<int>(TakeInteger());
        return s;
    }
    if (TakeWord(u"ALLOW_SNAPSHOT_ISOLATION")) {
        s->allowSnapshot = TakeWord(u"ON");
        if (!*s->allowSnapshot) ExpectWord(u"OFF");
        return s;
    }
    // Options that nothing here depends on.
    static constexpr std::u16string_view kOptions[] = {
        u"RECOVERY",          u"AUTO_SHRINK",       u"AUTO_CLOSE",
        u"ANSI_NULLS",        u"ANSI_PADDING",      u"ANSI_WARNINGS",
        u"QUOTED_IDENTIFIER", u"ANSI_NULL_DEFAULT", u"READ_COMMITTED_SNAPSHOT"};
    for (const std::u16string_view option : kOptions) {
        if (TakeWord(option)) {
            if (!TakeWord(u"ON") && !TakeWord(u"OFF") && !TakeWord(u"FULL")) TakeName();
            return s;
        }
    }
    Unexpected();
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

StmtPtr Parser::DropStatement() {
    const int line = Take().line;
    if (IsWord(u"INDEX")) return DropIndex(line);
    auto s = std::make_unique<DropObjectStmt>(line);
    if (TakeWord(u"DATABASE")) {
        s->kind = StmtKind::DropDatabase;
    } else if (TakeWord(u"TABLE")) {
        s->what = u"table";
    } else if (TakeWord(u"VIEW")) {
        s->what = u"view";
    } else if (TakeWord(u"PROCEDURE") || TakeWord(u"PROC")) {
        s->what = u"procedure";
    } else if (TakeWord(u"SCHEMA")) {
        s->what = u"schema";
    } else if (TakeWord(u"USER")) {
        s->what = u"user";
    } else {
        Unexpected();
    }
    if (IsWord(u"IF") && IsWord(u"EXISTS", 1)) {
        Take();
        Take();
        s->ifExists = true;
    }
    do {
        s->names.push_back(TakeObjectName());
    } while (TakeSymbol(u","));
    return s;
}

StmtPtr Parser::DropIndex(int line) {
    Take();
    auto s = std::make_unique<DropIndexStmt>(line);
    if (IsWord(u"IF") && IsWord(u"EXISTS", 1)) {
        Take();
        Take();
        s->ifExists = true;
    }
    do {
        ObjectName name = TakeObjectName();
        if (TakeWord(u"ON")) {
            s->indexes.emplace_back(TakeObjectName(), name.name);
        } else {  // table.index
            std::u16string index = name.name;
            ObjectName table;
            table.name = name.schema;
            table.schema = name.database;
            table.database = name.server;
            if (table.name.empty()) Unexpected();
            s->indexes.emplace_back(std::move(table), std::move(index));
        }
    } while (TakeSymbol(u","));
    return s;
}

}  // namespace sandbox::engine
