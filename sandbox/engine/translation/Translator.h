// From the syntax tree to SQLite's SQL: binds names, infers types, refuses what the server refuses.
//
// Everything named is renamed: sources are t1, t2 ..., columns c1, c2 ..., so no name of the user's
// ever reaches SQLite. Literals and variables travel as parameters.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/engine/catalog/Context.h"
#include "sandbox/engine/catalog/SystemViews.h"
#include "sandbox/engine/syntax/Ast.h"

namespace sandbox::engine {

struct ParamSource {
    enum class Kind { Literal, Variable } kind = Kind::Literal;
    Value value;              // Literal
    std::u16string variable;  // Variable: folded name
};

// How strongly an expression holds on to its collation.
enum class CollationRank {
    Coercible,  // literals, variables, parameters
    Implicit,   // columns
    Explicit,   // COLLATE
};

// A bound expression.
struct Bound {
    std::string sql;
    SqlType type;
    bool typed = true;  // false for NULL
    bool nullable = true;
    bool column = false;  // a plain column: brings its own collation
    bool identity = false, computed = false;
    CollationRank rank = CollationRank::Coercible;
    std::u16string name;  // of a plain column
    std::optional<Value> literal;
};

struct Source {
    std::u16string alias;  // what qualifies its columns; empty: the table's own name
    ObjectName table;
    std::string sql;  // alias in SQLite
    std::vector<SourceColumn> columns;
    TablePtr meta;
    Catalog* catalog = nullptr;
};

struct Scope {
    std::vector<std::unique_ptr<Source>> sources;
    Scope* outer = nullptr;
    bool grouped = false;                // GROUP BY or an aggregate without it
    std::vector<std::string> groupKeys;  // translated GROUP BY expressions
    bool inAggregate = false;
    bool sawAggregate = false;
    bool aggregatesAllowed = false;
};

inline const SqlType kIntType = Plain(TypeId::Int);

// A type, as SQLite is given it.
inline std::string PackText(const SqlType& type) {
    return std::to_string(Pack(type));
}

// The values of a row in the types of their targets, and where they come from.
struct RowSource {
    std::vector<std::string> values;
    std::string from;
};

struct TranslatedQuery {
    std::string sql;
    std::vector<ColumnInfo> columns;
    std::vector<std::u16string> variables;  // SELECT @v = ...: one for each column
};

class Translator {
  public:
    explicit Translator(Context& context) : context_(context) {}

    std::vector<ParamSource> params;
    // Equal literals share a parameter, so that GROUP BY and the select list translate alike.
    bool shareParams = true;
    // Literals in place, for text that cannot have parameters.
    bool inlineLiterals = false;
    // Objects that the text refers to.
    std::vector<std::pair<Catalog*, int>> used;

    // A whole SELECT statement.
    TranslatedQuery Select(const Query& query);
    // A query as a row source whose columns convert to `targets` (INSERT ... SELECT).
    RowSource SelectInto(const Query& query, const std::vector<const ColumnMeta*>& targets);
    // The columns of a query, for SELECT INTO.
    std::vector<ColumnInfo> Describe(const Query& query);

    Bound Expression(const Expr& expr, Scope& scope);
    std::string Condition(const Expr& expr, Scope& scope);

    // `bound` converted to `type` (nothing when it is that already).
    std::string Converted(const Bound& bound, const SqlType& type, bool isExplicit = false,
                          int style = 0, const char* purpose = "0");
    // For storing into a column: cuts are refused.
    std::string Stored(const Bound& bound, const SqlType& type);

    // A source for a table of the database itself, as t1, t2 ... `reads`: it takes the permission
    // to select, too. Throws 229 then.
    std::unique_ptr<Source> TableSource(const ObjectName& name, std::u16string_view alias,
                                        std::string* from, bool reads = true);
    std::string FromClause(const std::vector<TableRefPtr>& refs, Scope& scope);
    std::string NewAlias() { return "t" + std::to_string(++aliases_); }
    std::string AddParam(const Value& value);
    std::string AddVariable(std::u16string_view name);
    Bound Literal(const Value& value, const SqlType& type);

