#include <cstring>
#include <vector>

#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/DateTime.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {
namespace {

// Fills the cells of one row straight from SQLite's columns.
class RowReader {
  public:
    RowReader(sqlite3_stmt* statement, const std::vector<ColumnInfo>& columns)
        : statement_(statement),
          cells_(columns.size()),
          how_(columns.size()),
          guids_(columns.size()),
          variants_(columns.size()) {
        for (std::size_t i = 0; i < columns.size(); ++i)
            how_[i] = HowFor(columns[i].type);
    }

    const Cell* Read() {
        for (std::size_t i = 0; i < cells_.size(); ++i)
            ReadCell(i);
        return cells_.data();
    }

  private:
    enum class How { Integer, Real, DecimalInteger, DecimalBlob, Bytes, Guid, Offset, Variant };

    static How HowFor(const SqlType& type) {
        if (IsDecimal(type.id))
            return RepOf(type) == Rep::Int ? How::DecimalInteger : How::DecimalBlob;
        if (type.id == TypeId::UniqueIdentifier) return How::Guid;
        if (type.id == TypeId::DateTimeOffset) return How::Offset;
        if (type.id == TypeId::SqlVariant) return How::Variant;
        switch (RepOf(type)) {
            case Rep::Int:
                return How::Integer;
            case Rep::Real:
                return How::Real;
            default:
                return How::Bytes;
        }
    }

    void ReadCell(std::size_t i) {
        Cell& cell = cells_[i];
        const int column = static_cast<int>(i);
        if (sqlite3_column_type(statement_, column) == SQLITE_NULL) {
            cell.null = true;
            return;
        }
        cell.null = false;
        switch (how_[i]) {
            case How::Integer:
                cell.i = sqlite3_column_int64(statement_, column);
                break;
            case How::Real:
                cell.d = sqlite3_column_double(statement_, column);
                break;
            case How::DecimalInteger:
                cell.big = sqlite3_column_int64(statement_, column);
                break;
            case How::DecimalBlob:
                cell.big = DecodeDecimalBlob(
                    static_cast<const unsigned char*>(sqlite3_column_blob(statement_, column)));
                break;
            case How::Bytes: {
                const std::string_view bytes = ColumnBytes(statement_, column);
                cell.data = reinterpret_cast<const std::uint8_t*>(bytes.data());
                cell.size = bytes.size();
                break;
            }
            case How::Guid:
                GuidFromStorage(
                    static_cast<const unsigned char*>(sqlite3_column_blob(statement_, column)),
                    guids_[i].bytes);
                cell.data = guids_[i].bytes;
                cell.size = 16;
                break;
            case How::Offset: {
                const std::string_view bytes = ColumnBytes(statement_, column);
                std::int64_t ticks = 0;
                int offset = 0;
                char16_t units[5];
                std::memcpy(units, bytes.data(), sizeof units);
                DecodeOffset({units, 5}, ticks, offset);
                cell.i = ticks;
                cell.offset = static_cast<std::int16_t>(offset);
                break;
            }
            case How::Variant:
                ReadVariant(i, column);
                break;
        }
    }

    void ReadVariant(std::size_t i, int column) {
        const std::string_view bytes = ColumnBytes(statement_, column);
        std::u16string units(bytes.size() / 2, u'\0');
        std::memcpy(units.data(), bytes.data(), units.size() * 2);
        SqlType type;
        variants_[i] = UnwrapVariant(units, type);
        cells_[i] = MakeCell(variants_[i], type);
        if (type.id == TypeId::UniqueIdentifier) {
            GuidFromStorage(reinterpret_cast<const unsigned char*>(variants_[i].bytes.data()),
                            guids_[i].bytes);
            cells_[i].data = guids_[i].bytes;
        }
        cells_[i].variantType = type;
    }

    struct GuidBytes {
        unsigned char bytes[16];
    };

    sqlite3_stmt* statement_;
    std::vector<Cell> cells_;
    std::vector<How> how_;
    std::vector<GuidBytes> guids_;
    std::vector<Value> variants_;
};

// Resets a statement however the scope is left.
struct ResetGuard {
    explicit ResetGuard(Statement& s) : statement(s) {}
    ~ResetGuard() { statement.Reset(); }
    ResetGuard(const ResetGuard&) = delete;
    ResetGuard& operator=(const ResetGuard&) = delete;
    Statement& statement;
};

}  // namespace

void Executor::BindParams(Statement& statement, const std::vector<ParamSource>& params) {
    // Literals that were converted at translation leave parameters that the text does not use.
    const auto used = static_cast<std::size_t>(sqlite3_bind_parameter_count(statement.Raw()));
    for (std::size_t i = 0; i < params.size() && i < used; ++i) {
        const ParamSource& p = params[i];
        if (p.kind == ParamSource::Kind::Literal) {
            statement.Bind(static_cast<int>(i) + 1, p.value);
            continue;
        }
        const Variable* v = context_.frame->Find(p.variable);
        statement.Bind(static_cast<int>(i) + 1, v ? v->value : Value::Null());
    }
}

TypedValue Executor::Evaluate(const Expr& e) {
    if (e.kind == ExprKind::Literal) return DatabaseLiteral({e.value, e.type, e.typed});
    if (e.kind == ExprKind::Variable && !e.name.front().starts_with(u"@@")) {
        if (const Variable* v = context_.frame->Find(FoldName(e.name.front()))) {
            return {v->value, v->type, true};
        }
    }
    Translator translator(context_);
    Scope scope;
    const Bound b = translator.Expression(e, scope);
    if (!b.typed) return {};
    Statement& s = context_.store.Cached("SELECT " + b.sql);
    const ResetGuard guard(s);
    BindParams(s, translator.params);
    s.Step();
    return {s.Column(0), b.type, true};
}

// A literal without "N" is text of the database's code page.
TypedValue Executor::DatabaseLiteral(TypedValue literal) const {
    if (!literal.typed || !IsCodePage(literal.type.id)) return literal;
    literal.type.collation = context_.current->collation;
    literal.value.text = PageOf(literal.type).FromNational(literal.value.text);
    return literal;
}

SqlType Executor::DatabaseType(const SqlType& type) const {
    return WithCollation(type, context_.current->collation);
}

std::u16string Executor::EvaluateText(const Expr& e) {
    const TypedValue v = Evaluate(e);
    return DisplayText(v.value, v.type);
}

bool Executor::Test(const Expr& e) {
    Translator translator(context_);
    Scope scope;
    const std::string condition = translator.Condition(e, scope);
    Statement& s = context_.store.Cached("SELECT CASE WHEN " + condition + " THEN 1 ELSE 0 END");
    const ResetGuard guard(s);
    BindParams(s, translator.params);
    s.Step();
    return s.Integer(0) != 0;
}

void Executor::Assign(std::u16string_view folded, const TypedValue& value) {
    Variable* v = context_.frame->Find(folded);
    if (v == nullptr) {
        throw SqlError(
            137,
            Format(context_.server.major >= 9 ? u"Must declare the scalar variable \"%1\"."
                                              : u"Must declare the variable '%1'.",
                   {folded}),
            15);
    }
    if (!value.typed || value.value.IsNull()) {
        v->value = Value::Null();
        return;
    }
    if (!SameType(value.type, v->type)) CheckConvertible(value.type, v->type, false);
    v->value = SameType(value.type, v->type)
                   ? value.value
                   : Convert(value.value, value.type, v->type, Purpose::Variable);
}

// The plan that a statement keeps, when it is still good.
std::shared_ptr<Plan> Executor::FreshPlan(const Stmt& stmt) {
    auto plan = std::static_pointer_cast<Plan>(stmt.plan);
    return plan && plan->generation == context_.Generation() ? plan : nullptr;
}