    Context& GetContext() { return context_; }

    // Used by the function table.
    Bound Arithmetic(const std::u16string& op, const Bound& a, const Bound& b);
    std::string AsText(const Bound& bound);
    Bound Unify(std::vector<Bound>& values, std::u16string_view operation = u"CASE operation");
    // Gives `result`, if it is text, the collation of the values that are. Throws 468 where they
    // do not agree; `operation` is what its text calls it.
    void TakeCollation(Bound& result, const std::vector<Bound>& values,
                       std::u16string_view operation);
    // "1" where the collation of the texts tells case apart, else "0".
    std::string ExactSearch(const std::vector<Bound>& texts,
                            std::u16string_view operation = u"like operation");
    Bound Aggregate(const Expr& expr, std::u16string_view name, Scope& scope);

  private:
    struct Core;  // one SELECT of a query expression
    struct Tree;  // a query expression

    // Queries (TranslateQuery.cpp)
    std::unique_ptr<Tree> BindQuery(const Query& query, Scope* outer);
    std::unique_ptr<Core> BindCore(const Query& query, Scope* outer);
    void BindItems(const Query& query, Core& core);
    void ExpandStar(const Expr& star, Core& core);
    std::vector<Bound> UnifiedTypes(Tree& tree);
    std::string Render(Tree& tree, const std::vector<Bound>& types, bool named);
    std::string RenderCore(Core& core, const std::vector<Bound>& types, bool named);
    std::string OrderClause(const Query& query, Tree& tree, const std::vector<Bound>& outputs);
    std::string Subselect(const Query& query, Scope& scope, std::vector<Bound>* outputs);
    std::string TableRefSql(const TableRef& ref, Scope& scope);
    std::string JoinSql(const TableRef& ref, Scope& scope);
    std::string ViewSql(const TableMeta& view, Catalog& catalog,
                        std::vector<SourceColumn>& columns);
    std::string LimitClause(const Query& query, Scope& scope);
    static bool HasAggregate(const Expr& expr);

    // Expressions (TranslateExpression.cpp)
    Bound Plainly(const Expr& expr, Scope& scope);
    Bound Collate(const Expr& expr, Scope& scope);
    Bound Column(const Expr& expr, Scope& scope);
    Bound FromSource(const Source& source, const SourceColumn& column, Scope& scope, bool outer);
    Bound Variable(const Expr& expr);
    Bound GlobalVariable(std::u16string_view name);
    Bound Unary(const Expr& expr, Scope& scope);
    Bound Case(const Expr& expr, Scope& scope);
    Bound Convert(const Expr& expr, Scope& scope);
    Bound Function(const Expr& expr, Scope& scope);
    Bound Window(const Expr& expr, Scope& scope);
    std::string CollatedSide(const Bound& a, const Bound& b, const std::u16string& op);
    std::string Compare(const std::u16string& op, const Bound& a, const Bound& b);
    std::string CompareSides(Bound& a, Bound& b, const std::u16string& op);
    std::string Chain(const Expr& expr, Scope& scope, const char* op);
    std::string Balanced(std::vector<std::string>& parts, std::size_t from, std::size_t to,
                         const char* op);
    std::string InList(const Expr& expr, Scope& scope);
    std::string InQuery(const Expr& expr, Scope& scope);
    std::string Quantified(const Expr& expr, Scope& scope);
    static std::string Collated(const Bound& bound);

    Context& context_;
    int aliases_ = 0;
    int views_ = 0;
    bool mayMiss_ = false;                // inside of a side of an outer join that may have no row
    std::vector<Catalog*> viewCatalogs_;  // databases of the views being expanded
};

// The functions of T-SQL (TranslateFunctions.cpp). Absent: there is no such function.
std::optional<Bound> TranslateFunction(Translator& translator, const Expr& expr,
                                       std::vector<Bound>& args);
bool IsAggregateName(std::u16string_view name);
// How messages call an operator: "=" is "equal to".
std::u16string OperatorName(const std::u16string& op);

}  // namespace sandbox::engine