void Executor::Select(const QueryStmt& stmt) {
    if (stmt.query->into && !context_.options.formatOnly) return SelectInto(stmt);
    std::shared_ptr<Plan> plan = FreshPlan(stmt);
    if (!plan) {
        plan = std::make_shared<Plan>();
        Translator translator(context_);
        TranslatedQuery query = translator.Select(*stmt.query);
        plan->statement = context_.store.Prepare(query.sql);
        plan->params = std::move(translator.params);
        plan->columns = std::move(query.columns);
        plan->variables = std::move(query.variables);
        for (const auto& [catalog, id] : translator.used)
            plan->databases.push_back(catalog->File());
        plan->generation = context_.Generation();
        stmt.plan = plan;
    }
    RequireSnapshots(plan->databases);
    plan->statement.Reset();
    const ResetGuard guard(plan->statement);
    BindParams(plan->statement, plan->params);
    if (plan->variables.empty()) {
        SendRows(*plan);
    } else {
        AssignRows(*plan);
    }
}

void Executor::SendRows(Plan& plan) {
    sink_.Columns(plan.columns);
    RowReader reader(plan.statement.Raw(), plan.columns);
    std::int64_t count = 0;
    while (!context_.options.formatOnly &&
           (context_.options.rowLimit == 0 || count < context_.options.rowLimit) &&
           plan.statement.Step()) {
        ++count;
        if (!sink_.Row(reader.Read())) throw Cancelled{};
        if ((count & 255) == 0 && cancelled_) throw Cancelled{};
    }
    context_.rowCount = count;
    Done(count, true);
}

void Executor::AssignRows(Plan& plan) {
    std::int64_t count = 0;
    while (plan.statement.Step()) {
        ++count;
        for (std::size_t i = 0; i < plan.variables.size(); ++i) {
            Assign(plan.variables[i],
                   {plan.statement.Column(static_cast<int>(i)), plan.columns[i].type, true});
        }
    }
    context_.rowCount = count;
    Done();
}

// SELECT ... INTO t: a table of the query's columns, then its rows.
void Executor::SelectInto(const QueryStmt& stmt) {
    Translator translator(context_);
    const std::vector<ColumnInfo> columns = translator.Describe(*stmt.query);
    CreateTableStmt create(stmt.line);
    create.table = *stmt.query->into;
    for (const ColumnInfo& info : columns) {
        if (info.name.empty()) {
            throw SqlError(
                1038,
                u"An object or column name is missing or empty. For SELECT INTO statements, "
                u"verify each column has a name.",
                15);
        }
        ColumnDef c;
        c.name = info.name;
        c.type.type = info.type;
        if (c.type.type.id == TypeId::Timestamp) c.type.type = SqlType{TypeId::Binary, 8, 0, 0};
        c.nullable = info.nullable;
        c.collationId = info.type.collation;
        create.columns.push_back(std::move(c));
    }
    std::int64_t count = 0;
    Atomically([&] {
        const bool noCount = context_.options.noCount;
        ++nesting_;
        context_.options.noCount = true;
        try {
            CreateTable(create);
        } catch (...) {
            --nesting_;
            context_.options.noCount = noCount;
            throw;
        }
        --nesting_;
        context_.options.noCount = noCount;
        const Resolved r = context_.Resolve(*stmt.query->into);
        const TablePtr table = r.catalog->Table(r.object->id);
        Translator again(context_);
        std::vector<const ColumnMeta*> targets;
        std::string names;
        for (const ColumnMeta& c : table->columns) {
            targets.push_back(&c);
            names += (names.empty() ? "" : ",") + c.Sql();
        }
        const RowSource source = again.SelectInto(*stmt.query, targets);
        std::string sql =
            "INSERT INTO " + r.catalog->Prefix() + table->storage + "(" + names + ") SELECT ";
        for (std::size_t i = 0; i < source.values.size(); ++i)
            sql += (i > 0 ? "," : "") + source.values[i];
        Statement insert = context_.store.Prepare(sql + " FROM " + source.from);
        BindParams(insert, again.params);
        insert.Step();
        count = sqlite3_changes64(context_.store.Raw());
    });
    DoneWrite(count);
}

}  // namespace sandbox::engine
